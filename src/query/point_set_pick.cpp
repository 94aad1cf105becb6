#include "geometry/point_set.h"
#include "query/pick_frame.h"

namespace tessera {

// Whether the points are shown is of no concern. A set of points is not cut by the section plane, but clipped by it.
bool CPointSet::PickPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    NearestHit best(view.eye);
    const Plane plane = ClipPlane();
    for (const Vec3& point : points_) {
        const Vec3 p = TransformPoint(point, matrix);
        if (IsClipping() && plane.At(p) < 0) continue;
        if (!PointUnderCursor(p, view) || !best.IsNearer(p)) continue;
        best.Take(p);
        hit.point = p;
    }
    return best.Found();
}

bool CPointSet::IntersectLine(const PickView& view, const CMatrix& matrix, const BBox&, PickHit& hit) {
    return PickPoint(view, matrix, hit);
}

}  // namespace tessera
