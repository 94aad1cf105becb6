// Which edges and vertices the line and point modes draw.
#include <cmath>
#include <map>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Edges : public RenderTest {
protected:
    std::map<Color, int> SegmentsByColor() {
        std::map<Color, int> count;
        for (const Segment& s : DrawnSegments()) {
            EXPECT_EQ(s.a.color, s.b.color);
            ++count[s.a.color];
        }
        return count;
    }
};

// With a view that is neither perspective nor parallel there are no silhouettes, and the counts are the mesh's own.
TEST_F(Edges, EveryMeshShowsItsHardOpenAndAllEdges) {
    for (const TestMesh& mesh : MeshSuite()) {
        SCOPED_TRACE(mesh.name);
        const Placed placed = AddColored(mesh);
        scene->SetViewingType(placed.instance, 2, &error);
        const int hard = mesh.hardEdges, open = mesh.openEdges, all = (3 * mesh.triangles + open) / 2;
        const std::map<int, std::map<Color, int>> expected = {{2, {{kEdge, hard}, {kBorder, open}}},
                                                              {3, {{kExternal, all}}},
                                                              {4, {{kEdge, hard}, {kBorder, open}}},
                                                              {6, {{{0.1F, 0.1F, 0.1F, 1}, hard + open}}},
                                                              {8, {{kRed, hard + open}}}};
        for (auto [mode, colors] : expected) {
            scene.SetShadeMode(placed.instance, mode);
            std::erase_if(colors, [](const auto& entry) { return entry.second == 0; });
            EXPECT_EQ(SegmentsByColor(), colors) << "mode " << mode;
        }
        scene->Remove(placed.instance, &error);
    }
}

// A ball of 32 sides and 16 rings: seen along z its silhouette is the ring of 32 edges at the height where the sight
// lines touch; seen along y, two meridians of 16 edges.
TEST_F(Edges, SilhouetteOfASmoothBallFollowsTheCamera) {
    struct Case {
        const char* name;
        int viewing;
        Point camera;
        int axis;       // the silhouette lies across this axis
        double height;  // at this distance from the centre
    };
    const double step = std::sin(std::acos(-1.0) / 16);
    const Case cases[] = {{"parallel along z", 1, {0, 0, 50}, 2, 0},
                          {"parallel along y", 1, {0, -50, 0}, 1, 0},
                          {"perspective from z", 0, {0, 0, 5}, 2, step},
                          {"perspective from below", 0, {0, 0, -5}, 2, -step}};
    const Placed ball = AddColored(Sphere());
    for (const double offset : {0.0, 10.0}) {
        if (offset > 0) scene.Translate(ball.instance, 10, 10, 10);
        for (const Case& c : cases)
            for (const int mode : {2, 4, 8}) {
                SCOPED_TRACE(std::string(c.name) + ", mode " + std::to_string(mode));
                const float shift = static_cast<float>(offset);
                scene.SetShadeMode(ball.instance, mode);
                scene->SetViewingType(ball.instance, static_cast<short>(c.viewing), &error);
                scene.SetCamera({c.camera[0] + shift, c.camera[1] + shift, c.camera[2] + shift}, {shift, shift, shift});
                const auto segments = DrawnSegments();
                EXPECT_EQ(segments.size(), 32U);
                for (const Segment& s : segments) {
                    EXPECT_NEAR(s.a.at[c.axis] - offset, c.height, 1e-5);
                    EXPECT_NEAR(s.b.at[c.axis] - offset, c.height, 1e-5);
                    EXPECT_EQ(s.a.color, mode == 8 ? kRed : kExternal);
                }
            }
    }
}

// The view is kept in the world, the test is made in the mesh: a turned ball has its silhouette across the same world
// axis.
TEST_F(Edges, SilhouetteIsTakenInTheTurnedMesh) {
    const int assembly = scene.AddAssembly();
    const Placed ball = AddColored(Sphere(), 2, assembly);
    scene->RotateX(ball.instance, static_cast<float>(std::acos(0.0)), &error);
    scene.Translate(assembly, 0, 0, 3);
    scene->SetViewingType(ball.instance, 1, &error);
    scene.SetCamera({0, 0, 50}, {0, 0, 0});
    EXPECT_EQ(DrawnSegments().size(), 32U);
    for (const Segment& s : DrawnSegments()) EXPECT_NEAR(s.a.at[2], 3, 1e-5);
}

TEST_F(Edges, VertexCloudThinsFromFourThousandOn) {
    struct Case {
        int columns, rows, vertices, points;
    };
    for (const Case& c : {Case{39, 49, 2000, 2000}, Case{2, 666, 2001, 2001}, Case{2, 1332, 3999, 3999},
                          Case{49, 79, 4000, 2000}, Case{59, 99, 6000, 2000}}) {
        const TestMesh sheet = Sheet(c.columns, c.rows);
        ASSERT_EQ(sheet.vertices, c.vertices);
        const Placed placed = AddColored(sheet, 5);
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Points().size(), static_cast<std::size_t>(c.points)) << c.vertices;
        EXPECT_EQ(recording.Points().at(0).color, kExternal);
        scene->Remove(placed.instance, &error);
    }
}

// The vertex overlay shows all vertices over surfaces, the ends of the drawn edges over line modes.
TEST_F(Edges, VertexOverlayFollowsTheMode) {
    const TestMesh cylinder = Cylinder(48);
    const Placed placed = AddColored(cylinder);
    scene->SetViewingType(placed.instance, 2, &error);
    scene->SetOptionsShadeMode(placed.instance, 2, &error);
    for (const int mode : {0, 1, 3, 6, 11, 2, 4}) {
        scene.SetShadeMode(placed.instance, mode);
        Recording recording;
        scene.Draw();
        const int expected = mode == 2 || mode == 4 ? 2 * cylinder.hardEdges : cylinder.vertices;
        EXPECT_EQ(recording.Points().size(), static_cast<std::size_t>(expected)) << "mode " << mode;
        for (const Spot& spot : recording.Points()) EXPECT_EQ(spot.color, kRed);
    }
}

}  // namespace
}  // namespace tessera::test
