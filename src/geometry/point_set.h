// Points with no connection.
#pragma once

#include <vector>

#include "geometry/element.h"

namespace tessera {

// Built by a host point by point, or read from a stream.
class CPointSet final : public CElement {
public:
    int GetKind() const override { return 1; }
    void SetPointsVisible(int visible) override { pointsVisible_ = visible; }
    int PointCount() const { return static_cast<int>(points_.size() + pending_.size()); }
    const std::vector<Vec3>& Points() const { return points_; }
    void ApplyMatrix(const CMatrix& matrix) override;
    BBox GetBoundBox(const CMatrix& matrix, bool recompute, const CMatrix& reference) override;
    void Clear() override;
    std::size_t GetMemorySize() const override { return 12 * static_cast<std::size_t>(PointCount()) + 174; }

    void Begin() { building_ = true; }
    // Drops what is no point, and points that repeat the last one.
    void AddPoint(const Vec3& p);
    void End();

    // exchange/
    void ReadStream(GraphicStream& stream) override;
    void WriteTDPM(OutputFile& file) override;
    void WriteVRML2(TextOutput& out, const CMatrix& matrix) override;

    // render/point_set_draw.cpp
    void Draw(const CMatrix& matrix, int kind, int pass) override;

    // query/point_set_pick.cpp
    bool PickPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool IntersectLine(const PickView& view, const CMatrix& matrix, const BBox& box, PickHit& hit) override;

private:
    void RecomputeBounds();

    std::vector<Vec3> points_;
    bool building_ = false;
    int pointsVisible_ = 1;
    std::vector<Vec3> pending_;  // added since Begin
    Vec3 lastPoint_;
};

}  // namespace tessera
