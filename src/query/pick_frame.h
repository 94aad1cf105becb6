// What all picks share: the question, the answer, and the tests on the screen.
#pragma once

#include <cmath>
#include <utility>
#include <vector>

#include "component/bbox.h"
#include "component/matrix.h"
#include "geometry/plane.h"

namespace tessera {

enum class PickKind : int {
    Point,
    Edge,
    Surface,  // PickPartInstance
    Ray,      // IntersectRay
    SectionPoint,
    SectionEdge,
    Segment,
    Arc,
};

// The line of sight and the cursor. IntersectRay uses eye and view alone.
struct PickView {
    Vec3 eye;        // world frame; candidates compare by their distance from it
    Vec3 view;       // world frame, any length but (0, 0, 0)
    CMatrix screen;  // world to screen, forward half only
    float x = 0, y = 0;
    float tolerance = 0;  // screen units
};

// The winner of a pick, all in the world frame. What a kind does not give stays as it is.
struct PickHit {
    Vec3 point;
    Vec3 normal;            // Surface and Ray on meshes that are shown shaded
    Vec3 start, end;        // Segment
    Vec3 center;            // Arc
    std::vector<Vec3> arc;  // Arc: its points in order
    int nodeId = 0;
};

// Keeps the nearest of an element's candidates; of equals the earliest.
class NearestHit {
public:
    explicit NearestHit(const Vec3& eye) : eye_(eye) {}
    bool IsNearer(const Vec3& p) const { return !found_ || Length(p - eye_) < distance_; }
    void Take(const Vec3& p) {
        found_ = true;
        distance_ = Length(p - eye_);
    }
    bool Found() const { return found_; }
    double Distance() const { return distance_; }

private:
    Vec3 eye_;
    bool found_ = false;
    double distance_ = 0;
};

// The same for the children of a node or the elements of a part. The best distance is held in a float there, so that a
// candidate may be taken for nearer by what rounding has added; but never one that is exactly as far.
class NearestOfLevel {
public:
    explicit NearestOfLevel(const Vec3& eye) : eye_(eye) {}
    void Offer(PickHit& hit) {
        const double distance = Length(hit.point - eye_);
        if (found_ && (distance == exact_ || !(distance < distance_))) return;
        found_ = true;
        exact_ = distance;
        distance_ = static_cast<float>(distance);
        best_ = std::move(hit);
    }
    // Writes the winner; false if there is none.
    bool Give(PickHit& hit) {
        if (found_) hit = std::move(best_);
        return found_;
    }

private:
    Vec3 eye_;
    bool found_ = false;
    double exact_ = 0;
    float distance_ = 0;
    PickHit best_;
};

struct ScreenPoint {
    double x, y;
};

// Where a world point appears; depth plays no part. A point in the eye's plane has no place: infinite or NaN.
ScreenPoint Project(const Vec3& p, const CMatrix& screen);
// Whether a world point appears nearer to the cursor than the tolerance, along x and along y.
bool PointUnderCursor(const Vec3& p, const PickView& view);
// Whether the cursor is nearer to a segment than the tolerance; hit is then the point of the segment below it,
// linear in screen terms. A segment that appears as a point is never hit.
bool TestSegmentOnScreen(const Vec3& a, const Vec3& b, const PickView& view, Vec3& hit);
// Whether a line, endless both ways, meets a box grown by 0.0001.
bool LineHitsBox(const Vec3& origin, const Vec3& direction, const BBox& box);
// Gives (0, 0, 0) for a line along the plane, and then leaves ahead alone; else ahead tells whether the point
// lies in the line's direction.
Vec3 IntersectLineWithPlane(const Vec3& origin, const Vec3& direction, const Plane& plane, bool* ahead = nullptr);
// The point of the line through start along edge that comes closest to the line of sight.
Vec3 SnapToEdgeLine(const PickView& view, const Vec3& start, const Vec3& edge);

// Cuts a segment of the world frame back to the positive side of a plane, at the one end that is strictly on the
// negative side while the other is strictly on the positive one. True if an end has moved.
bool ClipSegment(Vec3& a, Vec3& b, const Plane& plane);
// Cuts a chain of points of the world frame back to the positive side of a plane.
std::vector<Vec3> ClipChain(const std::vector<Vec3>& points, const Plane& plane);

// A direction in double precision: hundredths of a degree between chained edges need it.
struct Direction {
    double x, y, z;
};

// From a to b, of unit length; x is 1 where they are closer than the shortest vector.
Direction DirectionFrom(const Vec3& a, const Vec3& b);
inline double Dot(const Direction& a, const Direction& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
// Degrees.
inline double TurnBetween(const Direction& a, const Direction& b) { return AngleOfUnitDot(Dot(a, b)); }
// The same for straight runs, which take a reversal for 179.
inline double RunTurnBetween(const Direction& a, const Direction& b) {
    const double c = Dot(a, b);
    return c <= -1 ? 179 : AngleOfUnitDot(c);
}

// The centre of the circle through three points, (0, 0, 0) if they are collinear.
Vec3 Circle3(const Vec3& p, const Vec3& q, const Vec3& r);

// A circle in space that an arc is compared with.
struct ArcFit {
    Vec3 center;
    double radius = 0;
    Plane plane;

    double RadialDeviation(const Vec3& p) const { return std::fabs(Length(p - center) - radius); }
    // The distance between a point and its projection along the normal.
    double PlaneDistance(const Vec3& p) const { return Length(p - IntersectLineWithPlane(p, plane.normal, plane)); }
    void FitThrough(const Vec3& p, const Vec3& q, const Vec3& r) { center = Circle3(p, q, r); }
};

}  // namespace tessera
