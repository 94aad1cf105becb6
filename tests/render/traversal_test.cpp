// The way of a draw call through the tree: passes, kinds, selection, matrices, mirrors.
#include <algorithm>
#include <cmath>
#include <set>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Traversal : public RenderTest {
protected:
    // The x coordinates where something is drawn, in the order of drawing, and "clear" where the depth is cleared.
    static std::string Drawn(const Recording& recording) {
        EXPECT_EQ(recording.Violations(), Texts{});
        const int clear = recording.Index("glClear 256");
        std::string text, last;
        for (const Primitive& p : recording.Primitives()) {
            if (p.vertices.empty()) continue;
            const std::string x = std::to_string(std::lround(p.World(0)[0])) + " ";
            if (clear >= 0 && p.call > clear && text.find("clear") == std::string::npos) text += "clear ";
            if (x != last) text += x;
            last = x;
        }
        return text;
    }
    std::string Drawn() {
        Recording recording;
        scene.Draw();
        return Drawn(recording);
    }
    // A single triangle at (x, 0, 0); its first vertex tells where it was drawn.
    Placed AddAt(float x, int parent = 0) {
        const Placed placed = AddColored(SingleTriangle(), 0, parent);
        scene.Translate(placed.instance, x, 0, 0);
        return placed;
    }
    const float kQuarter = static_cast<float>(std::acos(0.0));
};

TEST_F(Traversal, NodesAreDrawnWhereTheyStandInTheWorld) {
    const int outer = scene.AddAssembly(), inner = scene.AddAssembly(outer);
    const Placed cube = AddAt(2, inner);
    scene->RotateZ(cube.instance, kQuarter, &error);  // (2, 0, 0) to (0, -2, 0)
    scene.Translate(inner, 10, 0, 0);
    scene->RotateZ(outer, kQuarter, &error);  // (10, -2, 0) to (-2, -10, 0)
    scene.Translate(outer, 0, 0, 5);
    scene.Translate(0, 100, 0, 0);
    scene->TranslateExplode(cube.instance, 1, 0, 0, &error);  // displacements act in the world
    scene->TranslateExplode(inner, 0, 2, 0, &error);
    scene->TranslateExplode(0, 0, 0, 3, &error);
    for (const int node : {0, outer, inner, cube.instance})
        for (const bool explode : {false, true}) {
            SCOPED_TRACE(node);
            Recording recording;
            explode ? scene->DrawExplode(node, 0, &error) : scene->Draw(node, 0, &error);
            ASSERT_EQ(recording.Primitives().size(), explode && node == cube.instance ? 0U : 1U);
            if (recording.Primitives().empty()) continue;
            const auto at = recording.Primitives()[0].World(0);
            const std::array<double, 3> expected = {explode ? 99.0 : 98, explode ? -8.0 : -10, explode ? 8.0 : 5};
            for (int i = 0; i < 3; ++i) EXPECT_NEAR(at[i], expected[i], 1e-5);
        }
}

// A tree may be deeper than the matrix stack that a driver has to offer.
TEST_F(Traversal, DeepTreesKeepWithinTheMatrixStack) {
    int node = 0;
    for (int depth = 0; depth < 100; ++depth) scene.Translate(node = scene.AddAssembly(node), 1, 0, 0);
    const Placed leaf = AddAt(5, node);
    for (const int start : {0, node, leaf.instance}) {
        Recording recording;
        scene.Draw(start);
        scene->DrawExplode(start, 0, &error);
        scene->DrawSimple(start, &error);
        EXPECT_EQ(Drawn(recording), "105 ");
    }
}

TEST_F(Traversal, AlphaDecidesThePass) {
    const Placed cube = AddColored(Cube(), 0);
    for (const auto& [alpha, pass, exploded] : {std::tuple{1.0F, 0, 1U},
                                                {0.96F, 0, 1U},
                                                {0.951F, 0, 1U},
                                                {0.95F, 0, 2U},
                                                {0.9499F, 1, 2U},
                                                {0.0051F, 1, 2U},
                                                {0.005F, -1, 2U},
                                                {0, -1, 2U}}) {
        SCOPED_TRACE(alpha);
        scene.SetTransparency(cube.instance, alpha);
        const Texts bodies = DrawnBodies();
        for (const int i : {0, 1}) EXPECT_EQ(bodies.at(i).empty(), pass != i);
        Recording recording;
        scene->DrawExplode(0, 0, &error);
        EXPECT_EQ(Bodies(recording).size(), exploded);
        EXPECT_EQ(recording.PrimitivesOf(GL_TRIANGLES).size(), pass < 0 ? 0U : 1U);
    }
}

