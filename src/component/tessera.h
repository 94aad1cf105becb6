// The component: the one object that a host sees.
#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "component/node_index.h"
#include "geometry/tri_normal_table.h"
#include "platform/spool_file.h"
#include "render/texture_cache.h"
#include "scene/assembly.h"
#include "scene/part_instance.h"
#include "tessera/tessera.h"

namespace tessera {

struct PickQuery;

// Writes an out argument that a host may have left null.
template <class T>
void Give(T* out, T value) {
    if (out) *out = value;
}
inline void Give(BSTR* out, BSTR value) {
    if (out)
        *out = value;
    else
        SysFreeString(value);
}

// Turns ids into objects and runs an operation on them; scene logic lives in the nodes and parts. An object
// that has been created but not linked is held by its last-created field alone: one loose object of each kind.
class CTessera final : public ITessera {
public:
    CTessera();

    HRESULT QueryInterface(const IID& id, void** object) override;
    ULONG AddRef() override;
    ULONG Release() override;

    // component/tessera.cpp
    HRESULT CreateAssembly(int* newID) override;
    HRESULT CreatePart(int* newID) override;
    HRESULT CreatePartInstance(int* newID) override;
    HRESULT SetPart(int partInstanceID, int partID, int* errCode) override;
    HRESULT SetParent(int sonID, int parentID, int* errCode) override;
    HRESULT Remove(int nodeID, int* errCode) override;
    HRESULT GetIdRoot(int* idroot) override;
    HRESULT GetParent(int idNode, int* parentID) override;
    HRESULT GetFirstChild(int nodeID, int* childID, int* errCode) override;
    HRESULT GetNextChild(int nodeID, int* childID, int* errCode) override;
    HRESULT IsEmpty(LONG* retVal) override;
    HRESULT GetNodeType(int nodeID, int* nodeType, int* errCode) override;
    HRESULT ResetSceneGraph() override;
    HRESULT GetVersion(int* versionNum) override;
    HRESULT GetPartOfPInstance(int piID, int* partID, int* errCode) override;

    // scene/facade_settings.cpp
    HRESULT SetExternalColor(int nodeID, float r, float g, float b, int* errCode) override;
    HRESULT SetInternalColor(int nodeID, float r, float g, float b, int* errCode) override;
    HRESULT SetBackgroundColor(int nodeID, float r, float g, float b, int* errCode) override;
    HRESULT SetBorderColor(int nodeID, float r, float g, float b, int* errCode) override;
    HRESULT SetEdgeColor(int nodeID, float r, float g, float b, int* errCode) override;
    HRESULT SetPointTolerance(int nodeID, float tolerance, int* errCode) override;
    HRESULT SetThresholdAngle(int nodeID, float tolerance, int* errCode) override;
    HRESULT SetShadeMode(int nodeID, short qnrcode, int* errCode) override;
    HRESULT SetOptionsShadeMode(int nodeID, short qnrcode, int* errCode) override;
    HRESULT SetViewingType(int nodeID, short qnrcode, int* errCode) override;
    HRESULT SetCamera(float* camPoint, float* targetPoint, int* errCode) override;
    HRESULT EnableDrawBoundBox(int nodeID, LONG status, int* errCode) override;
    HRESULT SetSimpleShadeMode(int nodeID, short qnrcode, int* errCode) override;
    HRESULT GetShadeMode(int nodeID, short* qnrcode, int* errCode) override;
    HRESULT SetTransparency(int nodeID, float level, int* errCode) override;
    HRESULT GetExternalColor(int nodeID, float* red, float* green, float* blu, int* errCode) override;
    HRESULT GetInternalColor(int nodeID, float* red, float* green, float* blu, int* errCode) override;
    HRESULT GetBackgroundColor(int nodeID, float* red, float* green, float* blu, int* errCode) override;
    HRESULT GetBorderColor(int nodeID, float* red, float* green, float* blu, int* errCode) override;
    HRESULT GetEdgeColor(int nodeID, float* red, float* green, float* blu, int* errCode) override;
    HRESULT GetPointTolerance(int nodeID, float* pt, int* errCode) override;
    HRESULT GetThresholdAngle(int nodeID, float* pt, int* errCode) override;
    HRESULT GetTransparency(int nodeID, float* tl, int* errCode) override;
    HRESULT EnableDrawing(int nodeID, LONG status, int* errCode) override;
    HRESULT IsDrawingEnable(int nodeID, LONG* status, int* errCode) override;
    HRESULT SetVolumePrecision(int nodeID, float precision, int* errCode) override;
    HRESULT GetVolumePrecision(int nodeID, float* precision, int* errCode) override;
    HRESULT SetSelected(int nodeID, LONG status, int* errCode) override;
    HRESULT IsSelected(int nodeID, LONG* status, int* errCode) override;
    HRESULT SetZoomFactor(float zoomFactor, int* errCode) override;
    HRESULT SetPickTolerance(float pickTol, int* errCode) override;
    HRESULT SwitchWireFrameVisibility(int nodeID, LONG status, int* errCode) override;
    HRESULT SwitchTriMeshVisibility(int nodeID, LONG status, int* errCode) override;
    HRESULT UseVertexArray(LONG val) override;
    HRESULT IsUsingVertexArray(LONG* val) override;
    HRESULT GetNodeCrossSectionStatus(int nodeID, LONG* status, int* errCode) override;
    HRESULT GetNodeWireFrameVisibility(int nodeID, LONG* status, int* errCode) override;
    HRESULT GetNodeSurfaceVisibility(int nodeID, LONG* status, int* errCode) override;
    HRESULT GetOptionsShadeMode(int nodeID, int* mode, int* errCode) override;
    HRESULT SetVertexVisible(int nodeID, LONG status, int* errCode) override;
    HRESULT GetVertexVisibility(int nodeID, LONG* status, int* errCode) override;
    HRESULT SetPrintingStatus(int nodeID, LONG printStatus, int* errCode) override;
    HRESULT SwitchPointSetVisibility(int nodeID, LONG status, int* errCode) override;
    HRESULT GetNodePointSetVisibility(int nodeID, LONG* status, int* errCode) override;
    HRESULT SetEnvtexture(int partID, BSTR texturefilename, int* errCode) override;
    HRESULT GetEnvtexture(int partID, BSTR* texturefilename, int* errCode) override;

