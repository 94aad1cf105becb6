// Which edges and vertices the line and point modes draw.
#include <cmath>
#include <map>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class Edges : public RenderTest {};

// With a view that is neither perspective nor parallel there are no silhouettes, and the counts are the mesh's own.
TEST_F(Edges, EveryMeshShowsItsHardOpenAndAllEdges) {
    for (const TestMesh& mesh : MeshSuite()) {
        const Placed placed = AddColored(mesh);
        scene->SetViewingType(placed.instance, 2, &error);
        const int hard = mesh.hardEdges, open = mesh.openEdges, all = (3 * mesh.triangles + open) / 2;
        const Color dark = {0.1F, 0.1F, 0.1F, 1};
        struct Case {
            int mode;
            std::map<Color, int> segments;
        };
        for (auto [mode, segments] : {Case{2, {{kEdge, hard}, {kBorder, open}}},
                                      {3, {{kExternal, all}}},
                                      {4, {{kEdge, hard}, {kBorder, open}}},
                                      {6, {{dark, hard + open}}},
                                      {8, {{kRed, hard + open}}}}) {
            scene.SetShadeMode(placed.instance, mode);
            for (const Segment& s : DrawnSegments()) --segments[s.b.color];
            for (const auto& [color, missing] : segments) EXPECT_EQ(missing, 0) << mesh.name << ", mode " << mode;
        }
        scene->Remove(placed.instance, &error);
    }
}

// A ball of 32 sides and 16 rings: seen along z its silhouette is the ring of 32 edges at the height where the sight
// lines touch; seen along y, two meridians of 16 edges.
TEST_F(Edges, SilhouetteOfASmoothBallFollowsTheCamera) {
    struct Case {
        int viewing;
        Point camera;
        int axis;       // the silhouette lies across this axis
        double height;  // at this distance from the centre
    };
    const double step = std::sin(std::acos(-1.0) / 16);
    const Placed ball = AddColored(Sphere());
    for (const float shift : {0.0F, 10.0F}) {
        if (shift > 0) scene.Translate(ball.instance, shift, shift, shift);
        for (const auto& [viewing, camera, axis, height] :
             {Case{1, {0, 0, 50}, 2, 0}, {1, {0, -50, 0}, 1, 0}, {0, {0, 0, 5}, 2, step}, {0, {0, 0, -5}, 2, -step}})
            for (const int mode : {2, 4, 8}) {
                SCOPED_TRACE("mode " + std::to_string(mode));
                scene.SetShadeMode(ball.instance, mode);
                scene->SetViewingType(ball.instance, static_cast<short>(viewing), &error);
                scene.SetCamera({camera[0] + shift, camera[1] + shift, camera[2] + shift}, {shift, shift, shift});
                const auto segments = DrawnSegments();
                EXPECT_EQ(segments.size(), 32U);
                for (const Segment& s : segments) {
                    for (const Spot& end : {s.a, s.b}) EXPECT_NEAR(end.at[axis] - shift, height, 1e-5);
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
    for (const auto& [columns, rows, points] :
         {std::tuple{2, 666, 2001U}, {2, 1332, 3999U}, {49, 79, 2000U}, {59, 99, 2000U}}) {
        const Placed placed = AddColored(Sheet(columns, rows), 5);
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Points().size(), points) << columns << " by " << rows;
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
