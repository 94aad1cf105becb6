// From the triangles as added to welded vertices, neighbours and one orientation a shell.
#include <algorithm>
#include <cmath>

#include "geometry/trimesh.h"

namespace tessera {
namespace {

// An axis along which a mesh is thinner than this gets a box one unit thick.
constexpr float kThinnestBox = 1e-5f;
constexpr double kTrianglesPerCell = 20;
// Triangles between the announcement of a look-up and the look-up.
constexpr std::size_t kPrefetchAhead = 6;

void WidenIfThin(float& low, float& high) {
    if (high - low < kThinnestBox) {
        low -= 0.5f;
        high += 0.5f;
    }
}

// About twenty triangles a cell, over x and y only, in a frame a little larger than the box.
CellRule WeldCells(const BBox& box, double triangles) {
    const double xlow = box.xmin - std::fabs(box.xmin * 0.001), xhigh = box.xmax + std::fabs(box.xmax * 0.001);
    const double ylow = box.ymin - std::fabs(box.ymin * 0.001), yhigh = box.ymax + std::fabs(box.ymax * 0.001);
    const double dx = xhigh - xlow, dy = yhigh - ylow;
    const double columns = std::ceil(std::sqrt(triangles * dx / (dy * kTrianglesPerCell)));
    const double rows = std::ceil(std::sqrt(triangles * dy / (dx * kTrianglesPerCell)));
    return {xlow, ylow, columns / dx, rows / dy, true};
}

// The edge between two corners of a triangle, -1 if they are one corner.
int EdgeBetween(int a, int b) {
    const int both = a + b;
    return a == b ? -1 : both == 1 ? 0 : both == 3 ? 1 : 2;
}

}  // namespace

void CTriMesh::EndBuild() {
    if (rawPoints_.Count() == 0) return;
    {
        const ToleranceScope tolerance(pointTolerance_);
        MeasureRawPoints();
        Weld();
        CountIncident();
        if (!LinkAll()) OrientAll();
    }
    building_ = false;
    UnlockShared();
}

void CTriMesh::MeasureRawPoints() {
    bounds_ = BBox();
    for (std::size_t t = 0; t < rawGiven_.size(); ++t)
        for (int k = 0; k < 3; ++k) bounds_.Add(rawPoints_.Three(t)[k]);
    WidenIfThin(bounds_.xmin, bounds_.xmax);
    WidenIfThin(bounds_.ymin, bounds_.ymax);
    WidenIfThin(bounds_.zmin, bounds_.zmax);
    bounds_.valid = 1;
}

void CTriMesh::Weld() {
    const std::size_t count = rawGiven_.size();
    CellGrid grid;
    grid.Reset(WeldCells(bounds_, triangleCount_), pointTolerance_, count / 2 + 500);
    vertices_.reserve(count / 2 + 500);
    triangles_.resize(count);
    const std::span<TriMeshTriangle> triangles = triangles_.ToWrite();
    std::size_t given = 0;
    for (std::size_t i = 0; i < count; ++i) {
        rawPoints_.ReleaseBefore(i);
        if (i + kPrefetchAhead < count)
            for (int k = 0; k < 3; ++k) grid.Announce(rawPoints_.Three(i + kPrefetchAhead)[k]);
        const Vec3* p = rawPoints_.Three(i);
        const Vec3* n = rawGiven_[i] ? rawNormals_.Three(given++) : nullptr;
        TriMeshTriangle& t = triangles[i];
        for (int k = 0; k < 3; ++k) {
            std::uint32_t index = grid.LookUp(vertices_.data(), p[k], pointTolerance_);
            if (index == CellGrid::kNone) {
                index = static_cast<std::uint32_t>(vertices_.size());
                vertices_.push_back(p[k]);
                grid.Enter(vertices_.data(), p[k]);
            }
            t.vertex[k] = index;
            if (n) t.normal[k] = normals_->LookUpOrAdd(n[k]);
        }
        if (n) {
            t.flags = TriMeshTriangle::kResolved;
            t.flags2 = TriMeshTriangle::kGivenNormals;
        }
    }
    vertices_.shrink_to_fit();
    rawPoints_.Clear();
    rawNormals_.Clear();
    std::vector<std::uint8_t>().swap(rawGiven_);
}

void CTriMesh::CountIncident() {
    std::vector<std::uint32_t> start(vertices_.size() + 1, 0);
    for (const TriMeshTriangle& t : triangles_)
        for (const std::uint32_t v : t.vertex) ++start[v + 1];
    for (std::size_t v = 0; v < vertices_.size(); ++v) start[v + 1] += start[v];
    incidentStart_.Take(std::move(start));
    incident_.resize(3 * triangles_.size());
    const std::span<TriangleIndex> incident = incident_.ToWrite();
    std::vector<std::uint32_t> next(incidentStart_.begin(), incidentStart_.end() - 1);
    for (TriangleIndex t = 0; t < triangles_.size(); ++t)
        for (const std::uint32_t v : triangles_[t].vertex) incident[next[v]++] = t;
}

// Each triangle takes its neighbours from the later triangles at its corners, in their order: an edge that
// three triangles use joins the first two. Gives whether all neighbours run their edge in opposite directions.
bool CTriMesh::LinkAll() {
    bool consistent = true;
    std::vector<std::uint32_t> later(incidentStart_.begin(), incidentStart_.end() - 1);
    for (TriangleIndex i = 0; i < triangles_.size(); ++i) {
        TriMeshTriangle& t = triangles_.ToWrite()[i];
        t.flags |= TriMeshTriangle::kLinked;
        for (const std::uint32_t v : t.vertex) ++later[v];  // all lists are ascending: this triangle stands first
        for (int k = 0; k < 3; ++k)
            if (t.neighbour[k] == kNoTriangle && !LinkEdge(i, k, later)) consistent = false;
    }
    linksAnew_ = true;
    return consistent;
}

// Looks for the neighbour in the shorter list of the edge's two ends: a hub may have any number of triangles.
// Gives false if the neighbour found runs the edge in the same direction.
bool CTriMesh::LinkEdge(TriangleIndex i, int edge, const std::vector<std::uint32_t>& later) {
    const TriMeshTriangle& t = triangles_[i];
    std::uint32_t listed = t.vertex[edge], other = t.vertex[NextCorner(edge)];
    if (listed == other) return true;  // no edge
    if (incidentStart_[listed + 1] - later[listed] > incidentStart_[other + 1] - later[other]) std::swap(listed, other);
    const std::uint32_t end = incidentStart_[listed + 1];
    for (std::uint32_t at = later[listed]; at < end; ++at) {
        const TriangleIndex u = incident_[at];
        if (triangles_[u].CornerAt(other) < 0) continue;
        // A triangle with the same three corners is joined over the first edge alone.
        if (edge != 0 && triangles_[u].CornerAt(t.vertex[PreviousCorner(edge)]) >= 0) continue;
        if (LinkTriangles(i, u)) return RunsAgainst(i, u, t.EdgeTo(u));
    }
    return true;
}

// Joins two triangles over the edge between their first two common corners, if both have it free.
bool CTriMesh::LinkTriangles(TriangleIndex a, TriangleIndex b) {
    if (a == b) return false;
    const std::span<TriMeshTriangle> triangles = triangles_.ToWrite();
    TriMeshTriangle &ta = triangles[a], &tb = triangles[b];
    int cornersOfA[2], cornersOfB[2], found = 0;
    for (int i = 0; i < 3 && found < 2; ++i) {
        if (i == 2 && found == 0) return false;
        const int j = tb.CornerAt(ta.vertex[i]);
        if (j < 0) continue;
        cornersOfA[found] = i;
        cornersOfB[found++] = j;
    }
    if (found < 2) return false;
    const int edgeOfA = EdgeBetween(cornersOfA[0], cornersOfA[1]), edgeOfB = EdgeBetween(cornersOfB[0], cornersOfB[1]);
    if (edgeOfB < 0 || ta.neighbour[edgeOfA] != kNoTriangle || tb.neighbour[edgeOfB] != kNoTriangle) return false;
    ta.neighbour[edgeOfA] = b;
    tb.neighbour[edgeOfB] = a;
    return true;
}

bool CTriMesh::RunsAgainst(TriangleIndex a, TriangleIndex b, int edgeOfA) const {
    const TriMeshTriangle &ta = triangles_[a], &tb = triangles_[b];
    const int edgeOfB = tb.EdgeTo(a);
    return edgeOfB < 0 || ta.vertex[edgeOfA] != tb.vertex[edgeOfB] ||
           ta.vertex[NextCorner(edgeOfA)] != tb.vertex[NextCorner(edgeOfB)];
}

void CTriMesh::OrientAll() {
    for (TriangleIndex start = 0; start < triangles_.size(); ++start) {
        if (triangles_[start].flags & TriMeshTriangle::kVisited) continue;
        for (TriangleIndex from = start; from != kNoTriangle;) from = Flood(from);
    }
    for (TriMeshTriangle& t : triangles_.ToWrite()) t.flags &= static_cast<std::uint8_t>(~TriMeshTriangle::kVisited);
}

// Turns triangles to agree with the one that they are reached from, depth first. After so many triangles the flood is
// cut and starts again from the last one turned; where none was turned, the shell goes on from its next triangle in
// order of arrival, whose own sense then holds. Gives the triangle to start again from.
TriangleIndex CTriMesh::Flood(TriangleIndex first) {
    constexpr int kMostReached = 500;
    TriangleIndex pending = kNoTriangle;
    std::vector<std::pair<TriangleIndex, std::uint8_t>> path{{first, 0}};
    OrientNeighbours(first, pending);
    for (int reached = 0; !path.empty();) {
        auto& [t, edge] = path.back();
        if (edge == 3) {
            path.pop_back();
            continue;
        }
        const TriangleIndex u = triangles_[t].neighbour[edge++];
        if (u == kNoTriangle || (triangles_[u].flags & TriMeshTriangle::kVisited)) continue;
        OrientNeighbours(u, pending);
        if (++reached == kMostReached) return pending;
        path.emplace_back(u, 0);
    }
    return kNoTriangle;
}

void CTriMesh::OrientNeighbours(TriangleIndex i, TriangleIndex& pending) {
    TriMeshTriangle& t = triangles_.ToWrite()[i];
    t.flags |= TriMeshTriangle::kVisited;
    for (int k = 0; k < 3; ++k) {
        const TriangleIndex u = t.neighbour[k];
        if (u == kNoTriangle || u == pending || (triangles_[u].flags & TriMeshTriangle::kVisited)) continue;
        if (RunsAgainst(i, u, k)) continue;
        FlipTriangle(triangles_.ToWrite()[u]);
        pending = u;
        k = 0;  // on from edge 1
    }
}

void CTriMesh::FlipTriangle(TriMeshTriangle& t) {
    linksAnew_ = false;
    std::swap(t.vertex[1], t.vertex[2]);
    std::swap(t.normal[1], t.normal[2]);
    std::swap(t.neighbour[0], t.neighbour[2]);
    const auto exchange = [&t](std::uint8_t a, std::uint8_t b) {
        if (((t.flags & a) != 0) != ((t.flags & b) != 0)) t.flags ^= static_cast<std::uint8_t>(a | b);
    };
    exchange(TriMeshTriangle::SmoothBit(0), TriMeshTriangle::SmoothBit(2));
    exchange(TriMeshTriangle::ResolvedBit(1), TriMeshTriangle::ResolvedBit(2));
    for (int k = 0; k < 3; ++k)
        if (t.IsResolved(k) || t.HasGivenNormals())
            t.normal[k] = normals_->LookUpOrAdd(Normalized(-(*normals_)[t.normal[k]]));
}

void CTriMesh::FlipAll() {
    const ReadLock lock(*this);
    const ToleranceScope tolerance(pointTolerance_);
    const std::span<TriMeshTriangle> triangles = triangles_.ToWrite();
    stripsValid_ = false;
    spoolStale_ = true;
    for (TriMeshTriangle& t : triangles) FlipTriangle(t);
}

}  // namespace tessera