TEST_F(Traversal, KindChoosesTheModeAndSelectionWhoIsDrawn) {
    const Placed cube = AddColored(Cube(), 0);
    // The primitives of each kind; a selected node that is named itself is drawn in all of them.
    const GLenum primitives[] = {GL_TRIANGLES, GL_POINTS, GL_LINES, GL_TRIANGLE_STRIP, GL_TRIANGLES};
    for (const bool selected : {false, true})
        for (int kind = 0; kind <= (selected ? 3 : 4); ++kind)
            for (const int node : {0, cube.instance}) {
                SCOPED_TRACE("kind " + std::to_string(kind) + (selected ? " selected, " : ", ") + std::to_string(node));
                scene.SetSelected(cube.instance, selected);
                Recording recording;
                scene.Draw(node, kind);
                ASSERT_EQ(!recording.Primitives().empty(), selected ? kind == 3 || node : kind != 3);
                if (recording.Primitives().empty()) continue;
                EXPECT_EQ(recording.Primitives()[0].mode, primitives[kind]);
                EXPECT_EQ(recording.Primitives()[0].state.material[0].shininess == 80, kind == 3);
            }
    short mode = -1;
    scene->GetShadeMode(cube.instance, &mode, &error);
    EXPECT_EQ(mode, 0);
    scene->SetSimpleShadeMode(cube.instance, 3, &error);
    Recording recording;
    scene.Draw(cube.instance, 1);
    EXPECT_EQ(recording.Segments().size(), 18U);
}

TEST_F(Traversal, SwitchesLeaveNodesOut) {
    const int assembly = scene.AddAssembly();
    const Placed inside = AddAt(10, assembly), beside = AddAt(20);
    EXPECT_EQ(Drawn(), "10 20 ");
    for (const int node : {assembly, inside.instance}) {
        scene->EnableDrawing(node, 0, &error);
        EXPECT_EQ(Drawn(), "20 ");
        scene->EnableDrawing(node, 1, &error);
    }
    scene->SwitchTriMeshVisibility(beside.instance, 0, &error);
    scene.AddEmptyPart();  // nothing to draw, and no fault
    EXPECT_EQ(Drawn(), "10 ");
    scene.AddInstance(inside.part);
    EXPECT_EQ(Drawn(), "10 0 ");
}

TEST_F(Traversal, MirrorsTurnTheFrontFace) {
    const int assembly = scene.AddAssembly();
    const Placed cube = AddColored(Cube(), 0, assembly);
    const auto turned = [&](int node) {
        Recording recording;
        scene.Draw(node);
        return recording.Primitives().at(0).state.frontFace == GL_CW;
    };
    for (const bool outer : {true, false})
        for (const bool inner : {true, false}) {
            scene->SetMirrorFlag(assembly, outer, &error);
            scene->SetMirrorFlag(cube.instance, inner, &error);
            EXPECT_EQ(turned(0), outer != inner);
            EXPECT_EQ(turned(assembly), inner);  // below a node that is drawn alone each instance's own flag counts
            EXPECT_EQ(turned(cube.instance), inner);
        }
    scene->MirrorXY(cube.instance, &error);
    EXPECT_TRUE(turned(0));
    Recording recording;
    scene.Draw();
    EXPECT_EQ(recording.Primitives().at(0).modelview[10], -1);
}

// Selected nodes come last, over a fresh depth buffer, the transparent ones among them first.
TEST_F(Traversal, ExplodedDrawPutsSelectedOnTop) {
    AddAt(1);
    const Placed transparent = AddAt(2), opaqueToo = AddAt(3), transparentToo = AddAt(4);
    scene.SetTransparency(transparent.instance, 0.5F);
    scene.SetTransparency(transparentToo.instance, 0.5F);
    glEnable(GL_DEPTH_TEST);
    const auto drawn = [&] {
        Recording recording;
        scene->DrawExplode(0, 0, &error);
        EXPECT_EQ(recording.Count("glClear"), recording.Count("glClear 256"));
        return Drawn(recording);
    };
    EXPECT_EQ(drawn(), "1 3 2 4 ");
    scene.SetSelected(opaqueToo.instance, true);
    EXPECT_EQ(drawn(), "1 2 4 clear 3 ");
    scene.SetSelected(transparentToo.instance, true);
    EXPECT_EQ(drawn(), "1 2 clear 4 3 ");
    scene.SetTransparency(0, 1);
    EXPECT_EQ(drawn(), "1 2 clear 3 4 ");
}

TEST_F(Traversal, SimpleDrawUsesTheSimpleModeAndTheBoundBox) {
    const int assembly = scene.AddAssembly();
    const Placed cube = AddColored(Cube(), 1, assembly);
    scene.Translate(assembly, 5, 0, 0);
    for (const bool box : {true, false})
        for (const int node : {0, assembly, cube.instance}) {
            SCOPED_TRACE(node);
            scene->EnableDrawBoundBox(cube.instance, box, &error);
            Recording recording;
            scene->DrawSimple(node, &error);
            EXPECT_EQ(recording.Violations(), Texts{});
            EXPECT_EQ(recording.PrimitivesOf(GL_TRIANGLE_STRIP).size(), 0U);
            EXPECT_EQ(recording.Points().size(), 24U);
            std::set<std::pair<std::array<double, 3>, std::array<double, 3>>> edges;
            for (const Segment& s : recording.Segments()) {
                edges.insert(std::minmax(s.a.at, s.b.at));
                EXPECT_EQ(s.a.color, kExternal);
                int differing = 0;
                for (int i = 0; i < 3; ++i) {
                    EXPECT_EQ(std::abs(s.a.at[i] - (i ? 0 : 5)), 1);
                    differing += s.a.at[i] == (i ? 0 : 10) - s.b.at[i];
                }
                EXPECT_EQ(differing, 1);
            }
            EXPECT_EQ(edges.size(), box ? 12U : 0U);
            EXPECT_EQ(recording.Segments().size(), edges.size());
        }
}

}  // namespace
}  // namespace tessera::test
