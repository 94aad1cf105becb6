// The straight edges and arcs of the solid that a mesh came from.
#include <chrono>
#include <numbers>

#include "lens.h"

namespace tessera::test {
namespace {

// A ring around the z axis: the tube's middle at radius 3, its own radius 1.
Soup Torus(int around, int across) {
    const auto at = [&](int i, int j) {
        const double a = 2 * std::numbers::pi * (i % around) / around, b = 2 * std::numbers::pi * (j % across) / across;
        const double r = 3 + std::cos(b);
        return Point{static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)),
                     static_cast<float>(std::sin(b))};
    };
    Soup soup;
    for (int i = 0; i < around; ++i)
        for (int j = 0; j < across; ++j) AddQuad(soup, at(i, j), at(i + 1, j), at(i + 1, j + 1), at(i, j + 1));
    return soup;
}

// Two walls that meet at an edge from (0, 0, 0) to (length, 0, 0) in so many pieces, turned askew in space.
Soup Fold(int pieces, float length, const std::array<double, 9>& turn) {
    const auto placed = [&](double x, double y, double z) {
        return Point{static_cast<float>(turn[0] * x + turn[3] * y + turn[6] * z),
                     static_cast<float>(turn[1] * x + turn[4] * y + turn[7] * z),
                     static_cast<float>(turn[2] * x + turn[5] * y + turn[8] * z)};
    };
    Soup soup;
    for (int i = 0; i < pieces; ++i) {
        const double a = double{length} * i / pieces, b = double{length} * (i + 1) / pieces;
        AddQuad(soup, placed(a, 0, 0), placed(b, 0, 0), placed(b, 1, 0), placed(a, 1, 0));
        AddQuad(soup, placed(b, 0, 0), placed(a, 0, 0), placed(a, 0, 1), placed(b, 0, 1));
    }
    return soup;
}

constexpr std::array<double, 9> kUnturned = {1, 0, 0, 0, 1, 0, 0, 0, 1};
// Turns about z and then x, by 0.6 and 0.3.
const std::array<double, 9> kAskew = {std::cos(0.6),
                                      std::sin(0.6) * std::cos(0.3),
                                      std::sin(0.6) * std::sin(0.3),
                                      -std::sin(0.6),
                                      std::cos(0.6) * std::cos(0.3),
                                      std::cos(0.6) * std::sin(0.3),
                                      0,
                                      -std::sin(0.3),
                                      std::cos(0.3)};

class Traces : public PickTest {
protected:
    void ExpectRun(const Lens& lens, const Point& at, const Point& a, const Point& b) {
        const Answer run = PickSegment(lens, at);
        ASSERT_EQ(run.picked, 1);
        const bool turned = Distance3(run.start, a) > Distance3(run.start, b);
        ExpectPoint(turned ? run.end : run.start, a, 1e-4);
        ExpectPoint(turned ? run.start : run.end, b, 1e-4);
    }
};

TEST_F(Traces, StraightEdgesAreWhole) {
    const int cube = scene.AddMesh(Cube()).instance;
    const Lens lens({2, -4, 3}, {0, 0, 0});
    ExpectRun(lens, {0.2F, -1, 1}, {-1, -1, 1}, {1, -1, 1});
    ExpectRun(lens, {1, -1, -0.3F}, {1, -1, -1}, {1, -1, 1});
    scene->EnableDrawing(cube, 0, &error);
    const auto along = [&](double x) {
        return Point{static_cast<float>(kAskew[0] * x), static_cast<float>(kAskew[1] * x),
                     static_cast<float>(kAskew[2] * x)};
    };
    for (const int pieces : {1, 2, 7, 40, 1000}) {
        SCOPED_TRACE(pieces);
        const int fold = scene.AddMesh(Fold(pieces, 8, kAskew)).instance;
        const Lens askew({6, 6, -9}, along(4));
        for (const double at : {0.3, 3.9, 7.9}) ExpectRun(askew, along(at), along(0), along(8));
        scene->EnableDrawing(fold, 0, &error);
    }
}

// The walk may not nest a call for each piece.
TEST_F(Traces, LongRunsEnd) {
    scene.AddMesh(Fold(200000, 100, kUnturned));
    ExpectRun(Lens({50, -40, -40}, {50, 0, 0}), {33.33F, 0, 0}, {0, 0, 0}, {100, 0, 0});
    // A circle of so many sides that it hardly turns.
    scene.AddMesh(Band(50000));
    PickSegment(Lens({0, -5, 4}, {0, 0, 0}), {0, -1, 1});
}

