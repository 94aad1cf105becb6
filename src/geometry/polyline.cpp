#include "geometry/polyline.h"

#include "geometry/point_limits.h"

namespace tessera {
namespace {

// Room that is kept behind the points.
constexpr std::size_t kSpare = 3;

}  // namespace

void CPolyLine::Begin(int, int) {
    building_ = true;
    stippleCode_ = 0;
}

// A first build keeps points that repeat: only a curve that is added to is compared with its end.
void CPolyLine::AddPoint(const Vec3& p) {
    if (!building_ || !IsUsablePoint(p)) return;
    const ToleranceScope tolerance(pointTolerance_);
    if (!points_.empty() && PointsEqual(p, lastPoint_)) return;
    pending_.push_back({p, stippleCode_});
    lastPoint_ = p;
}

void CPolyLine::AddPointFront(const Vec3& p) {
    if (!building_) return;
    const ToleranceScope tolerance(pointTolerance_);
    const std::vector<PolyLinePoint>& first = before_.empty() ? pending_ : before_;
    const std::size_t index = before_.empty() ? 0 : before_.size() - 1;
    if (first.empty() || !PointsEqual(p, first[index].position)) before_.push_back({p, stippleCode_});
}

void CPolyLine::End() {
    if (PointCount() >= 2) {
        points_.reserve(static_cast<std::size_t>(PointCount()) + kSpare);
        points_.insert(points_.end(), before_.rbegin(), before_.rend());
        points_.insert(points_.end(), pending_.begin(), pending_.end());
        RecomputeBounds();
        building_ = false;
    }
    std::vector<PolyLinePoint>().swap(before_);
    std::vector<PolyLinePoint>().swap(pending_);
}

void CPolyLine::RecomputeBounds() {
    bounds_ = BBox();
    for (const PolyLinePoint& p : points_) bounds_.Add(p.position);
    bounds_.valid = 1;
}

bool CPolyLine::IsClosed() const { return PointsEqual(points_.front().position, points_.back().position); }

Vec3 CPolyLine::CrossingAt(int i, double value, double valueBehind) const {
    const Vec3 &a = At(i), &b = At(i + 1);
    const double t = value / (value - valueBehind);
    return {static_cast<float>(a.x + t * (static_cast<double>(b.x) - a.x)),
            static_cast<float>(a.y + t * (static_cast<double>(b.y) - a.y)),
            static_cast<float>(a.z + t * (static_cast<double>(b.z) - a.z))};
}

void CPolyLine::ApplyMatrix(const CMatrix& matrix) {
    for (PolyLinePoint& p : points_) p.position = TransformPoint(p.position, matrix);
    RecomputeBounds();
}

// Taken from the points, so that it bounds the curve under any rotation.
BBox CPolyLine::GetBoundBox(const CMatrix& matrix, bool, const CMatrix& reference) {
    BBox box;
    if (wireVisible_ == 0 || points_.empty()) return box;
    for (const PolyLinePoint& p : points_) box.Add(TransformPoint(TransformPoint(p.position, matrix), reference));
    box.valid = 1;
    return box;
}

void CPolyLine::Clear() {
    CElement::Clear();
    std::vector<PolyLinePoint>().swap(points_);
    std::vector<PolyLinePoint>().swap(before_);
    std::vector<PolyLinePoint>().swap(pending_);
}

}  // namespace tessera
