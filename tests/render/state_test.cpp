// What a draw call leaves behind, and that the recorder would tell: one that overlooked faults would let every test
// pass.
#include <cmath>
#include <set>

#include "render_fixture.h"

namespace tessera::test {
namespace {

TEST(Recorder, FindsPlantedFaults) {
    static const float strip[18] = {};
    const std::pair<void (*)(), const char*> cases[] = {
        {[] { glBegin(GL_LINES), glEnable(GL_BLEND), glEnd(); }, "glEnable between glBegin and glEnd"},
        {[] { glBegin(GL_LINES), glVertex3f(0, 0, 0), glEnd(); }, "1 vertices in GL_LINES"},
        {[] { glPushMatrix(); }, "modelview stack left at another depth"},
        {[] { glVertex3f(0, 0, 0); }, "glVertex3f outside glBegin and glEnd"},
        {[] { glPopMatrix(); }, "glPopMatrix underflow"},
        {[] { glPushAttrib(GL_LIGHTING_BIT); }, "attribute stack left at another depth"},
        {[] { glDrawArrays(GL_TRIANGLE_STRIP, 0, 3); }, "glDrawArrays without a vertex array"},
        {[] { glInterleavedArrays(GL_N3F_V3F, 0, strip), glDrawArrays(GL_TRIANGLES, 0, 0); },
         "glDrawArrays of 0 vertices"},
    };
    for (const auto& [run, complaint] : cases) {
        ResetContext();
        Recording recording;
        run();
        EXPECT_EQ(recording.Violations(), Texts{complaint});
    }
    // A group that is restored brings back its own state and no other.
    ResetContext();
    Recording recording;
    glPushAttrib(GL_LINE_BIT | GL_ENABLE_BIT);
    glLineWidth(2), glEnable(GL_BLEND), glPointSize(2), glDepthMask(0);
    glPopAttrib();
    EXPECT_EQ(recording.Changed(), (Texts{"depthMask", "pointSize"}));
    EXPECT_EQ((Fields().back().at + Fields().back().count) * sizeof(double), sizeof(State));
}

class HostState : public RenderTest {
protected:
    // A state in which nothing is as a new context has it.
    HostState() {
        for (const GLenum capability : {GL_CULL_FACE, GL_LIGHTING, GL_BLEND, GL_LINE_STIPPLE}) glEnable(capability);
        glPolygonMode(GL_FRONT, GL_POINT), glPolygonMode(GL_BACK, GL_LINE);
        glBlendFunc(GL_ZERO, GL_ONE), glColorMask(1, 0, 1, 0);
        glDepthMask(GL_FALSE), glDepthFunc(GL_EQUAL);
        glColor4f(0.1F, 0.2F, 0.3F, 0.4F), glNormal3f(0, 1, 0);
        glLineWidth(3), glLineStipple(4, 0x0F0F), glPointSize(5);
        glBindTexture(GL_TEXTURE_2D, 9), glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
        const double plane[4] = {1, 2, 3, 4};
        glClipPlane(GL_CLIP_PLANE0, plane);
        glVertexPointer(3, GL_FLOAT, 0, host_);
        glEnableClientState(GL_VERTEX_ARRAY), glEnableClientState(GL_COLOR_ARRAY);
        glMatrixMode(GL_PROJECTION);
    }

    const float host_[9] = {};
};

TEST_F(HostState, ComesBackAfterEveryModeWithEveryOverlay) {
    const int box = AddColored(OpenBox()).instance, glass = AddColored(Cube()).instance;
    scene.SetTransparency(glass, 0.5F);
    for (const bool depthTest : {false, true})
        for (const int overlay : {0, 1, 2, 3})
            for (int mode = 0; mode <= 12; ++mode) {
                SCOPED_TRACE("mode " + std::to_string(mode) + ", overlay " + std::to_string(overlay));
                depthTest ? glEnable(GL_DEPTH_TEST) : glDisable(GL_DEPTH_TEST);
                scene->UseVertexArray(mode % 2 == overlay % 2);
                scene.SetShadeMode(0, mode);
                Overlay(0, overlay % 3, overlay == 3);
                Cut(0, true, overlay == 3);
                scene.SetSelected(box, overlay == 1);
                for (const int kind : {0, 1, 2, 3})
                    for (const int node : {0, glass}) {
                        const Drawing drawing(scene, node, kind);
                        scene->DrawExplode(node, kind, &error);
                        scene->DrawSimple(node, &error);
                        std::set<std::string> kept = {"GL_NORMALIZE", "cullFace", "frontFace", "shadeModel",
                                                      "material"};
                        if (mode == 4 || mode == 6) kept.insert({"GL_POLYGON_OFFSET_FILL", "offset"});
                        for (const std::string& name : drawing.Changed()) EXPECT_TRUE(kept.count(name)) << name;
                    }
            }
}

TEST_F(HostState, KeepsWhatADrawPromisesToLeave) {
    const int cube = AddColored(Cube(), 6).instance;
    glCullFace(GL_FRONT);
    scene->SetMirrorFlag(cube, 1, &error);
    scene.Draw();
    scene.SetShadeMode(cube, 0);
    EXPECT_TRUE(Drawing(scene).Primitives().at(0).state.Enabled(GL_CULL_FACE));  // culling is the host's
    const State& now = TheLog().context.state;
    EXPECT_TRUE(now.Enabled(GL_NORMALIZE) && now.cullFace == GL_BACK && now.frontFace == GL_CW);
    EXPECT_TRUE(now.Enabled(GL_POLYGON_OFFSET_FILL) && now.offset[0] == 1 && now.offset[1] == 50);
    EXPECT_TRUE(now.shadeModel == GL_FLAT && std::abs(now.material[0].diffuse[0] - 0.6F) < 1e-6F);
}

// A mesh that is built while the host has arrays of its own.
TEST_F(HostState, BuildingLeavesTheHostsArraysAlone) {
    Recording recording;
    AddColored(Cube());
    EXPECT_EQ(recording.Changed(), Texts{});
    EXPECT_EQ(recording.Violations(), Texts{});
}

}  // namespace
}  // namespace tessera::test
