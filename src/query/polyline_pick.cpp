// Picks of a curve. Whether it is shown is of no concern to them.
#include "geometry/polyline.h"
#include "query/pick_frame.h"

namespace tessera {

bool CPolyLine::PickPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    NearestHit best(view.eye);
    const Plane plane = ClipPlane();
    for (const PolyLinePoint& point : points_) {
        const Vec3 p = TransformPoint(point.position, matrix);
        if (IsClipping() && plane.At(p) < 0) continue;
        if (!PointUnderCursor(p, view) || !best.IsNearer(p)) continue;
        best.Take(p);
        hit.point = p;
    }
    PickHit section;
    if (PickCrossSectionPoint(view, matrix, section) && best.IsNearer(section.point)) {
        best.Take(section.point);
        hit.point = section.point;
    }
    return best.Found();
}

// The nearest segment under the cursor, the earlier of equals.
CPolyLine::PickedSegment CPolyLine::FindSegment(const PickView& view, const CMatrix& matrix) const {
    PickedSegment found;
    if (Count() < 2) return found;
    NearestHit best(view.eye);
    const Plane plane = ClipPlane();
    Vec3 next = TransformPoint(At(0), matrix);
    for (int i = 0; i + 1 < Count(); ++i) {
        Vec3 a = next, p;
        next = TransformPoint(At(i + 1), matrix);
        Vec3 b = next;
        if (IsClipping() && !ClipSegment(a, b, plane) && !(plane.At(a) > 0 && plane.At(b) > 0)) continue;
        if (!TestSegmentOnScreen(a, b, view, p) || !best.IsNearer(p)) continue;
        best.Take(p);
        found = {i, p, a, b - a, best.Distance()};
    }
    return found;
}

// A curve is cut in points, so that these stand in for the edges of a section.
bool CPolyLine::PickEdge(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    const PickedSegment segment = FindSegment(view, matrix);
    PickHit section;
    if (!segment.Found() && !PickCrossSectionPoint(view, matrix, section)) return false;
    // After a hit on the section alone the edge is the x axis, as on a mesh.
    hit.point = SnapToEdgeLine(view, segment.start, segment.along);
    return true;
}

bool CPolyLine::IntersectLine(const PickView& view, const CMatrix& matrix, const BBox&, PickHit& hit) {
    return PickEdge(view, matrix, hit);
}

bool CPolyLine::PickCrossSectionPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (!IsClipping() || Count() < 2) return false;
    NearestHit best(view.eye);
    const Plane plane = ClipPlaneIn(matrix);
    double next = plane.At(At(0));
    for (int i = 0; i + 1 < Count(); ++i) {
        const double here = next;
        next = plane.At(At(i + 1));
        if ((here > 0) == (next > 0)) continue;
        const Vec3 p = TransformPoint(CrossingAt(i, here, next), matrix);
        if (!PointUnderCursor(p, view) || !best.IsNearer(p)) continue;
        best.Take(p);
        hit.point = p;
    }
    return best.Found();
}

bool CPolyLine::PickSegment(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    const PickedSegment segment = FindSegment(view, matrix);
    int first = 0, last = 0;
    if (!segment.Found() || !FindStraightRun(segment.index, first, last, false)) return false;
    hit.point = segment.point;
    hit.start = TransformPoint(At(first), matrix);
    hit.end = TransformPoint(At(last), matrix);
    if (IsClipping()) ClipSegment(hit.start, hit.end, ClipPlane());
    return true;
}

bool CPolyLine::PickArc(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    const PickedSegment segment = FindSegment(view, matrix);
    std::vector<Vec3> points;
    if (!segment.Found() || !FindArc(segment.index, points, hit.center, false)) return false;
    hit.point = segment.point;
    hit.center = TransformPoint(hit.center, matrix);
    hit.arc = InWorld(std::move(points), matrix);
    return true;
}

bool CPolyLine::PickSegmentRange(int index, Vec3& start, Vec3& end, const CMatrix& matrix) const {
    int first = 0, last = 0;
    if (!IsClipping() || !FindStraightRun(index, first, last, true)) return false;
    start = TransformPoint(At(first), matrix);
    end = TransformPoint(At(last), matrix);
    return true;
}

bool CPolyLine::PickArcRange(const PickView&, int index, Vec3& center, std::vector<Vec3>& block,
                             const CMatrix& matrix) const {
    std::vector<Vec3> points;
    if (!FindArc(index, points, center, true)) return false;
    center = TransformPoint(center, matrix);
    block = InWorld(std::move(points), matrix);
    return true;
}

// What of an arc is not cut away.
std::vector<Vec3> CPolyLine::InWorld(std::vector<Vec3> points, const CMatrix& matrix) const {
    for (Vec3& p : points) p = TransformPoint(p, matrix);
    return IsClipping() ? ClipChain(points, ClipPlane()) : points;
}

}  // namespace tessera
