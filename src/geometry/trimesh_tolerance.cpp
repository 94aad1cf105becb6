// A larger weld tolerance on a finished mesh.
#include <algorithm>
#include <bit>
#include <cmath>
#include <unordered_map>
#include <utility>

#include "geometry/trimesh.h"

namespace tessera {
namespace {

constexpr float kLeastChange = 1e-5f;
// With more triangles around a vertex than that, finding those with a common edge first pays.
constexpr std::size_t kLargeFan = 48;

// The vertices that wait to be merged, in hashed cubes twice as wide as the tolerance: all that may equal a
// vertex stand in the eight cubes nearest to it.
class WaitingVertices {
public:
    WaitingVertices(const MeshArray<Vec3>& vertices, double tolerance);
    bool IsWaiting(std::uint32_t v) const { return waiting_[v]; }
    void Remove(std::uint32_t v) { waiting_[v] = false; }
    // Those that equal v, in ascending order.
    void FindEquals(std::uint32_t v, std::vector<std::uint32_t>& found);

private:
    double Scaled(std::uint32_t v, std::size_t axis) const { return vertices_[v][axis] * perUnit_; }
    std::size_t SlotOf(const double cube[3]) const;

    const MeshArray<Vec3>& vertices_;
    double perUnit_;
    std::vector<std::uint32_t> slotStart_, slotEnd_, slotItems_;  // what no longer waits is dropped when it is met
    std::vector<bool> waiting_;
};

WaitingVertices::WaitingVertices(const MeshArray<Vec3>& vertices, double tolerance)
    : vertices_(vertices), perUnit_(1 / (2.002 * tolerance)), waiting_(vertices.size(), true) {
    slotStart_.assign(std::bit_ceil(std::max<std::size_t>(vertices.size(), 16)) + 1, 0);
    std::vector<std::uint32_t> slots(vertices.size());
    for (std::uint32_t v = 0; v < vertices.size(); ++v) {
        const double cube[3] = {std::floor(Scaled(v, 0)), std::floor(Scaled(v, 1)), std::floor(Scaled(v, 2))};
        slots[v] = static_cast<std::uint32_t>(SlotOf(cube));
        ++slotStart_[slots[v] + 1];
    }
    for (std::size_t s = 1; s < slotStart_.size(); ++s) slotStart_[s] += slotStart_[s - 1];
    slotItems_.resize(vertices.size());
    slotEnd_.assign(slotStart_.begin(), slotStart_.end() - 1);
    for (std::uint32_t v = 0; v < vertices.size(); ++v) slotItems_[slotEnd_[slots[v]]++] = v;
}

std::size_t WaitingVertices::SlotOf(const double cube[3]) const {
    std::uint64_t hash = 0;
    for (int axis = 0; axis < 3; ++axis)
        hash = ((hash ^ (hash >> 32)) + std::bit_cast<std::uint64_t>(cube[axis] + 0.0)) * 0x9e3779b97f4a7c15u;
    return (hash >> 32) & (slotStart_.size() - 2);
}

void WaitingVertices::FindEquals(std::uint32_t v, std::vector<std::uint32_t>& found) {
    found.clear();
    double near[3], other[3];  // the cube that holds v, and the nearest one beside it
    for (std::size_t axis = 0; axis < 3; ++axis) {
        const double scaled = Scaled(v, axis);
        near[axis] = std::floor(scaled);
        other[axis] = near[axis] + (scaled - near[axis] < 0.5 ? -1 : 1);
    }
    for (int corner = 0; corner < 8; ++corner) {
        const double cube[3] = {corner & 1 ? other[0] : near[0], corner & 2 ? other[1] : near[1],
                                corner & 4 ? other[2] : near[2]};
        const std::size_t slot = SlotOf(cube);
        std::uint32_t left = slotStart_[slot];
        for (std::uint32_t at = left; at < slotEnd_[slot]; ++at) {
            const std::uint32_t item = slotItems_[at];
            if (!waiting_[item]) continue;
            slotItems_[left++] = item;
            if (PointsEqual(vertices_[v], vertices_[item])) found.push_back(item);
        }
        slotEnd_[slot] = left;
    }
    std::sort(found.begin(), found.end());
    found.erase(std::unique(found.begin(), found.end()), found.end());
}

}  // namespace

// The free edges of the triangles around a vertex, by their ends: place in the list of all around it, the first `known`
// of which have been looked at, and edge. Some are no longer free.
struct CTriMesh::Fan {
    std::unordered_map<std::uint64_t, std::vector<std::pair<std::uint32_t, int>>> byEdge;
    std::size_t known = 0;
    // Of one merge; members for their memory's sake.
    std::vector<std::uint32_t> fresh;                            // places to be tried with all others
    std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;  // to try
};

void CTriMesh::SetPointTolerance(float tolerance) {
    const ReadLock lock(*this);
    if (triangleCount_ == 0) {
        pointTolerance_ = tolerance;
        return;
    }
    // Vertices that have been welded cannot be parted again.
    if (!(tolerance >= pointTolerance_) || std::fabs(tolerance - pointTolerance_) < kLeastChange) return;
    // Where memory runs out half way, all is to be as before.
    std::vector<TriMeshTriangle> triangles(triangles_.begin(), triangles_.end());
    std::vector<std::uint32_t> starts(incidentStart_.begin(), incidentStart_.end());
    std::vector<TriangleIndex> uses(incident_.begin(), incident_.end());
    const float former = std::exchange(pointTolerance_, tolerance);
    try {
        const ToleranceScope scope(tolerance);
        RemoveCollapsed();
        MergeVertices();
    } catch (...) {
        pointTolerance_ = former;
        triangles_.Take(std::move(triangles));
        incidentStart_.Take(std::move(starts));
        incident_.Take(std::move(uses));
        throw;
    }
    linksAnew_ = normalsValid_ = stripsValid_ = false;
    spoolStale_ = true;
    for (TriMeshTriangle& t : triangles_.ToWrite()) t.flags &= static_cast<std::uint8_t>(~TriMeshTriangle::kResolved);
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
        triangles_.ToWrite()[renumbered[i]] = t;
    }
    triangles_.resize(left);
    const std::span<std::uint32_t> starts = incidentStart_.ToWrite();
    const std::span<TriangleIndex> uses = incident_.ToWrite();
    std::uint32_t kept = 0, at = 0;
    for (std::size_t v = 0; v < vertices_.size(); ++v) {
        const std::uint32_t end = starts[v + 1];
        for (; at < end; ++at)
            if (renumbered[uses[at]] != kNoTriangle) uses[kept++] = renumbered[uses[at]];
        starts[v + 1] = kept;
    }
    incident_.resize(kept);
}

