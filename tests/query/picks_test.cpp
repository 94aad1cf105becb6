// What lies under the cursor: points, edges, surfaces.
#include <limits>

#include "lens.h"

namespace tessera::test {
namespace {

// The corner, the middle of an edge and the middle of a face that a camera before a cube of size 2 sees nearest.
TEST_F(PickTest, FindTheNearestOfACube) {
    const int cube = scene.AddMesh(Cube()).instance;
    for (const bool parallel : {false, true}) {
        const Lens lens({1.5F, -4, 2}, {0.2F, 0, 0.1F}, parallel);
        const Answer corner = PickPoint(lens, {1, -1, 1});
        EXPECT_EQ(corner.picked, 1);
        EXPECT_EQ(corner.error, 1);
        EXPECT_EQ(corner.node, cube);
        ExpectPoint(corner.point, {1, -1, 1});
        const Answer edge = PickEdge(lens, {0.3F, -1, 1});
        EXPECT_EQ(edge.node, cube);
        ExpectPoint(edge.point, {0.3F, -1, 1});
        EXPECT_EQ(PickPoint(lens, {0.3F, -1, 0}).picked, 0);
        EXPECT_EQ(PickEdge(lens, {0.3F, -1, 0}).picked, 0);
    }
    Lens lens({0.25F, -4, 0.5F}, {0.25F, 0, 0.5F});
    Answer face = PickSurface(lens, {0.25F, -1, 0.5F});
    EXPECT_EQ(face.node, cube);
    EXPECT_EQ(face.error, 1);
    ExpectPoint(face.point, {0.25F, -1, 0.5F});
    ExpectPoint(face.normal, {0, -1, 0});
    face = Ray({0.25F, -4, 0.5F}, {0, 0.01F, 0});
    EXPECT_EQ(face.picked, VARIANT_TRUE);
    ExpectPoint(face.point, {0.25F, -1, 0.5F});
    ExpectPoint(face.normal, {0, -1, 0});
    // Nothing there, nothing ahead, a surface seen edge-on.
    face = PickSurface(lens, {3, 3, 0});
    EXPECT_EQ(face.picked, 0);
    EXPECT_EQ(face.node, -1);
    EXPECT_EQ(face.error, 0);
    EXPECT_EQ(Pick(&ITessera::PickPartInstance, lens, 0.9F, 0.9F).error, 1);
    for (const Point& direction : {Point{0, -1, 0}, Point{1, 0, 0}}) {
        face = Ray({0.25F, -4, 0.5F}, direction);
        EXPECT_EQ(face.picked, 0);
        EXPECT_EQ(face.error, 1);
    }
}

// Parts on turned, scaled and mirrored ways down the tree.
TEST_F(PickTest, FollowPlacementAndExplode) {
    const int frame = scene.AddAssembly(), turned = scene.AddMesh(Cube(), frame).instance;
    scene->Scale(frame, 2, 1, 1, &error);
    scene->RotateZ(turned, 0.5F, &error);
    scene->MirrorYZ(frame, &error);
    scene.Translate(frame, 0, 20, 0);
    const Answer a = Ray({0.1F, 0, 0.2F}, {0, 1, 0});
    EXPECT_EQ(a.node, turned);
    EXPECT_NEAR(a.normal[2], 0, 1e-6);
    ExpectPoint(a.point, {0.1F, a.point[1], 0.2F});
    EXPECT_NEAR(a.point[1], 20 - 1 / std::cos(0.5) + 0.05 * std::tan(0.5), 0.06);
    EXPECT_EQ(PickPoint(Lens({0, 0, 5}, {0, 1, 5}), {0, 0, 9}).picked, 0);
    // Picks find a node where it was last drawn.
    const int part = scene.AddMesh(Cube()).instance;
    scene->TranslateExplode(part, 0, -6, 0, &error);
    EXPECT_NEAR(Ray({0, -50, 0}, {0, 1, 0}).point[1], -1, 1e-5);
    scene->DrawExplode(0, 0, &error);
    EXPECT_NEAR(Ray({0, -50, 0}, {0, 1, 0}).point[1], -7, 1e-5);
    scene.Draw();
    EXPECT_NEAR(Ray({0, -50, 0}, {0, 1, 0}).point[1], -1, 1e-5);
}

TEST_F(PickTest, PreferTheNearerThenTheEarlier) {
    const int a = scene.AddMesh(Cube(2, {0, 3, 0})).instance, b = scene.AddMesh(Cube(2, {0, 3, 0})).instance;
    const Lens lens({0.1F, -3, 0.1F}, {0.1F, 0, 0.1F});
    const Point corner{1, 2, 1};
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(PickPoint(lens, corner).node, a);
        EXPECT_EQ(PickSurface(lens, {0.1F, 2, 0.1F}).node, a);
        EXPECT_EQ(PickSegment(lens, {0, 2, 1}).node, a);
        scene->SetPickTolerance(100, &error);
    }
    scene.Translate(b, 0, -0.001F, 0);
    EXPECT_EQ(PickPoint(lens, {1, 1.999F, 1}).node, b);
    EXPECT_EQ(Ray({0, -3, 0}, {0, 1, 0}).node, b);
    scene->EnableDrawing(b, 0, &error);
    EXPECT_EQ(PickPoint(lens, corner).node, a);
    scene->SwitchTriMeshVisibility(a, 0, &error);
    EXPECT_EQ(PickPoint(lens, corner).picked, 0);
    EXPECT_EQ(PickSurface(lens, {0.1F, 2, 0.1F}).picked, 0);
    scene->SwitchTriMeshVisibility(a, 1, &error);
    scene->EnableDrawing(0, 0, &error);
    EXPECT_EQ(PickPoint(lens, corner).picked, 0);
}

// What each shade mode offers, on a flat sheet: its inner vertex and inner edges are no features.
TEST_F(PickTest, OfferWhatTheModeShows) {
    const int sheet = scene.AddMesh(Sheet(4, 4)).instance;
    const Lens lens({2.1F, 2.2F, 6}, {2.1F, 2.2F, 0});
    for (int mode = 0; mode <= 12; ++mode) {
        SCOPED_TRACE(mode);
        scene.SetShadeMode(sheet, mode);
        const auto isOneOf = [&](std::initializer_list<int> modes) {
            return std::find(modes.begin(), modes.end(), mode) != modes.end() ? 1 : 0;
        };
        EXPECT_EQ(PickPoint(lens, {2, 2, 0}).picked, isOneOf({0, 1, 3, 6, 11}));
        EXPECT_EQ(PickPoint(lens, {0, 2, 0}).picked, 1);
        EXPECT_EQ(PickEdge(lens, {2, 1.4F, 0}).picked, isOneOf({3}));
        const Point border{0, 1.4F, 0}, within{1.7F, 1.4F, 0};
        EXPECT_EQ(PickEdge(lens, border).picked, isOneOf({0, 1, 2, 3, 4, 6, 9, 11}));
        EXPECT_EQ(PickSegment(lens, border).picked, isOneOf({0, 1, 2, 3, 4, 6, 9}));
        EXPECT_EQ(PickSurface(lens, within).picked, isOneOf({0, 1, 4, 6, 11}));
        const Answer edge = PickSurface(lens, border);
        EXPECT_EQ(edge.picked, isOneOf({0, 1, 2, 3, 4, 6, 9, 11}));
        if (isOneOf({2, 3, 9})) {
            EXPECT_EQ(edge.normal, (Point{7, 7, 7})) << "an edge has none";
        }
        EXPECT_EQ(Ray({1.7F, 1.4F, 1}, {0, 0, -1}).picked != 0, isOneOf({0, 1, 4, 6, 11}) != 0);
    }
}

TEST_F(PickTest, ReachToTheToleranceAndNoFarther) {
    const int sheet = scene.AddMesh(SingleTriangle()).instance;
    Lens lens({0, 0, 4}, {0, 0, 0}, true);
    lens.diagonal = 72;  // an eighth of a unit, exactly
    const float right = lens.On({1, 0, 0})[0] > 0.5F ? 1.0F : -1.0F;
    for (const float off : {0.1249F, 0.125F}) {
        EXPECT_EQ(PickPoint(lens, -off * right, 0).picked, off < 0.125F);
        for (const float side : {-1.0F, 1.0F}) EXPECT_EQ(PickPoint(lens, 0, side * off).picked, off < 0.125F);
    }
    EXPECT_EQ(PickPoint(lens, 0.06F, -0.06F).node, sheet);
    // An edge seen on end is no edge, but its ends are points.
    const Lens along({-3, 0, 0}, {0, 0, 0});
    EXPECT_EQ(PickEdge(along, {0.5F, 0, 0}).picked, 1) << "the edges that start there";
    scene->EnableDrawing(sheet, 0, &error);
    const int part = scene.AddEmptyPart().part;
    scene->BeginPolyLine(part, &error);
    for (float x : {0.0F, 2.0F}) {
        float p[3] = {x, 0, 0};
        scene->AddPolyLinePoint(part, p, &error);
    }
    scene->EndPolyLine(part, &error);
    EXPECT_EQ(PickEdge(along, {0.5F, 0, 0}).picked, 0);
    ExpectPoint(PickPoint(along, {2, 0, 0}).point, {0, 0, 0});
}

TEST_F(PickTest, LeaveOutWhatThePlaneCutsAway) {
    const int cube = scene.AddMesh(Cube()).instance;
    scene.SetSectionPlane(cube, {0.25F, 0, 0}, {1, 0, 0});
    scene->EnableCrossSection(cube, 1, &error);
    scene->SwitchCrossSectionPlane(cube, 1, &error);
    const Lens lens({0.2F, -4, 2}, {0.2F, 0, 0});
    EXPECT_EQ(PickPoint(lens, {-1, -1, 1}).picked, 0);
    EXPECT_EQ(PickPoint(lens, {1, -1, 1}).picked, 1);
    EXPECT_EQ(PickEdge(lens, {-0.5F, -1, 1}).picked, 0);
    EXPECT_EQ(PickEdge(lens, {0.6F, -1, 1}).picked, 1);
    const Answer run = PickSegment(lens, {0.6F, -1, 1});
    ASSERT_EQ(run.picked, 1);
    EXPECT_NEAR(std::min(run.start[0], run.end[0]), 0.25, 1e-6);
    EXPECT_NEAR(std::max(run.start[0], run.end[0]), 1, 1e-6);
    EXPECT_NEAR(Ray({-0.5F, -4, 0}, {0, 1, 0}).picked, 0, 0);
    EXPECT_EQ(Ray({0.5F, -4, 0}, {0, 1, 0}).picked, VARIANT_TRUE);
    // The section offers its own points and lines.
    ExpectPoint(PickPoint(lens, {0.25F, -1, 1}).point, {0.25F, -1, 1});
    ExpectPoint(
        Pick(&ITessera::PickCrossSectionPoint, lens, lens.On({0.25F, -1, 1})[0], lens.On({0.25F, -1, 1})[1]).point,
        {0.25F, -1, 1});
    const auto line = lens.On({0.25F, -1, 0.4F});
    EXPECT_EQ(Pick(&ITessera::PickCrossSectionEdge, lens, line[0], line[1]).node, cube);
    EXPECT_EQ(Pick(&ITessera::PickCrossSectionPoint, lens, line[0], line[1]).picked, 0);
    scene->SwitchCrossSectionPlane(cube, 0, &error);
    EXPECT_EQ(PickPoint(lens, {-1, -1, 1}).picked, 1);
    EXPECT_EQ(Pick(&ITessera::PickCrossSectionEdge, lens, line[0], line[1]).picked, 0);
}

// Whatever a host asks, there is an answer.
TEST_F(PickTest, SurviveNonsense) {
    scene.AddEmptyPart();
    const Placed p = scene.AddMesh(Sphere());
    scene.AddMeshTo(p.part, ThreeOnAnEdge().soup);
    scene->EnableCrossSection(0, 1, &error);
    scene->SwitchCrossSectionPlane(0, 1, &error);
    const float values[] = {
        0, 1, -1e-30F, 1e20F, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
    for (const float eye : values)
        for (const float view : values)
            for (const float entry : values) {
                Lens lens({eye, 0, 3}, {0, 0, 0});
                lens.view = {view, view, view == 1 ? 0 : view};
                for (double& m : lens.screen) m *= entry;
                lens.diagonal = entry;
                for (const float at : values) {
                    PickPoint(lens, at, 0);
                    PickSurface(lens, {at, at, 0});
                    for (const auto pick : {&ITessera::PickEdge, &ITessera::PickPartInstance,
                                            &ITessera::PickCrossSectionPoint, &ITessera::PickCrossSectionEdge})
                        Pick(pick, lens, at, entry);
                    PickSegment(lens, {at, at, at});
                    PickArc(lens, {at, 0, at});
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