    // scene/facade_names.cpp
    HRESULT SetNodeName(int nodeID, BSTR name, int* errCode) override;
    HRESULT GetNodeName(int nodeID, BSTR* name, int* errCode) override;
    HRESULT GetNodeIDFromPath(BSTR nodePath, int* nodeID, int* errCode) override;
    HRESULT SetUserName(int nodeID, BSTR name, int* errCode) override;
    HRESULT GetNodeUserName(int nodeID, BSTR* name, int* errCode) override;
    HRESULT SetDateAsNow(int nodeID, int* errCode) override;
    HRESULT GetLastModifiedDate(int nodeID, int* sec, int* minutes, int* hour, int* day, int* month, int* year,
                                int* errCode) override;
    HRESULT GetNodeIDFromName(int nodeIDIN, BSTR nodeName, int* nodeID, int* errCode) override;
    HRESULT GetFirstUsername(int nodeID, BSTR* username, int* errCode) override;
    HRESULT GetNextUsername(BSTR* username, int* errCode) override;
    HRESULT GetNumberOfPartInstance(int nodeID, int* num, int* errCode) override;
    HRESULT SetPropertyString(int nodeID, BSTR text, int* errCode) override;
    HRESULT GetPropertyString(int nodeID, BSTR* text, int* errCode) override;
    HRESULT SetPartName(int partID, BSTR name, int* errCode) override;
    HRESULT GetFullNodeName(int nodeID, BSTR* name, int* errCode) override;
    HRESULT GetPartID(int nodeID, int* ID, int* errCode) override;
    HRESULT GetPartName(int nodeID, BSTR* name, int* errCode) override;