// Each vertex in turn takes over the triangles of the later ones that equal it. A vertex that has lost its
// triangles stays in the table, and may yet take over those of a later one: equality does not carry over
// from vertex to vertex.
void CTriMesh::MergeVertices() {
    std::vector<std::vector<TriangleIndex>> changed(vertices_.size());  // of the vertices that take part in a merge
    std::vector<bool> isChanged(vertices_.size(), false);
    const auto usesOf = [&](std::uint32_t v) -> std::vector<TriangleIndex>& {
        if (!isChanged[v]) changed[v].assign(Incident(v).begin(), Incident(v).end());
        isChanged[v] = true;
        return changed[v];
    };
    WaitingVertices waiting(vertices_, pointTolerance_);
    for (std::uint32_t v = 0; v < vertices_.size(); ++v)
        if (Incident(v).begin() == Incident(v).end()) waiting.Remove(v);
    std::vector<std::uint32_t> equal;
    for (std::uint32_t v = 0; v < vertices_.size(); ++v) {
        waiting.Remove(v);
        waiting.FindEquals(v, equal);
        Fan fan;
        for (const std::uint32_t other : equal) {
            waiting.Remove(other);
            MergeInto(v, usesOf(v), other, usesOf(other), other == equal.front(), fan);
        }
    }
    std::vector<TriangleIndex> incident;
    incident.reserve(incident_.size());
    std::uint32_t start = 0;
    for (std::uint32_t v = 0; v < vertices_.size(); ++v) {
        const TriangleIndex* first = isChanged[v] ? changed[v].data() : incident_.data() + start;
        const TriangleIndex* last = isChanged[v] ? first + changed[v].size() : incident_.data() + incidentStart_[v + 1];
        start = incidentStart_[v + 1];
        incident.insert(incident.end(), first, last);
        incidentStart_.ToWrite()[v + 1] = static_cast<std::uint32_t>(incident.size());
    }
    incident_.Take(std::move(incident));
}

