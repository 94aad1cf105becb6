// A larger weld tolerance on a finished mesh.
#include <algorithm>
#include <cmath>
#include <unordered_map>

#include "geometry/trimesh.h"

namespace tessera {
namespace {

constexpr float kLeastChange = 1e-5f;

// The vertices that still have triangles, hashed by cubes as wide as the tolerance reaches, so that all that
// may equal a vertex stand in the 27 cubes around it.
class VertexBuckets {
public:
    VertexBuckets(const std::vector<Vec3>& vertices, double tolerance)
        : vertices_(vertices), width_(tolerance * 1.001) {
        buckets_.reserve(vertices.size());
    }
    void Add(std::uint32_t v) { buckets_[Hash(At(v, 0), At(v, 1), At(v, 2))].push_back(v); }
    void Remove(std::uint32_t v) {
        std::vector<std::uint32_t>& bucket = buckets_[Hash(At(v, 0), At(v, 1), At(v, 2))];
        const auto found = std::find(bucket.begin(), bucket.end(), v);
        if (found == bucket.end()) return;
        *found = bucket.back();
        bucket.pop_back();
    }
    // The vertices that equal v, in ascending order.
    void Equals(std::uint32_t v, std::vector<std::uint32_t>& found) const {
        found.clear();
        for (int dx = -1; dx <= 1; ++dx)
            for (int dy = -1; dy <= 1; ++dy)
                for (int dz = -1; dz <= 1; ++dz) {
                    const auto bucket = buckets_.find(Hash(At(v, 0) + dx, At(v, 1) + dy, At(v, 2) + dz));
                    if (bucket == buckets_.end()) continue;
                    for (const std::uint32_t other : bucket->second)
                        if (PointsEqual(vertices_[v], vertices_[other])) found.push_back(other);
                }
        std::sort(found.begin(), found.end());
        found.erase(std::unique(found.begin(), found.end()), found.end());
    }

private:
    std::int64_t At(std::uint32_t v, std::size_t axis) const {
        const double cell = std::floor(vertices_[v][axis] / width_);
        return cell > -1e15 && cell < 1e15 ? static_cast<std::int64_t>(cell) : 0;
    }
    static std::uint64_t Hash(std::int64_t x, std::int64_t y, std::int64_t z) {
        std::uint64_t h = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15u;
        h = (h ^ (h >> 32) ^ static_cast<std::uint64_t>(y)) * 0xc2b2ae3d27d4eb4fu;
        return (h ^ (h >> 32) ^ static_cast<std::uint64_t>(z)) * 0x165667b19e3779f9u;
    }

