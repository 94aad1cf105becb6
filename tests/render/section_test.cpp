// The clip plane and the lines where it cuts.
#include <cmath>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Section : public RenderTest {
protected:
    void SwitchOn(int node, bool clip) {
        scene->EnableCrossSection(node, 1, &error);
        scene->SwitchCrossSectionPlane(node, clip, &error);
    }
    static double Length(const std::vector<Segment>& segments) {
        double sum = 0;
        for (const Segment& s : segments)
            sum += std::hypot(s.a.at[0] - s.b.at[0], s.a.at[1] - s.b.at[1], s.a.at[2] - s.b.at[2]);
        return sum;
    }
};

TEST_F(Section, ClippedModesEndWithRedLinesInTheCut) {
    const Placed cube = AddColored(Cube());
    SwitchOn(cube.instance, true);
    scene.SetSectionPlane(cube.instance, {0.25F, 0, 0}, {-3, 0, 0});
    for (const int mode : {0, 1, 2, 3, 4, 5, 6, 8, 9, 10, 11, 12}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(cube.instance, mode);
        Recording recording;
        scene.Draw();
        const std::string body = Bodies(recording).at(0), end = body.substr(body.rfind("Disable CLIP_PLANE0"));
        EXPECT_TRUE(body.starts_with("Enable CLIP_PLANE0; ClipPlane CLIP_PLANE0 -1 0 0 0.25; ")) << body;
        EXPECT_TRUE(end.starts_with("Disable CLIP_PLANE0; PushAttrib 16451; ")) << end;
        EXPECT_TRUE(end.ends_with("LINES; DepthFunc LESS; LineWidth 1; PopAttrib; ")) << end;
        const Primitive cut = recording.PrimitivesOf(GL_LINES).back();
        EXPECT_FALSE(cut.state.Enabled(GL_CLIP_PLANE0) || cut.state.Enabled(GL_LIGHTING));
        EXPECT_EQ(cut.state.depthFunc, static_cast<GLenum>(GL_LEQUAL));
        EXPECT_EQ(cut.state.lineWidth, 2);
        EXPECT_EQ(cut.vertices.size(), 16U);
        EXPECT_EQ(cut.vertices[0].color, kRed);
        // Off the plane, away from where the normal points, so that a cap does not hide them.
        for (std::size_t i = 0; i < cut.vertices.size(); ++i) EXPECT_NEAR(cut.World(i)[0], 0.2501, 2e-5);
        EXPECT_EQ(recording.Primitives().front().state.Enabled(GL_CLIP_PLANE0), mode < 12);
    }
}

TEST_F(Section, NeedsBothSwitches) {
    const Placed cube = AddColored(Cube());
    for (const bool enabled : {false, true})
        for (const bool clip : {false, true})
            for (const int mode : {1, 7}) {
                scene->EnableCrossSection(cube.instance, enabled, &error);
                scene->SwitchCrossSectionPlane(cube.instance, clip, &error);
                scene.SetShadeMode(cube.instance, mode);
                EXPECT_EQ(DrawnSegments().size(), enabled && (clip || mode == 7) ? 8U : 0U);
            }
}

// Planes and lines meet in the world whatever matrices stand above the mesh.
TEST_F(Section, PlaneGoesIntoTheMeshsFrame) {
    const int assembly = scene.AddAssembly();
    const Placed cube = AddColored(Cube(), 7, assembly);
    double twice[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 0, 0, 1};
    scene->SetTransform(cube.instance, twice, &error);
    scene->RotateZ(assembly, static_cast<float>(std::acos(0.0)), &error);
    scene.Translate(assembly, 0, 0, 7);
    // A quarter turn takes the mesh's x axis to the world's -y, and the mesh's (x, y, z) to (2y, -2x - 1, 2z + 7).
    struct Case {
        Point point, normal;
        int axis;
        std::array<double, 4> local;
    };
    const Case cases[] = {{{0, -2, 0}, {0, 5, 0}, 1, {-1, 0, 0, 0.5}},
                          {{1, 0, 0}, {0.5F, 0, 0}, 0, {0, 1, 0, -0.5}},
                          {{9, 9, 8}, {0, 0, -1}, 2, {0, 0, -1, 0.5}}};
    for (const Case& c : cases) {
        scene.SetSectionPlane(cube.instance, c.point, c.normal);
        SwitchOn(cube.instance, false);
        scene.SetShadeMode(cube.instance, 7);
        EXPECT_NEAR(Length(DrawnSegments()), 16, 1e-4);
        for (const Segment& s : DrawnSegments())
            for (const Spot& end : {s.a, s.b}) EXPECT_NEAR(end.at[c.axis], c.point[c.axis], 1e-5);
        SwitchOn(cube.instance, true);
        Recording recording;
        scene.Draw();
        const auto& plane = recording.Calls().at(recording.Index("glClipPlane")).arguments;
        for (int i = 0; i < 4; ++i) EXPECT_NEAR(plane[1 + i].value, c.local[i], 1e-5);
    }
    // Kind 2 draws the section alone.
    scene.SetShadeMode(cube.instance, 1);
    SwitchOn(cube.instance, false);
    Recording recording;
    scene.Draw(0, 2);
    EXPECT_EQ(Bodies(recording).at(0),
              "Disable CLIP_PLANE0; PushAttrib 64; Disable LIGHTING; Color3f 0.9 0.6 0.3; LINES; PopAttrib; ");
    EXPECT_NEAR(Length(recording.Segments()), 16, 1e-4);
}

// With the vertex overlay the crossings show as green points; through the model unless the clip plane is on.
TEST_F(Section, CrossingsAreGreenPoints) {
    const Placed cube = AddColored(Cube());
    scene.SetSectionPlane(cube.instance, {0.5F, 0, 0}, {1, 0, 0});
    scene->SetVertexVisible(cube.instance, 1, &error);
    glEnable(GL_DEPTH_TEST);
    for (const bool clip : {false, true})
        for (const bool transparent : {false, true}) {
            SwitchOn(cube.instance, clip);
            scene->EnableTransparentXSection(cube.instance, transparent, &error);
            Recording recording;
            scene.Draw();
            std::size_t green = 0;
            for (const Primitive& p : recording.PrimitivesOf(GL_POINTS)) {
                if (p.vertices.empty() || p.vertices[0].color != Color{0, 1, 0, 1}) continue;
                green += p.vertices.size();
                for (std::size_t i = 0; i < p.vertices.size(); ++i) EXPECT_NEAR(p.World(i)[0], 0.5, 2e-4);
                EXPECT_EQ(p.state.Enabled(GL_DEPTH_TEST), clip);
                EXPECT_FALSE(p.state.Enabled(GL_CLIP_PLANE0));
            }
            EXPECT_EQ(green, clip || transparent ? 16U : 0U);
        }
}

}  // namespace
}  // namespace tessera::test
