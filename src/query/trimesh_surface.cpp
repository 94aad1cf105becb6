// The surface under the cursor, and the surface that a ray meets.
#include <algorithm>

#include "geometry/trimesh.h"
#include "query/line_filter.h"
#include "query/pick_frame.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

// Half the tolerance that a window of 1300 pixels across gives; a ray has no screen.
constexpr float kRayMargin = 0.0034615383f;
// A triangle is seen edge-on when its normal is nearer than this to a right angle with the line of sight, degrees.
constexpr double kEdgeOn = 0.00001;
// Nearer to a corner than this, a point has the corner's normal.
constexpr double kAtCorner = 0.0001;

// Which side of each edge of a triangle in the plane a point is on. On the line of an edge it counts as inside.
bool IsInside(const ScreenPoint corner[3], const ScreenPoint& h) {
    bool left[3];
    for (int k = 0; k < 3; ++k) {
        const ScreenPoint &p = corner[k], &q = corner[NextCorner(k)];
        const double s = (q.x - p.x) * (h.y - p.y) - (q.y - p.y) * (h.x - p.x);
        if (s == 0) return true;
        left[k] = s >= 0;
    }
    return left[0] == left[1] && left[1] == left[2];
}

// The two axes on which a triangle of this normal is seen best.
ScreenPoint Flattened(const Vec3& p, const Vec3& normal) {
    const double x = std::fabs(normal.x), y = std::fabs(normal.y), z = std::fabs(normal.z);
    if (x >= z && y < x) return {p.z, p.y};
    if (y > z && y >= x) return {p.x, p.z};
    return {p.x, p.y};
}

}  // namespace

bool CTriMesh::IntersectLine(const PickView& view, const CMatrix& matrix, const BBox& box, PickHit& hit) {
    if (surfaceVisible_ == 0 || !LineHitsBox(view.eye, view.view, box)) return false;
    if (shadeMode == ShadeWire || shadeMode == ShadeWireAll || shadeMode == ShadeStripPoints)
        return PickEdge(view, matrix, hit);
    return PickTriangles(view, matrix, &view.screen, view.tolerance * 0.5f, hit);
}

bool CTriMesh::IntersectRay(const PickView& view, const CMatrix& matrix, const BBox& box, PickHit& hit) {
    if (surfaceVisible_ == 0 || !LineHitsBox(view.eye, view.view, box)) return false;
    return PickTriangles(view, matrix, nullptr, kRayMargin, hit);
}

// The margin is in the mesh's units, though it comes from the screen: it only rejects what is far away.
bool CTriMesh::PickTriangles(const PickView& view, const CMatrix& matrix, const CMatrix* screen, float margin,
                             PickHit& hit) {
    switch (shadeMode) {
        case ShadeFlat:
        case ShadeSmooth:
        case ShadeHiddenLine:
        case ShadeSmoothEdges:
        case ShadeEnvMap: break;
        default: return false;
    }
    const ReadLock lock(*this);
    const Vec3 eye = TransformPointByInverse(view.eye, matrix);
    const Vec3 sight = Normalized(TransformByInverse(SafeNormal(view.view.x, view.view.y, view.view.z), matrix));
    const LineFilter filter(eye, sight);
    const Plane plane = ClipPlaneIn(matrix);
    NearestHit best(view.eye);
    for (const TriMeshTriangle& t : triangles_) {
        const Vec3 &a = Corner(t, 0), &b = Corner(t, 1), &c = Corner(t, 2);
        const float low[3] = {std::min({a.x, b.x, c.x}) - margin, std::min({a.y, b.y, c.y}) - margin,
                              std::min({a.z, b.z, c.z}) - margin};
        const float high[3] = {std::max({a.x, b.x, c.x}) + margin, std::max({a.y, b.y, c.y}) + margin,
                               std::max({a.z, b.z, c.z}) + margin};
        if (filter.Misses(low, high)) continue;
        const Vec3 n = Facet(t);
        const double angle = AngleOfUnitDot(Dot(sight, n));
        if (angle > 90 - kEdgeOn && angle < 90 + kEdgeOn) continue;
        bool ahead = false;
        const Vec3 h = IntersectLineWithPlane(eye, sight, PlaneThrough(a, n), &ahead);
        if (IsClipping() && plane.At(h) <= 0) continue;
        const bool near =
            h.x >= low[0] && h.x <= high[0] && h.y >= low[1] && h.y <= high[1] && h.z >= low[2] && h.z <= high[2];
        if (!near || !ahead) continue;
        const Vec3 world[3] = {TransformPoint(a, matrix), TransformPoint(b, matrix), TransformPoint(c, matrix)};
        const Vec3 p = TransformPoint(h, matrix);
        const Vec3 facet = FacetNormal(world[0], world[1], world[2]);
        const auto flat = [&](const Vec3& q) { return screen ? Project(q, *screen) : Flattened(q, facet); };
        const ScreenPoint corners[3] = {flat(world[0]), flat(world[1]), flat(world[2])};
        if (!IsInside(corners, flat(p)) || !best.IsNearer(p)) continue;
        best.Take(p);
        hit.point = p;
        hit.normal = Normalized(TransformDirection(NormalAt(t, p), matrix));
    }
    return best.Found();
}

// The normals of the corners weighed by their nearness. The point is in the world frame and the corners are in the
// mesh's: on a placed part the weights are askew, and hosts have always got them so.
Vec3 CTriMesh::NormalAt(const TriMeshTriangle& t, const Vec3& p) const {
    double weight[3];
    for (int k = 0; k < 3; ++k) {
        const double distance = Length(p - Corner(t, k));
        if (distance < kAtCorner) return (*normals_)[t.normal[k]];
        weight[k] = 1 / distance;
    }
    Vec3 sum;
    for (int k = 0; k < 3; ++k) sum = sum + (*normals_)[t.normal[k]] * static_cast<float>(weight[k]);
    return Normalized(sum);
}

}  // namespace tessera
