// What every geometry element of a part shares.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>

#include "component/bbox.h"
#include "component/matrix.h"
#include "geometry/plane.h"

namespace tessera {

class CTriMesh;
class GraphicStream;
class IGraphicDataCollector;
class OutputFile;
class SectionTables;
class TextOutput;
struct PickHit;
struct PickView;
struct U3dMesh;
class SpoolFile;
class SpoolView;

// An RGB colour, channels from 0 to 1.
struct Color {
    float red = 0, green = 0, blue = 0;
};

// Opacity at or above this is drawn in the opaque pass, below it in the transparent one.
constexpr float kOpaqueAlpha = 0.95f;
// Opacity at or below this is not drawn at all.
constexpr float kInvisibleAlpha = 0.005f;
// SetTransparency ignores levels from here on.
constexpr float kAlphaLimit = 1.01f;

// How an element looks and how it is cut. A part writes these fields directly, in a loop over its elements.
struct ElementState {
    Vec3 clipPoint{0, 0, 0}, clipNormal{1, 0, 0};  // section plane, world frame
    int sectionEnabled = 1;                        // section lines and clipping are drawn
    int planeClipOn = 0;                           // together with sectionEnabled: the clip plane is on
    int transparentSection = 0;
    int vertexVisible = 0;
    int printing = 0;  // line colours that are almost white are drawn black
    short shadeMode = 1, optionsShadeMode = 0;
    short viewingType = 0;                               // 0 perspective, 1 parallel
    Vec3 cameraPoint{10, 10, 10}, targetPoint{0, 0, 0};  // world frame
    Color externalColor{0, 0.85f, 0.85f}, internalColor{0, 0.85f, 0};
    Color backgroundColor{0.19607843f, 0.19607843f, 0.5882353f};  // fill of hidden-line mode
    Color borderColor{1, 0, 0};                                   // open edges
    Color edgeColor{1, 1, 0};                                     // hard edges
    float pickTolerance = 0.05f, zoomFactor = 1.0f;
    float alpha = 0.99f;  // opacity
    bool useVertexArray = false;
};

class CElement : public ElementState {
public:
    CElement();
    virtual ~CElement();
    CElement(const CElement&) = delete;
    CElement& operator=(const CElement&) = delete;

    // Writes the bulk of the data to the file and frees it; called by the memory watcher only.
    virtual void SpoolOut(const std::shared_ptr<SpoolFile>& file);
    // Fills a new element from a stream that stands behind the element's tag.
    virtual void ReadStream(GraphicStream&) {}
    // Brings spooled data back.
    virtual void Reload() {}
    virtual void SetSimpleShadeMode(short) {}
    virtual void AppendTrianglesTo(CTriMesh&) {}
    // 0 for a mesh, 1 for the other kinds.
    virtual int GetKind() const { return 0; }
    // matrix is the accumulated world matrix, already on the modelview stack; kind and pass as docs/opengl.md tells.
    virtual void Draw(const CMatrix&, int /*kind*/, int /*pass*/) {}
    virtual void DrawSimple(const CMatrix& matrix) { Draw(matrix, 1, 0); }
    virtual void ApplyMatrix(const CMatrix&) {}
    virtual void SetThresholdAngle(float degrees) { thresholdAngle_ = degrees; }
    virtual void SetPointTolerance(float tolerance) { pointTolerance_ = tolerance; }
    // Box of the geometry through matrix, then through reference.
    virtual BBox GetBoundBox(const CMatrix& matrix, bool recompute, const CMatrix& reference);
    virtual void SetWireVisible(int) {}
    virtual void SetSurfaceVisible(int) {}
    virtual void SetPointsVisible(int) {}
    // Leaves the element empty and reusable; the values differ from those of construction on purpose.
    virtual void Clear();
    virtual std::size_t GetMemorySize() const { return 170; }

    // The two surface colours never get darker than 0.2 a channel, so that lit surfaces keep their shape.
    void SetElementExternalColor(const Color& color);
    void SetElementInternalColor(const Color& color);

    // The eight picks; docs in query/pick_frame.h. matrix leads from the element's frame to the world. True for a
    // hit, whose place stands in hit; after a miss hit may hold anything.
    virtual bool PickPoint(const PickView&, const CMatrix& /*matrix*/, PickHit&) { return false; }
    virtual bool PickEdge(const PickView&, const CMatrix&, PickHit&) { return false; }
    // box bounds the element in the world, where the kind of element has a use for it.
    virtual bool IntersectLine(const PickView&, const CMatrix&, const BBox& /*box*/, PickHit&) { return false; }
    virtual bool IntersectRay(const PickView&, const CMatrix&, const BBox& /*box*/, PickHit&) { return false; }
    virtual bool PickCrossSectionPoint(const PickView&, const CMatrix&, PickHit&) { return false; }
    virtual bool PickCrossSectionEdge(const PickView&, const CMatrix&, PickHit&) { return false; }
    virtual bool PickSegment(const PickView&, const CMatrix&, PickHit&) { return false; }
    virtual bool PickArc(const PickView&, const CMatrix&, PickHit&) { return false; }
    virtual double GetSurfaceArea() { return 0; }
    // Length of the line in which the section plane cuts the element, in units of its own frame.
    virtual float GetSectionLength(const CMatrix& /*matrix*/) { return 0; }

    // Adds the cuts of the section plane, in the element's frame.
    virtual void CutByPlane(SectionTables&, const CMatrix& /*matrix*/) {}

    // The element's record in a file: exchange/.
    virtual void WriteTDPM(OutputFile&) {}
    virtual void WriteVRML(TextOutput&, const CMatrix& /*matrix*/, int /*flip*/) {}
    virtual void WriteVRML2(TextOutput&, const CMatrix& /*matrix*/) {}
    virtual void ScanGraphicData(const CMatrix& /*matrix*/, IGraphicDataCollector&) {}
    virtual void FillU3DMesh(U3dMesh&) {}

    // Whether the section plane cuts away what lies on its negative side.
    bool IsClipping() const { return sectionEnabled != 0 && planeClipOn != 0; }
    // The section plane in the world and in the element's frame.
    Plane ClipPlane() const { return PlaneThrough(clipPoint, clipNormal); }
    Plane ClipPlaneIn(const CMatrix& matrix) const { return LocalPlaneThrough(clipPoint, clipNormal, matrix); }

    const BBox& Bounds() const { return bounds_; }
    float ThresholdAngle() const { return thresholdAngle_; }
    float PointTolerance() const { return pointTolerance_; }
    bool IsSpooled() const { return spooled_; }

protected:
    float thresholdAngle_ = 0;  // degrees
    float pointTolerance_;
    BBox bounds_;  // local frame

    // The reader and writer scheme that keeps the memory watcher off a mesh in use: geometry/trimesh_spool.cpp.
    std::shared_ptr<SpoolFile> spoolFile_;
    std::int64_t spoolOffset_ = 0;
    std::atomic<bool> spooled_{false};  // the spool file holds a copy
    std::atomic<int> writers_{0}, readers_{0};
    std::mutex lock_;
};

}  // namespace tessera
