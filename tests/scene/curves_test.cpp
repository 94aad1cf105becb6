// Curves and point sets: how they are built, what bounds them, and what is picked on them.
#include <limits>
#include <numbers>

#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "query/lens.h"
#include "query/pick_frame.h"

namespace tessera::test {
namespace {

using Points = std::vector<Point>;

// Points of z = 0 from pairs of x and y.
Points Flat(const std::vector<float>& xy) {
    Points points;
    for (std::size_t i = 0; i < xy.size(); i += 2) points.push_back({xy[i], xy[i + 1], 0});
    return points;
}

// On the unit circle, degree by degree of a step, with points before and behind it.
Points Arc(const std::vector<float>& before, int sides, double degrees, const std::vector<float>& behind = {}) {
    Points points = Flat(before);
    for (int i = 0; i <= sides; ++i) {
        const double angle = degrees * i / sides * std::numbers::pi / 180;
        points.push_back({static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), 0});
    }
    for (const Point& p : Flat(behind)) points.push_back(p);
    return points;
}

class Curves : public PickTest {
protected:
    Placed AddCurve(Points points) {
        const Placed p = scene.AddEmptyPart();
        host->BeginPolyLine(p.part, &error);
        for (Point& q : points) EXPECT_EQ(host->AddPolyLinePoint(p.part, q.data(), &error), STATUS_OK);
        EXPECT_EQ(host->EndPolyLine(p.part, &error), STATUS_OK);
        return p;
    }
    void AddSet(int part, Points points) {
        host->BeginPointSet(part, &error);
        for (Point& q : points) EXPECT_EQ(host->AddPointSetPoint(part, q.data(), &error), STATUS_OK);
        EXPECT_EQ(host->EndPointSet(part, &error), STATUS_OK);
    }
    // The widths of a box, -1 each for that of nothing.
    Point Extent(int node) {
        Point low{}, high{};
        host->GetBoundBox(node, low.data(), high.data(), &error);
        return low[0] > high[0] ? Point{-1, -1, -1} : Minus(high, low);
    }
    void Clip(int node, const Point& point, const Point& normal) {
        scene.SetSectionPlane(node, point, normal);
        host->EnableCrossSection(node, 1, &error);
        host->SwitchCrossSectionPlane(node, 1, &error);
    }
    int PickedPoint(const Point& at) { return PickPoint(above, at).picked ? PickPoint(above, at).node : 0; }
    int PickedEdge(const Point& at) { return PickEdge(above, at).picked ? PickEdge(above, at).node : 0; }

