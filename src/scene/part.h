// Geometry and how it looks.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "geometry/element.h"
#include "geometry/lod_group.h"
#include "platform/text.h"

namespace tessera {

class CPointSet;
class CPolyLine;
class IDecimator;
class ColumnScan;
class CTriMesh;
class GraphicStream;
class LineFilter;
class OutputFile;
class TextOutput;
class TextureCache;
class TriNormalTable;
struct PickHit;
struct PickView;
struct U3dWriter;
enum class PickKind : int;

// The colours that a part has, by the index under which they are pushed to the elements.
enum ColorIndex { ExternalColor = 0, InternalColor = 1, EdgeColor = 2, BorderColor = 3, BackgroundColor = 4 };

// The settings of a part, with their values in a new one.
struct PartState {
    int id = 0;
    int useCount = 0;                                    // instances linked
    Vec3 sectionPoint{0, 0, 0}, sectionNormal{1, 0, 0};  // world frame
    BBox boundBox{0, 0, 0, 0, 0, 0, 1};                  // last box computed
    float thresholdAngle = 40.0f;                        // degrees
    float pointTolerance = gPointTolerance;
    int crossSectionEnabled = 0, cappingEnabled = 0, sectionPlaneOn = 1;
    bool useDisplayAcc = false;
    float displayAccuracy = 10.0f;
    const BBox* sceneBox = nullptr;  // not owned; set during a draw with levels of detail
    float zoomFactor = 1;
    Color externalColor{0, 0.85f, 0.85f}, internalColor{0, 0.85f, 0};
    Color backgroundColor{0.19607843f, 0.19607843f, 0.5882353f}, borderColor{1, 1, 0}, edgeColor{1, 1, 0};
    Vec3 cameraPoint, targetPoint;
    short shadeMode = 1, simpleShadeMode = 9, optionsShadeMode = 0, viewingType = 0;
    float alpha = 0.99f;
    double cachedVolume = 0;  // below 1e-7: not known
    float volumePrecision = 1.0f;
    double centerOfMass[3] = {0, 0, 0};  // found with the volume
    bool colourSet = false;              // a colour has been given to the whole part
    String name = FromAscii("No Name");  // CPart::DefaultName
    String envTextureName;
    unsigned envTexture = 0;  // OpenGL name of the loaded texture
    bool lodsComputed = false;
    std::vector<LodGroup> lodGroups;
    bool writtenMark = false;  // set only while a 3DG file is written
};

// Not a node: part instances point at it and count themselves, and the last one deletes it.
class CPart : public PartState {
public:
    // The table and the cache are shared and not owned.
    explicit CPart(TriNormalTable* normals, TextureCache* textures = nullptr);
    ~CPart();
    // What a part is called until it is given a name; many may be called so at once.
    static const String& DefaultName();
    CPart(const CPart&) = delete;
    CPart& operator=(const CPart&) = delete;

    void AddReference() { ++useCount; }
    // Deletes the part with its last reference.
    void Release();

    const std::vector<std::unique_ptr<CElement>>& Elements() const { return elements_; }

    // scene/part_building.cpp. At most one element is under construction, and a Begin meanwhile does nothing.
    bool IsBuilding() const { return building_ != nullptr; }
    void BeginTriMesh();
    void EndTriMesh();
    void BeginPolyLine();
    void EndPolyLine();
    void BeginPointSet();
    void EndPointSet();
    // The element under construction, null while it is none or of another kind.
    CTriMesh* OpenMesh() { return openMesh_; }
    CPolyLine* OpenPolyLine() { return openPolyLine_; }
    CPointSet* OpenPointSet() { return openPointSet_; }
    void SetTriMeshExternalColor(const Color& color);
    void SetTriMeshInternalColor(const Color& color);
    void SetTriMeshEdgeColor(const Color& color);
    void SetTriMeshBorderColor(const Color& color);
    void SetPolyLineColor(const Color& color);
    void SetPointSetColor(const Color& color);

