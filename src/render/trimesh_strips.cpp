// Triangle strips ready for drawing.
//
// A strip runs straight on over the mesh, turning left and right in turn as GL_TRIANGLE_STRIP wants it, over
// edges that are smooth at ten degrees. Long strips are what a frame's time hangs on: at each start the
// straight lines in the three directions are followed both ways, and the longest becomes the strip. For strips
// in general see Evans, Skiena and Varshney, Optimizing Triangle Strips for Fast Rendering, 1996.
#include <GL/gl.h>

#include <algorithm>

#include "geometry/angle_limit.h"
#include "geometry/trimesh.h"

namespace tessera {
namespace {

// The first step of a strip stays below this angle between facets.
constexpr double kFirstStepLimit = 45.0;
// A line of this many triangles is taken without looking at the other directions.
constexpr int kLongEnough = 64;

// Where a line stands: a triangle and the edge over which it goes on.
struct Place {
    TriangleIndex triangle = kNoTriangle;
    int exit = 0;
};

struct Line {
    Place start;
    int length = 0;  // triangles
};

class StripBuilder {
public:
    StripBuilder(std::vector<TriMeshTriangle>& triangles, const std::vector<Vec3>& facets,
                 const std::vector<std::uint8_t>& smooth)
        : triangles_(triangles), facets_(facets), smooth_(smooth), seen_(triangles.size(), 0) {
        corners_.reserve(triangles.size() + triangles.size() / 4);
    }
    void Build();
    // Corner k of triangle t as 4 * t + k, for each vertex of each strip.
    const std::vector<std::uint32_t>& Corners() const { return corners_; }
    std::vector<int> TakeLengths() { return std::move(lengths_); }

private:
    Line LongestLine(TriangleIndex t);
    Line Follow(Place from);
    int Forward(Place at);
    int Backward(Place at, Place& start);
    void Emit(const Line& line);
    // The triangle across an edge, if a strip may go there; entry is the edge on its side.
    TriangleIndex Across(TriangleIndex t, int edge, int& entry) const;
    bool IsFirstStep(Place at) const;

    std::vector<TriMeshTriangle>& triangles_;
    const std::vector<Vec3>& facets_;
    const std::vector<std::uint8_t>& smooth_;
    std::vector<std::uint32_t> seen_;  // number of the last walk that met the triangle
    std::uint32_t walk_ = 0;
    std::vector<std::uint32_t> corners_;
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

// Number of triangles behind the place. The place is an even triangle of the strip, so the next is an odd one.
int StripBuilder::Forward(Place at) {
    int count = 0, entry = 0;
    for (bool odd = true;; odd = !odd, ++count) {
        const TriangleIndex next = Across(at.triangle, at.exit, entry);
        if (next == kNoTriangle || seen_[next] == walk_) return count;
        seen_[next] = walk_;
        at = {next, odd ? PreviousCorner(entry) : NextCorner(entry)};
    }
}

// Goes back along the line to the first even triangle that a strip may start from; gives the number of
// triangles between it and the place.
int StripBuilder::Backward(Place at, Place& start) {
    start = at;
    int count = 0, behind = 0, exit = 0;
    int entry = PreviousCorner(at.exit);
    for (bool odd = true;; odd = !odd) {
        const TriangleIndex before = Across(at.triangle, entry, exit);
        if (before == kNoTriangle || seen_[before] == walk_) return behind;
        seen_[before] = walk_;
        ++count;
        at = {before, exit};
        entry = odd ? NextCorner(exit) : PreviousCorner(exit);
        if (!odd && IsFirstStep(at)) {
            start = at;
            behind = count;
        }
    }
}

Line StripBuilder::Follow(Place from) {
    seen_[from.triangle] = ++walk_;
    Line line;
    line.length = 1 + Forward(from);
    line.length += Backward(from, line.start);
    return line;
}

// Directions are tried from the flattest on; of lines of one length the first stays.
Line StripBuilder::LongestLine(TriangleIndex t) {
    int exits[3], count = 0, entry = 0;
    double flatness[3];
    for (int k = 0; k < 3; ++k) {
        if (Across(t, k, entry) == kNoTriangle || !IsFirstStep({t, k})) continue;
        flatness[k] = Dot(facets_[t], facets_[triangles_[t].neighbour[k]]);
        exits[count++] = k;
    }
    std::stable_sort(exits, exits + count, [&](int a, int b) { return flatness[a] > flatness[b]; });
    Line best;
    for (int i = 0; i < count && best.length < kLongEnough; ++i) {
        const Line line = Follow({t, exits[i]});
        if (line.length > best.length) best = line;
    }
    return best;
}

void StripBuilder::Emit(const Line& line) {
    const std::size_t before = corners_.size();
    Place at = line.start;
    const auto add = [this](TriangleIndex t, int corner) {
        corners_.push_back(4 * t + static_cast<std::uint32_t>(corner));
    };
    add(at.triangle, PreviousCorner(at.exit));
    add(at.triangle, at.exit);
    add(at.triangle, NextCorner(at.exit));
    triangles_[at.triangle].flags |= TriMeshTriangle::kVisited;
    int entry = 0;
    for (bool odd = true;; odd = !odd) {
        const TriangleIndex next = Across(at.triangle, at.exit, entry);
        if (next == kNoTriangle) break;
        triangles_[next].flags |= TriMeshTriangle::kVisited;
        add(next, PreviousCorner(entry));
        at = {next, odd ? PreviousCorner(entry) : NextCorner(entry)};
    }
    lengths_.push_back(static_cast<int>(corners_.size() - before));
}

void StripBuilder::Build() {
    constexpr auto kMarks = static_cast<std::uint8_t>(~(TriMeshTriangle::kVisited | TriMeshTriangle::kLinked));
    for (TriMeshTriangle& t : triangles_) t.flags &= kMarks;
    for (TriangleIndex t = 0; t < triangles_.size(); ++t) {
        if (triangles_[t].flags & TriMeshTriangle::kVisited) continue;
        Line line = LongestLine(t);
        if (line.length == 0) {  // a strip of its own
            triangles_[t].flags |= TriMeshTriangle::kVisited;
            for (std::uint32_t k = 0; k < 3; ++k) corners_.push_back(4 * t + k);
            lengths_.push_back(3);
        } else {
            Emit(line);
        }
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
    StripBuilder builder(triangles_, facets, stripEdges);
    builder.Build();
    stripLengths_ = builder.TakeLengths();
    stripLengths_.shrink_to_fit();
    std::vector<float>().swap(stripVertices_);
    stripVertices_.resize(6 * builder.Corners().size());
    float* out = stripVertices_.data();
    for (const std::uint32_t corner : builder.Corners()) {
        const TriMeshTriangle& t = triangles_[corner / 4];
        const Vec3 &n = (*normals_)[t.normal[corner % 4]], &p = vertices_[t.vertex[corner % 4]];
        for (const float value : {n.x, n.y, n.z, p.x, p.y, p.z}) *out++ = value;
    }
    stripsValid_ = true;
    // The pointer is announced once here, so that a driver may look at the array before the first frame; it does
    // not stay with the host's context.
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glInterleavedArrays(GL_N3F_V3F, 0, stripVertices_.data());
    glPopClientAttrib();
}

}  // namespace tessera
