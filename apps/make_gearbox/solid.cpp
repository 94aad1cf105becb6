#include "solid.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

namespace gearbox {

namespace {

Point3 Minus(const Point3& a, const Point3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Point3 Plus(const Point3& a, const Point3& b) { return {a[0] + b[0], a[1] + b[1], a[2] + b[2]}; }
double Dot(const Point3& a, const Point3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Point3 Cross(const Point3& a, const Point3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Length(const Point3& a) { return std::sqrt(Dot(a, a)); }
Point3 Scaled(const Point3& a, double factor) { return {a[0] * factor, a[1] * factor, a[2] * factor}; }

std::array<float, 3> Single(const Point3& p) {
    return {static_cast<float>(p[0]), static_cast<float>(p[1]), static_cast<float>(p[2])};
}

double CornerAngle(const Point3& at, const Point3& b, const Point3& c) {
    const Point3 u = Minus(b, at);
    const Point3 v = Minus(c, at);
    return std::acos(std::clamp(Dot(u, v) / (Length(u) * Length(v)), -1.0, 1.0));
}

}  // namespace

void Solid::Triangle(const Point3& a, const Point3& b, const Point3& c) {
    if (a != b && b != c && c != a) triangles_.push_back({a, b, c});
}

void Solid::Wall(const Loop& loop, double low, double high) {
    for (std::size_t i = 0; i < loop.size(); ++i) {
        const Point2& p = loop[i];
        const Point2& q = loop[(i + 1) % loop.size()];
        Triangle({p[0], p[1], low}, {q[0], q[1], low}, {q[0], q[1], high});
        Triangle({p[0], p[1], low}, {q[0], q[1], high}, {p[0], p[1], high});
    }
}

Solid Solid::Extruded(const Loop& outline, const std::vector<Loop>& holes, double low, double high) {
    Solid solid;
    Loop all = outline;
    for (const Loop& hole : holes) all.insert(all.end(), hole.begin(), hole.end());
    const auto lift = [&all](std::size_t i, double height) { return Point3{all[i][0], all[i][1], height}; };
    for (const auto& [a, b, c] : Triangulate(outline, holes)) {
        solid.Triangle(lift(a, high), lift(b, high), lift(c, high));
        solid.Triangle(lift(a, low), lift(c, low), lift(b, low));
    }
    solid.Wall(outline, low, high);
    for (const Loop& hole : holes) solid.Wall(hole, low, high);
    return solid;
}

Solid Solid::Revolved(const Loop& profile, int segments) {
    Solid solid;
    const auto at = [&](std::size_t corner, int segment) {
        const auto& [radius, height] = profile[corner % profile.size()];
        const double angle = 2 * std::numbers::pi * (segment % segments) / segments;
        return Point3{radius * std::cos(angle), radius * std::sin(angle), height};
    };
    for (std::size_t i = 0; i < profile.size(); ++i) {
        for (int s = 0; s < segments; ++s) {
            solid.Triangle(at(i, s), at(i, s + 1), at(i + 1, s + 1));
            solid.Triangle(at(i, s), at(i + 1, s + 1), at(i + 1, s));
        }
    }
    return solid;
}

Solid& Solid::Add(const Solid& other) {
    triangles_.insert(triangles_.end(), other.triangles_.begin(), other.triangles_.end());
    return *this;
}

Solid Solid::Moved(double x, double y, double z) const {
    Solid moved = *this;
    for (auto& triangle : moved.triangles_) {
        for (Point3& p : triangle) p = Plus(p, {x, y, z});
    }
    return moved;
}

Solid Solid::AlongX() const {
    Solid turned = *this;
    for (auto& triangle : turned.triangles_) {
        for (Point3& p : triangle) p = {p[2], p[0], p[1]};
    }
    return turned;
}

IndexedMesh Solid::Finish(double creaseDegrees) const {
    struct Facet {
        Point3 normal;
        std::array<double, 3> weights;
    };
    std::map<std::array<float, 3>, std::vector<std::size_t>> facetsAt;
    std::vector<Facet> facets;
    for (std::size_t t = 0; t < triangles_.size(); ++t) {
        const auto& [a, b, c] = triangles_[t];
        const Point3 cross = Cross(Minus(b, a), Minus(c, a));
        facets.push_back(
            {Scaled(cross, 1 / Length(cross)), {CornerAngle(a, b, c), CornerAngle(b, c, a), CornerAngle(c, a, b)}});
        for (const Point3& p : triangles_[t]) facetsAt[Single(p)].push_back(t);
    }
    const double limit = std::cos(creaseDegrees / 180 * std::numbers::pi);
    IndexedMesh mesh;
    std::map<std::array<float, 6>, std::uint32_t> known;
    for (std::size_t t = 0; t < triangles_.size(); ++t) {
        for (const Point3& p : triangles_[t]) {
            const std::array<float, 3> point = Single(p);
            Point3 sum{};
            for (const std::size_t other : facetsAt[point]) {
                if (Dot(facets[t].normal, facets[other].normal) < limit) continue;
                for (std::size_t k = 0; k < 3; ++k) {
                    const bool here = Single(triangles_[other][k]) == point;
                    if (here) sum = Plus(sum, Scaled(facets[other].normal, facets[other].weights[k]));
                }
            }
            const std::array<float, 3> normal = Single(Scaled(sum, 1 / Length(sum)));
            const std::array<float, 6> key = {point[0], point[1], point[2], normal[0], normal[1], normal[2]};
            const auto [entry, isNew] = known.try_emplace(key, static_cast<std::uint32_t>(mesh.points.size()));
            if (isNew) {
                mesh.points.push_back(point);
                mesh.normals.push_back(normal);
            }
            mesh.corners.push_back(entry->second);
        }
    }
    return mesh;
}

void AppendArc(Loop& loop, double x, double y, double radius, double from, double to, int segments) {
    for (int i = 0; i <= segments; ++i) {
        const double angle = from + (to - from) * i / segments;
        loop.push_back({x + radius * std::cos(angle), y + radius * std::sin(angle)});
    }
}

Loop Circle(double x, double y, double radius, int segments) {
    Loop loop;
    AppendArc(loop, x, y, radius, 0, 2 * std::numbers::pi, segments);
    loop.pop_back();
    return loop;
}

Loop Hole(double x, double y, double radius, int segments) {
    Loop loop = Circle(x, y, radius, segments);
    std::reverse(loop.begin(), loop.end());
    return loop;
}

Loop RoundedRectangle(double left, double bottom, double right, double top, double radius, int segments) {
    constexpr double kQuarter = std::numbers::pi / 2;
    Loop loop;
    AppendArc(loop, right - radius, top - radius, radius, 0, kQuarter, segments);
    AppendArc(loop, left + radius, top - radius, radius, kQuarter, 2 * kQuarter, segments);
    AppendArc(loop, left + radius, bottom + radius, radius, 2 * kQuarter, 3 * kQuarter, segments);
    AppendArc(loop, right - radius, bottom + radius, radius, 3 * kQuarter, 4 * kQuarter, segments);
    return loop;
}

}  // namespace gearbox
