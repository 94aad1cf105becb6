// The base of the two kinds of tree node.
#pragma once

#include <ctime>
#include <memory>
#include <optional>

#include "component/bbox.h"
#include "component/matrix.h"
#include "platform/text.h"

namespace tessera {

class CAssembly;
class CPart;
class IDecimator;
class IGraphicDataCollector;
class OutputFile;
class SpoolFile;
class TextOutput;
struct Color;
struct PickHit;
struct PickView;
struct U3dWriter;
enum class PickKind : int;
enum class Vrml;

// The settings of a node, with their values in a new one.
struct NodeState {
    int id = 0;
    int crossSectionEnabled = 1, cappingEnabled = 0;
    int wireFrameVisible = 1, surfaceVisible = 1, vertexVisible = 0, pointSetVisible = 1;
    bool exploded = false;        // the last traversal that drew the node was an exploded one
    CMatrix transform;            // placement in the parent
    CMatrix explodeTransform;     // displacement in the world that only exploded views apply
    CAssembly* parent = nullptr;  // not owned
    int drawBoundBox = 0;
    int drawingEnabled = 1;  // 0 leaves the subtree out of drawing, picks, boxes and section output
    int selected = 0;
    int mirrored = 0;  // turns the winding that the traversal hands down
    String userName, title, propertyString;
    std::time_t lastModified = 0;
    bool useDisplayAcc = false;
    float displayAccuracy = 0;
    float camera[6] = {0, 0, 0, 0, 0, 0};  // point of view, then target
    BBox boundBox;                         // last box computed
    float zoomFactor = 1;
    std::optional<String> envTexture;
};

// A node of the scene tree: an assembly or a part instance. In the operations below M is the product of the
// ancestors' transforms and E that of their explode transforms; flip is the winding parity. As a rule an
// assembly passes an operation to its children and an instance to its part.
class CNode : public NodeState {
public:
    CNode();
    virtual ~CNode();
    CNode(const CNode&) = delete;
    CNode& operator=(const CNode&) = delete;

    const String& Name() const { return name_; }
    // scene/names.cpp: stores the wanted name, numbered where a sibling has it.
    void SetName(const String& wanted);
    // One that is unique among its siblings.
    void TakeName(String name);
    // The path of names from the root to this node.
    String FullName() const;
    // scene/transforms.cpp: the inverse of the product of all transforms from here to the root.
    CMatrix WorldInverse() const;
    CMatrix World() const;

    virtual void InvalidateBoundBox() {}
    virtual void ApplyExplodeToNodeMatrix() {}
    virtual void PushExplodeToNodeMatrix(int /*id*/, const CMatrix& /*A*/, const CMatrix& /*N*/) {}
    virtual void Scale(float, float, float) {}

    virtual void DrawNode(const CMatrix&, int /*kind*/, int /*pass*/, int /*flip*/) {}
    virtual void DrawNodeExplode(const CMatrix&, int, int, int, const CMatrix& /*E*/) {}
    virtual void DrawSubtree(const CMatrix&, int, int, int) {}
    virtual void DrawSubtreeExplode(const CMatrix&, int, int, int, const CMatrix& /*E*/) {}
    virtual void DrawNodeSimple(const CMatrix&) {}

    // Only an assembly draws the plane.
    virtual void DrawClipPlane(const Vec3& /*point*/, const Vec3& /*normal*/) {}

    virtual void SetEnvtexture(const String& name) { envTexture = name; }
    virtual void SpoolToFile(const std::shared_ptr<SpoolFile>&) {}
    virtual void SetSelected(int value) { selected = value; }
    virtual void SetUserName(const String& text) { userName = text; }
    virtual void SetDateAsNow() { lastModified = std::time(nullptr); }
    virtual int GetNodeIDFromName(const String& text);
    // path starts at a slash.
    virtual int GetNodeIDFromPath(const OLECHAR* /*path*/) { return -1; }
    virtual void UseVertexArray(int) {}

