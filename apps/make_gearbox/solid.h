#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace gearbox {

using Point2 = std::array<double, 2>;
using Point3 = std::array<double, 3>;
using Loop = std::vector<Point2>;  // without the first point again at the end

// Triangles with a normal at every corner, as a GLB file stores them.
struct IndexedMesh {
    std::vector<std::array<float, 3>> points;
    std::vector<std::array<float, 3>> normals;
    std::vector<std::uint32_t> corners;
};

// A surface made of closed shells, all seen from outside counter-clockwise. Lengths are millimetres.
class Solid {
public:
    // A prism along Z between the heights `low` and `high`. The outline runs counter-clockwise, holes clockwise.
    static Solid Extruded(const Loop& outline, const std::vector<Loop>& holes, double low, double high);
    // A body of revolution about Z. The profile is a closed loop of (radius, height), counter-clockwise with the radius
    // to the right; radii of zero make closed ends.
    static Solid Revolved(const Loop& profile, int segments);

    Solid& Add(const Solid& other);
    Solid Moved(double x, double y, double z) const;
    // Turns Z to X, X to Y and Y to Z: a prism along Z becomes one along X.
    Solid AlongX() const;

    // Welds corners and smooths normals between facets that meet at less than `creaseDegrees`.
    IndexedMesh Finish(double creaseDegrees) const;

private:
    void Triangle(const Point3& a, const Point3& b, const Point3& c);
    void Wall(const Loop& loop, double low, double high);

    std::vector<std::array<Point3, 3>> triangles_;
};

Loop Circle(double x, double y, double radius, int segments);
// Clockwise: a hole.
Loop Hole(double x, double y, double radius, int segments);
Loop RoundedRectangle(double left, double bottom, double right, double top, double radius, int segments);
// Appends an arc about (x, y) from one angle to another, both ends included. Radians.
void AppendArc(Loop& loop, double x, double y, double radius, double from, double to, int segments);

// Cuts a polygon with holes into triangles of indices into `outline` and then each hole in turn.
std::vector<std::array<std::size_t, 3>> Triangulate(const Loop& outline, const std::vector<Loop>& holes);

}  // namespace gearbox