    const std::vector<Vec3>& vertices_;
    double width_;
    std::unordered_map<std::uint64_t, std::vector<std::uint32_t>> buckets_;
};

}  // namespace

void CTriMesh::SetPointTolerance(float tolerance) {
    const ReadLock lock(*this);
    if (triangleCount_ == 0) {
        pointTolerance_ = tolerance;
        return;
    }
    // Vertices that have been welded cannot be parted again.
    if (!(tolerance >= pointTolerance_) || std::fabs(tolerance - pointTolerance_) < kLeastChange) return;
    pointTolerance_ = tolerance;
    {
        const ToleranceScope scope(tolerance);
        RemoveCollapsed();
        MergeVertices();
    }
    normalsValid_ = stripsValid_ = false;
    spoolStale_ = true;
    for (TriMeshTriangle& t : triangles_) t.flags &= static_cast<std::uint8_t>(~TriMeshTriangle::kResolved);
    const std::vector<Vec3> facets = Facets();
    SmoothNormals(facets);
    std::vector<std::uint8_t> stripEdges;
    ClassifyAll(facets, &stripEdges);
    BuildStrips(facets, stripEdges);
}

// Takes out the triangles of which two corners have become one point. The count of triangles that a host
// sees stays as it was.
void CTriMesh::RemoveCollapsed() {
    std::vector<TriangleIndex> renumbered(triangles_.size(), kNoTriangle);
    TriangleIndex left = 0;
    for (TriangleIndex i = 0; i < triangles_.size(); ++i) {
        const Vec3 &a = Corner(triangles_[i], 0), &b = Corner(triangles_[i], 1), &c = Corner(triangles_[i], 2);
        if (!PointsEqual(a, b) && !PointsEqual(b, c) && !PointsEqual(a, c)) renumbered[i] = left++;
    }
    if (left == triangles_.size()) return;
    for (TriangleIndex i = 0; i < triangles_.size(); ++i) {
        if (renumbered[i] == kNoTriangle) continue;
        TriMeshTriangle t = triangles_[i];
        for (int k = 0; k < 3; ++k) {
            if (t.neighbour[k] == kNoTriangle) continue;
            t.neighbour[k] = renumbered[t.neighbour[k]];
            if (t.neighbour[k] == kNoTriangle) t.flags &= static_cast<std::uint8_t>(~TriMeshTriangle::SmoothBit(k));
        }
        triangles_[renumbered[i]] = t;
    }
    triangles_.resize(left);
    std::uint32_t kept = 0, at = 0;
    for (std::size_t v = 0; v < vertices_.size(); ++v) {
        const std::uint32_t end = incidentStart_[v + 1];
        for (; at < end; ++at)
            if (renumbered[incident_[at]] != kNoTriangle) incident_[kept++] = renumbered[incident_[at]];
        incidentStart_[v + 1] = kept;
    }
    incident_.resize(kept);
}

// Each vertex in turn takes over the triangles of the later ones that equal it. A vertex that has lost its
// triangles stays in the table, and may yet take over those of a later one: equality does not carry over
// from vertex to vertex.
void CTriMesh::MergeVertices() {
    std::vector<std::vector<TriangleIndex>> uses(vertices_.size());
    VertexBuckets waiting(vertices_, pointTolerance_);
    for (std::uint32_t v = 0; v < vertices_.size(); ++v) {
        uses[v].assign(Incident(v).begin(), Incident(v).end());
        if (!uses[v].empty()) waiting.Add(v);
    }
    std::vector<std::uint32_t> equal;
    for (std::uint32_t v = 0; v < vertices_.size(); ++v) {
        waiting.Remove(v);
        waiting.Equals(v, equal);
        for (const std::uint32_t other : equal) {
            waiting.Remove(other);
            MergeInto(v, other, other == equal.front(), uses);
        }
    }
    incident_.clear();
    for (std::size_t v = 0; v < vertices_.size(); ++v) {
        incident_.insert(incident_.end(), uses[v].begin(), uses[v].end());
        incidentStart_[v + 1] = static_cast<std::uint32_t>(incident_.size());
    }
}

// On the first merge at a vertex the triangles that were there all along are tried with each other too: the
// removal of collapsed ones may have left some without a neighbour.
void CTriMesh::MergeInto(std::uint32_t kept, std::uint32_t merged, bool first,
                         std::vector<std::vector<TriangleIndex>>& uses) {
    for (const TriangleIndex i : uses[merged])
        for (std::uint32_t& v : triangles_[i].vertex)
            if (v == merged) v = kept;
    std::vector<TriangleIndex>& all = uses[kept];
    const std::size_t before = all.size();
    all.insert(all.end(), uses[merged].begin(), uses[merged].end());
    std::vector<TriangleIndex>().swap(uses[merged]);
    std::vector<TriangleIndex> open;
    std::size_t firstNew = 0;
    for (std::size_t at = 0; at < all.size(); ++at) {
        if (at == before) firstNew = open.size();
        if (triangles_[all[at]].LacksNeighbour()) open.push_back(all[at]);
    }
    if (first) firstNew = 0;
    for (std::size_t a = 0; a < open.size(); ++a)
        for (std::size_t b = a < firstNew ? firstNew : 0; b < open.size() && triangles_[open[a]].LacksNeighbour(); ++b)
            LinkTriangles(open[a], open[b]);
}

}  // namespace tessera
