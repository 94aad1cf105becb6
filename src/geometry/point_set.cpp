#include "geometry/point_set.h"

#include "geometry/point_limits.h"

namespace tessera {
namespace {

// Room that is kept behind the points.
constexpr std::size_t kSpare = 3;
// The box of a lone point reaches this far to each side, so that it has an extent.
constexpr float kLoneReach = 1e-5f;

}  // namespace

// A first build keeps points that repeat. The point that is dropped leaves the set's tolerance in force as the
// process-wide one: callers that care set their own.
void CPointSet::AddPoint(const Vec3& p) {
    if (!building_ || !IsUsablePoint(p)) return;
    const float saved = gPointTolerance;
    gPointTolerance = pointTolerance_;
    if (!points_.empty() && PointsEqual(p, lastPoint_)) return;
    pending_.push_back(p);
    lastPoint_ = p;
    gPointTolerance = saved;
}

void CPointSet::End() {
    points_.reserve(points_.size() + pending_.size() + kSpare);
    points_.insert(points_.end(), pending_.begin(), pending_.end());
    std::vector<Vec3>().swap(pending_);
    RecomputeBounds();
    building_ = false;
}

void CPointSet::RecomputeBounds() {
    bounds_ = BBox();
    for (const Vec3& p : points_) bounds_.Add(p);
    bounds_.valid = points_.empty() ? 0 : 1;
}

void CPointSet::ApplyMatrix(const CMatrix& matrix) {
    for (Vec3& p : points_) p = TransformPoint(p, matrix);
    RecomputeBounds();
}

BBox CPointSet::GetBoundBox(const CMatrix& matrix, bool, const CMatrix& reference) {
    BBox box;
    if (points_.empty()) return box;
    for (const Vec3& p : points_) box.Add(TransformPoint(TransformPoint(p, matrix), reference));
    if (points_.size() == 1)
        box = {box.xmin - kLoneReach, box.xmax + kLoneReach, box.ymin - kLoneReach,
               box.ymax + kLoneReach, box.zmin - kLoneReach, box.zmax + kLoneReach};
    box.valid = 1;
    return box;
}

void CPointSet::Clear() {
    CElement::Clear();
    std::vector<Vec3>().swap(points_);
    std::vector<Vec3>().swap(pending_);
}

}  // namespace tessera
