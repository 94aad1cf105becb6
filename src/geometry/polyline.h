// A curve: points in order, with a stipple code on each.
#pragma once

#include <cstdint>
#include <vector>

#include "geometry/element.h"

namespace tessera {

struct PolyLinePoint {
    Vec3 position;
    std::uint8_t stipple = 0;  // of the stretch that ends here
};

// Built by a host point by point, read from a stream, or short-lived, to hold a curve of a section.
class CPolyLine final : public CElement {
public:
    int GetKind() const override { return 1; }
    void SetWireVisible(int visible) override { wireVisible_ = visible; }
    int PointCount() const { return static_cast<int>(points_.size() + before_.size() + pending_.size()); }
    const std::vector<PolyLinePoint>& Points() const { return points_; }
    void ApplyMatrix(const CMatrix& matrix) override;
    BBox GetBoundBox(const CMatrix& matrix, bool recompute, const CMatrix& reference) override;
    void Clear() override;
    std::size_t GetMemorySize() const override { return 13 * static_cast<std::size_t>(PointCount()) + 170; }

    // The two numbers are sizes that nothing depends on.
    void Begin(int, int);
    // Drop what is no point, and points that repeat their neighbour.
    void AddPoint(const Vec3& p);
    void AddPointFront(const Vec3& p);
    // For the points that follow.
    void SetStipple(std::uint8_t code) { stippleCode_ = code; }
    // A single point is dropped, and the build stays open.
    void End();

    // exchange/
    void ReadStream(GraphicStream& stream) override;
    void WriteTDPM(OutputFile& file) override;
    void WriteVRML(TextOutput& out, const CMatrix& matrix, int flip) override;
    void WriteVRML2(TextOutput& out, const CMatrix& matrix) override;
    void AppendToXml(TextOutput& out) const;
    void ScanGraphicData(const CMatrix& matrix, IGraphicDataCollector& collector) override;

    // render/polyline_draw.cpp
    void Draw(const CMatrix& matrix, int kind, int pass) override;

    // query/polyline_pick.cpp
    bool PickPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickEdge(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool IntersectLine(const PickView& view, const CMatrix& matrix, const BBox& box, PickHit& hit) override;
    bool PickCrossSectionPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickSegment(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickArc(const PickView& view, const CMatrix& matrix, PickHit& hit) override;

    // What the segment from point index to the next is part of, in the world frame: for
    // curves of a section, whose points are less regular than those of a host. A run is given only while clipping.
    bool PickSegmentRange(int index, Vec3& start, Vec3& end, const CMatrix& matrix) const;
    bool PickArcRange(const PickView& view, int index, Vec3& center, std::vector<Vec3>& block,
                      const CMatrix& matrix) const;

private:
    struct PickedSegment {
        int index = -1;
        Vec3 point, start, along;  // world frame, clipped
        double distance = 0;
        bool Found() const { return index >= 0; }
    };

    int Count() const { return static_cast<int>(points_.size()); }  // without the pending ones
    const Vec3& At(int i) const { return points_[static_cast<std::size_t>(i)].position; }
    std::uint8_t CodeAt(int i) const { return points_[static_cast<std::size_t>(i)].stipple; }
    void RecomputeBounds();
    bool IsClosed() const;
    // Where the segment behind point i crosses a plane, by the plane's values at the segment's ends.
    Vec3 CrossingAt(int i, double value, double valueBehind) const;

    // render/polyline_draw.cpp
    void DrawStretches() const;
    void DrawPreview() const;
    void DrawPoints(const Color& color, float size, int step) const;
    void DrawCrossings(const CMatrix& matrix, const Color& color, float size) const;
    void DrawMarkers(const CMatrix& matrix, int kind) const;
    int EndOfStretches(int first) const;
    void EmitStrip(int first, int last) const;

    // query/polyline_pick.cpp
    PickedSegment FindSegment(const PickView& view, const CMatrix& matrix) const;
    std::vector<Vec3> InWorld(std::vector<Vec3> points, const CMatrix& matrix) const;

    // query/polyline_trace.cpp. forSection: by the limits for curves of a section.
    bool FindStraightRun(int segment, int& first, int& last, bool forSection) const;
    bool FindArc(int segment, std::vector<Vec3>& points, Vec3& center, bool forSection) const;

    std::vector<PolyLinePoint> points_;
    int wireVisible_ = 1;
    std::uint8_t stippleCode_ = 0;
    bool building_ = false;
    // Added since Begin: at the front, the last one added first on the curve, and at the end.
    std::vector<PolyLinePoint> before_, pending_;
    Vec3 lastPoint_;  // added last at the end
};

}  // namespace tessera