    // scene/facade_transforms.cpp
    HRESULT RotateX(int nodeID, float val, int* errCode) override;
    HRESULT RotateY(int nodeID, float val, int* errCode) override;
    HRESULT RotateZ(int nodeID, float val, int* errCode) override;
    HRESULT Scale(int nodeID, float sx, float sy, float sz, int* errCode) override;
    HRESULT Translate(int nodeID, float tx, float ty, float tz, int* errCode) override;
    HRESULT MirrorXY(int nodeID, int* errCode) override;
    HRESULT MirrorXZ(int nodeID, int* errCode) override;
    HRESULT MirrorYZ(int nodeID, int* errCode) override;
    HRESULT ApplyTransform(int nodeID, double* trasMat, int* errCode) override;
    HRESULT ApplyExplodeTransform(int nodeID, double* trasMat, int* errCode) override;
    HRESULT TranslateExplode(int nodeID, float tx, float ty, float tz, int* errCode) override;
    HRESULT RotateExplode(int nodeID, float tx, float ty, float tz, float angle, int* errCode) override;
    HRESULT SetExplodeTransform(int nodeID, double* trasMat, int* errCode) override;
    HRESULT SetMirrorFlag(int nodeID, LONG flag, int* errCode) override;
    HRESULT GetExplodeTransform(int partID, double* m, int* errCode) override;
    HRESULT GetTransform(int partID, double* m, int* errCode) override;
    HRESULT SetTransform(int nodeID, double* trasMat, int* errCode) override;
    HRESULT ApplyExplodeToNodeMatrix(int nodeID, int* errCode) override;

    // geometry/facade_building.cpp
    HRESULT BeginTriMesh(int partID, int* errCode) override;
    HRESULT AddTriangle3P(int partID, float* p, int* errCode) override;
    HRESULT EndTriMesh(int partID, int* errCode) override;
    HRESULT AddTriangle3P3N(int partID, float* points, float* normals, int* errCode) override;
    HRESULT AddTriangle3P4N(int partID, float* points, float* normals, float* triNorm, int* errCode) override;
    HRESULT SetTriMeshExternalColor(int partID, float red, float green, float blue, int* errCode) override;
    HRESULT SetTriMeshInternalColor(int partID, float red, float green, float blue, int* errCode) override;
    HRESULT SetTriMeshEdgeColor(int partID, float red, float green, float blue, int* errCode) override;
    HRESULT SetTriMeshBorderColor(int partID, float red, float green, float blue, int* errCode) override;
    HRESULT AddTriangles3P3N(int partID, double* VerticesCoordinates, ULONG numVertices, ULONG* TriangleVetexIndexes,
                             double* NormalsCoordinates, ULONG numNormals, ULONG* TriangleNormalsIndexes,
                             double* ColorsValues, ULONG numColors, ULONG* TriangleColorsIndexes, ULONG NumTriangles,
                             VARIANT_BOOL hasNormals, int* errCode) override;
    HRESULT BeginPolyLine(int partID, int* errCode) override;
    HRESULT AddPolyLinePoint(int partID, float* point, int* errCode) override;
    HRESULT EndPolyLine(int partID, int* errCode) override;
    HRESULT SetLineStipple(int partID, int code, int* errCode) override;
    HRESULT SetPolyLineStipple(int partID, int stipType, int* errCode) override;
    HRESULT SetPolyLineColor(int partID, float red, float green, float blue, int* errCode) override;
    HRESULT BeginPointSet(int partID, int* errCode) override;
    HRESULT AddPointSetPoint(int partID, float* point, int* errCode) override;
    HRESULT EndPointSet(int partID, int* errCode) override;
    HRESULT SetPointSetColor(int partID, float red, float green, float blue, int* errCode) override;

    // render/facade_draw.cpp
    HRESULT Draw(int nodeID, int mode, int* errCode) override;
    HRESULT DrawExplode(int nodeID, int mode, int* errCode) override;
    HRESULT DrawSimple(int nodeID, int* errCode) override;
    HRESULT ClearTextures(int* errCode) override;
    HRESULT ForceHiddenLineDrawing(VARIANT_BOOL flag, int* errCode) override;

    // render/clip_plane_draw.cpp
    HRESULT DrawClipPlane(int nodeID, float* ptOfPlane, float* vectOfPlane, int* errCode) override;

