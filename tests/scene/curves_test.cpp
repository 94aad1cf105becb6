// Curves and point sets: how they are built, what bounds them, and what is picked on them.
#include <limits>
#include <numbers>
#include <tuple>

#include "geometry/polyline.h"
#include "query/lens.h"
#include "query/pick_frame.h"

namespace tessera::test {
namespace {

using Points = std::vector<Point>;
using Line = std::vector<float>;  // pairs of x and y

Points Flat(const Line& xy) {
    Points points;
    for (std::size_t i = 0; i < xy.size(); i += 2) points.push_back({xy[i], xy[i + 1], 0});
    return points;
}

// On the unit circle from the x axis on, between points before and points behind.
Points Arc(int sides, double degrees, Line xy = {}, const Line& behind = {}) {
    for (int i = 0; i <= sides; ++i) {
        const double angle = degrees * i / sides * std::numbers::pi / 180;
        xy.insert(xy.end(), {static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle))});
    }
    xy.insert(xy.end(), behind.begin(), behind.end());
    return Flat(xy);
}

class Curves : public PickTest {
protected:
    Placed Add(const Points& points, bool set = false) {
        const Placed p = scene.AddEmptyPart();
        set ? scene.AddPointsTo(p.part, points) : scene.AddCurveTo(p.part, points);
        return p;
    }
    // The widths of a box, -1 each for that of nothing.
    Point Extent(const Placed& p) {
        Point low{}, high{};
        host->GetBoundBox(p.instance, low.data(), high.data(), &error);
        return low[0] > high[0] ? Point{-1, -1, -1} : Minus(high, low);
    }
    void Show(int node, LONG shown) {
        host->SwitchWireFrameVisibility(node, shown, &error);
        host->SwitchPointSetVisibility(node, shown, &error);
    }
    void Clip(const Placed& p, const Point& point, const Point& normal) {
        scene.SetSectionPlane(p.instance, point, normal);
        host->EnableCrossSection(p.instance, 1, &error);
        host->SwitchCrossSectionPlane(p.instance, 1, &error);
    }
    int PickedPoint(const Point& at) { return PickPoint(above, at).picked ? PickPoint(above, at).node : 0; }
    int PickedEdge(const Point& at) { return PickEdge(above, at).picked ? PickEdge(above, at).node : 0; }

    const Lens above{{0, 0, 10}, {0, 0, 0}, true};
};

TEST_F(Curves, KeepAndBoundWhatIsAPoint) {
    for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity(), 1e-39F, 1.01e25F})
        for (const Point& p : {Point{bad, 9, 9}, {9, -bad, 9}, {9, 9, bad}})
            for (const bool set : {false, true})
                EXPECT_EQ(Extent(Add({{0, 0, 0}, p, {1, 2, 3}}, set)), (Point{1, 2, 3})) << bad;
    EXPECT_EQ(Extent(Add(Flat({0, 0, 1e25F, 0})))[0], 1e25F);
    EXPECT_EQ(Extent(Add(Flat({1, 1}))), (Point{-1, -1, -1}));
    EXPECT_EQ(Extent(Add(Flat({1, 1, 1, 1}))), (Point{0, 0, 0}));  // a first build keeps repetitions
    const Placed p = Add(Flat({0, 0, 2, 2, 0, 0, 0, 7}));
    scene.AddPointsTo(p.part, {{0, 0, 5}});
    ExpectPoint(Extent(p), {2, 7, 5}, 1e-4);
    Show(p.instance, 0);                                  // hides the points from draws only
    ExpectPoint(Extent(p), {2e-5F, 2e-5F, 2e-5F}, 2e-6);  // a lone point has an extent
    Show(p.instance, 1);
    host->Scale(p.instance, 2, 1, 3, &error);
    host->RotateZ(p.instance, static_cast<float>(std::atan(0.5)), &error);  // (4, 2) onto the axis
    ExpectPoint(Extent(p), {4.47214F, 6.26099F, 15}, 1e-3);
}

