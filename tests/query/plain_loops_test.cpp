// The mesh picks against the plain loops that they are a faster way of: bit for bit, on random heaps and views, where
// edges on end, steep and flat edges, vertices behind the eye and cuts through edges all occur.
#include <gtest/gtest.h>

#include <random>

#include "geometry/trimesh.h"
#include "query/pick_frame.h"

namespace tessera {
namespace {

// Of the points that are offered, the first of those nearest to the eye.
struct Nearest {
    const PickView& view;
    bool found = false;
    double best = 0;
    bool Takes(const Vec3& p) {
        const double distance = Length(p - view.eye);
        if (found && !(distance < best)) return false;
        found = true, best = distance;
        return true;
    }
};

// One mesh, walked as picks are described.
struct Plain {
    const CTriMesh& mesh;
    const PickView& view;
    const CMatrix& matrix;
    Plane plane = mesh.ClipPlane(), local = mesh.ClipPlaneIn(matrix);

    const Vec3& Corner(std::size_t i, std::size_t k) const {
        return mesh.Vertices()[mesh.Triangles()[i].vertex[k % 3]];
    }
    Vec3 Facet(std::size_t i) const { return FacetNormal(Corner(i, 0), Corner(i, 1), Corner(i, 2)); }
    bool IsSilhouette(std::size_t i, std::size_t k) const {
        const Vec3 middle = (Corner(i, k) + Corner(i, k + 1)) * 0.5f;
        const Vec3 from = TransformPointByInverse(mesh.cameraPoint, matrix);
        const Vec3 to = mesh.viewingType == 0 ? middle : TransformPointByInverse(mesh.targetPoint, matrix);
        if (mesh.viewingType != 0 && mesh.viewingType != 1) return false;
        const Vec3 sight = Normalized(to - from);
        const double c = -Dot(sight, middle);
        const float s1 = static_cast<float>(Dot(sight, Facet(i) + middle) + c);
        const double s2 = Dot(sight, Facet(mesh.Triangles()[i].neighbour[k]) + middle) + c;
        return (s1 >= 0 && s2 <= 0) || (s1 <= 0 && s2 >= 0);
    }
    // Of all edges, or of those that are features.
    std::vector<std::array<Vec3, 2>> Edges(bool all) const {
        std::vector<std::array<Vec3, 2>> edges;
        for (std::size_t i = 0; i < mesh.Triangles().size(); ++i)
            for (std::size_t k = 0; k < 3; ++k) {
                const TriangleIndex m = mesh.Triangles()[i].neighbour[k];
                if (all || m == kNoTriangle ||
                    (m > i && (!mesh.Triangles()[i].IsSmooth(static_cast<int>(k)) || IsSilhouette(i, k))))
                    edges.push_back({Corner(i, k), Corner(i, k + 1)});
            }
        return edges;
    }
    bool Point(Vec3& hit) const {
        Nearest nearest{view};
        const auto offer = [&](const Vec3& v) {
            const Vec3 p = TransformPoint(v, matrix);
            if ((mesh.IsClipping() && plane.At(p) < 0) || !PointUnderCursor(p, view)) return;
            if (nearest.Takes(p)) hit = p;
        };
        const short mode = mesh.shadeMode;
        if (mode == 0 || mode == 1 || mode == 3 || mode == 6 || mode == 11)
            for (const Vec3& v : mesh.Vertices()) offer(v);
        else
            for (const auto& [a, b] : Edges(false)) offer(a), offer(b);
        return nearest.found;
    }
    bool Edge(Vec3& hit, Vec3& start, Vec3& along) const {
        Nearest nearest{view};
        for (const auto& [from, to] : Edges(mesh.shadeMode == 3)) {
            Vec3 a = TransformPoint(from, matrix), b = TransformPoint(to, matrix), p;
            const double fa = mesh.IsClipping() ? plane.At(a) : 1, fb = mesh.IsClipping() ? plane.At(b) : 1;
            if (!((fa > 0 && fb != 0) || (fa < 0 && fb > 0))) continue;
            if (fa * fb < 0) (fb < 0 ? b : a) = IntersectLineWithPlane(a, b - a, plane);
            if (TestSegmentOnScreen(a, b, view, p) && nearest.Takes(p)) hit = p, start = a, along = b - a;
        }
        return nearest.found;
    }
    bool Surface(bool onScreen, Vec3& hit) const {
        const Vec3 eye = TransformPointByInverse(view.eye, matrix),
                   sight = Normalized(TransformByInverse(view.view, matrix));
        const float margin = onScreen ? view.tolerance * 0.5f : 0.0034615383f;
        Nearest nearest{view};
        for (std::size_t i = 0; i < mesh.Triangles().size(); ++i) {
            const Vec3 n = Facet(i);
            const double angle = AngleOfUnitDot(Dot(sight, n));
            bool ahead = false, inside = true, on = false;
            const Vec3 h = IntersectLineWithPlane(eye, sight, PlaneThrough(Corner(i, 0), n), &ahead);
            if ((angle > 89.99999 && angle < 90.00001) || (mesh.IsClipping() && local.At(h) <= 0)) continue;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const auto [low, high] = std::minmax({Corner(i, 0)[axis], Corner(i, 1)[axis], Corner(i, 2)[axis]});
                inside = inside && h[axis] >= low - margin && h[axis] <= high + margin;
            }
            if (!inside || !ahead) continue;
            Vec3 w[3];
            for (std::size_t k = 0; k < 3; ++k) w[k] = TransformPoint(Corner(i, k), matrix);
            const Vec3 f = FacetNormal(w[0], w[1], w[2]), p = TransformPoint(h, matrix);
            const double x = std::fabs(f.x), y = std::fabs(f.y), z = std::fabs(f.z);
            const int drop = x >= z && y < x ? 2 : y > z && y >= x ? 1 : 0;
            const auto flat = [&](const Vec3& q) {
                if (onScreen) return Project(q, view.screen);
                return drop == 2 ? ScreenPoint{q.z, q.y} : drop == 1 ? ScreenPoint{q.x, q.z} : ScreenPoint{q.x, q.y};
            };
            int left = 0;
            for (int k = 0; k < 3 && !on; ++k) {
                const ScreenPoint a = flat(w[k]), b = flat(w[(k + 1) % 3]), s = flat(p);
                const double side = (b.x - a.x) * (s.y - a.y) - (b.y - a.y) * (s.x - a.x);
                on = side == 0;
                left += side >= 0 ? 1 : 0;
            }
            if ((on || left == 0 || left == 3) && nearest.Takes(p)) hit = p;
        }
        return nearest.found;
    }
};

TEST(PlainLoops, AgreeOnRandomHeapsAndViews) {
    int hits[4] = {}, rounds = 0;
    for (int seed = 0; seed < 20000; ++seed) {
        std::mt19937 random(seed);
        const auto below = [&](int n) { return int(random() % unsigned(n)); };
        const auto real = [&] { return float(random() % 20001) / 10000 - 1; };
        TriNormalTable table;
        table.BuildGrid();
        CTriMesh mesh(&table);
        mesh.BeginBuild();
        const float step = seed % 3 == 0 ? 1 : 0.25f;
        float p[9];
        for (int t = 0; t < 24; ++t) {
            for (int c = 0; c < 9; ++c)  // loose, or each at an edge of the one before
                p[c] = t > 0 && c < 6 && seed % 7 < 3
                           ? p[c + 3]
                           : step * float(below(5) - 2) + (seed % 4 == 1 ? 2e-7f * float(below(9) - 4) : 0);
            mesh.AddTriangle3P(p);
        }
        mesh.EndBuild();
        mesh.SetThresholdAngle(seed % 2 ? 40.0f : 170.0f);  // few edges are smooth, or most
        mesh.cameraPoint = {real(), real(), 3};
        mesh.shadeMode = static_cast<short>(below(13));
        mesh.viewingType = static_cast<short>(below(3));
        mesh.sectionEnabled = mesh.planeClipOn = seed % 5 == 0;
        mesh.clipPoint = {0.5f * float(below(3) - 1), 0, 0};
        mesh.clipNormal = below(2) ? Vec3{1, 0, 0} : Normalized({real(), real(), 1});
        CMatrix matrix;
        if (seed % 2)
            matrix.RotateX(real()), matrix.Scale(1 + below(2), 1, 2), matrix.Translate(real(), real(), real());
        // A window from -1 to 1, along z or askew, in perspective or parallel.
        PickView view;
        view.eye = below(3) ? Vec3{0, 0, 3} : Vec3{real(), real(), real()};
        view.view = below(3) ? Vec3{0, 0, -1} : SafeNormal(real(), real(), real());
        double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        if (below(2)) m[11] = -1, m[15] = view.eye.z;
        if (below(3) == 0) m[4] = 2e-6 * (below(3) - 1), m[1] = below(2) ? real() : 0;
        view.screen.SetFromArray(m, false);
        view.tolerance = below(2) ? 0.007f : 0.1f;
        // On a vertex, beside it, or anywhere.
        const Vec3& aim = mesh.Vertices()[below(int(mesh.Vertices().size()))];
        const ScreenPoint s = Project(TransformPoint(aim, matrix), view.screen);
        view.x = below(4) ? float(s.x) + view.tolerance * (below(2) ? real() : 0) : real();
        view.y = below(4) ? float(s.y) + view.tolerance * (below(2) ? 8 * real() : 0) : real();

        SCOPED_TRACE("seed " + std::to_string(seed));
        const Plain plain{mesh, view, matrix};
        const BBox box = mesh.GetBoundBox(matrix, true, CMatrix());
        const auto compare = [&](int kind, bool expected, const Vec3& at, bool actual, const Vec3& found) {
            ASSERT_EQ(actual, expected) << "kind " << kind << ", mode " << mesh.shadeMode;
            if (!expected) return;
            ++hits[kind];
            for (std::size_t axis = 0; axis < 3; ++axis)
                ASSERT_TRUE(std::isnan(at[axis]) || found[axis] == at[axis]) << "kind " << kind;
        };
        PickHit hit, section;
        Vec3 at, start, along;
        const Vec3& eye = view.eye;
        bool expected = plain.Point(at);
        if (mesh.sectionEnabled && mesh.PickCrossSectionPoint(view, matrix, section) &&
            (!expected || Length(section.point - eye) < Length(at - eye)))
            expected = true, at = section.point;
        compare(0, expected, at, mesh.PickPoint(view, matrix, hit), hit.point);
        const short mode = mesh.shadeMode;
        const bool offersEdges = mode <= 4 || mode == 6 || mode == 9 || mode == 11;
        expected = offersEdges && plain.Edge(at, start, along);
        if (!expected) start = along = {};
        expected = (mesh.sectionEnabled && mesh.PickCrossSectionEdge(view, matrix, section)) || expected;
        compare(1, expected, SnapToEdgeLine(view, start, along), mesh.PickEdge(view, matrix, hit), hit.point);
        const bool shaded = mode == 0 || mode == 1 || mode == 4 || mode == 6 || mode == 11;
        const bool offersFaces = shaded && LineHitsBox(eye, view.view, box);
        if (shaded || mode == 5 || mode == 7) {
            expected = offersFaces && plain.Surface(true, at);
            compare(2, expected, at, mesh.IntersectLine(view, matrix, box, hit), hit.point);
        }
        expected = offersFaces && plain.Surface(false, at);
        compare(3, expected, at, mesh.IntersectRay(view, matrix, box, hit), hit.point);
        if (HasFatalFailure()) return;
        ++rounds;
    }
    for (const int count : hits) EXPECT_GT(count, rounds / 30);
}

}  // namespace
}  // namespace tessera
