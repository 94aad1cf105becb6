// How the section plane cuts a mesh.
#include "geometry/trimesh.h"
#include "query/pick_frame.h"
#include "query/section_cut.h"
#include "query/section_loop.h"

namespace tessera {
namespace {

// Where a plane crosses the line of an edge, from the end at which the plane has the given value.
Vec3 CrossingFrom(const Vec3& a, const Vec3& b, double valueAtA, const Plane& plane) {
    const Direction e = DirectionFrom(a, b);
    const double s = -valueAtA / (plane.normal.x * e.x + plane.normal.y * e.y + plane.normal.z * e.z);
    return {static_cast<float>(a.x + s * e.x), static_cast<float>(a.y + s * e.y), static_cast<float>(a.z + s * e.z)};
}

}  // namespace

// Both triangles of an edge run it in opposite directions; from the lower vertex they get the same bits, and
// the chaining finds them equal. An edge too short to have a direction is left as it runs.
Vec3 CTriMesh::Crossing(std::uint32_t from, std::uint32_t to, const Plane& plane) const {
    if (from > to && !(Length(vertices_[to] - vertices_[from]) < kShortestVector)) std::swap(from, to);
    const Vec3 &a = vertices_[from], &b = vertices_[to];
    return CrossingFrom(a, b, plane.At(a), plane);
}

// A corner in the plane counts as above it. The walk around the odd corner makes start lie on the edge that runs
// into it, and end on the edge that runs out.
std::vector<SectionCut> CTriMesh::CutTriangles(const Plane& plane) const {
    std::vector<std::uint8_t> above(vertices_.size());
    for (std::size_t i = 0; i < vertices_.size(); ++i) above[i] = plane.At(vertices_[i]) >= 0 ? 1 : 0;
    std::vector<SectionCut> cuts;
    for (const TriMeshTriangle& t : triangles_) {
        const std::uint8_t side[3] = {above[t.vertex[0]], above[t.vertex[1]], above[t.vertex[2]]};
        if (side[0] == side[1] && side[1] == side[2]) continue;
        const int odd = side[0] == side[1] ? 2 : side[1] == side[2] ? 0 : 1;
        const std::uint32_t v = t.vertex[odd];
        cuts.push_back(
            {Crossing(t.vertex[PreviousCorner(odd)], v, plane), Crossing(v, t.vertex[NextCorner(odd)], plane)});
    }
    return cuts;
}

// Each triangle by Heron's formula.
double CTriMesh::GetSurfaceArea() {
    const ReadLock lock(*this);
    double area = 0;
    for (const TriMeshTriangle& t : triangles_) {
        const double a = Length(Corner(t, 1) - Corner(t, 0)), b = Length(Corner(t, 2) - Corner(t, 1)),
                     c = Length(Corner(t, 0) - Corner(t, 2));
        const double h = (a + b + c) * 0.5, w = (h - a) * (h - b) * (h - c) * h;
        if (w >= 0) area += std::sqrt(w);  // needles may round below 0
    }
    return area;
}

// Whether the plane clips is of no concern here.
float CTriMesh::GetSectionLength(const CMatrix& matrix) {
    const ReadLock lock(*this);
    if (sectionEnabled == 0) return 0;
    float length = 0;
    for (const SectionCut& cut : CutTriangles(ClipPlaneIn(matrix)))
        length = static_cast<float>(length + Length(cut.end - cut.start));
    return length;
}

bool CTriMesh::PickCrossSectionPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (!IsClipping() || surfaceVisible_ == 0) return false;
    const ReadLock lock(*this);
    NearestHit best(view.eye);
    for (const SectionCut& cut : CutTriangles(ClipPlaneIn(matrix)))
        for (const Vec3& local : {cut.start, cut.end}) {
            const Vec3 p = TransformPoint(local, matrix);
            if (!PointUnderCursor(p, view) || !best.IsNearer(p)) continue;
            best.Take(p);
            hit.point = p;
        }
    return best.Found();
}

bool CTriMesh::PickCrossSectionEdge(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (!IsClipping() || surfaceVisible_ == 0) return false;
    const ReadLock lock(*this);
    NearestHit best(view.eye);
    Vec3 p;
    for (const SectionCut& cut : CutTriangles(ClipPlaneIn(matrix))) {
        if (!TestSegmentOnScreen(TransformPoint(cut.start, matrix), TransformPoint(cut.end, matrix), view, p)) continue;
        if (!best.IsNearer(p)) continue;
        best.Take(p);
        hit.point = p;
    }
    return best.Found();
}

}  // namespace tessera