TEST_F(Curves, ArePickedWhetherShownOrNot) {
    const int curve = Add({{-1, 0, 0}, {0, 0, 0}, {0, 1, 2}}).instance;
    const int set = Add({{0.5F, 0.5F, 0}, {0.5F, 0.5F, 1}}, true).instance;
    EXPECT_TRUE(PickSurface(above, {-0.5F, 0, 0}).node == curve && PickSurface(above, {0.5F, 0.5F, 0}).node == set);
    EXPECT_EQ(Ray({-0.5F, 0, 10}, {0, 0, -1}).picked, 0);
    Show(0, 0);
    EXPECT_TRUE(PickedPoint({0, 0, 0}) == curve && PickedEdge({0, 0, 0}) == curve);
    EXPECT_TRUE(PickedPoint({-0.5F, 0, 0}) == 0 && PickedEdge({-0.5F, 0.005F, 0}) == curve);
    EXPECT_TRUE(PickedPoint({0.5F, 0.5F, 0}) == set && PickedEdge({0.5F, 0.5F, 0}) == 0);
    ExpectPoint(PickPoint(above, {0.5F, 0.5F, 0}).point, {0.5F, 0.5F, 1});
    ExpectPoint(PickEdge(above, {0.004F, 0.5F, 0}).point, {0, 0.5F, 1}, 1e-4);  // snapped to the line
}

TEST_F(Curves, AreClippedInPicks) {
    const Placed p = Add(Flat({-2, 0, -1, 0, 3, 0, 3, 1, -1, 1})), q = Add(Flat({-1, -1, 0.5F, -1, 1, -1}), true);
    scene.Translate(p.instance, 0.5F, 0, 0);
    for (const Placed& each : {p, q}) Clip(each, {0.5F, 5, 5}, {2, 0, 0});
    // What has x below 0.5 is gone, the cut itself can be picked, and a point in the plane stays.
    for (const Point& at : Flat({0.5F, 0, 0.5F, 1, 0.5F, -1, 3.5F, 0, -0.5F, 0, -1, -1})) {
        EXPECT_EQ(PickedPoint(at) != 0, at[0] > 0) << at[0] << " " << at[1];
        const auto [x, y] = above.On(at);
        EXPECT_EQ(Pick(&ITessera::PickCrossSectionPoint, above, x, y).picked != 0, at[0] == 0.5F && at[1] >= 0);
    }
    EXPECT_TRUE(PickedEdge({0, 0, 0}) == 0 && PickedEdge({1, 0, 0}) == p.instance);
    ExpectPoint(PickSegment(above, {1, 0, 0}).start, {0.5F, 0, 0});
    ExpectPoint(PickSegment(above, {1, 0, 0}).end, {3.5F, 0, 0});
    host->SwitchCrossSectionPlane(0, 0, &error);
    EXPECT_TRUE(PickedPoint({-0.5F, 0, 0}) != 0 && PickedPoint({0.5F, 1, 0}) == 0);
    // Of a circle the chain between two crossings is left.
    Clip(Add(Arc(72, 360)), {0.1F, 0, 0}, {1, 0, 0});
    const Answer arc = PickArc(above, {0.98F, 0.2F, 0});
    ExpectPoint(arc.center, {0, 0, 0}, 1e-4);
    ASSERT_EQ(arc.arc.size(), 2U + 33 + 1);  // the seam is told twice
    for (const Point& r : arc.arc) EXPECT_GE(r[0], 0.1F - 1e-6F);
}

