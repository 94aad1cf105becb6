// What a draw call leaves behind.
#include <cmath>
#include <set>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class HostState : public RenderTest {
protected:
    // A state in which nothing is as a new context has it.
    void SetUp() override {
        for (const GLenum capability : {GL_CULL_FACE, GL_LIGHTING, GL_BLEND, GL_LINE_STIPPLE}) glEnable(capability);
        glPolygonMode(GL_FRONT, GL_POINT);
        glPolygonMode(GL_BACK, GL_LINE);
        glBlendFunc(GL_ZERO, GL_ONE);
        glDepthMask(GL_FALSE);
        glDepthFunc(GL_EQUAL);
        glColorMask(1, 0, 1, 0);
        glColor4f(0.1F, 0.2F, 0.3F, 0.4F);
        glNormal3f(0, 1, 0);
        glLineWidth(3);
        glLineStipple(4, 0x0F0F);
        glPointSize(5);
        glBindTexture(GL_TEXTURE_2D, 9);
        glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_OBJECT_LINEAR);
        const double plane[4] = {1, 2, 3, 4};
        glClipPlane(GL_CLIP_PLANE0, plane);
        glVertexPointer(3, GL_FLOAT, 0, host_);
        glEnableClientState(GL_VERTEX_ARRAY);
        glEnableClientState(GL_COLOR_ARRAY);
        glMatrixMode(GL_PROJECTION);
    }

    void ExpectKept(const Recording& recording, int mode) {
        std::set<std::string> kept = {"GL_NORMALIZE", "cullFace", "frontFace", "shadeModel", "material"};
        if (mode == 4 || mode == 6) kept.insert({"GL_POLYGON_OFFSET_FILL", "polygonOffset"});
        Texts lost;
        for (const std::string& name : recording.Changed())
            if (!kept.count(name)) lost.push_back(name);
        EXPECT_EQ(lost, Texts{});
        EXPECT_EQ(recording.Violations(), Texts{});
    }

    const float host_[9] = {};
};

TEST_F(HostState, ComesBackAfterEveryModeWithEveryOverlay) {
    const Placed box = AddColored(OpenBox());
    const Placed glass = AddColored(Cube());
    scene.SetTransparency(glass.instance, 0.5F);
    for (const bool depthTest : {false, true})
        for (const int overlay : {0, 1, 2, 3})
            for (int mode = 0; mode <= 12; ++mode) {
                SCOPED_TRACE("mode " + std::to_string(mode) + ", overlay " + std::to_string(overlay));
                depthTest ? glEnable(GL_DEPTH_TEST) : glDisable(GL_DEPTH_TEST);
                scene->UseVertexArray(mode % 2 == overlay % 2);
                scene.SetShadeMode(0, mode);
                scene->SetOptionsShadeMode(0, static_cast<short>(overlay % 3), &error);
                scene->SetVertexVisible(0, overlay == 3, &error);
                scene->SwitchCrossSectionPlane(0, overlay == 3, &error);
                scene.SetSelected(box.instance, overlay == 1);
                for (const int kind : {0, 1, 2, 3})
                    for (const int node : {0, glass.instance}) {
                        Recording recording;
                        scene.Draw(node, kind);
                        scene->DrawExplode(node, kind, &error);
                        scene->DrawSimple(node, &error);
                        ExpectKept(recording, mode);
                    }
            }
}

TEST_F(HostState, KeepsWhatADrawPromisesToLeave) {
    const Placed cube = AddColored(Cube(), 0);
    glCullFace(GL_FRONT);
    scene->SetMirrorFlag(cube.instance, 1, &error);
    Recording recording;
    scene.Draw();
    const State& now = TheLog().context.state;
    EXPECT_TRUE(now.Enabled(GL_NORMALIZE) && now.cullFace == GL_BACK && now.frontFace == GL_CW);
    EXPECT_TRUE(now.shadeModel == GL_FLAT && std::abs(now.material[0].diffuse[0] - 0.6F) < 1e-6F);
    EXPECT_TRUE(recording.Primitives().at(0).state.Enabled(GL_CULL_FACE));  // culling is the host's
}

TEST_F(RenderTest, EveryModeDrawsEveryMeshWithoutAFault) {
    for (const TestMesh& mesh : MeshSuite()) {
        const Placed placed = AddColored(mesh);
        scene->SetOptionsShadeMode(placed.instance, 1, &error);
        scene->SetVertexVisible(placed.instance, 1, &error);
        for (const bool arrays : {false, true})
            for (int mode = 0; mode <= 11; ++mode) {
                SCOPED_TRACE(mesh.name + ", mode " + std::to_string(mode));
                scene->UseVertexArray(arrays);
                scene.SetShadeMode(placed.instance, mode);
                scene->SwitchCrossSectionPlane(placed.instance, mode % 2, &error);
                std::size_t calls[2];
                for (std::size_t& count : calls) {
                    Recording recording;
                    scene.Draw();
                    EXPECT_EQ(recording.Violations(), Texts{});
                    EXPECT_EQ(recording.UnusedPointers(), 0);
                    EXPECT_FALSE(recording.Primitives().empty());
                    count = recording.Calls().size();
                }
                EXPECT_EQ(calls[0], calls[1]);
            }
        scene->Remove(placed.instance, &error);
    }
}

}  // namespace
}  // namespace tessera::test