    // 1: this node has deleted itself; 2: a node below has been deleted and unlinked; 0: not found.
    virtual int Remove(int) { return 0; }
    virtual CPart* FindOtherPartByName(const String&, int /*id*/) { return nullptr; }
    virtual CNode* DetachChild(int) { return nullptr; }
    virtual int GetNodeType() const { return -1; }
    virtual int FirstChild() { return -1; }
    virtual CNode* NextChild() { return nullptr; }

    virtual void SetExternalColor(const Color&) {}
    virtual void SetInternalColor(const Color&) {}
    virtual void SetBackgroundColor(const Color&) {}
    virtual void SetBorderColor(const Color&) {}
    virtual void SetEdgeColor(const Color&) {}
    virtual void SetPointTolerance(float) {}
    virtual void SetThresholdAngle(float) {}
    virtual void SetShadeMode(short) {}
    virtual void SetSimpleShadeMode(short) {}
    virtual void SetOptionsShadeMode(short) {}
    virtual void SetViewingType(short) {}
    virtual void SetTransparency(float) {}
    virtual void SetVolumePrecision(float) {}
    virtual void SwitchWireFrameVisibility(int value) { wireFrameVisible = value; }
    virtual void SwitchTriMeshVisibility(int value) { surfaceVisible = value; }
    virtual void SwitchPointSetVisibility(int value) { pointSetVisible = value; }
    virtual void SetVertexVisible(int value) { vertexVisible = value; }
    virtual void SetCamera(const float view[6]);
    virtual void ComputeLODs(IDecimator*) {}
    virtual void SetZoomFactor(float value) { zoomFactor = value; }
    virtual void SetPickTolerance(float) {}
    virtual void SetPrintingStatus(int) {}
    virtual void SetUseDisplayAcc(bool status, float accuracy, const BBox& sceneBox);

    virtual void SetCrossSectionPlane(const Vec3& /*point*/, const Vec3& /*normal*/) {}
    virtual bool GetCrossSectionPlane(Vec3& /*point*/, Vec3& /*normal*/) { return false; }
    virtual void EnableCrossSection(int value) { crossSectionEnabled = value; }
    virtual void EnableCrossSectionCapping(int value) { cappingEnabled = value; }
    virtual void SwitchCrossSectionPlane(int) {}
    virtual void EnableTransparentXSection(int) {}

    virtual int GetNumberOfPartInstance() { return 0; }
    virtual BBox GetBoundBox(const CMatrix& /*M*/, const CMatrix& /*E*/, bool /*recompute*/,
                             const CMatrix& /*reference*/) {
        return BBox();
    }
    // query/node_pick.cpp: true if something was hit; hit is its place then, and else may hold anything.
    virtual bool Pick(PickKind, const PickView&, const CMatrix& /*M*/, const CMatrix& /*E*/, PickHit&) { return false; }
    // query/node_measures.cpp: of all parts below, in each part's own units.
    virtual double GetVolume() { return 0; }
    virtual double GetSurfaceArea() { return 0; }
    virtual double GetProjectedSurfaceXY() { return 0; }
    virtual Vec3 GetCenterOfMass(const CMatrix& /*M*/, const CMatrix& /*E*/) { return {}; }
    // query/node_pick.cpp: length of the section lines, without explode transforms, each in its part's units.
    virtual float GetCrossSectionLength(const CMatrix& /*M*/) { return 0; }

    // exchange/tdpm.cpp: the record of the subtree, then its parts that are not marked as written.
    virtual void WriteTDPMTree(OutputFile& file) const;
    virtual void WriteTDPMParts(OutputFile&) {}
    virtual void ClearWrittenMark() {}
    // exchange/vrml.cpp
    virtual void WriteVRML(TextOutput&, const CMatrix& /*M*/, int /*flip*/, Vrml) {}
    // exchange/u3d_export.cpp
    virtual void ExportU3D(U3dWriter&, const CMatrix& /*M*/) {}
    // exchange/section_xml.cpp
    virtual void SaveCrossSection(TextOutput&) {}
    // exchange/graphic_scan.cpp
    virtual void ScanGraphicData(const CMatrix& /*M*/, const CMatrix& /*E*/, IGraphicDataCollector&) {}

protected:
    String name_;
};

}  // namespace tessera
