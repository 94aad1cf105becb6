// The filling of cuts through the stencil buffer, and the display of the plane.
#include <cmath>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Capping : public RenderTest {
protected:
    Placed AddCut(int mode, float alpha) {
        const Placed cube = AddColored(Cube(), mode);
        scene.SetTransparency(cube.instance, alpha);
        scene.SetSectionPlane(cube.instance, {2.25F, 0, 0}, {-2, 0, 0});
        scene.Translate(cube.instance, 2, 0, 0);
        scene->EnableCrossSection(cube.instance, 1, &error);
        scene->SwitchCrossSectionPlane(cube.instance, 1, &error);
        scene->EnableCrossSectionCapping(cube.instance, 1, &error);
        return cube;
    }
};

TEST_F(Capping, FillsWhereAnOddNumberOfSurfacesIsSeen) {
    for (const auto& [mode, alpha, color] : {std::tuple{1, 1.0F, kExternal},
                                             {0, 0.96F, kExternal},
                                             {1, 0.5F, Color{0.9F, 0.6F, 0.3F, 0.5F}},
                                             {4, 0.5F, Color{0.3F, 0.5F, 0.7F, 1}}}) {
        SCOPED_TRACE("mode " + std::to_string(mode) + ", alpha " + std::to_string(alpha));
        const Placed cube = AddCut(mode, alpha);
        scene.AddCurveTo(cube.part, {{0.5F, 0, 0}, {0.9F, 0, 0}});
        Recording recording;
        scene.Draw();
        const int clear = recording.Index("glClear 1024");
        EXPECT_LT(recording.Index("glEnable GL_STENCIL_TEST"), clear);
        EXPECT_LT(clear, recording.Index("glStencilOp"));
        const Primitive cap = recording.PrimitivesOf(GL_QUADS).at(alpha < 0.95F ? 1 : 0);
        EXPECT_EQ(cap.state.stencilFunc[0], GL_EQUAL);
        ASSERT_EQ(cap.vertices.size(), 4U);
        EXPECT_EQ(cap.vertices[0].color, color);
        EXPECT_TRUE(cap.state.polygonMode[0] == GL_FILL && cap.state.Enabled(GL_STENCIL_TEST));
        EXPECT_FALSE(cap.state.Enabled(GL_CLIP_PLANE0));
        EXPECT_TRUE(cap.state.depthMask == (alpha >= 0.96F) && cap.state.Enabled(GL_BLEND) == (alpha < 0.96F));
        for (int i = 0; i < 4; ++i) {
            EXPECT_NEAR(cap.World(i)[0], 2.25, 1e-5);
            EXPECT_NEAR(std::hypot(cap.World(i)[1], cap.World(i)[2]), std::sqrt(12.0), 1e-4);
        }
        // Surfaces turn the bit over; lines and curves neither test nor change it.
        for (const Primitive& p : recording.Primitives()) {
            const bool surface = p.mode == GL_TRIANGLE_STRIP || p.mode == GL_TRIANGLES;
            if (surface || p.mode == GL_LINE_STRIP || p.mode == GL_LINES) {
                EXPECT_EQ(p.state.Enabled(GL_STENCIL_TEST), surface);
                EXPECT_TRUE(!surface || p.state.stencilOp[2] == GL_INVERT);
            }
        }
        EXPECT_EQ(recording.Violations(), Texts{});
        scene->EnableDrawing(cube.instance, 0, &error);
    }
}

TEST_F(Capping, NeedsSectionAndCapping) {
    const Placed cube = AddCut(1, 1);
    for (const bool section : {false, true})
        for (const bool capping : {false, true}) {
            scene->EnableCrossSection(cube.instance, section, &error);
            scene->EnableCrossSectionCapping(cube.instance, capping, &error);
            Recording recording;
            scene.Draw();
            EXPECT_EQ(recording.Count("glEnable GL_STENCIL_TEST") > 0, section && capping);
        }
}

TEST_F(Capping, ThePlaneIsShownAroundAnAssembly) {
    const Placed cube = AddColored(Cube());
    float point[3] = {0.5F, 9, 9}, normal[3] = {4, 0, 0};
    Recording recording;
    EXPECT_EQ(scene->DrawClipPlane(0, point, normal, &error), STATUS_OK);
    const Primitive plane = recording.PrimitivesOf(GL_POLYGON).at(0);
    ASSERT_EQ(plane.vertices.size(), 5U);
    EXPECT_EQ(plane.vertices[0].position, plane.vertices[4].position);
    for (int i = 0; i < 4; ++i) EXPECT_NEAR(plane.World(i)[0], 0.5, 1e-5);
    EXPECT_TRUE(plane.state.Enabled(GL_BLEND));
    EXPECT_FLOAT_EQ(plane.state.material[1].diffuse[3], 0.6F);
    // The lines in which the part's own plane cuts it.
    EXPECT_EQ(recording.Segments().size(), 8U);
    EXPECT_EQ(recording.Segments()[0].a.color, kRed);
    EXPECT_EQ(recording.Violations(), Texts{});
    Recording nothing;
    scene->DrawClipPlane(cube.instance, point, normal, &error);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(nothing.Primitives().size(), 0U);
    EXPECT_LT(scene->DrawClipPlane(99, point, normal, &error), 0);
}

}  // namespace
}  // namespace tessera::test