    const Lens above{{0, 0, 10}, {0, 0, 0}, true};
};

TEST_F(Curves, OpenOneElementAtATime) {
    using Step = HRESULT (ITessera::*)(int, int*);
    const Step begin[] = {&ITessera::BeginTriMesh, &ITessera::BeginPolyLine, &ITessera::BeginPointSet};
    const Step end[] = {&ITessera::EndTriMesh, &ITessera::EndPolyLine, &ITessera::EndPointSet};
    const int part = scene.AddEmptyPart().part;
    Point p{};
    const auto call = [&](Step step) { return (host->*step)(part, &error); };
    for (int open = 0; open < 3; ++open) {
        EXPECT_EQ(call(begin[open]), STATUS_OK);
        for (const Step step : {begin[0], begin[1], begin[2], end[(open + 1) % 3], end[(open + 2) % 3]})
            EXPECT_TRUE(call(step) == STATUS_FAIL && error == -1);
        EXPECT_EQ(host->AddPolyLinePoint(part, p.data(), &error) == STATUS_OK, open == 1);
        EXPECT_EQ(host->SetPolyLineColor(part, 1, 1, 1, &error) == STATUS_OK, open == 1);
        EXPECT_EQ(host->SetLineStipple(part, 1, &error) == STATUS_OK, open == 1);
        EXPECT_EQ(host->AddPointSetPoint(part, p.data(), &error) == STATUS_OK, open == 2);
        EXPECT_TRUE(host->SetPointSetColor(part, 1, 1, 1, &error) == STATUS_OK && error == 1);
        EXPECT_EQ(call(end[open]), STATUS_OK);
    }
    host->BeginPolyLine(part, &error);
    EXPECT_TRUE(host->AddPolyLinePoint(part, nullptr, &error) == STATUS_FAIL && error == 0);
    EXPECT_TRUE(host->BeginPointSet(part + 99, &error) == STATUS_FAIL && error == 0);
}

TEST_F(Curves, KeepWhatIsAPoint) {
    for (const float bad : {std::nanf(""), std::numeric_limits<float>::infinity(), 1e-39F, 1.01e25F, -1e26F})
        for (std::size_t axis = 0; axis < 3; ++axis) {
            Point p{9, 9, 9};
            p[axis] = bad;
            const Placed set = scene.AddEmptyPart();
            AddSet(set.part, {{0, 0, 0}, p, {1, 2, 3}});
            EXPECT_EQ(Extent(set.instance), (Point{1, 2, 3})) << bad;
            EXPECT_EQ(Extent(AddCurve({{0, 0, 0}, p, {1, 2, 3}}).instance), (Point{1, 2, 3})) << bad;
            EXPECT_EQ(Extent(AddCurve({{1, 1, 1}, p}).instance), (Point{-1, -1, -1}));
        }
    EXPECT_EQ(Extent(AddCurve(Flat({0, 0, 1e25F, 0})).instance)[0], 1e25F);
    EXPECT_EQ(Extent(AddCurve(Flat({1, 1, 1, 1})).instance), (Point{0, 0, 0}));  // a first build keeps repetitions
}

TEST_F(Curves, AreBoundedPointByPoint) {
    const Placed p = AddCurve(Flat({0, 0, 2, 2, 0, 0, 0, 7}));
    EXPECT_EQ(Extent(p.instance), (Point{2, 7, 0}));
    AddSet(p.part, {{0, 0, 5}});
    EXPECT_NEAR(Extent(p.instance)[2], 5, 1e-4);
    host->SwitchWireFrameVisibility(p.instance, 0, &error);
    host->SwitchPointSetVisibility(p.instance, 0, &error);         // hides from draws only
    ExpectPoint(Extent(p.instance), {2e-5F, 2e-5F, 2e-5F}, 2e-6);  // a lone point has an extent
    host->SwitchWireFrameVisibility(p.instance, 1, &error);
    host->Scale(p.instance, 2, 1, 3, &error);
    host->RotateZ(p.instance, static_cast<float>(std::atan(0.5)), &error);  // (4, 2) onto the axis
    ExpectPoint(Extent(p.instance), {4.47214F, 6.26099F, 15}, 1e-3);
    host->BeginPolyLine(p.part, &error);
    for (Point q : {Point{0, 0, 0}, {0, 0, 20}}) host->AddPolyLinePoint(p.part, q.data(), &error);
    host->EndPolyLine(p.part, &error);
    EXPECT_NEAR(Extent(p.instance)[2], 20, 1e-3);
}

TEST_F(Curves, ArePickedWhetherShownOrNot) {
    const int curve = AddCurve({{-1, 0, 0}, {0, 0, 0}, {0, 1, 2}}).instance;
    const Placed set = scene.AddEmptyPart();
    AddSet(set.part, {{0.5F, 0.5F, 0}, {0.5F, 0.5F, 1}});
    EXPECT_EQ(PickSurface(above, {-0.5F, 0, 0}).node, curve);
    EXPECT_EQ(PickSurface(above, {0.5F, 0.5F, 0}).node, set.instance);
    EXPECT_EQ(Ray({-0.5F, 0, 10}, {0, 0, -1}).picked, 0);
    host->SwitchWireFrameVisibility(0, 0, &error);
    host->SwitchPointSetVisibility(0, 0, &error);
    EXPECT_TRUE(PickedPoint({0, 0, 0}) == curve && PickedEdge({0, 0, 0}) == curve);
    EXPECT_TRUE(PickedPoint({-0.5F, 0, 0}) == 0 && PickedEdge({-0.5F, 0.005F, 0}) == curve);
    EXPECT_TRUE(PickedPoint({0.5F, 0.5F, 0}) == set.instance && PickedEdge({0.5F, 0.5F, 0}) == 0);
    EXPECT_TRUE(PickedPoint({0.6F, 0.1F, 0}) == 0 && PickedEdge({0.6F, 0.1F, 0}) == 0);
    ExpectPoint(PickPoint(above, {0.5F, 0.5F, 0}).point, {0.5F, 0.5F, 1});
    ExpectPoint(PickEdge(above, {0.004F, 0.5F, 0}).point, {0, 0.5F, 1}, 1e-4);  // snapped to the line
}

TEST_F(Curves, AreClippedInPicks) {
    const Placed p = AddCurve(Flat({-2, 0, -1, 0, 3, 0, 3, 1, -1, 1})), q = scene.AddEmptyPart();
    AddSet(q.part, Flat({-1, -1, 0.5F, -1, 1, -1}));
    scene.Translate(p.instance, 0.5F, 0, 0);
    for (const int node : {p.instance, q.instance}) Clip(node, {0.5F, 5, 5}, {2, 0, 0});
    // What has x below 0.5 is gone, the cut itself can be picked, and a point in the plane stays.
    for (const Point& at : Flat({0.5F, 0, 0.5F, 1, 0.5F, -1, 3.5F, 0})) EXPECT_NE(PickedPoint(at), 0) << at[0] << at[1];
    for (const Point& at : Flat({-0.5F, 0, -1, -1})) EXPECT_EQ(PickedPoint(at), 0) << at[0];
    for (const float x : {0.5F, 3.5F}) {
        const auto at = above.On({x, 1, 0});
        EXPECT_EQ(Pick(&ITessera::PickCrossSectionPoint, above, at[0], at[1]).picked, x == 0.5F);
    }
    EXPECT_TRUE(PickedEdge({0, 0, 0}) == 0 && PickedEdge({1, 0, 0}) == p.instance);
    ExpectPoint(PickSegment(above, {1, 0, 0}).start, {0.5F, 0, 0});
    ExpectPoint(PickSegment(above, {1, 0, 0}).end, {3.5F, 0, 0});
    host->SwitchCrossSectionPlane(0, 0, &error);
    EXPECT_TRUE(PickedPoint({-0.5F, 0, 0}) != 0 && PickedPoint({0.5F, 1, 0}) == 0);
    // Of a circle the chain between two crossings is left.
    const Placed circle = AddCurve(Arc({}, 72, 360));
    Clip(circle.instance, {0.1F, 0, 0}, {1, 0, 0});
    const Answer arc = PickArc(above, {0.98F, 0.2F, 0});
    ExpectPoint(arc.center, {0, 0, 0}, 1e-4);
    ASSERT_EQ(arc.arc.size(), 2U + 33 + 1);  // the seam is told twice
    for (const Point& r : arc.arc) EXPECT_GE(r[0], 0.1F - 1e-6F);
}

TEST_F(Curves, StraightRuns) {
    std::vector<float> pieces{-2, 1};
    for (int i = 0; i <= 200000; ++i) pieces.insert(pieces.end(), {-2 + static_cast<float>(i) * 2e-5F, 0});
    const auto ends = [](double degrees) { return static_cast<float>(std::tan(degrees * std::numbers::pi / 180)); };
    struct Case {
        const char* name;
        std::vector<float> curve;
        float at;           // x on the axis
        float first, last;  // x of the ends, equal where there is no run
    };
    const Case cases[] = {
        {"two points", {-1, 0, 1, 0}, 0, -1, 1},
        {"square", {0, 0, 1, 0, 1, 1, 0, 1, 0, 0}, 0.5F, 0, 0},
        {"divided side", {0, 0, 0.3F, 0, 1, 0, 1, 1, 0, 1, 0, 0}, 0.6F, 0, 1},
        {"its other half", {0, 0, 0.3F, 0, 1, 0, 1, 1, 0, 1, 0, 0}, 0.1F, 0, 1},
        {"closed within a side", {0, 0, 1, 0, 1, 1, -1, 1, -1, 0, 0, 0}, 0.5F, -1, 1},
        {"picked before its start", {0, 0, 0.5F, 0, 1, 0, 1, 1, -1, 1, -1, 0, 0, 0}, -0.5F, -1, 1},
        {"almost closed", {0, 0, 1, 0, 1, 1, -1, 1, -1, 0, -0.5F, 0, -0.1F, 0}, 0.5F, 0, 0},
        {"hardly bent", {-1, 0, 0, 0, 1, 0, 2, ends(0.29)}, -0.5F, -1, 2},
        {"bent", {-1, 0, 0, 0, 1, 0, 2, ends(0.31)}, -0.5F, -1, 1},
        {"long before short", {0, 0, 1, 0, 1, 0.3F, 0, 0.3F}, 0.5F, 0, 1},
        {"long behind short", {0, 0.3F, 0, 0, 1, 0, 1, 0.4F}, 0.5F, 0, 0},
        {"very many pieces", pieces, 0.5F, -2, 2},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Placed p = AddCurve(Flat(c.curve));
        const Answer a = PickSegment(above, {c.at, 0, 0});
        EXPECT_EQ(a.picked != 0, c.first != c.last);
        EXPECT_NEAR(a.start[0], c.first, 1e-4);
        EXPECT_NEAR(a.end[0], c.last, 1e-4);
        host->Remove(p.instance, &error);
    }
}

TEST_F(Curves, Arcs) {
    struct Case {
        const char* name;
        Points curve;
        std::size_t segment;  // the one picked
        std::size_t points;
        double tolerance = 1e-4;
    };
    const Case cases[] = {
        {"11 sides", Arc({}, 11, 360), 3, 12},
        {"10 sides turn by 36 degrees", Arc({}, 10, 360), 3, 0},
        {"12 sides", Arc({}, 12, 360), 0, 13},
        {"48 sides at the seam", Arc({}, 48, 360), 47, 49},
        {"720 sides", Arc({}, 720, 360), 77, 721, 5e-3},
        {"a quarter", Arc({}, 12, 90), 0, 13},
        {"three points", Arc({}, 2, 60), 0, 3},
        {"between two tangents", Arc({1, -1}, 18, 180, {-1, -2}), 9, 19},
        {"turns below 0.3 degrees", Arc({}, 1000, 250), 400, 0},
        {"then straight", Arc({}, 18, 90, {-0.5F, 1, -1, 1}), 2, 19},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const Placed p = AddCurve(c.curve);
        scene.Translate(p.instance, 0.25F, 0, 3);
        const Point &a = c.curve[c.segment], &b = c.curve[c.segment + 1];
        const Answer arc = PickArc(above, {(a[0] + b[0]) / 2 + 0.25F, (a[1] + b[1]) / 2, 3});
        EXPECT_EQ(arc.picked != 0, c.points > 0);
        EXPECT_EQ(arc.arc.size(), c.points);
        if (arc.picked) ExpectPoint(arc.center, {0.25F, 0, 3}, c.tolerance);
        for (const Point& q : arc.arc) EXPECT_NEAR(Distance3(q, {0.25F, 0, 3}), 1, 1e-5);
        for (std::size_t i = 1; i < arc.arc.size(); ++i)
            EXPECT_NEAR(Distance3(arc.arc[i - 1], arc.arc[i]), Distance3(a, b), 1e-5);
        host->Remove(p.instance, &error);
    }
}

TEST_F(Curves, PicksOnNothing) {
    CPolyLine curve;
    PickView view;
    view.tolerance = 1e9F;
    PickHit hit;
    for (int points = 0; points < 2; ++points) {
        curve.planeClipOn = points;
        const CMatrix m;
        EXPECT_FALSE(curve.PickPoint(view, m, hit) || curve.PickEdge(view, m, hit) || curve.PickSegment(view, m, hit) ||
                     curve.PickArc(view, m, hit) || curve.PickSegmentRange(0, hit.start, hit.end, m) ||
                     curve.PickArcRange(view, 0, hit.center, hit.arc, m) || CPointSet().PickPoint(view, m, hit));
        curve.Begin(6, 10);
        curve.AddPoint({1, 1, 1});
        curve.End();
    }
}

// As the tracing of a section builds and reads them.
TEST_F(Curves, GrowAtBothEnds) {
    CPolyLine curve;
    curve.SetPointTolerance(0.5F);
    curve.Begin(6, 10);
    curve.SetStipple(7);
    for (const float at : {1.0F, 1.2F, 2.0F}) curve.AddPoint({at, 0, 0});
    for (const float at : {0.8F, 0.0F, -0.4F}) curve.AddPointFront({at, 0, 0});  // too near: the first and the last
    curve.End();
    curve.Begin(6, 10);  // the code starts anew, and now the end is compared with
    for (const float at : {2.3F, 3.0F}) curve.AddPoint({at, 0, 0});
    curve.End();
    std::vector<float> x;
    for (const PolyLinePoint& p : curve.Points()) x.push_back(p.position.x + 10 * p.stipple);
    EXPECT_EQ(x, (std::vector<float>{70, 71, 71.2F, 72, 3}));
    EXPECT_EQ(gPointTolerance, 1e-9F);
    Vec3 start, end, center;
    EXPECT_FALSE(curve.PickSegmentRange(1, start, end, CMatrix()));
    curve.planeClipOn = 1;
    EXPECT_TRUE(curve.PickSegmentRange(1, start, end, CMatrix()) && start.x == 0 && end.x == 3);
    // Where the next piece runs straight on, the one behind it opens the arc.
    CPolyLine arc;
    arc.Begin(6, 10);
    Points points = Arc({}, 8, 40);
    points.insert(points.begin() + 1, {(points[0][0] + points[1][0]) / 2, (points[0][1] + points[1][1]) / 2, 0});
    for (const Point& p : points) arc.AddPoint({p[0], p[1], p[2]});
    arc.End();
    std::vector<Vec3> found;
    EXPECT_TRUE(arc.PickArcRange(PickView(), 0, center, found, CMatrix()));
    EXPECT_LT(Length(center), 1e-4);
}

}  // namespace
}  // namespace tessera::test
