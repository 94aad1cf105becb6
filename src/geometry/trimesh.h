// A triangulated surface.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "geometry/element.h"
#include "geometry/mesh_array.h"
#include "geometry/point_blocks.h"
#include "geometry/tri_normal_table.h"

namespace tessera {

class AngleLimit;
class CPolyLine;
struct SectionCut;
enum class PickKind : int;

using TriangleIndex = std::uint32_t;
constexpr TriangleIndex kNoTriangle = 0xffffffffu;

// Edge k of a triangle runs from corner k to corner NextCorner(k).
constexpr int NextCorner(int k) { return k == 2 ? 0 : k + 1; }
constexpr int PreviousCorner(int k) { return k == 0 ? 2 : k - 1; }

struct TriMeshTriangle {
    // flags
    static constexpr std::uint8_t kVisited = 1;      // transient; clear between operations
    static constexpr std::uint8_t kLinked = 16;      // has been linked to its neighbours
    static constexpr std::uint8_t kResolved = 0xe0;  // the normals of all three corners are assigned
    // flags2
    static constexpr std::uint8_t kGivenNormals = 1;        // by the caller: not to be recomputed
    static constexpr std::uint8_t kTowards = 2, kAway = 4;  // the side turned to the view; transient

    std::uint32_t normal[3] = {0, 0, 0};                                   // into the component's TriNormalTable
    std::uint32_t vertex[3] = {0, 1, 2};                                   // into the mesh's vertices
    TriangleIndex neighbour[3] = {kNoTriangle, kNoTriangle, kNoTriangle};  // across edge k
    std::uint8_t flags = 0, flags2 = 0;

    static constexpr std::uint8_t SmoothBit(int edge) { return static_cast<std::uint8_t>(2 << edge); }
    static constexpr std::uint8_t ResolvedBit(int corner) { return static_cast<std::uint8_t>(32 << corner); }
    bool IsSmooth(int edge) const { return (flags & SmoothBit(edge)) != 0; }
    bool IsResolved(int corner) const { return (flags & ResolvedBit(corner)) != 0; }
    bool IsAllResolved() const { return (flags & kResolved) == kResolved; }
    bool HasGivenNormals() const { return (flags2 & kGivenNormals) != 0; }
    bool LacksNeighbour() const {
        return neighbour[0] == kNoTriangle || neighbour[1] == kNoTriangle || neighbour[2] == kNoTriangle;
    }
    // The corner at a vertex, or the edge towards a neighbour; -1 if there is none.
    int CornerAt(std::uint32_t v) const { return vertex[0] == v ? 0 : vertex[1] == v ? 1 : vertex[2] == v ? 2 : -1; }
    int EdgeTo(TriangleIndex t) const {
        return neighbour[0] == t ? 0 : neighbour[1] == t ? 1 : neighbour[2] == t ? 2 : -1;
    }
};

class CTriMesh final : public CElement {
public:
    // Holds the shared side of the mesh's lock: keeps the memory watcher off, and reloads spooled data.
    class ReadLock {
    public:
        explicit ReadLock(CTriMesh& mesh) : mesh_(mesh) { mesh.LockShared(); }
        ~ReadLock() { mesh_.UnlockShared(); }
        ReadLock(const ReadLock&) = delete;
        ReadLock& operator=(const ReadLock&) = delete;

    private:
        CTriMesh& mesh_;
    };

    // The table is shared and not owned.
    explicit CTriMesh(TriNormalTable* normals);
    ~CTriMesh() override;

    int GetKind() const override { return 0; }
    void SetSimpleShadeMode(short code) override { simpleShadeMode_ = code; }
    void SetSurfaceVisible(int visible) override { surfaceVisible_ = visible; }
    void SetTextureId(unsigned id) { textureId_ = id; }
    void SetCapping(bool capping) { capping_ = capping; }
    // Triangles added and accepted; stays valid while the data are spooled.
    int TriangleCount() const { return triangleCount_; }
    void ApplyMatrix(const CMatrix& matrix) override;
    BBox GetBoundBox(const CMatrix& matrix, bool recompute, const CMatrix& reference) override;
    void RecomputeBounds();
    void Clear() override;
    std::size_t GetMemorySize() const override;
    // Copies of the vertices (3 floats each) and of the corner indices (3 a triangle), made with new[] and the
    // caller's from then on.
    void GetArrays(float** points, int* pointFloats, int** indices, int* indexCount);