    // exchange/part_import.cpp. Adds the elements and levels of a stream.
    bool ReadStream(GraphicStream& stream);

    // Stored unclamped here; the elements clamp what they take.
    void SetColor(ColorIndex index, const Color& color);
    void SetPointTolerance(float tolerance);
    void SetThresholdAngle(float degrees);
    void SetShadeMode(short code);
    void SetSimpleShadeMode(short code);
    void SetOptionsShadeMode(short code);
    void SetViewingType(short code);
    void SetTransparency(float level);
    void SetVolumePrecision(float precision);
    void SetCamera(const float view[6]);
    void SetEnvtexture(const String& text);
    void Scale(float x, float y, float z);
    void SetCrossSectionPlane(const Vec3& point, const Vec3& normal);
    void EnableCrossSection(int value);
    void SwitchCrossSectionPlane(int value);
    BBox GetBoundBox(const CMatrix& matrix, bool recompute, const CMatrix& reference);
    void SpoolToFile(const std::shared_ptr<SpoolFile>& file);

    // query/part_pick.cpp
    bool Pick(PickKind kind, const PickView& view, const CMatrix& matrix, PickHit& hit);
    // Whether a line of the world surely passes by the part where this matrix places it.
    bool SurelyMisses(const LineFilter& line, const double world[16]) const;
    float GetSectionLength(const CMatrix& matrix);

    // query/part_measures.cpp, in the part's own frame and units.
    double GetVolume();
    double GetSurfaceArea() const;
    double GetProjectedSurfaceXY() const;
    // In the frame to which the matrix leads. Not finite for a part without volume.
    Vec3 GetCenterOfMass(const CMatrix& matrix);

    // render/part_draw.cpp
    // instanceBox: of the instance that is drawn, in the world; used while IsCapped.
    void DrawPart(const CMatrix& matrix, int kind, int pass, int flip, const BBox& instanceBox);
    // Whether cuts are filled in this draw, and whether levels of detail stand in for the elements.
    bool IsCapped() const;
    bool IsReduced() const;

    // render/part_levels.cpp: once a part.
    void ComputePartLods(IDecimator* decimator);
    void DrawSimple(const CMatrix& matrix, bool withBox);

    // exchange/tdpm.cpp
    void WriteTDPM(OutputFile& file) const;
    // exchange/u3d_export.cpp
    void ExportU3D(U3dWriter& writer, const CMatrix& matrix) const;
    // exchange/section_xml.cpp: the curves of the section in the part's own frame.
    void SaveCrossSection(TextOutput& out);

private:
    Color& ColorOf(ColorIndex index);
    // query/part_measures.cpp
    bool ScanBox(BBox& box) const;
    void AddMeshesTo(ColumnScan& scan) const;
    void ScanVolume();
    double ScanProjected() const;
    // render/part_draw.cpp
    void DrawLevels(const CMatrix& matrix, int kind, int pass, const BBox& instanceBox);
    int ChooseLevel(const BBox& instanceBox);
    void FetchTexture();
    void DrawCapped(const CMatrix& matrix, int kind, int pass, const BBox& instanceBox);
    void RefreshShading();
    void RefreshShading(CElement& element) const;
    void GiveColors(CElement& element) const;
    void Open(std::unique_ptr<CElement> element);
    void Close(bool keep);
    void ReadElement(std::uint8_t tag, GraphicStream& stream);
    void ReadLodGroups(GraphicStream& stream);

    std::vector<std::unique_ptr<CElement>> elements_;  // in order of completion
    std::unique_ptr<CElement> building_;
    CTriMesh* openMesh_ = nullptr;  // building_ by its kind, as the two that follow
    CPolyLine* openPolyLine_ = nullptr;
    CPointSet* openPointSet_ = nullptr;
    std::vector<float> cutOffs_;  // of the levels, kept from draw to draw
    TriNormalTable* triNormals_;
    TextureCache* textures_;
    std::mutex lock_;  // keeps the memory watcher off while elements_ changes
};

}  // namespace tessera
