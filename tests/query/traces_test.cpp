// The straight edges and arcs of the solid that a mesh came from.
#include <numbers>

#include "lens.h"

namespace tessera::test {
namespace {

constexpr double kPi = std::numbers::pi;

Point At(double x, double y, double z) { return {float(x), float(y), float(z)}; }
Point Polar(double radius, double angle, double z) { return At(radius * std::cos(angle), radius * std::sin(angle), z); }
// Turned about z by 0.6 and then about x by 0.3.
Point Askew(double x, double y, double z) {
    const double u = x * std::cos(0.6) - y * std::sin(0.6), v = x * std::sin(0.6) + y * std::cos(0.6);
    return At(u, v * std::cos(0.3) - z * std::sin(0.3), v * std::sin(0.3) + z * std::cos(0.3));
}

// A ring around the z axis: the tube's middle at radius 3, its own radius 1.
Soup Torus(int around, int across) {
    const auto at = [&](int i, int j) {
        const double b = 2 * kPi * (j % across) / across;
        return Polar(3 + std::cos(b), 2 * kPi * (i % around) / around, std::sin(b));
    };
    Soup soup;
    for (int i = 0; i < around; ++i)
        for (int j = 0; j < across; ++j) AddQuad(soup, at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1));
    return soup;
}

// Two walls that meet at an edge from (0, 0, 0) to (length, 0, 0) in so many pieces.
Soup Fold(int pieces, double length, Point (*place)(double, double, double)) {
    Soup soup;
    for (int i = 0; i < pieces; ++i) {
        const double a = length * i / pieces, b = length * (i + 1) / pieces;
        AddQuad(soup, place(a, 0, 0), place(b, 0, 0), place(b, 1, 0), place(a, 1, 0));
        AddQuad(soup, place(b, 0, 0), place(a, 0, 0), place(a, 0, 1), place(b, 0, 1));
    }
    return soup;
}

class Traces : public PickTest {
protected:
    void ExpectRun(const Lens& lens, const Point& at, const Point& a, const Point& b) {
        Answer run = PickSegment(lens, at);
        ASSERT_EQ(run.picked, 1);
        if (Distance3(run.start, a) > Distance3(run.start, b)) std::swap(run.start, run.end);
        ExpectPoint(run.start, a, 1e-4);
        ExpectPoint(run.end, b, 1e-4);
    }
    void ExpectArc(const Answer& arc, const Point& center, double radius, std::size_t points, double tolerance) {
        ASSERT_EQ(arc.picked, 1);
        ExpectPoint(arc.center, center, tolerance);
        EXPECT_GE(arc.arc.size(), points);
        for (const Point& p : arc.arc) EXPECT_NEAR(Distance3(p, arc.center), radius, tolerance);
    }
};

TEST_F(Traces, StraightEdgesAreWhole) {
    const int cube = scene.AddMesh(Cube()).instance;
    const Lens lens({2, -4, 3}, {0, 0, 0}), askew({6, 6, -9}, Askew(4, 0, 0));
    ExpectRun(lens, {0.2F, -1, 1}, {-1, -1, 1}, {1, -1, 1});
    ExpectRun(lens, {1, -1, -0.3F}, {1, -1, -1}, {1, -1, 1});
    scene->EnableDrawing(cube, 0, &error);
    for (const int pieces : {1, 2, 7, 40, 1000}) {
        SCOPED_TRACE(pieces);
        const int fold = scene.AddMesh(Fold(pieces, 8, Askew)).instance;
        for (const double x : {0.3, 3.9, 7.9}) ExpectRun(askew, Askew(x, 0, 0), {0, 0, 0}, Askew(8, 0, 0));
        scene->EnableDrawing(fold, 0, &error);
    }
}

// The walk may not nest a call for each piece.
TEST_F(Traces, LongRunsEnd) {
    scene.AddMesh(Fold(200000, 100, At));
    ExpectRun(Lens({50, -40, -40}, {50, 0, 0}), {33.33F, 0, 0}, {0, 0, 0}, {100, 0, 0});
    // A circle of so many sides that it hardly turns.
    scene.AddMesh(Band(50000));
    PickSegment(Lens({0, -5, 4}, {0, 0, 0}), {0, -1, 1});
}

TEST_F(Traces, WallsOfFacetsAreNoEdges) {
    const int cylinder = scene.AddMesh(Cylinder(40, 1, 2, 3)).instance;
    const Lens lens({0.5F, -5, 4}, {0, 0, 0});
    const Point rim = Polar(1, 0.1 - kPi / 2, 1), low = Polar(1, 2 * kPi * 31 / 40, -1);
    EXPECT_EQ(PickEdge(lens, rim).picked, 1);
    EXPECT_EQ(PickSegment(lens, rim).picked, 0);
    // With every edge hard the lines along the axis are edges, in as many pieces as there are levels.
    scene->SetThresholdAngle(cylinder, 1, &error);
    ExpectRun(lens, {low[0], low[1], 0.2F}, low, {low[0], low[1], 1});
}

TEST_F(Traces, RimsAreArcs) {
    for (const int sides : {8, 12, 13, 20, 40, 111, 360, 720})
        for (const float radius : {1.0F, 25.0F}) {
            SCOPED_TRACE(std::to_string(sides) + " sides, radius " + std::to_string(radius));
            const Placed p = scene.AddMesh(Cylinder(sides, radius, 2 * radius, 2));
            scene.Translate(p.instance, 0, 0, 3);
            const Lens lens({0.4F * radius, -5 * radius, 5 * radius}, {0, 0, 3});
            // On the side under that angle.
            const double step = 2 * kPi / sides, angle = 0.3 * step - kPi / 2, first = std::floor(angle / step) * step;
            const Point at = Polar(radius * std::cos(step / 2) / std::cos(angle - first - step / 2), angle, 3 + radius);
            const Answer arc = PickArc(lens, at);
            ASSERT_EQ(arc.picked, sides > 12);
            scene->EnableDrawing(p.instance, 0, &error);
            if (!arc.picked) continue;
            ExpectArc(arc, {0, 0, 3 + radius}, radius, static_cast<std::size_t>(sides), 1e-4 * radius);
            EXPECT_NEAR(Distance3(arc.point, at), 0, 0.1 * radius);
        }
}

// A slot's end: half a circle between straight edges.
TEST_F(Traces, ArcsEndWhereTheEdgeGoesStraight) {
    Soup soup;
    std::vector<Point> rim{{-1, -4, 0}};
    for (int i = 0; i <= 24; ++i) rim.push_back(Polar(1, kPi * (1 - i / 24.0), 0));
    rim.push_back({1, -4, 0});
    for (std::size_t i = 0; i + 1 < rim.size(); ++i) {
        const Point &a = rim[i], &b = rim[i + 1];
        if (i > 0) AddTriangle(soup, rim[0], b, a);
        AddQuad(soup, a, b, {b[0], b[1], -1}, {a[0], a[1], -1});
    }
    const int slot = scene.AddMesh(soup).instance;
    const Lens lens({0.5F, 1, 8}, {0.4F, 0, 0});
    ExpectRun(lens, {1, -2, 0}, {1, 0, 0}, {1, -4, 0});
    for (const bool curve : {false, true}) {
        const Answer arc = PickArc(lens, Polar(std::cos(kPi / 48), kPi * 9.5 / 24, 0));
        ExpectArc(arc, {0, 0, 0}, 1, 25, 1e-4);
        EXPECT_EQ(arc.arc.size(), 25U) << curve;
        scene->EnableDrawing(slot, 0, &error);
        scene.AddCurveTo(scene.AddEmptyPart().part, rim);
    }
}

// The section's curves are arcs where they are round, and offer no straight runs.
TEST_F(Traces, SectionsAreArcs) {
    const int torus = scene.AddMesh(Torus(96, 48)).instance;
    scene.SetSectionPlane(torus, {0, 0.0123F, 0}, {0, 1, 0});
    scene->EnableCrossSection(torus, 1, &error);
    scene->SwitchCrossSectionPlane(torus, 1, &error);
    // The two loops, each by itself.
    const Lens lens({0, -12, 0.7F}, {0, 0, 0});
    for (const double side : {-1.0, 1.0}) {
        const double a = 0.7 + kPi / 48 * 0.4;
        ExpectArc(PickArc(lens, At(side * (3 + std::cos(a)), 0.0123, std::sin(a))), At(3 * side, 0.0123, 0), 1, 48,
                  0.01);
        EXPECT_EQ(PickSegment(lens, At(side * 4, 0.0123, 0)).picked, 0);
    }
}

}  // namespace
}  // namespace tessera::test
