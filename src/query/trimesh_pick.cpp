// Picks of a mesh's points and edges. All walk all triangles in order; what is surely not under the cursor is left out
// by the sides on which its vertices appear.
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "query/pick_frame.h"
#include "query/screen_filter.h"
#include "query/section_loop.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

enum class EdgePath { None, All, Features };

// The edges that each shade mode offers. The lists differ from pick to pick, and hosts know them so.
EdgePath PathOf(short mode, PickKind kind) {
    switch (mode) {
        case ShadeWireAll: return EdgePath::All;
        case ShadeFlat:
        case ShadeSmooth:
        case ShadeWire:
        case ShadeHiddenLine:
        case ShadeSmoothEdges:
        case ShadeStripPoints: return EdgePath::Features;
        case ShadeEnvMap: return kind == PickKind::Segment ? EdgePath::None : EdgePath::Features;
        default: return EdgePath::None;
    }
}

bool OffersAllVertices(short mode) {
    return mode == ShadeFlat || mode == ShadeSmooth || mode == ShadeWireAll || mode == ShadeSmoothEdges ||
           mode == ShadeEnvMap;
}

}  // namespace

// Whether the surface turns from the view at an edge, judged at the middle of the edge.
bool CTriMesh::IsSilhouetteEdge(TriangleIndex i, int edge, const CMatrix& matrix) const {
    const TriMeshTriangle& t = triangles_[i];
    if (t.neighbour[edge] == kNoTriangle) return true;
    if (viewingType != 0 && viewingType != 1) return false;
    const Vec3 camera = TransformPointByInverse(cameraPoint, matrix),
               target = TransformPointByInverse(targetPoint, matrix);
    const Vec3 middle = (Corner(t, edge) + Corner(t, NextCorner(edge))) * 0.5f;
    const Vec3 sight = Normalized((viewingType == 0 ? middle : target) - camera);
    const double c = -Dot(sight, middle);
    const float here = static_cast<float>(Dot(sight, Facet(t) + middle) + c);
    const double there = Dot(sight, Facet(triangles_[t.neighbour[edge]]) + middle) + c;
    return (here >= 0 && there <= 0) || (here <= 0 && there >= 0);
}

// Open, hard and silhouette edges, each at the first of its two triangles.
bool CTriMesh::IsFeatureEdge(TriangleIndex i, int edge, const CMatrix& matrix) const {
    const TriMeshTriangle& t = triangles_[i];
    if (t.neighbour[edge] == kNoTriangle) return true;
    if (t.neighbour[edge] <= i) return false;
    return !t.IsSmooth(edge) || IsSilhouetteEdge(i, edge, matrix);
}

bool CTriMesh::PickPoint(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (surfaceVisible_ == 0) {
        LockShared();  // and never let go: a mesh that was picked while hidden stays in memory
        return false;
    }
    const ReadLock lock(*this);
    NearestHit best(view.eye);
    const Plane plane = ClipPlane();
    const ScreenFilter filter(view, matrix, bounds_, nullptr);
    const auto isNearest = [&](const Vec3& p) {
        return !(IsClipping() && plane.At(p) < 0) && PointUnderCursor(p, view) && best.IsNearer(p);
    };
    const auto take = [&](const Vec3& p) {
        best.Take(p);
        hit.point = p;
    };
    if (OffersAllVertices(shadeMode)) {
        for (const Vec3& v : vertices_) {
            if (filter.SideOf(v) != 0) continue;
            const Vec3 p = TransformPoint(v, matrix);
            if (isNearest(p)) take(p);
        }
    } else {
        const std::vector<std::uint8_t> sides = filter.SidesOf(vertices_);
        for (TriangleIndex i = 0; i < triangles_.size(); ++i) {
            const TriMeshTriangle& t = triangles_[i];
            if (sides[t.vertex[0]] != 0 && sides[t.vertex[1]] != 0 && sides[t.vertex[2]] != 0) continue;
            for (int k = 0; k < 3; ++k)
                for (const int corner : {k, NextCorner(k)}) {
                    if (sides[t.vertex[corner]] != 0) continue;
                    const Vec3 p = TransformPoint(Corner(t, corner), matrix);
                    if (isNearest(p) && IsFeatureEdge(i, k, matrix)) take(p);
                }
        }
    }
    PickHit section;
    if (sectionEnabled != 0 && PickCrossSectionPoint(view, matrix, section) && best.IsNearer(section.point))
        take(section.point);
    return best.Found();
}

