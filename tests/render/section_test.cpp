// The clip plane, the lines where it cuts, the filling of cuts through the stencil buffer, and the plane's display.
#include <cmath>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Section : public RenderTest {
protected:
    static double Length(const std::vector<Segment>& segments) {
        double sum = 0;
        for (const auto& [a, b] : segments) sum += std::hypot(a.at[0] - b.at[0], a.at[1] - b.at[1], a.at[2] - b.at[2]);
        return sum;
    }
};

TEST_F(Section, ClippedModesEndWithRedLinesInTheCut) {
    const int cube = AddColored(Cube()).instance;
    Cut(cube, true, true);
    scene.SetSectionPlane(cube, {0.25F, 0, 0}, {-3, 0, 0});
    for (const int mode : {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(cube, mode);
        const Drawing drawing(scene);
        const std::string body = drawing.Bodies().at(0), end = body.substr(body.rfind("Disable CLIP_PLANE0"));
        EXPECT_TRUE(body.starts_with("Enable CLIP_PLANE0; ClipPlane CLIP_PLANE0 -1 0 0 0.25; ")) << body;
        EXPECT_EQ(end,
                  "Disable CLIP_PLANE0; PushAttrib 16451; Disable LIGHTING; LineWidth 2; DepthFunc LEQUAL; "
                  "Color3f 1 0 0; LINES; DepthFunc LESS; LineWidth 1; PopAttrib; ");
        const Primitive cut = drawing.PrimitivesOf(GL_LINES).back();
        EXPECT_EQ(cut.vertices.size(), 16U);
        // Off the plane, away from where the normal points, so that a cap does not hide them.
        for (std::size_t i = 0; i < cut.vertices.size(); ++i) EXPECT_NEAR(cut.World(i)[0], 0.2501, 2e-5);
        EXPECT_EQ(drawing.Primitives().front().state.Enabled(GL_CLIP_PLANE0), mode < 12);
    }
}

TEST_F(Section, NeedsBothSwitches) {
    const int cube = AddColored(Cube()).instance;
    for (const bool enabled : {false, true})
        for (const bool other : {false, true}) {
            Cut(cube, enabled, other);
            for (const int mode : {1, 7}) {
                scene.SetShadeMode(cube, mode);
                EXPECT_EQ(Drawing(scene).Segments().size(), enabled && (other || mode == 7) ? 8U : 0U);
            }
            Cut(cube, enabled, true);
            scene->EnableCrossSectionCapping(cube, other, &error);
            EXPECT_EQ(Drawing(scene).Count("glEnable GL_STENCIL_TEST") > 0, enabled && other);
            scene->EnableCrossSectionCapping(cube, 0, &error);
        }
}

// Planes and lines meet in the world whatever matrices stand above the mesh.
TEST_F(Section, PlaneGoesIntoTheMeshsFrame) {
    const int assembly = scene.AddAssembly(), cube = AddColored(Cube(), 7, assembly).instance;
    double twice[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 0, 0, 1};
    scene->SetTransform(cube, twice, &error);
    scene->RotateZ(assembly, static_cast<float>(std::acos(0.0)), &error);
    scene.Translate(assembly, 0, 0, 7);
    // A quarter turn takes the mesh's x axis to the world's -y, and the mesh's (x, y, z) to (2y, -2x - 1, 2z + 7).
    const std::tuple<Point, Point, int, std::array<double, 4>> cases[] = {{{0, -2, 0}, {0, 5, 0}, 1, {-1, 0, 0, 0.5}},
                                                                          {{1, 0, 0}, {0.5F, 0, 0}, 0, {0, 1, 0, -0.5}},
                                                                          {{9, 9, 8}, {0, 0, -1}, 2, {0, 0, -1, 0.5}}};
    for (const auto& [point, normal, axis, local] : cases) {
        scene.SetSectionPlane(cube, point, normal);
        Cut(cube, true, false);
        const auto segments = Drawing(scene).Segments();
        EXPECT_NEAR(Length(segments), 16, 1e-4);
        for (const auto& [a, b] : segments)
            EXPECT_NEAR(std::abs(a.at[axis] - point[axis]) + std::abs(b.at[axis] - point[axis]), 0, 1e-5);
        Cut(cube, true, true);
        const Drawing drawing(scene);
        const auto& plane = drawing.Calls().at(drawing.Index("glClipPlane")).arguments;
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(plane[1 + i].value, local[i], 1e-5);
    }
    // Kind 2 draws the section alone.
    scene.SetShadeMode(cube, 1);
    Cut(cube, true, false);
    const Drawing drawing(scene, 0, 2);
    EXPECT_EQ(drawing.Bodies().at(0),
              "Disable CLIP_PLANE0; PushAttrib 64; Disable LIGHTING; Color3f 0.9 0.6 0.3; LINES; PopAttrib; ");
    EXPECT_NEAR(Length(drawing.Segments()), 16, 1e-4);
}

// With the vertex overlay the crossings show as green points; through the model unless the clip plane is on.
TEST_F(Section, CrossingsAreGreenPoints) {
    const int cube = AddColored(Cube()).instance;
    scene.SetSectionPlane(cube, {0.5F, 0, 0}, {1, 0, 0});
    Overlay(cube, 0, true);
    glEnable(GL_DEPTH_TEST);
    for (const bool clip : {false, true})
        for (const bool transparent : {false, true}) {
            Cut(cube, true, clip);
            scene->EnableTransparentXSection(cube, transparent, &error);
            std::size_t green = 0;
            for (const Primitive& p : Drawing(scene).PrimitivesOf(GL_POINTS)) {
                if (p.vertices.empty() || p.vertices[0].color != Color{0, 1, 0, 1}) continue;
                green += p.vertices.size();
                for (std::size_t i = 0; i < p.vertices.size(); ++i) EXPECT_NEAR(p.World(i)[0], 0.5, 2e-4);
                EXPECT_TRUE(p.state.Enabled(GL_DEPTH_TEST) == clip && !p.state.Enabled(GL_CLIP_PLANE0));
            }
            EXPECT_EQ(green, clip || transparent ? 16U : 0U);
        }
}

TEST_F(Section, CapsFillWhereAnOddNumberOfSurfacesIsSeen) {
    const std::tuple<int, float, Color> cases[] = {{1, 1, kExternal},
                                                   {0, 0.96F, kExternal},
                                                   {1, 0.5F, {0.9F, 0.6F, 0.3F, 0.5F}},
                                                   {4, 0.5F, {0.3F, 0.5F, 0.7F, 1}}};
    for (const auto& [mode, alpha, color] : cases) {
        SCOPED_TRACE("mode " + std::to_string(mode) + ", alpha " + std::to_string(alpha));
        const auto [cube, part] = AddColored(Cube(), mode);
        scene.SetTransparency(cube, alpha);
        scene.SetSectionPlane(cube, {2.25F, 0, 0}, {-2, 0, 0});
        scene.Translate(cube, 2, 0, 0);
        Cut(cube, true, true);
        scene->EnableCrossSectionCapping(cube, 1, &error);
        scene.AddCurveTo(part, {{0.5F, 0, 0}, {0.9F, 0, 0}});
        const Drawing drawing(scene);
        const int clear = drawing.Index("glClear 1024");
        EXPECT_LT(drawing.Index("glEnable GL_STENCIL_TEST"), clear);
        EXPECT_LT(clear, drawing.Index("glStencilOp"));
        const Primitive cap = drawing.PrimitivesOf(GL_QUADS).at(alpha < 0.95F ? 1 : 0);
        const State& state = cap.state;
        ASSERT_EQ(cap.vertices.size(), 4U);
        EXPECT_EQ(cap.vertices[0].color, color);
        EXPECT_TRUE(state.Enabled(GL_STENCIL_TEST) && state.stencilFunc[0] == GL_EQUAL);
        EXPECT_TRUE(state.polygonMode[0] == GL_FILL && !state.Enabled(GL_CLIP_PLANE0));
        EXPECT_TRUE(state.depthMask == (alpha >= 0.96F) && state.Enabled(GL_BLEND) == (alpha < 0.96F));
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(cap.World(i)[0], 2.25, 1e-5);
            EXPECT_NEAR(std::hypot(cap.World(i)[1], cap.World(i)[2]), std::sqrt(12.0), 1e-4);
        }
        // Surfaces turn the bit over; lines and curves neither test nor change it.
        for (const Primitive& p : drawing.Primitives()) {
            const bool surface = p.mode == GL_TRIANGLE_STRIP || p.mode == GL_TRIANGLES;
            if (!surface && p.mode != GL_LINE_STRIP && p.mode != GL_LINES) continue;
            EXPECT_EQ(p.state.Enabled(GL_STENCIL_TEST), surface);
            EXPECT_TRUE(!surface || p.state.stencilOp[2] == GL_INVERT);
        }
        scene->EnableDrawing(cube, 0, &error);
    }
}

