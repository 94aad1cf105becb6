// Pictures on real OpenGL, judged by what geometry says about their pixels: 256 by 256, 64 pixels a unit, looking
// down the z axis at the origin, in parallel projection.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <numbers>

#include "offscreen_context.h"
#include "scene.h"

namespace tessera::test {
namespace {

using host::Image;

constexpr int kSize = 256;
constexpr float kUnit = 64;  // pixels

struct Pixel {
    int r, g, b;
    bool Is(float red, float green, float blue) const {
        return std::abs(r - 255 * red) <= 3 && std::abs(g - 255 * green) <= 3 && std::abs(b - 255 * blue) <= 3;
    }
};
bool Painted(int, int, Pixel p) { return p.r + p.g + p.b > 0; }  // the pictures are cleared to black

Pixel At(const Image& image, int x, int y) {
    const std::uint8_t* p = &image.rgba[std::size_t(y * kSize + x) * 4];
    return {p[0], p[1], p[2]};
}

Pixel AtPoint(const Image& image, double x, double y) {
    return At(image, int(std::floor(kSize / 2 + kUnit * x)), int(std::floor(kSize / 2 + kUnit * y)));
}

int Count(const Image& image, const std::function<bool(int x, int y, Pixel p)>& wanted) {
    int count = 0;
    for (int i = 0; i < kSize * kSize; ++i) count += wanted(i % kSize, i / kSize, At(image, i % kSize, i / kSize));
    return count;
}
int Area(const Image& image, const std::array<float, 3>& c) {
    return Count(image, [&c](int, int, Pixel p) { return p.Is(c[0], c[1], c[2]); });
}

class Picture : public ::testing::Test {
protected:
    // One light from the viewer and full ambient light: a surface that faces the viewer shows its colour itself.
    void SetUp() override {
        context_.CreateFramebuffer(kSize, kSize, host::Smoothing::kNone);
        RecordProperty("OpenGL", context_.Describe());
        const float white[] = {1, 1, 1, 1}, black[] = {0, 0, 0, 1}, towards[] = {0, 0, 1, 0};
        glMatrixMode(GL_PROJECTION), glOrtho(-2, 2, -2, 2, -10, 10), glMatrixMode(GL_MODELVIEW);
        for (const GLenum capability : {GL_DEPTH_TEST, GL_LIGHTING, GL_LIGHT0}) glEnable(capability);
        glLightfv(GL_LIGHT0, GL_POSITION, towards);
        glLightfv(GL_LIGHT0, GL_DIFFUSE, white), glLightfv(GL_LIGHT0, GL_SPECULAR, black);
        glLightModelfv(GL_LIGHT_MODEL_AMBIENT, white), glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
    }
    void TearDown() override { EXPECT_EQ(glGetError(), GLenum(GL_NO_ERROR)); }