TEST_F(Traces, WallsOfFacetsAreNoEdges) {
    const int cylinder = scene.AddMesh(Cylinder(40, 1, 2, 3)).instance;
    const Lens lens({0.5F, -5, 4}, {0, 0, 0});
    const Point rim{static_cast<float>(std::sin(0.1)), static_cast<float>(-std::cos(0.1)), 1};
    EXPECT_EQ(PickEdge(lens, rim).picked, 1);
    EXPECT_EQ(PickSegment(lens, rim).picked, 0);
    // With every edge hard the lines along the axis are edges, in as many pieces as there are levels.
    scene->SetThresholdAngle(cylinder, 1, &error);
    const double angle = 2 * std::numbers::pi * 31 / 40;
    const Point low{static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), -1};
    ExpectRun(lens, {low[0], low[1], 0.2F}, low, {low[0], low[1], 1});
}

TEST_F(Traces, RimsAreArcs) {
    for (const int sides : {8, 12, 13, 20, 40, 111, 360, 720})
        for (const float radius : {1.0F, 25.0F}) {
            SCOPED_TRACE(std::to_string(sides) + " sides, radius " + std::to_string(radius));
            const Placed p = scene.AddMesh(Cylinder(sides, radius, 2 * radius, 2));
            scene.Translate(p.instance, 0, 0, 3);
            const Lens lens({0.4F * radius, -5 * radius, 5 * radius}, {0, 0, 3});
            const double middle = -std::numbers::pi / 2 + 0.3 * 2 * std::numbers::pi / sides;
            // On the side under that angle.
            const double step = 2 * std::numbers::pi / sides, first = std::floor(middle / step) * step;
            const double r = radius * std::cos(step / 2) / std::cos(middle - first - step / 2);
            const Point at{static_cast<float>(r * std::cos(middle)), static_cast<float>(r * std::sin(middle)),
                           3 + radius};
            const Answer arc = PickArc(lens, at);
            ASSERT_EQ(arc.picked, sides > 12);
            scene->EnableDrawing(p.instance, 0, &error);
            if (!arc.picked) continue;
            ExpectPoint(arc.center, {0, 0, 3 + radius}, 1e-4 * radius);
            EXPECT_GE(arc.arc.size(), static_cast<std::size_t>(sides));
            for (const Point& q : arc.arc) EXPECT_NEAR(Distance3(q, arc.center), radius, 1e-4 * radius);
            EXPECT_NEAR(Distance3(arc.point, at), 0, 0.1 * radius);
        }
}

// A slot's end: half a circle between straight edges.
TEST_F(Traces, ArcsEndWhereTheEdgeGoesStraight) {
    Soup soup;
    std::vector<Point> rim{{-1, -4, 0}};
    for (int i = 0; i <= 24; ++i) {
        const double a = std::numbers::pi * (1 - i / 24.0);
        rim.push_back({static_cast<float>(std::cos(a)), static_cast<float>(std::sin(a)), 0});
    }
    rim.push_back({1, -4, 0});
    for (std::size_t i = 1; i + 1 < rim.size(); ++i) AddTriangle(soup, rim[0], rim[i + 1], rim[i]);
    for (std::size_t i = 0; i + 1 < rim.size(); ++i) {
        const Point &a = rim[i], &b = rim[i + 1];
        AddQuad(soup, a, b, {b[0], b[1], -1}, {a[0], a[1], -1});
    }
    scene.AddMesh(soup);
    const Lens lens({0.5F, 1, 8}, {0.4F, 0, 0});
    const double a = std::numbers::pi * 9.5 / 24, r = std::cos(std::numbers::pi / 48);
    const Answer arc = PickArc(lens, {static_cast<float>(r * std::cos(a)), static_cast<float>(r * std::sin(a)), 0});
    ASSERT_EQ(arc.picked, 1);
    ExpectPoint(arc.center, {0, 0, 0}, 1e-4);
    EXPECT_EQ(arc.arc.size(), 25U);
    ExpectRun(lens, {1, -2, 0}, {1, 0, 0}, {1, -4, 0});
}

// The section's curves are arcs where they are round, and offer no straight runs.
TEST_F(Traces, SectionsAreArcs) {
    const int torus = scene.AddMesh(Torus(96, 48)).instance;
    scene.SetSectionPlane(torus, {0, 0.0123F, 0}, {0, 1, 0});
    scene->EnableCrossSection(torus, 1, &error);
    scene->SwitchCrossSectionPlane(torus, 1, &error);
    // The two loops, each by itself.
    const Lens lens({0, -12, 0.7F}, {0, 0, 0});
    for (const float side : {-1.0F, 1.0F}) {
        const double a = 0.7 + std::numbers::pi / 48 * 0.4;
        const Answer arc =
            PickArc(lens, {side * static_cast<float>(3 + std::cos(a)), 0.0123F, static_cast<float>(std::sin(a))});
        ASSERT_EQ(arc.picked, 1);
        ExpectPoint(arc.center, {3 * side, 0.0123F, 0}, 0.01);
        EXPECT_GE(arc.arc.size(), 48U);
        for (const Point& p : arc.arc) EXPECT_NEAR(Distance3(p, arc.center), 1, 0.01);
        EXPECT_EQ(PickSegment(lens, {side * 4, 0.0123F, 0}).picked, 0);
    }
}

}  // namespace
}  // namespace tessera::test