    // render/facade_levels.cpp
    HRESULT SetDecimator(IUnknown* decimator) override;
    HRESULT ComputeLODs(int nodeID, int numOfLods, float angle, float initAngle, float stepAngle, float minPctg,
                        float maxPtcg, int* errCode) override;
    HRESULT SetUseDisplayAcc(int nodeID, LONG accStatus, int* errCode) override;
    HRESULT DrawLOD(int nodeID, int mode, float acc, int* errCode) override;
    HRESULT DrawLODExplode(int nodeID, int mode, float acc, int* errCode) override;
    HRESULT LODsAvailable(LONG* value) override;
    HRESULT ResetAcceleration() override;

    // query/facade_boxes.cpp
    HRESULT GetBoundBox(int nodeID, float* minPoint, float* maxPoint, int* errCode) override;
    HRESULT GetBoundBoxRelativeFrame(int nodeID, double* refereceMatrix, float* minPoint, float* maxPoint,
                                     int* errCode) override;

    // query/facade_measures.cpp
    HRESULT GetVolume(int nodeID, double* volume, int* errCode) override;
    HRESULT GetSurfaceArea(int nodeID, double* area, int* errCode) override;
    HRESULT GetCenterOfMass(int nodeID, float* centerX, float* centerY, float* centerZ, int* errCode) override;
    HRESULT GetProjectedSurfaceXY(int nodeID, float* surface, int* errCode) override;

    // query/facade_sections.cpp
    HRESULT SetCrossSectionPlane(int nodeID, float* point, float* normal, int* errCode) override;
    HRESULT EnableCrossSection(int nodeID, LONG status, int* errCode) override;
    HRESULT SwitchCrossSectionPlane(int nodeID, LONG status, int* errCode) override;
    HRESULT EnableTransparentXSection(int nodeID, LONG status, int* errCode) override;
    HRESULT EnableCrossSectionCapping(int nodeID, LONG status, int* errCode) override;
    HRESULT GetCrossSectionPlane(int nodeID, float* pt, float* normal, int* errCode) override;
    HRESULT GetCrossSectionLength(int nodeID, float* len, int* errCode) override;

    // query/facade_pick.cpp
    HRESULT PickPoint(float* pOfView, double* trans2Screen, float xScreen, float yScreen, float diagonal, LONG* picked,
                      float* pPicked, int* nodePicked, int* errCode) override;
    HRESULT PickEdge(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                     float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) override;
    HRESULT PickPartInstance(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                             float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) override;
    HRESULT PickPartInstance2(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                              float diagonal, LONG* picked, float* pPicked, float* normPicked, int* nodePicked,
                              int* errCode) override;
    HRESULT IntersectRay(float* pOfView, float* vectView, VARIANT_BOOL* picked, float* pPicked, float* normPicked,
                         int* nodePicked, int* errCode) override;
    HRESULT PickCrossSectionPoint(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                                  float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) override;
    HRESULT PickCrossSectionEdge(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                                 float diagonal, LONG* picked, float* pPicked, int* nodePicked, int* errCode) override;
    HRESULT PickSegment(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen,
                        float diagonal, LONG* picked, float* pPicked, float* pStart, float* pEnd, int* nodePicked,
                        int* errCode) override;
    HRESULT PickArc(float* pOfView, float* vectView, double* trans2Screen, float xScreen, float yScreen, float diagonal,
                    LONG* picked, float* pPicked, float* center, float** pointsOfArc, int* nodePicked,
                    int* errCode) override;

    // exchange/facade_import.cpp
    HRESULT SetTDGImportVer(int tdgImpVer) override;
    HRESULT ImportTriNormals(unsigned char** dataStream, int* errCode) override;
    HRESULT Import3DGPartElements(int partID, unsigned char** dataStream, int* errCode) override;

