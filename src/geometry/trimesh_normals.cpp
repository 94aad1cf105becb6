// Smoothed corner normals, and which edges are smooth.
#include <cmath>

#include "geometry/angle_limit.h"
#include "geometry/trimesh.h"

namespace tessera {
namespace {

// Facets join into one smooth corner up to the threshold angle divided by 1.3.
constexpr double kSmoothingShare = 0.7692308;
// Two facets further apart than this never share a smooth edge.
constexpr double kSmoothFacetLimit = 50.0;
// Strips run over edges that are smooth at this angle, whatever the mesh's own threshold is.
constexpr double kStripAngle = 10.0;

}  // namespace

void CTriMesh::SetThresholdAngle(float degrees) {
    const ReadLock lock(*this);
    // A mesh that has been spooled once keeps its angle for good, even when it is back in memory.
    if (spooled_ || !(std::fabs(degrees - thresholdAngle_) >= 1e-5f)) return;
    thresholdAngle_ = degrees;
    normalsValid_ = false;
    for (TriMeshTriangle& t : triangles_.ToWrite()) t.flags &= static_cast<std::uint8_t>(~TriMeshTriangle::kResolved);
    const std::vector<Vec3> facets = Facets();
    SmoothNormals(facets);
    stripsValid_ = false;
    std::vector<std::uint8_t> stripEdges;
    ClassifyAll(facets, &stripEdges);
    BuildStrips(facets, stripEdges);
}

void CTriMesh::ComputeVertexNormals() {
    if (normalsValid_) return;
    const ReadLock lock(*this);
    SmoothNormals(Facets());
}

void CTriMesh::SmoothNormals(const std::vector<Vec3>& facets) {
    const ToleranceScope tolerance(pointTolerance_);
    const AngleLimit near(thresholdAngle_ * kSmoothingShare);
    const std::span<const TriMeshTriangle> triangles = triangles_.ToWrite();
    for (TriangleIndex i = 0; i < triangles.size(); ++i) {
        const TriMeshTriangle& t = triangles[i];
        if (t.IsAllResolved() || t.HasGivenNormals()) continue;
        for (int k = 0; k < 3; ++k)
            if (!t.IsResolved(k)) SmoothCorner(i, k, facets, near);
    }
    normalsValid_ = true;
}

// The corner's normal is the sum of the facet normals around its vertex that lie near its own facet's; the
// same normal goes to the corners of all of these that it faces.
void CTriMesh::SmoothCorner(TriangleIndex i, int corner, const std::vector<Vec3>& facets, const AngleLimit& near) {
    TriMeshTriangle& t = triangles_.ToWrite()[i];
    const Vec3& facet = facets[i];
    const std::uint32_t vertex = t.vertex[corner];
    const VertexUse around = Incident(vertex);
    Vec3 sum = facet;
    for (const TriangleIndex u : around)
        if (u != i && near.IsAbove(Dot(facet, facets[u]))) sum = sum + facets[u];
    Normalize(sum);
    const std::uint32_t index = normals_->LookUpOrAdd(sum);
    const Vec3 normal = (*normals_)[index];
    if (NormalFacesOut(sum, t, facet)) {
        t.normal[corner] = index;
        t.flags |= TriMeshTriangle::ResolvedBit(corner);
    }
    for (const TriangleIndex u : around) {
        TriMeshTriangle& other = triangles_.ToWrite()[u];
        if (u == i || other.HasGivenNormals() || !near.IsAbove(Dot(facet, facets[u]))) continue;
        if (!NormalFacesOut(normal, other, facets[u])) continue;
        const int at = other.CornerAt(vertex);
        if (at < 0) continue;
        other.normal[at] = index;
        other.flags |= TriMeshTriangle::ResolvedBit(at);
    }
}

// Whether the tip of a normal set on the triangle's first corner lies above its plane.
bool CTriMesh::NormalFacesOut(const Vec3& normal, const TriMeshTriangle& t, const Vec3& facet) const {
    const double tilt = Dot(facet, normal);
    const Vec3& p = Corner(t, 0);
    // Far from the plane's own direction rounding cannot change the answer, unless the part is absurdly remote.
    if (tilt > 1e-3 && std::fabs(p.x) + std::fabs(p.y) + std::fabs(p.z) < 1e9f) return true;
    const double tip[3] = {static_cast<double>(p.x) + normal.x, static_cast<double>(p.y) + normal.y,
                           static_cast<double>(p.z) + normal.z};
    return facet.x * tip[0] + facet.y * tip[1] + facet.z * tip[2] - Dot(facet, p) > 0;
}

void CTriMesh::ClassifyEdges() {
    const ReadLock lock(*this);
    ClassifyAll(Facets(), nullptr);
}

void CTriMesh::ClassifyAll(const std::vector<Vec3>& facets, std::vector<std::uint8_t>* stripEdges) {
    if (stripEdges) stripEdges->assign(triangles_.size(), 0);
    const AngleLimit facetLimit(kSmoothFacetLimit), own(thresholdAngle_), strip(kStripAngle);
    const bool zeroIsSmooth = thresholdAngle_ > 0.1f;  // above the rounding of equal normals
    const std::span<TriMeshTriangle> triangles = triangles_.ToWrite();
    for (TriangleIndex i = 0; i < triangles.size(); ++i) {
        TriMeshTriangle& t = triangles[i];
        for (int k = 0; k < 3; ++k) {
            if (t.neighbour[k] == kNoTriangle || t.neighbour[k] < i) continue;
            const TriangleIndex j = t.neighbour[k];
            TriMeshTriangle& u = triangles[j];
            const int m = u.EdgeTo(i);
            bool smooth = facetLimit.IsReached(Dot(facets[i], facets[j])), onStrip = smooth;
            const std::uint32_t ends[4] = {t.normal[k], t.normal[NextCorner(k)], u.normal[m], u.normal[NextCorner(m)]};
            const bool sameNormals = zeroIsSmooth && ends[0] == ends[3] && ends[1] == ends[2];
            if (smooth && !sameNormals) {
                const Vec3 a = Normalized((*normals_)[ends[0]] + (*normals_)[ends[1]]);
                const Vec3 b = Normalized((*normals_)[ends[2]] + (*normals_)[ends[3]]);
                const double dot = Dot(a, b);
                smooth = own.IsAbove(dot);
                onStrip = strip.IsAbove(dot);
            }
            const std::uint8_t here = TriMeshTriangle::SmoothBit(k), there = TriMeshTriangle::SmoothBit(m);
            t.flags = static_cast<std::uint8_t>(smooth ? t.flags | here : t.flags & ~here);
            u.flags = static_cast<std::uint8_t>(smooth ? u.flags | there : u.flags & ~there);
            if (stripEdges && onStrip) {
                (*stripEdges)[i] |= here;
                (*stripEdges)[j] |= there;
            }
        }
    }
}

}  // namespace tessera