TEST_F(Curves, StraightRunsAndArcs) {
    Line pieces{-2, 1};
    for (int i = 0; i <= 200000; ++i) pieces.insert(pieces.end(), {-2 + static_cast<float>(i) * 2e-5F, 0});
    const float little = 0.0050615F, more = 0.0054106F;  // tangents of 0.29 and 0.31 degrees
    // A curve, x on the axis where it is picked, and of the ends, equal where there is no run.
    const std::tuple<Line, float, float, float> runs[] = {
        {{0, 0, 1, 0, 1, 1, 0, 1, 0, 0}, 0.5F, 0, 0},  // corners at both ends
        {{0, 0, 0.3F, 0, 1, 0, 1, 1, 0, 1, 0, 0}, 0.6F, 0, 1},
        {{0, 0, 0.5F, 0, 1, 0, 1, 1, -1, 1, -1, 0, 0, 0}, -0.5F, -1, 1},  // closed within a side
        {{0, 0, 1, 0, 1, 1, -1, 1, -1, 0, -0.5F, 0, -0.1F, 0}, 0.5F, 0, 0},
        {{-1, 0, 0, 0, 1, 0, 2, little}, -0.5F, -1, 2},
        {{-1, 0, 0, 0, 1, 0, 2, more}, -0.5F, -1, 1},
        {{0, 0, 1, 0, 1, 0.3F, 0, 0.3F}, 0.5F, 0, 1},  // before a short segment, and behind one
        {{0, 0.3F, 0, 0, 1, 0, 1, 0.4F}, 0.5F, 0, 0},
        {pieces, 0.5F, -2, 2}};
    for (const auto& [curve, at, first, last] : runs) {
        const Placed p = Add(Flat(curve));
        const Answer a = PickSegment(above, {at, 0, 0});
        EXPECT_EQ(a.picked != 0, first != last) << curve.size() << " " << at;
        ExpectPoint({a.start[0], a.end[0], 0}, {first, last, 0}, 1e-4);
        host->Remove(p.instance, &error);
    }
    // A curve, the segment that is picked, and the number of the arc's points.
    const std::tuple<Points, std::size_t, std::size_t> bends[] = {
        {Arc(11, 360), 3, 12},
        {Arc(10, 360), 3, 0},  // turns by 36 degrees
        {Arc(48, 360), 47, 49},
        {Arc(720, 360), 77, 721},
        {Arc(1000, 250), 400, 0},  // turns by less than 0.3 degrees
        {Arc(2, 60), 0, 3},
        {Arc(18, 180, {1, -1}, {-1, -2}), 9, 19},
        {Arc(18, 90, {}, {-0.5F, 1, -1, 1}), 2, 19}};
    for (const auto& [curve, segment, points] : bends) {
        const Placed p = Add(curve);
        scene.Translate(p.instance, 0.25F, 0, 3);
        const Point &a = curve[segment], &b = curve[segment + 1];
        const Answer arc = PickArc(above, {(a[0] + b[0]) / 2 + 0.25F, (a[1] + b[1]) / 2, 3});
        EXPECT_TRUE(arc.arc.size() == points && (arc.picked != 0) == (points > 0)) << points;
        if (arc.picked) ExpectPoint(arc.center, {0.25F, 0, 3}, points > 100 ? 5e-3 : 1e-4);
        for (std::size_t i = 1; i < arc.arc.size(); ++i)
            EXPECT_NEAR(Distance3(arc.arc[i - 1], arc.arc[i]), Distance3(a, b), 1e-5);
        host->Remove(p.instance, &error);
    }
}

// As the tracing of a section builds and reads them.
TEST_F(Curves, GrowAtBothEnds) {
    CPolyLine curve;
    Vec3 start, end, center;
    std::vector<Vec3> found;
    PickHit hit;
    EXPECT_FALSE(curve.PickPoint({}, {}, hit) || curve.PickEdge({}, {}, hit) || curve.PickArc({}, {}, hit) ||
                 curve.PickSegmentRange(0, start, end, {}) || curve.PickArcRange({}, 0, center, found, {}));
    curve.SetPointTolerance(0.5F);
    curve.Begin(6, 10);
    curve.SetStipple(7);
    for (const float at : {1.0F, 1.2F, 2.0F}) curve.AddPoint({at, 0, 0});
    for (const float at : {0.8F, 0.0F, -0.4F}) curve.AddPointFront({at, 0, 0});  // too near: the first and the last
    curve.End();
    curve.Begin(6, 10);  // the code starts anew, and now the end is compared with
    for (const float at : {2.3F, 3.0F}) curve.AddPoint({at, 0, 0});
    curve.End();
    Line x;
    for (const PolyLinePoint& p : curve.Points()) x.push_back(p.position.x + 10 * p.stipple);
    EXPECT_EQ(x, (Line{70, 71, 71.2F, 72, 3}));
    EXPECT_EQ(gPointTolerance, 1e-9F);
    EXPECT_FALSE(curve.PickSegmentRange(1, start, end, CMatrix()));
    curve.planeClipOn = 1;
    EXPECT_TRUE(curve.PickSegmentRange(1, start, end, CMatrix()) && start.x == 0 && end.x == 3);
}

}  // namespace
}  // namespace tessera::test
