// An inner node of the tree.
#pragma once

#include <list>
#include <mutex>
#include <unordered_map>

#include "scene/node.h"

namespace tessera {

// Owns its children: assemblies stand first, the latest at the front, then part instances, the oldest first.
// Every traversal, every written file and every tie of a pick follows that order.
class CAssembly final : public CNode {
public:
    CAssembly() = default;
    ~CAssembly() override;

    // In two steps, of which the first alone may run out of memory. son: a list of that node alone, which is taken.
    void ExpectChild(const CNode* son);
    void ExpectName(const String& name) { names_.try_emplace(name, 0); }
    void ExpectNoChild(const CNode* son);  // after all
    void AddChild(std::list<CNode*>& son) noexcept;
    // Deletes all children and resets the matrices; the node itself stays as root.
    void ClearTree();
    // From any thread.
    bool HasChildren() {
        const std::lock_guard<std::mutex> hold(lock_);
        return !children_.empty();
    }
    // Keeps the memory watcher off the children.
    std::unique_lock<std::mutex> HoldChildren() { return std::unique_lock<std::mutex>(lock_); }
    const std::list<CNode*>& Children() const { return children_; }
    // scene/names.cpp: the wanted name as it must be to be unique beside the other children.
    String UniqueName(const CNode* node, const String& wanted);
    // A child has a new name.
    void Renamed(const String& former, const String& now);

    void InvalidateBoundBox() override;
    void ApplyExplodeToNodeMatrix() override;
    void PushExplodeToNodeMatrix(int id, const CMatrix& A, const CMatrix& N) override;
    void Scale(float x, float y, float z) override;

    // render/node_draw.cpp
    void DrawNode(const CMatrix& M, int kind, int pass, int flip) override;
    void DrawNodeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) override;
    void DrawSubtree(const CMatrix& M, int kind, int pass, int flip) override;
    void DrawSubtreeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) override;
    void DrawNodeSimple(const CMatrix& M) override;
    void DrawClipPlane(const Vec3& point, const Vec3& normal) override;

    void SetEnvtexture(const String& text) override;
    void SpoolToFile(const std::shared_ptr<SpoolFile>& file) override;
    void SetSelected(int value) override;
    void SetUserName(const String& text) override;
    void SetDateAsNow() override;
    int GetNodeIDFromName(const String& text) override;
    int GetNodeIDFromPath(const OLECHAR* path) override;
    void UseVertexArray(int value) override;

    int Remove(int nodeId) override;
    CPart* FindOtherPartByName(const String& text, int partId) override;
    CNode* DetachChild(int nodeId) override;
    int GetNodeType() const override { return 0; }
    int FirstChild() override;
    CNode* NextChild() override;

    // scene/assembly_settings.cpp
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

    int GetNumberOfPartInstance() override;
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
    void Unlink(std::list<CNode*>::iterator child);
    void ForgetName(const String& name);

    std::mutex lock_;  // keeps the memory watcher off while the list changes
    std::list<CNode*> children_;
    std::list<CNode*>::iterator childCursor_ = children_.end();
    std::unordered_map<String, int> names_;        // how many children have a name
    std::unordered_map<String, int> firstUnused_;  // all lower numbers of a base name have a holder
};

}  // namespace tessera