    // geometry/trimesh_add.cpp. All of these drop what they cannot use without a word.
    void BeginBuild();
    void AddTriangle3P(const float p[9]);
    void AddTriangle3P3N(const float p[9], const float n[9]);
    void AddTriangle3P4N(const float p[9], const float n[9], const float facet[3]);
    // numVertices and numNormals count doubles. Values of points that no float can hold are cut down in place.
    void AddTriangles3P3N(double* points, std::uint32_t numVertices, const std::uint32_t* vertexIndices,
                          const double* normals, std::uint32_t numNormals, const std::uint32_t* normalIndices,
                          std::uint32_t numTriangles, bool hasNormals);
    void AppendTrianglesTo(CTriMesh& target) override;

    // geometry/trimesh_build.cpp
    void EndBuild();
    void FlipAll();

    // geometry/trimesh_normals.cpp
    void SetThresholdAngle(float degrees) override;
    void ComputeVertexNormals();
    void ClassifyEdges();

    // geometry/trimesh_tolerance.cpp
    void SetPointTolerance(float tolerance) override;

    // geometry/trimesh_spool.cpp
    void SpoolOut(const std::shared_ptr<SpoolFile>& file) override;
    void Reload() override;

    // exchange/trimesh_import.cpp, tdpm.cpp, vrml1_elements.cpp, vrml2_elements.cpp, section_xml.cpp, graphic_scan.cpp
    void ReadStream(GraphicStream& stream) override;
    void WriteTDPM(OutputFile& file) override;
    void WriteVRML(TextOutput& out, const CMatrix& matrix, int flip) override;
    void WriteVRML2(TextOutput& out, const CMatrix& matrix) override;
    void CutByPlane(SectionTables& tables, const CMatrix& matrix) override;
    void ScanGraphicData(const CMatrix& matrix, IGraphicDataCollector& collector) override;
    void FillU3DMesh(U3dMesh& mesh) override;

