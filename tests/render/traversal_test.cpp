// The way of a draw call through the tree: passes, kinds, selection, matrices, mirrors.
#include <algorithm>
#include <cmath>
#include <set>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Traversal : public RenderTest {
protected:
    // The x coordinates of the first vertices of what is drawn from call `from` on, in the order of drawing.
    static std::vector<double> Drawn(const Recording& recording, int from = 0) {
        std::vector<double> places;
        for (const Primitive& p : recording.Primitives()) {
            if (p.call < from || p.vertices.empty()) continue;
            const double x = std::round(p.World(0)[0]);
            if (places.empty() || places.back() != x) places.push_back(x);
        }
        return places;
    }

    // A single triangle at (x, 0, 0); its first vertex tells where it was drawn.
    Placed AddAt(float x, int parent = 0) {
        const Placed placed = AddColored(SingleTriangle(), 0, parent);
        scene.Translate(placed.instance, x, 0, 0);
        return placed;
    }
};

TEST_F(Traversal, RootTakesThreePassesANodeTwo) {
    const Placed box = AddColored(OpenBox());
    scene->SetOptionsShadeMode(box.instance, 2, &error);
    {
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Count("glPushMatrix"), 6);
        EXPECT_EQ(Bodies(recording).size(), 3U);
        EXPECT_EQ(recording.Points().size(), 8U);
        EXPECT_TRUE(recording.Before("glEnable GL_NORMALIZE", "glCullFace GL_BACK"));
        EXPECT_TRUE(recording.Before("glCullFace GL_BACK", "glPushMatrix"));
    }
    Recording recording;
    scene.Draw(box.instance);
    EXPECT_EQ(Bodies(recording).size(), 2U);
    EXPECT_EQ(recording.Points().size(), 0U);
    EXPECT_EQ(recording.Primitives().size(), 5U);
}

TEST_F(Traversal, NodesAreDrawnWhereTheyStandInTheWorld) {
    const int outer = scene.AddAssembly(), inner = scene.AddAssembly(outer);
    const Placed cube = AddAt(2, inner);
    scene->RotateZ(cube.instance, static_cast<float>(std::acos(0.0)), &error);  // (2, 0, 0) to (0, -2, 0)
    scene.Translate(inner, 10, 0, 0);
    scene->RotateZ(outer, static_cast<float>(std::acos(0.0)), &error);  // (10, -2, 0) to (-2, -10, 0)
    scene.Translate(outer, 0, 0, 5);
    scene.Translate(0, 100, 0, 0);
    scene->TranslateExplode(cube.instance, 1, 0, 0, &error);  // displacements act in the world
    scene->TranslateExplode(inner, 0, 2, 0, &error);
    scene->TranslateExplode(0, 0, 0, 3, &error);
    for (const int node : {0, outer, inner, cube.instance}) {
        SCOPED_TRACE(node);
        for (const bool explode : {false, true}) {
            Recording recording;
            explode ? scene->DrawExplode(node, 0, &error) : scene->Draw(node, 0, &error);
            ASSERT_EQ(recording.Primitives().size(), explode && node == cube.instance ? 0U : 1U);
            if (recording.Primitives().empty()) continue;
            const auto at = recording.Primitives()[0].World(0);
            EXPECT_NEAR(at[0], explode ? 99 : 98, 1e-5);
            EXPECT_NEAR(at[1], explode ? -8 : -10, 1e-5);
            EXPECT_NEAR(at[2], explode ? 8 : 5, 1e-5);
            EXPECT_EQ(recording.Violations(), Texts{});
        }
    }
}

// A tree may be deeper than the matrix stack that a driver has to offer.
TEST_F(Traversal, DeepTreesKeepWithinTheMatrixStack) {
    int node = 0;
    for (int depth = 0; depth < 100; ++depth) {
        node = scene.AddAssembly(node);
        scene.Translate(node, 1, 0, 0);
    }
    const Placed leaf = AddAt(5, node);
    for (const int start : {0, node, leaf.instance}) {
        Recording recording;
        scene.Draw(start);
        scene->DrawExplode(start, 0, &error);
        scene->DrawSimple(start, &error);
        EXPECT_EQ(recording.Violations(), Texts{});
        EXPECT_EQ(Drawn(recording), (std::vector<double>{105}));
    }
}

