// Triangle strips ready for drawing.
//
// A strip runs straight on over the mesh, turning left and right in turn as GL_TRIANGLE_STRIP wants it, over
// edges that are smooth at ten degrees. Long strips are what a frame's time hangs on: from each start the
// straight lines in the three directions are followed both ways, and the longest becomes the strip. For strips
// in general see Evans, Skiena and Varshney, Optimizing Triangle Strips for Fast Rendering, 1996.
#include <GL/gl.h>

#include <algorithm>
#include <span>

#include "geometry/angle_limit.h"
#include "geometry/trimesh.h"
#include "platform/prefetch.h"
#include "render/draw_state.h"

namespace tessera {
namespace {

// The first step of a strip stays below this angle between facets.
constexpr double kFirstStepLimit = 45.0;
// Vertices of a strip that counts as long.
constexpr std::size_t kLong = 64;
// Pairs of steps between the announcement of a triangle and the triangle; vertices between theirs.
constexpr TriangleIndex kAhead = 8;
constexpr std::size_t kVerticesAhead = 16;

// Where a line stands: a triangle and the edge over which it goes on.
struct Place {
    TriangleIndex triangle = kNoTriangle;
    int exit = 0;
};

// A corner of a triangle that a strip takes its next vertex from.
struct StripCorner {
    TriangleIndex triangle;
    int corner;
};

// What the strip arrays are filled from.
struct StripVertex {
    std::uint32_t normal, vertex;
};

class StripBuilder {
public:
    StripBuilder(std::span<TriMeshTriangle> triangles, const std::vector<Vec3>& facets,
                 const std::vector<std::uint8_t>& smooth)
        : triangles_(triangles), facets_(facets), smooth_(smooth) {
        ReserveLarge(seen_, triangles.size());
        seen_.resize(triangles.size(), 0);
        ReserveLarge(vertices_, triangles.size() + triangles.size() / 4);
    }
    void Build();
    const std::vector<StripVertex>& Vertices() const { return vertices_; }
    std::vector<int> TakeLengths() { return std::move(lengths_); }

private:
    using Line = std::vector<StripCorner>;

    void FindLongestLine(TriangleIndex t);
    void Follow(Place from, Line& line);
    void Backward(Place at, Line& line);
    void Forward(Place at, Line& line);
    void Emit(const Line& line);
    // The triangle across an edge, if a strip may go there; entry is the edge on its side.
    TriangleIndex Across(TriangleIndex t, int edge, int& entry) const;
    bool IsFirstStep(Place at) const;
    // Every other triangle of a line.
    struct Steps {
        TriangleIndex last = 0, step = 0;
    };
    // Has the triangle on its way that a line will have come to some steps after t, if it goes on as before.
    void Announce(TriangleIndex t, Steps& steps);