// The nearest edge under the cursor, the earlier of equals.
CTriMesh::PickedEdge CTriMesh::FindEdge(PickKind kind, const PickView& view, const CMatrix& matrix) const {
    PickedEdge found;
    const EdgePath path = PathOf(shadeMode, kind);
    if (path == EdgePath::None) return found;
    NearestHit best(view.eye);
    const Plane plane = ClipPlane();
    const ScreenFilter filter(view, matrix, bounds_, IsClipping() ? &plane : nullptr);
    const std::vector<std::uint8_t> sides = filter.SidesOf(vertices_);
    for (TriangleIndex i = 0; i < triangles_.size(); ++i) {
        const TriMeshTriangle& t = triangles_[i];
        const std::uint8_t side[3] = {sides[t.vertex[0]], sides[t.vertex[1]], sides[t.vertex[2]]};
        if ((side[0] & side[1] & side[2] & (ScreenFilter::Left | ScreenFilter::Right)) != 0) continue;
        for (int k = 0; k < 3; ++k) {
            const auto shared = static_cast<std::uint8_t>(side[k] & side[NextCorner(k)]);
            if (filter.Misses(shared, Corner(t, k), Corner(t, NextCorner(k)))) continue;
            Vec3 a = TransformPoint(Corner(t, k), matrix), b = TransformPoint(Corner(t, NextCorner(k)), matrix), p;
            if (IsClipping() && !ClipSegment(a, b, plane) && !(plane.At(a) > 0 && plane.At(b) > 0)) continue;
            if (!TestSegmentOnScreen(a, b, view, p) || !best.IsNearer(p)) continue;
            if (path == EdgePath::Features && !IsFeatureEdge(i, k, matrix)) continue;
            best.Take(p);
            found = {i, k, p, a, b - a, best.Distance()};
        }
    }
    return found;
}

bool CTriMesh::PickEdge(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (surfaceVisible_ == 0) {
        LockShared();  // as PickPoint
        return false;
    }
    const ReadLock lock(*this);
    const PickedEdge edge = FindEdge(PickKind::Edge, view, matrix);
    PickHit section;
    const bool onSection = sectionEnabled != 0 && PickCrossSectionEdge(view, matrix, section);
    if (!edge.Found() && !onSection) return false;
    // After a hit on the section alone the edge is the x axis; hosts see that only where no edge is near.
    hit.point = SnapToEdgeLine(view, edge.start, edge.along);
    return true;
}

// The section line under the cursor, and the curve that it belongs to.
bool CTriMesh::TraceSectionLoop(const PickView& view, const CMatrix& matrix, CPolyLine& curve, int& segment,
                                Vec3& point) const {
    SectionTables tables(kLoopDivisor);
    NearestHit best(view.eye);
    SectionCut picked;
    for (const SectionCut& cut : CutTriangles(ClipPlaneIn(matrix))) {
        Vec3 p;
        if (TestSegmentOnScreen(TransformPoint(cut.start, matrix), TransformPoint(cut.end, matrix), view, p) &&
            best.IsNearer(p)) {
            best.Take(p);
            point = p;
            picked = cut;
            tables.PutFirst(cut);
        } else {
            tables.Append(cut);
        }
    }
    if (!best.Found()) return false;
    tables.Index();
    TraceLoop(tables, picked, curve, segment);
    return true;
}

// Whether a section line is picked in place of an edge, that is, lies nearer.
bool CTriMesh::SectionWins(const PickedEdge& edge, const PickView& view, const CMatrix& matrix, CPolyLine& curve,
                           int& segment, Vec3& point) const {
    if (sectionEnabled == 0 || (planeClipOn == 0 && transparentSection == 0)) return false;
    if (!TraceSectionLoop(view, matrix, curve, segment, point)) return false;
    return !edge.Found() || edge.distance > Length(point - view.eye);
}

bool CTriMesh::PickSegment(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (surfaceVisible_ == 0) return false;
    const ReadLock lock(*this);
    const PickedEdge edge = FindEdge(PickKind::Segment, view, matrix);
    CPolyLine curve;
    int segment = 0;
    // The curve is not clipped itself, and so refuses: straight runs are a matter of edges, section lines are offered
    // by PickArc and PickCrossSectionEdge.
    if (SectionWins(edge, view, matrix, curve, segment, hit.point))
        return curve.PickSegmentRange(segment, hit.start, hit.end, matrix);
    std::uint32_t first = 0, last = 0;
    if (!edge.Found() || !TraceStraightRun(edge.triangle, edge.edge, first, last)) return false;
    hit.point = edge.point;
    hit.start = TransformPoint(vertices_[first], matrix);
    hit.end = TransformPoint(vertices_[last], matrix);
    if (IsClipping()) ClipSegment(hit.start, hit.end, ClipPlane());
    return true;
}

bool CTriMesh::PickArc(const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (surfaceVisible_ == 0) return false;
    const ReadLock lock(*this);
    const PickedEdge edge = FindEdge(PickKind::Arc, view, matrix);
    CPolyLine curve;
    int segment = 0;
    if (SectionWins(edge, view, matrix, curve, segment, hit.point))
        return curve.PickArcRange(view, segment, hit.center, hit.arc, matrix);
    if (!edge.Found()) return false;
    std::vector<Vec3> points;
    Vec3 center;
    if (!TraceArc(edge.triangle, edge.edge, points, center)) return false;
    hit.point = edge.point;
    hit.center = TransformPoint(center, matrix);
    for (Vec3& p : points) p = TransformPoint(p, matrix);
    hit.arc = IsClipping() ? ClipChain(points, ClipPlane()) : std::move(points);
    return true;
}

}  // namespace tessera
