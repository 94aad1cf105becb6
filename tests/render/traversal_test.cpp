// The way of a draw call through the tree: passes, kinds, selection, matrices, mirrors.
#include <cmath>
#include <set>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Traversal : public RenderTest {
protected:
    // The x coordinates, or more, where something is drawn, in order, and "clear" where the depth is cleared.
    static std::string Places(const Recording& recording, std::size_t coordinates = 1) {
        std::string text, last;
        int clear = recording.Index("glClear 256");
        for (const Primitive& p : recording.Primitives()) {
            if (p.vertices.empty()) continue;
            std::string at;
            for (std::size_t i = 0; i < coordinates; ++i) at += std::to_string(std::lround(p.World(0)[i])) + " ";
            if (clear >= 0 && p.call > clear) text += "clear ", clear = -1;
            if (at != last) text += at;
            last = at;
        }
        return text;
    }
    std::string Drawn() { return Places(Drawing(scene)); }
    // A single triangle at (x, 0, 0); its first vertex tells where it was drawn.
    Placed AddAt(float x, int parent = 0) {
        const Placed placed = AddColored(SingleTriangle(), 0, parent);
        scene.Translate(placed.instance, x, 0, 0);
        return placed;
    }
};

TEST_F(Traversal, NodesAreDrawnWhereTheyStandInTheWorld) {
    const float quarter = static_cast<float>(std::acos(0.0));
    const int outer = scene.AddAssembly(), inner = scene.AddAssembly(outer), cube = AddAt(2, inner).instance;
    scene->RotateZ(cube, quarter, &error);  // (2, 0, 0) to (0, -2, 0)
    scene.Translate(inner, 10, 0, 0);
    scene->RotateZ(outer, quarter, &error);  // (10, -2, 0) to (-2, -10, 0)
    scene.Translate(outer, 0, 0, 5);
    scene.Translate(0, 100, 0, 0);
    scene->TranslateExplode(cube, 1, 0, 0, &error);  // displacements act in the world
    scene->TranslateExplode(inner, 0, 2, 0, &error);
    scene->TranslateExplode(0, 0, 0, 3, &error);
    for (const int node : {0, outer, inner, cube}) {
        EXPECT_EQ(Places(Drawing(scene, node), 3), "98 -10 5 ");
        EXPECT_EQ(Places(Drawing(scene, node, 0, true), 3), node == cube ? "" : "99 -8 8 ");
    }
}

// A tree may be deeper than the matrix stack that a driver has to offer.
TEST_F(Traversal, DeepTreesKeepWithinTheMatrixStack) {
    int node = 0;
    for (int depth = 0; depth < 100; ++depth) scene.Translate(node = scene.AddAssembly(node), 1, 0, 0);
    for (const int start : {0, node, AddAt(5, node).instance}) {
        const Drawing drawing(scene, start);
        scene->DrawExplode(start, 0, &error);
        scene->DrawSimple(start, &error);
        EXPECT_EQ(Places(drawing), "105 ");
    }
}

TEST_F(Traversal, AlphaDecidesThePass) {
    const int cube = AddColored(Cube(), 0).instance;
    const std::tuple<float, int, std::size_t> cases[] = {{1, 0, 1},       {0.96F, 0, 1},   {0.951F, 0, 1},
                                                         {0.95F, 0, 2},   {0.9499F, 1, 2}, {0.0051F, 1, 2},
                                                         {0.005F, -1, 2}, {0, -1, 2}};
    for (const auto& [alpha, pass, exploded] : cases) {
        scene.SetTransparency(cube, alpha);
        const Texts bodies = Drawing(scene).Bodies();
        for (const int i : {0, 1}) EXPECT_EQ(bodies.at(i).empty(), pass != i) << alpha;
        const Drawing drawing(scene, 0, 0, true);
        EXPECT_EQ(drawing.Bodies().size(), exploded) << alpha;
        EXPECT_EQ(drawing.PrimitivesOf(GL_TRIANGLES).size(), pass < 0 ? 0U : 1U) << alpha;
    }
}

TEST_F(Traversal, KindChoosesTheModeAndSelectionWhoIsDrawn) {
    const int cube = AddColored(Cube(), 0).instance;
    // The primitives of each kind; a selected node that is named itself is drawn in all of them.
    const GLenum primitives[] = {GL_TRIANGLES, GL_POINTS, GL_LINES, GL_TRIANGLE_STRIP, GL_TRIANGLES};
    for (const bool selected : {false, true})
        for (int kind = 0; kind <= (selected ? 3 : 4); ++kind)
            for (const int node : {0, cube}) {
                scene.SetSelected(cube, selected);
                const Drawing drawing(scene, node, kind);
                const auto& p = drawing.Primitives();
                ASSERT_EQ(p.empty(), selected ? kind != 3 && !node : kind == 3) << "kind " << kind;
                const bool shining = !p.empty() && p[0].state.material[0].shininess == 80;
                EXPECT_TRUE(p.empty() || (p[0].mode == primitives[kind] && shining == (kind == 3))) << "kind " << kind;
            }
    short mode = -1;
    scene->GetShadeMode(cube, &mode, &error);
    EXPECT_EQ(mode, 0);
    scene->SetSimpleShadeMode(cube, 3, &error);
    EXPECT_EQ(Drawing(scene, cube, 1).Segments().size(), 18U);
}