    Placed Add(const TestMesh& mesh, float r = 0.8F, float g = 0.6F, float b = 0.4F) {
        const Placed placed = scene.AddMesh(mesh);
        scene.SetExternalColor(placed.instance, r, g, b);
        scene.SetTransparency(placed.instance, 1);
        scene->SetViewingType(placed.instance, 1, &error);
        scene.SetCamera({0, 0, 50}, {0, 0, 0});
        return placed;
    }
    void Cut(int node, const Point& point, const Point& normal) {
        scene->EnableCrossSection(node, 1, &error);
        scene->SwitchCrossSectionPlane(node, 1, &error);
        scene.SetSectionPlane(node, point, normal);
    }
    Image Draw(int mode = -1) {
        if (mode >= 0) scene.SetShadeMode(0, mode);
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        scene.Draw();
        return context_.Read();
    }

private:
    host::OffscreenContext context_;  // before the scene, which may hold names of it

protected:
    Scene scene;
    int error = 0;
};

// Seen from the front, over an edge and over a corner; in every surface mode, by arrays and without.
TEST_F(Picture, SurfacesCoverTheirSilhouette) {
    const float corner = float(std::atan(std::sqrt(0.5)) * 180 / std::acos(-1.0));
    Add(Cube());
    for (const auto& [turn, tilt, area] : {std::array{0.0F, 0.0F, 4.0F}, {45, 0, 5.65685F}, {45, corner, 6.92820F}})
        for (const int mode : {0, 1, 4, 6, 10, 11}) {
            glLoadIdentity(), glRotatef(tilt, 1, 0, 0), glRotatef(turn, 0, 1, 0);
            scene->UseVertexArray(0);
            const Image immediate = Draw(mode);
            // Lines stand over the border by half a pixel.
            EXPECT_NEAR(Count(immediate, Painted), area * kUnit * kUnit, mode == 4 || mode == 6 ? 350 : 150) << mode;
            scene->UseVertexArray(1);
            EXPECT_TRUE(Draw().rgba == immediate.rgba) << mode;
        }
}

TEST_F(Picture, TransparentSurfacesBlendOverWhatIsBehindThem) {
    const Placed glass = Add(Sheet(1, 1), 1, 0.4F, 0.2F);
    Add(Sheet(1, 1), 0.2F, 0.4F, 1);
    scene.SetTransparency(glass.instance, 0.5F);  // drawn last although it was added first
    scene.Translate(glass.instance, 0.5F, 0, 1);
    for (const bool over : {true, false}) {
        const Image image = Draw();
        EXPECT_TRUE(AtPoint(image, 0.25, 0.5).Is(0.2F, 0.4F, 1));
        EXPECT_TRUE(AtPoint(image, 0.75, 0.5).Is(over ? 0.6F : 0.2F, 0.4F, over ? 0.6F : 1));
        EXPECT_TRUE(AtPoint(image, 1.25, 0.5).Is(0.5F, 0.2F, 0.1F));
        scene.Translate(glass.instance, 0, 0, -2);
    }
}

// Of a cube seen askew three faces and nine edges are visible; mode 2 shows the three edges behind them as well.
TEST_F(Picture, HiddenLinesAreHidden) {
    const Placed cube = Add(Cube());
    scene->SetEdgeColor(cube.instance, 1, 0, 0, &error);
    scene->SetBackgroundColor(cube.instance, 0, 0, 0.4F, &error);
    glRotatef(25, 1, 0, 0), glRotatef(-35, 0, 1, 0);
    double m[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    for (const int mode : {2, 4}) {
        const Image image = Draw(mode);
        int hidden = 0;
        for (int edge = 0; edge < 12; ++edge) {
            const int axis = edge % 3, next = (axis + 1) % 3, last = (axis + 2) % 3;
            double p[3];
            p[axis] = 0.15, p[next] = edge < 6 ? -1 : 1, p[last] = edge / 3 % 2 ? -1 : 1;
            // The depth of the axis across a face says which of its two faces the viewer sees.
            const bool seen = p[next] * m[4 * next + 2] > 0 || p[last] * m[4 * last + 2] > 0;
            hidden += !seen;
            const double x = m[0] * p[0] + m[4] * p[1] + m[8] * p[2], y = m[1] * p[0] + m[5] * p[1] + m[9] * p[2];
            bool red = false;
            for (int i = 0; i < 9; ++i)
                red |= AtPoint(image, x + (i % 3 - 1) / kUnit, y + (i / 3 - 1) / kUnit).Is(1, 0, 0);
            EXPECT_EQ(red, seen || mode == 2) << "mode " << mode << ", edge " << edge;
        }
        EXPECT_EQ(hidden, 3);
    }
}

TEST_F(Picture, SectionPlaneCutsOffItsNegativeSide) {
    Cut(Add(Cube()).instance, {0, 0, 0}, {-1, 0, 0});
    for (const int mode : {0, 1, 4, 6}) {
        const Image image = Draw(mode);
        const auto inside = [](int x, int y, Pixel p) {
            return x > 64 && x < 126 && y > 64 && y < 191 && Painted(x, y, p);
        };
        EXPECT_EQ(Count(image, [](int x, int y, Pixel p) { return x > 129 && Painted(x, y, p); }), 0)
            << "mode " << mode;
        EXPECT_EQ(Count(image, inside), 61 * 126) << "mode " << mode;
        EXPECT_GT(Count(image, [](int x, int, Pixel p) { return x >= 126 && x <= 129 && p.Is(1, 0, 0); }), 120);
    }
}

// Looked at from above, the cut covers as many pixels as the section has area, in the first mesh's colour. One mesh
// with a cavity, a closed wall in the other one, is cut as two meshes are.
TEST_F(Picture, CapsCoverTheSectionAndNoMore) {
    Soup tube = Cylinder(64, 1.2F).soup;
    for (const float f : Cylinder(64, 0.6F).soup) tube.push_back(f);
    const double tubeArea = 0.5 * 64 * std::sin(2 * std::numbers::pi / 64) * (1.2 * 1.2 - 0.6 * 0.6);
    const std::pair<std::vector<Soup>, double> cases[] = {
        {{Cube().soup}, 4}, {{tube}, tubeArea}, {{Cube().soup, Cube(1).soup}, 3}};
    // Unlit: the cap takes its light from whatever normal was sent last. The line around it lies half inside.
    glDisable(GL_LIGHTING);
    for (const auto& [meshes, area] : cases) {
        const auto [node, part] = scene.AddEmptyPart();
        scene.SetTransparency(node, 1);
        for (Soup corners : meshes) {
            scene->BeginTriMesh(part, &error);
            scene->SetTriMeshExternalColor(part, corners == meshes[0] ? 0.8F : 0.2F, 0.6F, 0.4F, &error);
            for (std::size_t t = 0; t < corners.size(); t += 9) scene->AddTriangle3P(part, &corners[t], &error);
            scene->EndTriMesh(part, &error);
        }
        Cut(node, {0, 0, 0.3F}, {0, 0, -1});
        scene.SetCamera({0, 0, 50}, {0, 0, 0});
        for (const bool capped : {true, false}) {
            scene->EnableCrossSectionCapping(node, capped, &error);
            glColor3f(0.1F, 0.1F, 0.1F);
            const Image image = Draw();
            const int cap = Area(image, {0.8F, 0.6F, 0.4F}), line = Area(image, {1, 0, 0});
            const double expected = capped * area * kUnit * kUnit;
            EXPECT_NEAR(cap + capped * line / 2, expected, 0.01 * expected);
        }
        scene->Remove(node, &error);
    }
}

TEST_F(Picture, MirroredInstanceIsShadedAsItsTwin) {
    const Placed twin = Add(Cylinder(6, 0.5F, 1.2F));
    scene->SetInternalColor(twin.instance, 0.2F, 1, 0.2F, &error);
    const int mirrored = scene.AddInstance(twin.part);
    for (const int node : {twin.instance, mirrored}) {
        scene->RotateX(node, 0.5F, &error), scene->RotateY(node, 0.4F, &error);
        scene.Translate(node, -1, 0.2F, 0);
    }
    scene->MirrorYZ(mirrored, &error);
    for (const int mode : {0, 1}) {
        const Image image = Draw(mode);
        const auto differs = [&](int x, int y, Pixel p) {
            const Pixel q = At(image, kSize - 1 - x, y);
            return std::abs(p.r - q.r) > 3 || std::abs(p.g - q.g) > 3 || std::abs(p.b - q.b) > 3;
        };
        EXPECT_LE(Count(image, differs), 60) << "mode " << mode;  // pixels that an edge just touches
        EXPECT_GT(Count(image, Painted), 8000);
        EXPECT_LE(Count(image, [](int x, int y, Pixel p) { return Painted(x, y, p) && p.g >= p.r; }), 10)
            << "inner side shown";
    }
}

// Offset keeps the edges of mode 6 in front of the faces that they bound, dark grey on every side of the cube's front.
TEST_F(Picture, EdgesOfShadedModeLieOnTheSurface) {
    Add(Cube());
    glTranslatef(0.01F, 0.01F, 0);
    const Image image = Draw(6);
    EXPECT_NEAR(Area(image, {0.1F, 0.1F, 0.1F}), 4 * 2 * kUnit, 8);
    EXPECT_TRUE(AtPoint(image, 0, 0).Is(0.8F, 0.6F, 0.4F));
}

}  // namespace
}  // namespace tessera::test
