// A placement of a part.
#pragma once

#include <cstdint>
#include <memory>

#include "scene/node.h"

namespace tessera {

// A leaf of the tree. Several instances may share one part: colours, modes and geometry live in the part,
// matrices, flags, names and the cached box here.
class CPartInstance final : public CNode {
public:
    CPartInstance() = default;
    ~CPartInstance() override;

    // Takes a counted reference; the former part goes with its last one.
    void LinkPart(CPart* part);
    CPart* Part() const { return part_; }
    int GetPartID() const;

    void InvalidateBoundBox() override;
    // Stales the boxes of all instances at once, whatever their number.
    static void InvalidateAllBoundBoxes();
    void ApplyExplodeToNodeMatrix() override;
    void PushExplodeToNodeMatrix(int id, const CMatrix& A, const CMatrix& N) override;
    void Scale(float x, float y, float z) override;

    // render/node_draw.cpp
    void DrawNode(const CMatrix& M, int kind, int pass, int flip) override;
    void DrawNodeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) override;
    void DrawSubtree(const CMatrix& M, int kind, int pass, int flip) override;
    void DrawSubtreeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) override;
    void DrawNodeSimple(const CMatrix& M) override;

    void SetEnvtexture(const String& text) override;
    void SpoolToFile(const std::shared_ptr<SpoolFile>& file) override;
    void UseVertexArray(int value) override;
    int Remove(int nodeId) override;
    CPart* FindOtherPartByName(const String& text, int partId) override;
    int GetNodeType() const override { return 1; }

    // scene/instance_settings.cpp
    void SetExternalColor(const Color& color) override;
    void SetInternalColor(const Color& color) override;
    void SetBackgroundColor(const Color& color) override;
    void SetBorderColor(const Color& color) override;
    void SetEdgeColor(const Color& color) override;
    void SetPointTolerance(float tolerance) override;
    void SetThresholdAngle(float degrees) override;
    void SetShadeMode(short code) override;
    void SetSimpleShadeMode(short code) override;
    void SetOptionsShadeMode(short code) override;
    void SetViewingType(short code) override;
    void SetTransparency(float level) override;
    void SetVolumePrecision(float precision) override;
    void SwitchWireFrameVisibility(int value) override;
    void SwitchTriMeshVisibility(int value) override;
    void SwitchPointSetVisibility(int value) override;
    void SetVertexVisible(int value) override;
    void SetCamera(const float view[6]) override;
    void SetZoomFactor(float value) override;
    void SetPickTolerance(float value) override;
    void SetPrintingStatus(int value) override;
    void ComputeLODs(IDecimator* decimator) override;
    void SetUseDisplayAcc(bool status, float accuracy, const BBox& sceneBox) override;
    void SetCrossSectionPlane(const Vec3& point, const Vec3& normal) override;
    bool GetCrossSectionPlane(Vec3& point, Vec3& normal) override;
    void EnableCrossSection(int value) override;
    void EnableCrossSectionCapping(int value) override;
    void SwitchCrossSectionPlane(int value) override;
    void EnableTransparentXSection(int value) override;

    int GetNumberOfPartInstance() override { return 1; }
    BBox GetBoundBox(const CMatrix& M, const CMatrix& E, bool recompute, const CMatrix& reference) override;
    bool Pick(PickKind kind, const PickView& view, const CMatrix& M, const CMatrix& E, PickHit& hit) override;
    float GetCrossSectionLength(const CMatrix& M) override;
    double GetVolume() override;
    double GetSurfaceArea() override;
    double GetProjectedSurfaceXY() override;
    Vec3 GetCenterOfMass(const CMatrix& M, const CMatrix& E) override;

    void WriteTDPMTree(OutputFile& file) const override;
    void WriteTDPMParts(OutputFile& file) override;
    void ClearWrittenMark() override;
    void WriteVRML(TextOutput& out, const CMatrix& M, int flip, Vrml version) override;
    void ExportU3D(U3dWriter& writer, const CMatrix& M) override;
    void SaveCrossSection(TextOutput& out) override;
    void ScanGraphicData(const CMatrix& M, const CMatrix& E, IGraphicDataCollector& collector) override;

private:
    // Own transform, and for an exploded node the explode transform, with those of the ancestors.
    CMatrix Placement(const CMatrix& M, const CMatrix& E) const;
    // Under the whole placement, cached.
    const BBox& BoxAt(const CMatrix& placement, bool recompute, const CMatrix& reference);
    void DrawAt(const CMatrix& placement, int kind, int pass, int flip);

    CPart* part_ = nullptr;
    // The matrices for which boundBox holds, no second one for the identity, and the state of the geometry at that
    // time.
    std::unique_ptr<CMatrix> boxMatrix_, boxReference_;
    std::uint64_t boxEpoch_ = 0;
};

}  // namespace tessera
