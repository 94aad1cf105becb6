#include "query/pick_frame.h"

#include <cmath>

namespace tessera {
namespace {

// A cursor may lie this much of a segment's length beyond its ends.
constexpr float kFirstParameter = -1e-6f, kLastParameter = 1.000001f;
// Segments shorter than this along a screen axis run along the other.
constexpr double kFlat = 1e-6;

Direction Between(const Vec3& a, const Vec3& b) {
    return {static_cast<double>(b.x) - a.x, static_cast<double>(b.y) - a.y, static_cast<double>(b.z) - a.z};
}

Direction Unit(Direction d) {
    const double length = std::sqrt(Dot(d, d));
    if (length < kShortestVector) return {1, d.y, d.z};
    return {d.x / length, d.y / length, d.z / length};
}

Direction UnitCross(const Direction& a, const Direction& b) {
    return Unit({a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x});
}

Vec3 PointAlong(const Vec3& a, const Direction& d, double k) {
    return {static_cast<float>(a.x + k * d.x), static_cast<float>(a.y + k * d.y), static_cast<float>(a.z + k * d.z)};
}

}  // namespace

ScreenPoint Project(const Vec3& p, const CMatrix& screen) {
    const double* m = screen.Forward();
    const double scale = 1.0 / (p.x * m[3] + p.y * m[7] + p.z * m[11] + m[15]);
    return {(p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12]) * scale,
            (p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13]) * scale};
}

bool PointUnderCursor(const Vec3& p, const PickView& view) {
    const ScreenPoint s = Project(p, view.screen);
    return std::fabs(view.x - s.x) < view.tolerance && std::fabs(view.y - s.y) < view.tolerance;
}

bool TestSegmentOnScreen(const Vec3& a, const Vec3& b, const PickView& view, Vec3& hit) {
    const ScreenPoint sa = Project(a, view.screen), sb = Project(b, view.screen);
    const float dx = static_cast<float>(sb.x - sa.x), dy = static_cast<float>(sb.y - sa.y);
    const double width = std::fabs(static_cast<double>(dx)), height = std::fabs(static_cast<double>(dy));
    double t, distance;
    if (width < kFlat && height > kFlat) {
        t = (view.y - sa.y) / dy;
        distance = std::fabs(view.x - sa.x);
    } else if (height < kFlat && width > kFlat) {
        t = (view.x - sa.x) / dx;
        distance = std::fabs(view.y - sa.y);
    } else if (width <= kFlat || height <= kFlat) {
        return false;
    } else {  // the foot of the perpendicular from the cursor to y = s x + c
        const double s = static_cast<double>(dy) / dx, c = sa.y - sa.x * s, u = view.x / s + view.y;
        const double fx = static_cast<float>((u - c) * s / (s * s + 1));
        const double fy = (s * (u * s) + c) / (s * s + 1);
        t = (fx - sa.x) / dx;
        distance = std::sqrt((view.x - fx) * (view.x - fx) + (view.y - fy) * (view.y - fy));
    }
    if (!(distance < view.tolerance && t >= kFirstParameter && t <= kLastParameter)) return false;
    hit = PointAlong(a, Between(a, b), t);
    return true;
}

bool LineHitsBox(const Vec3& o, const Vec3& v, const BBox& box) {
    constexpr double kMargin = 0.0001;
    const double low[3] = {box.xmin, box.ymin, box.zmin}, high[3] = {box.xmax, box.ymax, box.zmax};
    for (const int axis : {2, 0, 1}) {
        if (!(std::fabs(v[axis]) >= kShortestVector)) continue;
        const int first = (axis + 1) % 3, second = (axis + 2) % 3;
        for (const double plane : {low[axis], high[axis]}) {
            const double k = (plane - o[axis]) * (1.0 / v[axis]);
            const double p = o[first] + k * v[first], q = o[second] + k * v[second];
            if (p >= low[first] - kMargin && p <= high[first] + kMargin && q >= low[second] - kMargin &&
                q <= high[second] + kMargin)
                return true;
        }
    }
    return false;
}

Vec3 IntersectLineWithPlane(const Vec3& o, const Vec3& v, const Plane& plane, bool* ahead) {
    const double e = Dot(plane.normal, v);
    if (std::fabs(e) < kShortestVector) return {0, 0, 0};
    const double k = -plane.At(o) / e;
    if (ahead) *ahead = !(k < 0);
    return PointAlong(o, {v.x, v.y, v.z}, k);
}

Vec3 SnapToEdgeLine(const PickView& view, const Vec3& start, const Vec3& edge) {
    const Vec3 v = SafeNormal(view.view.x, view.view.y, view.view.z), g = SafeNormal(edge.x, edge.y, edge.z);
    return IntersectLineWithPlane(start, g, PlaneThrough(view.eye, Cross(Cross(v, g), v)));
}

bool ClipSegment(Vec3& a, Vec3& b, const Plane& plane) {
    const double fa = plane.At(a), fb = plane.At(b);
    if (fa > 0 && fb < 0)
        b = IntersectLineWithPlane(a, b - a, plane);
    else if (fa < 0 && fb > 0)
        a = IntersectLineWithPlane(a, b - a, plane);
    else
        return false;
    return true;
}

std::vector<Vec3> ClipChain(const std::vector<Vec3>& points, const Plane& plane) {
    std::vector<Vec3> kept;
    if (points.empty()) return kept;
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
        const Vec3 &p = points[i], &q = points[i + 1];
        const double fp = plane.At(p), fq = plane.At(q);
        if (fp > 0 && (fq > 0 || fq < 0)) kept.push_back(p);
        if ((fp > 0 && fq < 0) || (fp < 0 && fq > 0)) kept.push_back(IntersectLineWithPlane(p, q - p, plane));
    }
    if (plane.At(points.back()) > 0) kept.push_back(points.back());
    return kept;
}

Direction DirectionFrom(const Vec3& a, const Vec3& b) { return Unit(Between(a, b)); }

// The bisector of the first chord, within the plane of the points, cut by the plane that bisects the second.
Vec3 Circle3(const Vec3& p, const Vec3& q, const Vec3& r) {
    const Direction first = DirectionFrom(p, q), second = DirectionFrom(q, r);
    const Direction along = UnitCross(first, UnitCross(first, second));
    const double e = Dot(along, second);
    if (std::fabs(e) < kShortestVector) return {0, 0, 0};
    const double k =
        Dot(Between(p, r), second) / (2 * e);  // the middles of the chords lie half as far apart as p and r
    const auto coordinate = [&](float a, float b, double d) { return static_cast<float>((double{a} + b) / 2 + k * d); };
    return {coordinate(p.x, q.x, along.x), coordinate(p.y, q.y, along.y), coordinate(p.z, q.z, along.z)};
}

}  // namespace tessera