    // query/trimesh_pick.cpp, trimesh_surface.cpp, trimesh_section.cpp
    bool PickPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickEdge(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool IntersectLine(const PickView& view, const CMatrix& matrix, const BBox& box, PickHit& hit) override;
    bool IntersectRay(const PickView& view, const CMatrix& matrix, const BBox& box, PickHit& hit) override;
    bool PickCrossSectionPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickCrossSectionEdge(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickSegment(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    bool PickArc(const PickView& view, const CMatrix& matrix, PickHit& hit) override;
    float GetSectionLength(const CMatrix& matrix) override;
    double GetSurfaceArea() override;

    // render/trimesh_strips.cpp
    void BuildStrips();

    // render/trimesh_draw.cpp
    void Draw(const CMatrix& matrix, int kind, int pass) override;
    void DrawSimple(const CMatrix& matrix) override;

    const MeshArray<Vec3>& Vertices() const { return vertices_; }
    const MeshArray<TriMeshTriangle>& Triangles() const { return triangles_; }
    struct VertexUse {  // the triangles at a vertex, in order of arrival
        const TriangleIndex* first;
        const TriangleIndex* last;
        const TriangleIndex* begin() const { return first; }
        const TriangleIndex* end() const { return last; }
    };
    VertexUse Incident(std::uint32_t vertex) const {
        return {incident_.data() + incidentStart_[vertex], incident_.data() + incidentStart_[vertex + 1]};
    }
    // Whether an edge is one of the solid: hard or open.
    bool IsSharp(TriangleIndex t, int edge) const {
        return triangles_[t].neighbour[edge] == kNoTriangle || !triangles_[t].IsSmooth(edge);
    }
    const MeshArray<float>& StripVertices() const { return stripVertices_; }
    const MeshArray<int>& StripLengths() const { return stripLengths_; }

private:
    const Vec3& Corner(const TriMeshTriangle& t, int k) const { return vertices_[t.vertex[k]]; }
    Vec3 Facet(const TriMeshTriangle& t) const { return FacetNormal(Corner(t, 0), Corner(t, 1), Corner(t, 2)); }
    std::vector<Vec3> Facets() const;  // unit normals of all triangles

    // geometry/trimesh_add.cpp
    void Accept(const Vec3 p[3], const Vec3* givenNormals);
    void AcceptGiven3P3N(Vec3 p[3], Vec3 n[3]);

    // geometry/trimesh_build.cpp
    void MeasureRawPoints();
    void Weld();
    void CountIncident();
    bool LinkAll();
    bool LinkEdge(TriangleIndex t, int edge, const std::vector<std::uint32_t>& later);
    bool LinkTriangles(TriangleIndex a, TriangleIndex b);
    bool RunsAgainst(TriangleIndex a, TriangleIndex b, int edgeOfA) const;
    void OrientAll();
    TriangleIndex Flood(TriangleIndex first);
    void OrientNeighbours(TriangleIndex t, TriangleIndex& pending);
    void FlipTriangle(TriMeshTriangle& t);

    // exchange/trimesh_import.cpp, vrml2_elements.cpp
    void ReadVertices(GraphicStream& stream);
    void ReadTriangles(GraphicStream& stream);
    void PutNormals(TextOutput& out, std::string_view before, const CMatrix& matrix) const;

    // geometry/trimesh_normals.cpp
    void SmoothNormals(const std::vector<Vec3>& facets);
    void SmoothCorner(TriangleIndex t, int corner, const std::vector<Vec3>& facets, const AngleLimit& near);
    bool NormalFacesOut(const Vec3& normal, const TriMeshTriangle& t, const Vec3& facet) const;
    // Sets the smooth bits at the threshold angle; stripEdges, where given, gets one byte a triangle with the
    // same bits at the angle that strips follow.
    void ClassifyAll(const std::vector<Vec3>& facets, std::vector<std::uint8_t>* stripEdges);

    // geometry/trimesh_tolerance.cpp
    void RemoveCollapsed();
    void MergeVertices();
    struct Fan;
    void MergeInto(std::uint32_t kept, std::vector<TriangleIndex>& all, std::uint32_t merged,
                   std::vector<TriangleIndex>& moved, bool first, Fan& fan);

    // query/trimesh_pick.cpp
    struct PickedEdge {
        TriangleIndex triangle = kNoTriangle;
        int edge = 0;
        Vec3 point, start, along;  // world frame, clipped
        double distance = 0;
        bool Found() const { return triangle != kNoTriangle; }
    };
    bool IsSilhouetteEdge(TriangleIndex t, int edge, const CMatrix& matrix) const;
    bool IsFeatureEdge(TriangleIndex t, int edge, const CMatrix& matrix) const;
    PickedEdge FindEdge(PickKind kind, const PickView& view, const CMatrix& matrix) const;
    bool TraceSectionLoop(const PickView& view, const CMatrix& matrix, CPolyLine& curve, int& segment,
                          Vec3& point) const;
    bool SectionWins(const PickedEdge& edge, const PickView& view, const CMatrix& matrix, CPolyLine& curve,
                     int& segment, Vec3& point) const;
    // query/trimesh_run.cpp, trimesh_arc.cpp: first and last are vertices, points and center in the mesh's frame.
    bool TraceStraightRun(TriangleIndex t, int edge, std::uint32_t& first, std::uint32_t& last) const;
    bool TraceArc(TriangleIndex t, int edge, std::vector<Vec3>& points, Vec3& center) const;
    // query/trimesh_surface.cpp; screen is null for a ray.
    bool PickTriangles(const PickView& view, const CMatrix& matrix, const CMatrix* screen, float margin, PickHit& hit);
    Vec3 NormalAt(const TriMeshTriangle& t, const Vec3& p) const;
    // query/trimesh_section.cpp
    Vec3 Crossing(std::uint32_t from, std::uint32_t to, const Plane& plane) const;
    std::vector<SectionCut> CutTriangles(const Plane& plane) const;

    // geometry/trimesh_spool.cpp
    class WriteMark;
    void LockShared();
    // The indices of triangles from the first on, three normals and three vertices each, as files have them: as
    // many at once as a write can profit from, few enough to stay in the cache.
    static constexpr std::size_t kTrianglesAtOnce = 1 << 14;
    void PackCorners(std::size_t first, std::vector<std::uint32_t>& corners) const;
    void UnlockShared();
    bool WriteRecord(SpoolFile& file) const;
    void ReadRecord();
    void ReleaseArrays();

    // render/trimesh_strips.cpp
    void BuildStrips(const std::vector<Vec3>& facets, const std::vector<std::uint8_t>& stripEdges);

    // render/trimesh_draw.cpp
    void DrawMode(const CMatrix& matrix, int pass);
    void DrawFlat();
    void DrawSmooth();
    void DrawEnvMap();
    void DrawHighlight();
    void DrawHiddenLine(const CMatrix& matrix);
    void DrawSmoothEdges(bool transparent);
    void DrawStrips();
    void DrawStripPoints();
    void DrawThinnedPoints();
    void SetMaterials() const;
    void SetClipPlane(const CMatrix& matrix) const;

    // render/trimesh_lines.cpp
    enum class EdgeKind { None, Open, Hard, Silhouette };
    void DrawWire(const CMatrix& matrix);
    void DrawClassifiedLines(const CMatrix& matrix, bool allBlack);
    void DrawAllEdges();
    void DrawDashedSilhouette(const CMatrix& matrix);
    void DrawHardAndOpenEdges();
    void DrawOpenEdges();
    void DrawSectionMode(const CMatrix& matrix, int pass);
    void DrawSectionLines(const CMatrix& matrix);
    void EmitSection(const CMatrix& matrix, float lift);
    void DrawVertices(const CMatrix& matrix, int kind);
    void EmitVertices(const CMatrix& matrix, short mode);
    void MarkFacing(const CMatrix& matrix);
    bool IsSilhouetteEdge(TriangleIndex t, int edge) const;
    EdgeKind KindOf(TriangleIndex t, int edge) const;
    void EmitEdge(const TriMeshTriangle& t, int edge) const;

    MeshArray<Vec3> vertices_;
    MeshArray<TriMeshTriangle> triangles_;  // in order of arrival
    int triangleCount_ = 0;
    std::uint32_t spooledVertices_ = 0;
    MeshArray<std::uint32_t> incidentStart_;  // per vertex, and one more
    MeshArray<TriangleIndex> incident_;
    MeshArray<float> stripVertices_;  // nx, ny, nz, x, y, z a vertex; all strips back to back
    MeshArray<int> stripLengths_;     // vertices of each strip, ended by -1
    bool stripsValid_ = false;
    bool capping_ = false;  // while the mesh is drawn into the stencil buffer
    bool normalsValid_ = false;
    bool building_ = false;
    bool linksAnew_ = false;   // uses and neighbours are what LinkAll makes of these triangles
    bool spoolStale_ = false;  // the data have changed since they were spooled
    std::size_t spoolBytes_ = 0;
    std::unique_ptr<SpoolView> spoolView_;  // where the arrays stand that came back
    short simpleShadeMode_ = 9;
    int surfaceVisible_ = 1;
    unsigned textureId_ = 0;  // OpenGL texture name for ShadeEnvMap
    TriNormalTable* normals_;
    // What was added since BeginBuild.
    PointBlocks rawPoints_, rawNormals_;
    std::vector<std::uint8_t> rawGiven_;  // per triangle: whether rawNormals_ has its three normals
};

}  // namespace tessera