TEST_F(Traversal, AlphaDecidesThePass) {
    struct Case {
        float alpha;
        int pass;  // -1 for never
    };
    const Placed cube = AddColored(Cube(), 0);
    for (const Case& c : {Case{1, 0}, Case{0.96F, 0}, Case{0.95F, 0}, Case{0.9499F, 1}, Case{0.5F, 1}, Case{0.0051F, 1},
                          Case{0.005F, -1}, Case{0, -1}}) {
        scene.SetTransparency(cube.instance, c.alpha);
        const auto bodies = DrawnBodies();
        for (const int pass : {0, 1}) EXPECT_EQ(bodies.at(pass).empty(), pass != c.pass) << c.alpha;
    }
}

TEST_F(Traversal, KindChoosesTheModeAndSelectionWhoIsDrawn) {
    const Placed cube = AddColored(Cube(), 0);
    struct Case {
        bool selected;
        int kind;
        const char* fromRoot;  // the primitive that is drawn, "" for none
        const char* fromNode;
    };
    const Case cases[] = {
        {false, 0, "GL_TRIANGLES", "GL_TRIANGLES"},
        {false, 1, "GL_POINTS", "GL_POINTS"},
        {false, 2, "GL_LINES", "GL_LINES"},
        {false, 3, "", ""},
        {false, 4, "GL_TRIANGLES", "GL_TRIANGLES"},
        {true, 0, "", "GL_TRIANGLES"},
        {true, 1, "", "GL_POINTS"},
        {true, 2, "", "GL_LINES"},
        {true, 3, "GL_TRIANGLE_STRIP", "GL_TRIANGLE_STRIP"},
    };
    for (const Case& c : cases)
        for (const int node : {0, cube.instance}) {
            SCOPED_TRACE("kind " + std::to_string(c.kind) + (c.selected ? " selected, " : ", ") + std::to_string(node));
            scene.SetSelected(cube.instance, c.selected);
            Recording recording;
            scene.Draw(node, c.kind);
            const auto& primitives = recording.Primitives();
            EXPECT_EQ(primitives.empty() ? "" : ConstantName(primitives[0].mode), node ? c.fromNode : c.fromRoot);
            if (c.kind == 3 && c.selected) {
                EXPECT_EQ(primitives.at(0).state.material[0].shininess, 80);
            }
            short mode = -1;
            scene->GetShadeMode(cube.instance, &mode, &error);
            EXPECT_EQ(mode, 0);
        }
    scene->SetSimpleShadeMode(cube.instance, 3, &error);
    scene.SetSelected(cube.instance, false);
    Recording recording;
    scene.Draw(0, 1);
    EXPECT_EQ(recording.Segments().size(), 18U);
}

TEST_F(Traversal, SwitchesLeaveNodesOut) {
    const int assembly = scene.AddAssembly();
    const Placed inside = AddAt(10, assembly), beside = AddAt(20);
    const auto drawn = [&] {
        Recording recording;
        scene.Draw();
        return Drawn(recording);
    };
    EXPECT_EQ(drawn(), (std::vector<double>{10, 20}));
    scene->EnableDrawing(assembly, 0, &error);
    EXPECT_EQ(drawn(), (std::vector<double>{20}));
    scene->EnableDrawing(assembly, 1, &error);
    scene->EnableDrawing(inside.instance, 0, &error);
    EXPECT_EQ(drawn(), (std::vector<double>{20}));
    scene->EnableDrawing(inside.instance, 1, &error);
    scene->SwitchTriMeshVisibility(beside.instance, 0, &error);
    EXPECT_EQ(drawn(), (std::vector<double>{10}));
    scene.AddEmptyPart();  // nothing to draw, and no fault
    scene.AddInstance(inside.part);
    EXPECT_EQ(drawn(), (std::vector<double>{10, 0}));
}

TEST_F(Traversal, MirrorsTurnTheFrontFace) {
    const int assembly = scene.AddAssembly();
    const Placed cube = AddColored(Cube(), 0, assembly);
    for (const bool outer : {false, true})
        for (const bool inner : {false, true}) {
            scene->SetMirrorFlag(assembly, outer, &error);
            scene->SetMirrorFlag(cube.instance, inner, &error);
            const auto face = [&](int node) {
                Recording recording;
                scene.Draw(node);
                return recording.Primitives().at(0).state.frontFace == GL_CW;
            };
            EXPECT_EQ(face(0), outer != inner);
            EXPECT_EQ(face(assembly), inner);  // below a node that is drawn alone each instance's own flag counts
            EXPECT_EQ(face(cube.instance), inner);
        }
    scene->SetMirrorFlag(assembly, 0, &error);
    scene->SetMirrorFlag(cube.instance, 0, &error);
    scene->MirrorXY(cube.instance, &error);
    Recording recording;
    scene.Draw();
    EXPECT_EQ(recording.Primitives().at(0).state.frontFace, static_cast<GLenum>(GL_CW));
    EXPECT_EQ(recording.Primitives().at(0).modelview[10], -1);
}