TEST_F(Traversal, SwitchesLeaveNodesOut) {
    const int assembly = scene.AddAssembly();
    const Placed inside = AddAt(10, assembly), beside = AddAt(20);
    for (const int node : {assembly, inside.instance}) {
        scene->EnableDrawing(node, 0, &error);
        EXPECT_EQ(Drawn(), "20 ");
        scene->EnableDrawing(node, 1, &error);
        EXPECT_EQ(Drawn(), "10 20 ");
    }
    scene->SwitchTriMeshVisibility(beside.instance, 0, &error);
    scene.AddEmptyPart();  // nothing to draw, and no fault
    scene.AddInstance(inside.part);
    EXPECT_EQ(Drawn(), "10 0 ");
}

TEST_F(Traversal, MirrorsTurnTheFrontFace) {
    const int assembly = scene.AddAssembly(), cube = AddColored(Cube(), 0, assembly).instance;
    const auto turned = [&](int node) { return Drawing(scene, node).Primitives().at(0).state.frontFace == GL_CW; };
    for (const bool outer : {true, false})
        for (const bool inner : {true, false}) {
            scene->SetMirrorFlag(assembly, outer, &error);
            scene->SetMirrorFlag(cube, inner, &error);
            EXPECT_EQ(turned(0), outer != inner);
            EXPECT_EQ(turned(assembly), inner);  // below a node that is drawn alone each instance's own flag counts
            EXPECT_EQ(turned(cube), inner);
        }
    scene->MirrorXY(cube, &error);
    EXPECT_TRUE(turned(0));
    EXPECT_EQ(Drawing(scene).Primitives().at(0).modelview[10], -1);
}

// Selected nodes come last, over a fresh depth buffer, the transparent ones among them first.
TEST_F(Traversal, ExplodedDrawPutsSelectedOnTop) {
    AddAt(1);
    const int glass = AddAt(2).instance, opaque = AddAt(3).instance, glassToo = AddAt(4).instance;
    for (const int node : {glass, glassToo}) scene.SetTransparency(node, 0.5F);
    glEnable(GL_DEPTH_TEST);
    const auto drawn = [&] {
        const Drawing drawing(scene, 0, 0, true);
        EXPECT_EQ(drawing.Count("glClear"), drawing.Count("glClear 256"));
        return Places(drawing);
    };
    EXPECT_EQ(drawn(), "1 3 2 4 ");
    scene.SetSelected(opaque, true);
    EXPECT_EQ(drawn(), "1 2 4 clear 3 ");
    scene.SetSelected(glassToo, true);
    EXPECT_EQ(drawn(), "1 2 clear 4 3 ");
    scene.SetTransparency(0, 1);
    EXPECT_EQ(drawn(), "1 2 clear 3 4 ");
}

TEST_F(Traversal, SimpleDrawUsesTheSimpleModeAndTheBoundBox) {
    const int assembly = scene.AddAssembly(), cube = AddColored(Cube(), 1, assembly).instance;
    scene.Translate(assembly, 5, 0, 0);
    std::multiset<std::pair<std::array<double, 3>, std::array<double, 3>>> box;
    const auto corner = [](int i) { return std::array{i & 1 ? 6.0 : 4, i & 2 ? 1.0 : -1, i & 4 ? 1.0 : -1}; };
    for (int i = 0; i < 8; ++i)
        for (const int bit : {1, 2, 4})
            if (!(i & bit)) box.emplace(corner(i), corner(i | bit));
    for (const bool boxed : {true, false})
        for (const int node : {0, assembly, cube}) {
            scene->EnableDrawBoundBox(cube, boxed, &error);
            Recording recording;
            scene->DrawSimple(node, &error);
            EXPECT_EQ(recording.Violations(), Texts{});
            EXPECT_EQ(recording.PrimitivesOf(GL_TRIANGLE_STRIP).size(), 0U);
            EXPECT_EQ(recording.Points().size(), 24U);
            decltype(box) edges;
            for (const Segment& s : recording.Segments()) {
                edges.insert(std::minmax(s.a.at, s.b.at));
                EXPECT_EQ(s.a.color, kExternal);
            }
            EXPECT_EQ(edges, boxed ? box : decltype(box)()) << node;
        }
}

}  // namespace
}  // namespace tessera::test
