#include "geometry/trimesh.h"

#include <algorithm>
#include <cmath>

#include "platform/spool_file.h"

namespace tessera {
namespace {

bool IsIdentity(const CMatrix& matrix) {
    const CMatrix identity;
    return std::equal(matrix.Forward(), matrix.Forward() + 16, identity.Forward());
}

}  // namespace

CTriMesh::CTriMesh(TriNormalTable* normals) : normals_(normals) { alpha = 0.96f; }
CTriMesh::~CTriMesh() = default;

std::vector<Vec3> CTriMesh::Facets() const {
    std::vector<Vec3> facets;
    ReserveLarge(facets, triangles_.size());
    for (const TriMeshTriangle& t : triangles_) facets.push_back(Facet(t));
    return facets;
}

void CTriMesh::ApplyMatrix(const CMatrix& matrix) {
    const ReadLock lock(*this);
    const std::span<Vec3> vertices = vertices_.ToWrite();
    spoolStale_ = true;
    stripsValid_ = false;
    for (Vec3& v : vertices) v = TransformPoint(v, matrix);
    RecomputeBounds();
    // The turned normals enter the table, but the corners keep their old ones: a scaled part is lit as before.
    const ToleranceScope tolerance(pointTolerance_);
    for (const TriMeshTriangle& t : triangles_)
        for (const std::uint32_t index : t.normal) {
            if (index >= normals_->Count()) continue;
            const Vec3 n = Normalized(TransformByInverse((*normals_)[index], matrix));
            if (std::isfinite(n.x) && std::isfinite(n.y) && std::isfinite(n.z)) normals_->LookUpOrAdd(n);
        }
}

void CTriMesh::RecomputeBounds() {
    bounds_ = BBox();
    for (const Vec3& v : vertices_) bounds_.Add(v);
    bounds_.valid = 1;
}

// Taken from the vertices, whatever is visible, so that it bounds the mesh under any rotation.
BBox CTriMesh::GetBoundBox(const CMatrix& matrix, bool, const CMatrix& reference) {
    const ReadLock lock(*this);
    BBox box;
    if (vertices_.empty()) return box;
    if (IsIdentity(reference))
        for (const Vec3& v : vertices_) box.Add(TransformPoint(v, matrix));
    else
        for (const Vec3& v : vertices_) box.Add(TransformPoint(TransformPoint(v, matrix), reference));
    box.valid = 1;
    return box;
}

void CTriMesh::Clear() {
    const ReadLock lock(*this);
    CElement::Clear();
    ReleaseArrays();
    rawPoints_.Clear();
    rawNormals_.Clear();
    rawGiven_.clear();
    triangleCount_ = 0;
    spooledVertices_ = 0;
    normalsValid_ = stripsValid_ = building_ = spoolStale_ = false;
}

std::size_t CTriMesh::GetMemorySize() const {
    const std::size_t vertices = spooled_ && vertices_.empty() ? spooledVertices_ : vertices_.size();
    return (vertices + 4 * static_cast<std::size_t>(triangleCount_)) * 12 + 170;
}

void CTriMesh::GetArrays(float** points, int* pointFloats, int** indices, int* indexCount) {
    const ReadLock lock(*this);
    *pointFloats = static_cast<int>(3 * vertices_.size());
    *indexCount = static_cast<int>(3 * triangles_.size());
    *points = new float[3 * vertices_.size()];
    *indices = new int[3 * triangles_.size()];
    float* point = *points;
    for (const Vec3& v : vertices_)
        for (std::size_t axis = 0; axis < 3; ++axis) *point++ = v[axis];
    int* index = *indices;
    for (const TriMeshTriangle& t : triangles_)
        for (const std::uint32_t v : t.vertex) *index++ = static_cast<int>(v);
}

}  // namespace tessera