    std::span<TriMeshTriangle> triangles_;
    const std::vector<Vec3>& facets_;
    const std::vector<std::uint8_t>& smooth_;
    std::vector<std::uint32_t> seen_;  // number of the last walk that met the triangle
    std::uint32_t walk_ = 0;
    Line best_, other_, behind_;
    int lastExit_ = 0;
    std::size_t lastLength_ = 1;
    std::vector<StripVertex> vertices_;
    std::vector<int> lengths_;
    AngleLimit firstStep_{kFirstStepLimit};
};

TriangleIndex StripBuilder::Across(TriangleIndex t, int edge, int& entry) const {
    const TriMeshTriangle& from = triangles_[t];
    const TriangleIndex next = from.neighbour[edge];
    if (next == kNoTriangle || (smooth_[t] & TriMeshTriangle::SmoothBit(edge)) == 0) return kNoTriangle;
    const TriMeshTriangle& to = triangles_[next];
    if (to.flags & TriMeshTriangle::kVisited) return kNoTriangle;
    entry = to.EdgeTo(t);
    // Where a shell could not be oriented the two run the edge in the same direction.
    const bool opposed = entry >= 0 && to.vertex[entry] == from.vertex[NextCorner(edge)] &&
                         to.vertex[NextCorner(entry)] == from.vertex[edge];
    return opposed ? next : kNoTriangle;
}

bool StripBuilder::IsFirstStep(Place at) const {
    return firstStep_.IsAbove(Dot(facets_[at.triangle], facets_[triangles_[at.triangle].neighbour[at.exit]]));
}

// Adds the corners behind the place, an even triangle of the strip, so that the next is an odd one.
void StripBuilder::Forward(Place at, Line& line) {
    int entry = 0;
    Steps steps[2];
    for (bool odd = true;; odd = !odd) {
        const TriangleIndex next = Across(at.triangle, at.exit, entry);
        if (next == kNoTriangle || seen_[next] == walk_) return;
        seen_[next] = walk_;
        Announce(next, steps[odd]);
        line.push_back({next, PreviousCorner(entry)});
        at = {next, odd ? PreviousCorner(entry) : NextCorner(entry)};
    }
}

// Starts the line at the first even triangle, back from the place, that a strip may start from, and adds the
// corners up to the place.
void StripBuilder::Backward(Place at, Line& line) {
    Place start = at;
    std::size_t kept = 0;
    behind_.clear();
    int exit = 0, entry = PreviousCorner(at.exit);
    behind_.push_back({at.triangle, PreviousCorner(entry)});
    Steps steps[2];
    for (bool odd = true;; odd = !odd) {
        const TriangleIndex before = Across(at.triangle, entry, exit);
        if (before == kNoTriangle || seen_[before] == walk_) break;
        seen_[before] = walk_;
        Announce(before, steps[odd]);
        at = {before, exit};
        entry = odd ? NextCorner(exit) : PreviousCorner(exit);
        if (!odd && IsFirstStep(at)) {
            start = at;
            kept = behind_.size();
        }
        behind_.push_back({before, PreviousCorner(entry)});
    }
    for (const int corner : {PreviousCorner(start.exit), start.exit, NextCorner(start.exit)})
        line.push_back({start.triangle, corner});
    while (kept > 0) line.push_back(behind_[--kept]);
}

// The triangles of a line stand at even steps in most meshes.
void StripBuilder::Announce(TriangleIndex t, Steps& steps) {
    const TriangleIndex step = t - steps.last, later = t + kAhead * step;
    const bool even = step == steps.step;
    steps = {t, step};
    if (!even || later >= triangles_.size()) return;
    Prefetch(&triangles_[later]);
    Prefetch(&seen_[later]);
    Prefetch(&smooth_[later]);
}

void StripBuilder::Follow(Place from, Line& line) {
    line.clear();
    seen_[from.triangle] = ++walk_;
    Backward(from, line);
    Forward(from, line);
}

// Next to a long strip lies another one as a rule: the direction of the last one found among all three is taken
// again while its lines stay about as long.
void StripBuilder::FindLongestLine(TriangleIndex t) {
    int entry = 0;
    best_.clear();
    if (Across(t, lastExit_, entry) != kNoTriangle && IsFirstStep({t, lastExit_})) {
        Follow({t, lastExit_}, best_);
        if (best_.size() >= kLong && best_.size() * 10 >= lastLength_ * 9) return;
    }
    const int tried = lastExit_;
    for (int k = 0; k < 3; ++k) {
        if (k == tried || Across(t, k, entry) == kNoTriangle || !IsFirstStep({t, k})) continue;
        Follow({t, k}, other_);
        if (other_.size() <= best_.size()) continue;
        best_.swap(other_);
        lastExit_ = k;
    }
    lastLength_ = best_.size();
    if (!best_.empty()) return;
    for (int k = 0; k < 3; ++k) best_.push_back({t, k});  // a strip of its own
}

void StripBuilder::Emit(const Line& line) {
    for (std::size_t i = 0; i < line.size(); ++i) {
        const StripCorner& at = line[i];
        if (i + kVerticesAhead < line.size()) Prefetch(&triangles_[line[i + kVerticesAhead].triangle]);
        TriMeshTriangle& t = triangles_[at.triangle];
        t.flags |= TriMeshTriangle::kVisited;
        vertices_.push_back({t.normal[at.corner], t.vertex[at.corner]});
    }
    lengths_.push_back(static_cast<int>(line.size()));
}

void StripBuilder::Build() {
    constexpr auto kMarks = static_cast<std::uint8_t>(~(TriMeshTriangle::kVisited | TriMeshTriangle::kLinked));
    for (TriMeshTriangle& t : triangles_) t.flags &= kMarks;
    for (TriangleIndex t = 0; t < triangles_.size(); ++t) {
        if (triangles_[t].flags & TriMeshTriangle::kVisited) continue;
        FindLongestLine(t);
        Emit(best_);
    }
    lengths_.push_back(-1);
    for (TriMeshTriangle& t : triangles_) t.flags &= kMarks;
}

}  // namespace

void CTriMesh::BuildStrips() {
    if (triangleCount_ <= 0) return;
    const ReadLock lock(*this);
    const std::vector<Vec3> facets = Facets();
    std::vector<std::uint8_t> stripEdges;
    ClassifyAll(facets, &stripEdges);
    BuildStrips(facets, stripEdges);
}

void CTriMesh::BuildStrips(const std::vector<Vec3>& facets, const std::vector<std::uint8_t>& stripEdges) {
    StripBuilder builder(triangles_.ToWrite(), facets, stripEdges);
    builder.Build();
    spoolStale_ = true;  // a copy on disk has other strips
    stripLengths_.Take(builder.TakeLengths());
    stripLengths_.shrink_to_fit();
    stripVertices_.Free();
    stripVertices_.resize(6 * builder.Vertices().size());
    float* out = stripVertices_.ToWrite().data();
    const std::vector<StripVertex>& order = builder.Vertices();
    for (std::size_t i = 0; i < order.size(); ++i) {
        const StripVertex& later = order[std::min(i + kVerticesAhead, order.size() - 1)];
        Prefetch(&(*normals_)[later.normal]);
        Prefetch(&vertices_[later.vertex]);
        const Vec3 &n = (*normals_)[order[i].normal], &p = vertices_[order[i].vertex];
        for (const float value : {n.x, n.y, n.z, p.x, p.y, p.z}) *out++ = value;
    }
    stripsValid_ = true;
    // The pointer is announced once here, so that a driver may look at the array before the first frame; it does
    // not stay with the host's context.
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glInterleavedArrays(GL_N3F_V3F, 0, stripVertices_.data());
    glPopClientAttrib();
    gTold.arrays = nullptr;
}

}  // namespace tessera