// On the first merge at a vertex the triangles that were there all along are tried with each other too: the
// removal of collapsed ones may have left some without a neighbour.
void CTriMesh::MergeInto(std::uint32_t kept, std::vector<TriangleIndex>& all, std::uint32_t merged,
                         std::vector<TriangleIndex>& moved, bool first, Fan& fan) {
    // A triangle that comes here with a second corner has other edges than it had, and is tried anew where it stands.
    fan.fresh.clear();
    for (const TriangleIndex i : moved) {
        if (triangles_[i].CornerAt(kept) >= 0)
            for (std::size_t at = 0; at < all.size(); ++at)
                if (all[at] == i) fan.fresh.push_back(static_cast<std::uint32_t>(at));
        for (std::uint32_t& v : triangles_.ToWrite()[i].vertex)
            if (v == merged) v = kept;
    }
    const std::size_t firstNew = first || !fan.fresh.empty() ? 0 : all.size(), before = all.size();
    all.insert(all.end(), moved.begin(), moved.end());
    moved.clear();
    if (all.size() < kLargeFan) {
        for (std::size_t a = 0; a < all.size(); ++a)
            for (std::size_t b = a < firstNew ? firstNew : 0; b < all.size() && triangles_[all[a]].LacksNeighbour();
                 ++b)
                if (triangles_[all[b]].LacksNeighbour()) LinkTriangles(all[a], all[b]);
        return;
    }
    // The same pairs in the same order, but for those without an edge that is free in both.
    const auto isFree = [&](std::size_t at, int edge) { return triangles_[all[at]].neighbour[edge] == kNoTriangle; };
    const auto keyOf = [&](std::size_t at, int edge) {
        const TriMeshTriangle& t = triangles_[all[at]];
        const auto [low, high] = std::minmax(t.vertex[edge], t.vertex[NextCorner(edge)]);
        return std::uint64_t{low} << 32 | high;
    };
    const auto enter = [&](std::uint32_t at) {
        for (int edge = 0; edge < 3; ++edge)
            if (isFree(at, edge)) fan.byEdge[keyOf(at, edge)].emplace_back(at, edge);
    };
    for (const std::uint32_t at : fan.fresh)
        if (at < fan.known) enter(at);
    for (; fan.known < all.size(); ++fan.known) enter(static_cast<std::uint32_t>(fan.known));
    for (std::size_t at = first ? 0 : before; at < all.size(); ++at)
        fan.fresh.push_back(static_cast<std::uint32_t>(at));
    fan.pairs.clear();
    for (const std::uint32_t at : fan.fresh)
        for (int edge = 0; edge < 3; ++edge) {
            if (!isFree(at, edge)) continue;
            const std::uint64_t key = keyOf(at, edge);
            auto& there = fan.byEdge[key];
            const auto gone = [&](const auto& i) {
                return !isFree(i.first, i.second) || keyOf(i.first, i.second) != key;
            };
            there.erase(std::remove_if(there.begin(), there.end(), gone), there.end());
            for (const auto& [i, edgeOfI] : there) {
                fan.pairs.emplace_back(at, i);
                fan.pairs.emplace_back(i, at);
            }
        }
    std::sort(fan.pairs.begin(), fan.pairs.end());
    fan.pairs.erase(std::unique(fan.pairs.begin(), fan.pairs.end()), fan.pairs.end());
    for (const auto& [a, b] : fan.pairs) LinkTriangles(all[a], all[b]);
}

}  // namespace tessera