    // component/notes.cpp
    HRESULT Save(IStorage* arch) override;
    HRESULT Load(IUnknown* arch) override;
    HRESULT Import(IUnknown* arch) override;
    HRESULT EndTDGImport() override;
    HRESULT GetFirstNoteID(int* noteID, int* errCode) override;
    HRESULT GetNextNoteID(int* noteID, int* errCode) override;
    HRESULT DeleteNote(int noteID, int* errCode) override;
    HRESULT PickNote(float* pOfView, double* trans2Screen, float xScreen, float yScreen, float diagonal, int resY,
                     int intXScreen, int intYScreen, LONG* picked, float* pPicked, int* notePicked, int* pickedCode,
                     int* errCode) override;
    HRESULT SetNoteMessage(int noteID, BSTR msg, int* errCode) override;
    HRESULT SetNoteText(int noteID, BSTR text, int* errCode) override;
    HRESULT SetNoteURL(int noteID, BSTR url, int* errCode) override;
    HRESULT SetNoteArrowPosition(int noteID, float* arrowCoord, int* errCode) override;
    HRESULT SetNoteTextPosition(int noteID, float* txtCoord, int* errCode) override;
    HRESULT SetNoteTextColor(int noteID, ULONG color, int* errCode) override;
    HRESULT SetNoteFont(int noteID, tagQNRLOGFONT font, int* errCode) override;
    HRESULT EnableNoteCrossSection(int noteID, LONG status, int* errCode) override;

    // exchange/facade_export.cpp
    HRESULT WriteVRML(BSTR fname) override;
    HRESULT WriteVRML_2(BSTR fname) override;
    HRESULT WriteTDPM(BSTR filename, int* errCode) override;
    HRESULT SaveCrossSection(BSTR filename, int* errCode) override;
    HRESULT ScanGraphicData(int nodeID, int mode, IUnknown* graphicDataPtr, int* errCode) override;
    HRESULT ExportU3D(BSTR fname, float* pViews, ULONG numViews, VARIANT_BOOL useCompression) override;

private:
    ~CTessera();

    // The three ways from an id to an object. Each gives null with errCode 0 if there is none in the tree, else
    // sets errCode to 1.
    CNode* NodeOf(int id, int* errCode);
    CPartInstance* InstanceOf(int id, int* errCode);
    CPart* PartOf(int id, int* errCode);
    // The part, if such an element is open in it; else null and errCode 0 or -1.
    CPart* MeshOpenIn(int id, int* errCode);
    CPart* PolyLineOpenIn(int id, int* errCode);
    CPart* PointSetOpenIn(int id, int* errCode);
    static CPart* NothingOpen(int* errCode);
    static HRESULT Refuse(int* errCode, ErrCode code = ErrNotFound);
    // The product of the ancestors' transforms, or explode transforms.
    static CMatrix Above(const CNode* node);
    static CMatrix ExplodeAbove(const CNode* node);
    void ForgetSpoolFiles() { spoolFiles.Clear(); }
    void ClearTree();
    void DeleteDropped();
    void Link(CNode* son, CAssembly* parent);
    BBox SceneBox();
    void DrawExploded(CNode* node, int mode);
    void Accelerate(float acc);
    // query/facade_pick.cpp
    bool Pick(PickKind kind, const PickView& view, PickHit& hit);
    // Keeps what fails inside a surface pick from the host: false then.
    bool __PickTriangle(const PickView& view, PickHit& hit) noexcept;  // NOLINT(bugprone-reserved-identifier)
    // False for an argument that is missing.
    bool PickAndGive(PickKind kind, const PickQuery& query, LONG* picked, float* pPicked, int* nodePicked,
                     PickHit& hit);
    HRESULT PickSurface(const PickQuery& query, LONG* picked, float* pPicked, float* normPicked, int* nodePicked,
                        int* errCode, const char* failure);
    HRESULT GiveBox(int nodeID, const CMatrix& reference, float* minPoint, float* maxPoint, int* errCode);

    std::atomic<ULONG> references_{1};
    std::unique_ptr<CAssembly> rootOwner_;
    CAssembly* m_root;
    int m_lastId = 0;  // only grows: ids are never given out twice
    CAssembly* m_lastAssembly = nullptr;
    CPartInstance* m_lastPartInstance = nullptr;
    CPart* m_lastPart = nullptr;
    BBox sceneBox;          // parts point at it while levels may be drawn
    float accumulated = 0;  // acceleration of the draws with levels of detail
    bool reducedLast = true;
    bool lodsAvailable = false;
    IDecimator* decimator = nullptr;  // with a reference
    bool useVertexArray = false;
    TriNormalTable triNormals;
    TextureCache textures;
    SpoolFileList spoolFiles;
    // Assemblies that a host moved under one of their own descendants: out of the tree, and owned by nobody.
    std::vector<CNode*> dropped_;
    NodeIndex index_;
};

}  // namespace tessera
