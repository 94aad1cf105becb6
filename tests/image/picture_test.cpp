// Pictures on real OpenGL, judged by what geometry says about their pixels: 256 by 256, 64 pixels a unit, looking
// down the z axis at the origin, in parallel projection.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>

#include "offscreen_context.h"
#include "scene.h"

namespace tessera::test {
namespace {

using host::Image;

constexpr int kSize = 256;
constexpr float kUnit = 64;  // pixels

struct Pixel {
    int r, g, b;
};

Pixel At(const Image& image, int x, int y) {
    const std::uint8_t* p = &image.rgba[std::size_t(y * kSize + x) * 4];
    return {p[0], p[1], p[2]};
}

Pixel AtPoint(const Image& image, float x, float y) {
    return At(image, int(std::lround(kSize / 2 + kUnit * x - 0.5F)), int(std::lround(kSize / 2 + kUnit * y - 0.5F)));
}

bool Near(const Pixel& p, float r, float g, float b) {
    return std::abs(p.r - 255 * r) <= 3 && std::abs(p.g - 255 * g) <= 3 && std::abs(p.b - 255 * b) <= 3;
}

bool Painted(const Pixel& p) { return p.r + p.g + p.b > 0; }  // the pictures are cleared to black

int Count(const Image& image, const std::function<bool(int x, int y, Pixel p)>& wanted) {
    int count = 0;
    for (int y = 0; y < kSize; ++y)
        for (int x = 0; x < kSize; ++x) count += wanted(x, y, At(image, x, y));
    return count;
}

int Area(const Image& image) {
    return Count(image, [](int, int, Pixel p) { return Painted(p); });
}

class Picture : public ::testing::Test {
protected:
    // One light from the viewer and full ambient light: a surface that faces the viewer shows its colour itself.
    void SetUp() override {
        context_.CreateFramebuffer(kSize, kSize, host::Smoothing::kNone);
        ASSERT_NE(glGetString(GL_VERSION), nullptr);
        RecordProperty("OpenGL", context_.Describe());
        const float white[] = {1, 1, 1, 1}, black[] = {0, 0, 0, 1}, towards[] = {0, 0, 1, 0};
        glMatrixMode(GL_PROJECTION);
        glLoadIdentity();
        glOrtho(-2, 2, -2, 2, -10, 10);
        glMatrixMode(GL_MODELVIEW);
        glLoadIdentity();
        glEnable(GL_DEPTH_TEST);
        glEnable(GL_LIGHTING);
        glEnable(GL_LIGHT0);
        glLightfv(GL_LIGHT0, GL_POSITION, towards);
        glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
        glLightfv(GL_LIGHT0, GL_SPECULAR, black);
        glLightModelfv(GL_LIGHT_MODEL_AMBIENT, white);
        glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
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

    Image Draw(int kind = 0) {
        glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
        scene.Draw(0, kind);
        return context_.Read();
    }

private:
    host::OffscreenContext context_;  // before the scene, which may hold names of it

protected:
    Scene scene;
    int error = 0;
};

TEST_F(Picture, SurfaceModesCoverTheSilhouetteOfACube) {
    struct View {
        const char* name;
        float turn, tilt;  // degrees about y, then x
        double area;       // in square units
    };
    const float corner = float(std::atan(std::sqrt(0.5)) * 180 / std::acos(-1.0));
    const View views[] = {
        {"front", 0, 0, 4}, {"edge", 45, 0, 4 * std::sqrt(2.0)}, {"corner", 45, corner, 4 * std::sqrt(3.0)}};
    const Placed cube = Add(Cube());
    for (const View& view : views)
        for (const int mode : {0, 1, 4, 6, 10, 11}) {
            glLoadIdentity();
            glRotatef(view.tilt, 1, 0, 0);
            glRotatef(view.turn, 0, 1, 0);
            scene.SetShadeMode(cube.instance, mode);
            // Lines stand over the border by half a pixel.
            const double slack = mode == 4 || mode == 6 ? 350 : 150;
            EXPECT_NEAR(Area(Draw()), view.area * kUnit * kUnit, slack) << view.name << ", mode " << mode;
        }
}

TEST_F(Picture, FlatAndSmoothCoverTheSamePixels) {
    glRotatef(20, 1, 0, 0);
    glRotatef(30, 0, 1, 0);
    for (const TestMesh& mesh :
         {Cube(), OpenBox(), Sheet(1, 1), ThreeOnAnEdge(), Sphere(), Cylinder(48), Cylinder(6)}) {
        const Placed placed = Add(mesh);
        scene.SetShadeMode(placed.instance, 0);
        const Image flat = Draw();
        scene.SetShadeMode(placed.instance, 1);
        const Image smooth = Draw();
        EXPECT_GT(Area(flat), 1000) << mesh.name;
        EXPECT_EQ(Count(flat, [&](int x, int y, Pixel p) { return Painted(p) != Painted(At(smooth, x, y)); }), 0)
            << mesh.name;
        scene->Remove(placed.instance, &error);
    }
}

TEST_F(Picture, ArraysAndImmediateModeAreOnePicture) {
    const Placed cylinder = Add(Cylinder(48));
    const Placed ball = Add(Sphere(), 0.3F, 0.4F, 0.9F);
    scene.Translate(ball.instance, 0.7F, 0.5F, 0.8F);
    scene.SetTransparency(ball.instance, 0.5F);
    glRotatef(40, 1, 0, 0);
    for (const int mode : {1, 4, 6, 10, 11}) {
        scene.SetShadeMode(cylinder.instance, mode);
        scene->UseVertexArray(0);
        const Image immediate = Draw();
        scene->UseVertexArray(1);
        EXPECT_TRUE(Draw().rgba == immediate.rgba) << "mode " << mode;
        EXPECT_GT(Area(immediate), 10000);
    }
}

TEST_F(Picture, NearerSurfacesHideFartherOnes) {
    Add(Cube(2), 0.2F, 0.3F, 0.9F);
    const Placed small = Add(Cube(1), 0.9F, 0.3F, 0.2F);
    scene.Translate(small.instance, 0, 0, 3);
    const Image before = Draw();
    EXPECT_TRUE(Near(AtPoint(before, 0.2F, 0.1F), 0.9F, 0.3F, 0.2F));
    EXPECT_TRUE(Near(AtPoint(before, 0.8F, 0.1F), 0.2F, 0.3F, 0.9F));
    EXPECT_EQ(Count(before, [](int, int, Pixel p) { return Near(p, 0.9F, 0.3F, 0.2F); }), int(kUnit * kUnit));
    scene.Translate(small.instance, 0, 0, -6);
    const Image behind = Draw();
    EXPECT_EQ(Count(behind, [](int, int, Pixel p) { return Near(p, 0.2F, 0.3F, 0.9F); }), int(4 * kUnit * kUnit));
}

TEST_F(Picture, TransparentSurfacesBlendOverWhatIsBehindThem) {
    const Placed glass = Add(Sheet(1, 1), 1, 0.4F, 0.2F);
    Add(Sheet(1, 1), 0.2F, 0.4F, 1);
    scene.SetTransparency(glass.instance, 0.5F);  // drawn last although it was added first
    scene.Translate(glass.instance, 0.5F, 0, 1);
    const Image over = Draw();
    EXPECT_TRUE(Near(AtPoint(over, 0.25F, 0.5F), 0.2F, 0.4F, 1));
    EXPECT_TRUE(Near(AtPoint(over, 0.75F, 0.5F), 0.6F, 0.4F, 0.6F));
    EXPECT_TRUE(Near(AtPoint(over, 1.25F, 0.5F), 0.5F, 0.2F, 0.1F));
    scene.Translate(glass.instance, 0, 0, -2);
    const Image under = Draw();
    EXPECT_TRUE(Near(AtPoint(under, 0.75F, 0.5F), 0.2F, 0.4F, 1));
    EXPECT_TRUE(Near(AtPoint(under, 1.25F, 0.5F), 0.5F, 0.2F, 0.1F));
}

TEST_F(Picture, SmoothBallInLinesIsACircle) {
    const float radius = 1.5F * kUnit;
    const Placed ball = Add(Sphere(32, 16, 1.5F));
    scene.SetShadeMode(ball.instance, 2);
    const Image image = Draw();
    std::vector<bool> sectors(16);
    const int off = Count(image, [&](int x, int y, Pixel p) {
        if (!Painted(p)) return false;
        const double dx = x + 0.5 - kSize / 2, dy = y + 0.5 - kSize / 2, distance = std::hypot(dx, dy);
        sectors[std::size_t((std::atan2(dy, dx) / std::acos(-1.0) + 1) * 7.999)] = true;
        return distance < radius * std::cos(std::acos(-1.0) / 32) - 1.5 || distance > radius + 1.5;
    });
    EXPECT_EQ(off, 0);
    EXPECT_EQ(std::count(sectors.begin(), sectors.end(), true), 16);
    EXPECT_NEAR(Area(image), 4 * std::sqrt(2.0) * radius, 0.08 * radius * 6);  // one pixel a step along the longer axis
}

// Of a cube seen askew three faces and nine edges are visible; mode 2 shows the three edges behind them as well.
TEST_F(Picture, HiddenLinesAreHidden) {
    const Placed cube = Add(Cube());
    scene->SetEdgeColor(cube.instance, 1, 0, 0, &error);
    scene->SetBackgroundColor(cube.instance, 0, 0, 0.4F, &error);
    glRotatef(25, 1, 0, 0);
    glRotatef(-35, 0, 1, 0);
    double m[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    for (const int mode : {2, 4}) {
        scene.SetShadeMode(cube.instance, mode);
        const Image image = Draw();
        int visible = 0;
        for (int axis = 0; axis < 3; ++axis)
            for (const int u : {-1, 1})
                for (const int v : {-1, 1}) {
                    const int across[2] = {(axis + 1) % 3, (axis + 2) % 3};
                    // The depth of the axis across a face says which of its two faces the viewer sees.
                    const bool seen = u * m[4 * across[0] + 2] > 0 || v * m[4 * across[1] + 2] > 0;
                    visible += seen;
                    for (const double along : {-0.55, 0.15, 0.6}) {
                        double p[3];
                        p[axis] = along, p[across[0]] = u, p[across[1]] = v;
                        const int x = int(128 + kUnit * (m[0] * p[0] + m[4] * p[1] + m[8] * p[2]));
                        const int y = int(128 + kUnit * (m[1] * p[0] + m[5] * p[1] + m[9] * p[2]));
                        bool red = false;
                        for (int i = -1; i <= 1; ++i)
                            for (int j = -1; j <= 1; ++j) red |= Near(At(image, x + i, y + j), 1, 0, 0);
                        EXPECT_EQ(red, seen || mode == 2) << "mode " << mode << ", pixel " << x << ", " << y;
                    }
                }
        EXPECT_EQ(visible, 9);
    }
}

TEST_F(Picture, SectionPlaneCutsOffItsNegativeSide) {
    const Placed cube = Add(Cube());
    scene->EnableCrossSection(cube.instance, 1, &error);
    scene->SwitchCrossSectionPlane(cube.instance, 1, &error);
    scene.SetSectionPlane(cube.instance, {0, 0, 0}, {-1, 0, 0});
    for (const int mode : {0, 1, 4, 6}) {
        scene.SetShadeMode(cube.instance, mode);
        const Image image = Draw();
        EXPECT_EQ(Count(image, [](int x, int, Pixel p) { return x > 129 && Painted(p); }), 0) << "mode " << mode;
        EXPECT_EQ(
            Count(image, [](int x, int y, Pixel p) { return x > 64 && x < 126 && y > 64 && y < 191 && Painted(p); }),
            61 * 126);
        EXPECT_GT(Count(image, [](int x, int, Pixel p) { return x >= 126 && x <= 129 && Near(p, 1, 0, 0); }), 120);
    }
}

TEST_F(Picture, MirroredInstanceIsShadedAsItsTwin) {
    const Placed twin = Add(Cylinder(6, 0.5F, 1.2F));
    scene->SetInternalColor(twin.instance, 0.2F, 1, 0.2F, &error);
    const int mirrored = scene.AddInstance(twin.part);
    for (const int node : {twin.instance, mirrored}) {
        scene->RotateX(node, 0.5F, &error);
        scene->RotateY(node, 0.4F, &error);
        scene.Translate(node, -1, 0.2F, 0);
    }
    scene->MirrorYZ(mirrored, &error);
    for (const int mode : {0, 1}) {
        scene.SetShadeMode(twin.instance, mode);
        const Image image = Draw();
        const int differing = Count(image, [&](int x, int y, Pixel p) {
            const Pixel q = At(image, kSize - 1 - x, y);
            return std::abs(p.r - q.r) > 2 || std::abs(p.g - q.g) > 2 || std::abs(p.b - q.b) > 2;
        });
        EXPECT_LE(differing, 60) << "mode " << mode;  // pixels that an edge just touches
        EXPECT_GT(Area(image), 8000);
        EXPECT_LE(Count(image, [](int, int, Pixel p) { return Painted(p) && p.g >= p.r; }), 10) << "inner side shown";
    }
}

TEST_F(Picture, SelectedPartsShowInTheHighlightDrawAlone) {
    const Placed left = Add(Cube(1)), right = Add(Cube(1));
    scene.Translate(left.instance, -1, 0, 0);
    scene.Translate(right.instance, 1, 0, 0);
    scene.SetSelected(right.instance, true);
    const Image normal = Draw(0);
    EXPECT_TRUE(Near(AtPoint(normal, -1, 0), 0.8F, 0.6F, 0.4F));
    EXPECT_FALSE(Painted(AtPoint(normal, 1, 0)));
    const Image highlight = Draw(3);
    EXPECT_FALSE(Painted(AtPoint(highlight, -1, 0)));
    EXPECT_TRUE(Near(AtPoint(highlight, 1, 0), 1, 1, 0.1F));
    EXPECT_EQ(Area(highlight), int(kUnit * kUnit));
}

// Offset keeps the edges of mode 6 in front of the faces that they bound, dark grey on every side of the cube's front.
TEST_F(Picture, EdgesOfShadedModeLieOnTheSurface) {
    const Placed cube = Add(Cube());
    scene.SetShadeMode(cube.instance, 6);
    glTranslatef(0.01F, 0.01F, 0);
    const Image image = Draw();
    const int grey = Count(image, [](int, int, Pixel p) { return Near(p, 0.1F, 0.1F, 0.1F); });
    EXPECT_NEAR(grey, 4 * 2 * kUnit, 8);
    EXPECT_TRUE(Near(AtPoint(image, 0, 0), 0.8F, 0.6F, 0.4F));
}

}  // namespace
}  // namespace tessera::test