// Selected nodes come last, over a fresh depth buffer, the transparent ones among them first.
TEST_F(Traversal, ExplodedDrawPutsSelectedOnTop) {
    AddAt(1);
    const Placed transparent = AddAt(2), opaqueToo = AddAt(3), transparentToo = AddAt(4);
    scene.SetTransparency(transparent.instance, 0.5F);
    scene.SetTransparency(transparentToo.instance, 0.5F);
    const auto draw = [&](const char* when, std::vector<double> before, std::vector<double> after) {
        SCOPED_TRACE(when);
        glEnable(GL_DEPTH_TEST);
        Recording recording;
        scene->DrawExplode(0, 0, &error);
        EXPECT_EQ(error, 1);
        EXPECT_EQ(recording.Violations(), Texts{});
        EXPECT_EQ(recording.Count("glClear"), after.empty() ? 0 : 1);
        const int clear = recording.Index("glClear 256");
        EXPECT_EQ(Drawn(recording, clear < 0 ? static_cast<int>(recording.Calls().size()) : clear), after);
        std::vector<double> all = std::move(before);
        all.insert(all.end(), after.begin(), after.end());
        EXPECT_EQ(Drawn(recording), all);
    };
    draw("nothing selected", {1, 3, 2, 4}, {});
    scene.SetSelected(opaqueToo.instance, true);
    draw("one selected", {1, 2, 4}, {3});
    scene.SetSelected(transparentToo.instance, true);
    draw("two selected", {1, 2}, {4, 3});
    scene.SetTransparency(0, 1);
    draw("all opaque", {1, 2}, {3, 4});
}

TEST_F(Traversal, ExplodedDrawCountsAlphaOf095AsTransparent) {
    const Placed cube = AddColored(Cube(), 0);
    for (const float alpha : {1.0F, 0.951F, 0.95F}) {
        scene.SetTransparency(cube.instance, alpha);
        Recording recording;
        scene->DrawExplode(0, 0, &error);
        EXPECT_EQ(Bodies(recording).size(), alpha > 0.95F ? 1U : 2U);
        EXPECT_EQ(recording.PrimitivesOf(GL_TRIANGLES).size(), 1U);
    }
}

TEST_F(Traversal, SimpleDrawUsesTheSimpleModeAndTheBoundBox) {
    const int assembly = scene.AddAssembly();
    const Placed cube = AddColored(Cube(), 1, assembly);
    scene.Translate(assembly, 5, 0, 0);
    for (const bool box : {false, true})
        for (const int node : {0, assembly, cube.instance}) {
            SCOPED_TRACE(node);
            scene->EnableDrawBoundBox(cube.instance, box, &error);
            Recording recording;
            scene->DrawSimple(node, &error);
            EXPECT_EQ(error, 1);
            EXPECT_EQ(recording.Violations(), Texts{});
            EXPECT_EQ(recording.PrimitivesOf(GL_TRIANGLE_STRIP).size(), 0U);
            EXPECT_EQ(recording.Points().size(), 24U);
            const auto segments = recording.Segments();
            ASSERT_EQ(segments.size(), box ? 12U : 0U);
            std::set<std::pair<std::array<double, 3>, std::array<double, 3>>> edges;
            for (const Segment& s : segments) {
                edges.insert(std::minmax(s.a.at, s.b.at));
                EXPECT_EQ(s.a.color, kExternal);
                double length = 0;
                for (int i = 0; i < 3; ++i) {
                    EXPECT_EQ(std::abs(s.a.at[i] - (i ? 0 : 5)), 1);
                    length += std::abs(s.a.at[i] - s.b.at[i]);
                }
                EXPECT_EQ(length, 2);
            }
            EXPECT_EQ(edges.size(), segments.size());
        }
    EXPECT_EQ(DrawnSegments().size(), 0U);
}

TEST_F(Traversal, UnknownNodesAreRefusedWithoutACall) {
    AddColored(Cube());
    Recording recording;
    int errors[3] = {7, 7, 7};
    EXPECT_EQ(scene->Draw(99, 0, &errors[0]), STATUS_FAIL);
    EXPECT_EQ(scene->DrawExplode(99, 0, &errors[1]), STATUS_FAIL);
    EXPECT_EQ(scene->DrawSimple(99, &errors[2]), STATUS_FAIL);
    for (const int e : errors) EXPECT_EQ(e, 0);
    EXPECT_EQ(recording.Primitives().size(), 0U);
    EXPECT_EQ(recording.Violations(), Texts{});
}

}  // namespace
}  // namespace tessera::test
