// What lies under the cursor: points, edges, surfaces.
#include <limits>
#include <random>

#include "lens.h"

namespace tessera::test {
namespace {

// The corner, the middle of an edge and the middle of a face that a camera before a cube of size 2 sees nearest.
TEST_F(PickTest, FindTheNearestOfACube) {
    const int cube = scene.AddMesh(Cube()).instance;
    for (const bool parallel : {false, true}) {
        const Lens lens({1.5F, -4, 2}, {0.2F, 0, 0.1F}, parallel);
        const Answer corner = PickPoint(lens, {1, -1, 1}), edge = PickEdge(lens, {0.3F, -1, 1});
        EXPECT_TRUE(corner.picked == 1 && corner.error == 1 && corner.node == cube && edge.node == cube);
        ExpectPoint(corner.point, {1, -1, 1});
        ExpectPoint(edge.point, {0.3F, -1, 1});
        EXPECT_EQ(PickPoint(lens, {0.3F, -1, 0}).picked + PickEdge(lens, {0.3F, -1, 0}).picked, 0);
    }
    const Lens lens({0.25F, -4, 0.5F}, {0.25F, 0, 0.5F});
    const Answer under = PickSurface(lens, {0.25F, -1, 0.5F}), met = Ray({0.25F, -4, 0.5F}, {0, 0.01F, 0});
    EXPECT_TRUE(under.picked == 1 && met.picked == VARIANT_TRUE && under.node == cube && under.error == 1);
    for (const Answer& face : {under, met}) {
        ExpectPoint(face.point, {0.25F, -1, 0.5F});
        ExpectPoint(face.normal, {0, -1, 0});
    }
    // Nothing there, nothing ahead, a surface seen edge-on.
    const Answer none = PickSurface(lens, {3, 3, 0});
    EXPECT_TRUE(none.picked == 0 && none.node == -1 && none.error == 0);
    EXPECT_EQ(Pick(&ITessera::PickPartInstance, lens, 0.9F, 0.9F).error, 1);
    for (const Point& direction : {Point{0, -1, 0}, Point{1, 0, 0}}) {
        const Answer away = Ray({0.25F, -4, 0.5F}, direction);
        EXPECT_TRUE(away.picked == 0 && away.error == 1);
    }
}

// Many meshes, of assemblies that are moved too, against every triangle of them.
TEST_F(PickTest, AgreeWithEveryTriangle) {
    std::mt19937 random(7);
    const auto real = [&] { return float(random() % 10000) / 1250 - 4; };
    std::vector<Point> corners;
    for (std::size_t i = 0; i < 27; ++i) {
        const Soup& soup = MeshSuite()[i % 9].soup;
        const int frame = scene.AddAssembly(), node = scene.AddMesh(soup, frame).instance;
        const Point d = {real(), real(), real()};
        scene.Translate(frame, d[0], 0, d[2]);
        scene.Translate(node, 0, d[1], 0);
        for (std::size_t t = 0; t < soup.size(); t += 3)
            corners.push_back({soup[t] + d[0], soup[t + 1] + d[1], soup[t + 2] + d[2]});
    }
    int hits = 0, apart = 0;
    for (int i = 0; i < 500; ++i) {
        const Point eye = {9, -12, 8}, target = {real(), real(), real()}, sight = Minus(target, eye);
        double nearest = 1e30;
        for (std::size_t t = 0; t < corners.size(); t += 3) {
            const Point u = Minus(corners[t + 1], corners[t]), v = Minus(corners[t + 2], corners[t]);
            const Point s = Minus(eye, corners[t]), p = Cross(sight, v), q = Cross(s, u);
            const double det = Dot3(u, p), a = Dot3(s, p) / det, b = Dot3(sight, q) / det, k = Dot3(v, q) / det;
            if (det != 0 && a >= 0 && b >= 0 && a + b <= 1 && k > 0) nearest = std::min(nearest, k);
        }
        hits += nearest < 1e30;
        for (const Answer& a : {Ray(eye, sight), PickSurface(Lens(eye, {0, 0, 0}), target)}) {
            const double met = a.picked ? Distance3(a.point, eye) / Distance3(target, eye) : 1e30;
            apart += std::fabs(met - nearest) > 1e-4;
        }
    }
    EXPECT_GT(hits, 200);
    EXPECT_LE(apart, 5);  // a ray may graze an edge
}

TEST_F(PickTest, FindNodesWhereTheyWereLastDrawn) {
    const int frame = scene.AddAssembly(), turned = scene.AddMesh(Cube(), frame).instance;
    scene->Scale(frame, 2, 1, 1, &error);
    scene->RotateZ(turned, 0.5F, &error);
    scene->MirrorYZ(frame, &error);
    scene->TranslateExplode(frame, 0, -6, 0, &error);
    const auto front = [&] { return Ray({0, -50, 0}, {0, 1, 0}).point[1]; };
    EXPECT_NEAR(front(), -1 / std::cos(0.5), 1e-5);
    scene->DrawExplode(0, 0, &error);
    EXPECT_NEAR(front(), -6 - 1 / std::cos(0.5), 1e-5);
    scene.Draw();
    EXPECT_NEAR(front(), -1 / std::cos(0.5), 1e-5);
}

TEST_F(PickTest, PreferTheNearerThenTheEarlier) {
    const int a = scene.AddMesh(Cube(2, {0, 3, 0})).instance, b = scene.AddMesh(Cube(2, {0, 3, 0})).instance;
    const Lens lens({0.1F, -3, 0.1F}, {0.1F, 0, 0.1F});
    const Point corner{1, 2, 1}, middle{0.1F, 2, 0.1F};
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(PickPoint(lens, corner).node, a);
        EXPECT_EQ(PickSurface(lens, middle).node, a);
        EXPECT_EQ(PickSegment(lens, {0, 2, 1}).node, a);
        scene->SetPickTolerance(100, &error);
    }
    scene.Translate(b, 0, -0.001F, 0);
    EXPECT_EQ(PickPoint(lens, {1, 1.999F, 1}).node, b);
    EXPECT_EQ(Ray({0, -3, 0}, {0, 1, 0}).node, b);
    scene->EnableDrawing(b, 0, &error);
    EXPECT_EQ(PickPoint(lens, corner).node, a);
    scene->SwitchTriMeshVisibility(a, 0, &error);
    EXPECT_EQ(PickPoint(lens, corner).picked + PickSurface(lens, middle).picked, 0);
    scene->SwitchTriMeshVisibility(a, 1, &error);
    scene->EnableDrawing(0, 0, &error);
    EXPECT_EQ(PickPoint(lens, corner).picked, 0);
}

// What each shade mode offers, on a flat sheet: its inner vertex and inner edges are no features.
TEST_F(PickTest, OfferWhatTheModeShows) {
    const int sheet = scene.AddMesh(Sheet(4, 4)).instance;
    const Lens lens({2.1F, 2.2F, 6}, {2.1F, 2.2F, 0});
    const Point border{0, 1.4F, 0}, within{1.7F, 1.4F, 0};
    const auto row = [&](auto pick) {
        std::string shown;
        for (int mode = 0; mode <= 12; ++mode) {
            scene.SetShadeMode(sheet, mode);
            shown += pick().picked ? 'x' : '-';
        }
        return shown;
    };
    EXPECT_EQ(row([&] { return PickPoint(lens, {2, 2, 0}); }), "xx-x--x----x-");
    EXPECT_EQ(row([&] { return PickPoint(lens, {0, 2, 0}); }), "xxxxxxxxxxxxx");
    EXPECT_EQ(row([&] { return PickEdge(lens, {2, 1.4F, 0}); }), "---x---------");
    EXPECT_EQ(row([&] { return PickEdge(lens, border); }), "xxxxx-x--x-x-");
    EXPECT_EQ(row([&] { return PickSegment(lens, border); }), "xxxxx-x--x---");
    EXPECT_EQ(row([&] { return PickSurface(lens, border); }), "xxxxx-x--x-x-");
    EXPECT_EQ(row([&] { return PickSurface(lens, within); }), "xx--x-x----x-");
    EXPECT_EQ(row([&] { return Ray({1.7F, 1.4F, 1}, {0, 0, -1}); }), "xx--x-x----x-");
    for (const int mode : {2, 3, 9}) {
        scene.SetShadeMode(sheet, mode);
        EXPECT_EQ(PickSurface(lens, border).normal, (Point{7, 7, 7})) << "an edge has none";
    }
}

TEST_F(PickTest, ReachToTheToleranceAndNoFarther) {
    const int sheet = scene.AddMesh(SingleTriangle()).instance;
    Lens lens({0, 0, 4}, {0, 0, 0}, true);
    lens.diagonal = 72;  // an eighth of a unit, exactly
    const float right = lens.On({1, 0, 0})[0] > 0.5F ? 1.0F : -1.0F;
    for (const float off : {0.1249F, 0.125F})
        for (const auto& [x, y] : {std::pair(-off * right, 0.0F), {0.0F, -off}, {0.0F, off}})
            EXPECT_EQ(PickPoint(lens, x, y).picked, off < 0.125F);
    EXPECT_EQ(PickPoint(lens, 0.06F, -0.06F).node, sheet);
    // An edge seen on end is no edge, but its ends are points.
    const Lens along({-3, 0, 0}, {0, 0, 0});
    EXPECT_EQ(PickEdge(along, {0.5F, 0, 0}).picked, 1) << "the edges that start there";
    scene->EnableDrawing(sheet, 0, &error);
    scene.AddCurveTo(scene.AddEmptyPart().part, {{0, 0, 0}, {2, 0, 0}});
    EXPECT_EQ(PickEdge(along, {0.5F, 0, 0}).picked, 0);
    ExpectPoint(PickPoint(along, {2, 0, 0}).point, {0, 0, 0});
}

TEST_F(PickTest, LeaveOutWhatThePlaneCutsAway) {
    const int cube = scene.AddMesh(Cube()).instance;
    scene.SetSectionPlane(cube, {0.25F, 0, 0}, {1, 0, 0});
    scene->EnableCrossSection(cube, 1, &error);
    const Lens lens({0.2F, -4, 2}, {0.2F, 0, 0});
    const Point corner{0.25F, -1, 1};
    const auto at = lens.On(corner), line = lens.On({0.25F, -1, 0.4F});
    for (const short on : {0, 1}) {
        scene->SwitchCrossSectionPlane(cube, on, &error);
        EXPECT_EQ(PickPoint(lens, {-1, -1, 1}).picked + PickEdge(lens, {-0.5F, -1, 1}).picked, on ? 0 : 2);
        EXPECT_EQ(PickPoint(lens, {1, -1, 1}).picked + PickEdge(lens, {0.6F, -1, 1}).picked, 2);
        EXPECT_EQ(Ray({-0.5F, -4, 0}, {0, 1, 0}).picked, on ? 0 : VARIANT_TRUE);
        const Answer run = PickSegment(lens, {0.6F, -1, 1});
        EXPECT_NEAR(std::min(run.start[0], run.end[0]), on ? 0.25 : -1, 1e-6);
        EXPECT_NEAR(std::max(run.start[0], run.end[0]), 1, 1e-6);
        // The section offers its own points and lines.
        EXPECT_EQ(PickPoint(lens, corner).picked, on);
        EXPECT_EQ(Pick(&ITessera::PickCrossSectionPoint, lens, at[0], at[1]).picked, on);
        EXPECT_EQ(Pick(&ITessera::PickCrossSectionPoint, lens, line[0], line[1]).picked, 0);
        EXPECT_EQ(Pick(&ITessera::PickCrossSectionEdge, lens, line[0], line[1]).picked, on);
    }
    ExpectPoint(Pick(&ITessera::PickCrossSectionPoint, lens, at[0], at[1]).point, corner);
}

// Whatever a host asks, there is an answer.
TEST_F(PickTest, SurviveNonsense) {
    scene.AddEmptyPart();
    scene.AddMeshTo(scene.AddMesh(Sphere()).part, ThreeOnAnEdge().soup);
    scene->EnableCrossSection(0, 1, &error);
    scene->SwitchCrossSectionPlane(0, 1, &error);
    using Limits = std::numeric_limits<float>;
    const float values[] = {0, 1, -1e-30F, 1e20F, Limits::infinity(), Limits::quiet_NaN()};
    for (const float eye : values)
        for (const float view : values)
            for (const float entry : values) {
                Lens lens({eye, 0, 3}, {0, 0, 0});
                lens.view = {view, view, view == 1 ? 0 : view};
                for (double& m : lens.screen) m *= entry;
                lens.diagonal = entry;
                for (const float at : values) {
                    PickPoint(lens, at, 0), PickSurface(lens, {at, at, 0});
                    for (const auto pick : {&ITessera::PickEdge, &ITessera::PickPartInstance,
                                            &ITessera::PickCrossSectionPoint, &ITessera::PickCrossSectionEdge})
                        Pick(pick, lens, at, entry);
                    PickSegment(lens, {at, at, at}), PickArc(lens, {at, 0, at});
                }
                Ray(lens.eye, lens.view);
            }
    EXPECT_LT(scene->PickPoint(nullptr, nullptr, 0, 0, 1, nullptr, nullptr, nullptr, &error), 0);
    EXPECT_EQ(error, 0);
    Lens lens({0, 0, 3}, {0, 0, 0});
    EXPECT_EQ(scene->PickArc(lens.eye.data(), lens.view.data(), lens.screen, 0, 0, 1280, nullptr, nullptr, nullptr,
                             nullptr, nullptr, nullptr),
              STATUS_OK);
}

}  // namespace
}  // namespace tessera::test