TEST_F(Section, ThePlaneIsShownAroundAnAssembly) {
    const int cube = AddColored(Cube()).instance;
    float point[3] = {0.5F, 9, 9}, normal[3] = {4, 0, 0};
    const Recording recording;
    EXPECT_EQ(scene->DrawClipPlane(0, point, normal, &error), STATUS_OK);
    EXPECT_EQ(recording.Violations(), Texts{});
    const auto [mode, call, vertices, state, frame] = recording.PrimitivesOf(GL_POLYGON).at(0);
    ASSERT_EQ(vertices.size(), 5U);
    EXPECT_EQ(vertices[0].position, vertices[4].position);
    for (const Spot& corner : recording.Spots(GL_POLYGON)) EXPECT_NEAR(corner.at[0], 0.5, 1e-5);
    EXPECT_TRUE(state.Enabled(GL_BLEND));
    EXPECT_FLOAT_EQ(state.material[1].diffuse[3], 0.6F);
    // The lines in which the part's own plane cuts it.
    EXPECT_EQ(recording.Segments().size(), 8U);
    EXPECT_EQ(recording.Segments()[0].a.color, kRed);
    const std::size_t primitives = recording.Primitives().size();
    scene->DrawClipPlane(cube, point, normal, &error);
    EXPECT_EQ(error, 1);
    EXPECT_LT(scene->DrawClipPlane(99, point, normal, &error), 0);
    EXPECT_EQ(recording.Primitives().size(), primitives);
}

}  // namespace
}  // namespace tessera::test
