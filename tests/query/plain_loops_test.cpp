// The mesh picks against the plain loops that they are a faster way of: bit for bit, on random heaps and views, where
// edges on end, steep and flat edges, vertices behind the eye and cuts through edges all occur.
#include <gtest/gtest.h>

#include <random>

#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "query/pick_frame.h"
#include "query/section_loop.h"

namespace tessera {
namespace {

// One mesh, walked as picks are described.
struct Plain {
    const CTriMesh& mesh;
    const PickView& view;
    const CMatrix& matrix;
    Plane plane = mesh.ClipPlane(), local = mesh.ClipPlaneIn(matrix);
    std::vector<std::array<bool, 3>> feature = {};

    const Vec3& Corner(std::size_t i, int k) const { return mesh.Vertices()[mesh.Triangles()[i].vertex[k % 3]]; }
    Vec3 Facet(std::size_t i) const { return FacetNormal(Corner(i, 0), Corner(i, 1), Corner(i, 2)); }
    bool Clips() const { return mesh.IsClipping(); }

    bool IsSilhouette(std::size_t i, int k) const {
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
    void FindFeatures() {
        std::vector<bool> seen(mesh.Triangles().size());
        for (std::size_t i = 0; i < seen.size(); ++i) {
            seen[i] = true;
            feature.push_back({});
            for (int k = 0; k < 3; ++k) {
                const TriangleIndex m = mesh.Triangles()[i].neighbour[k];
                feature[i][k] =
                    m == kNoTriangle || (!seen[m] && (!mesh.Triangles()[i].IsSmooth(k) || IsSilhouette(i, k)));
            }
        }
    }
    bool Point(Vec3& hit) const {
        bool found = false;
        double best = 0;
        const auto offer = [&](const Vec3& v) {
            const Vec3 p = TransformPoint(v, matrix);
            if ((Clips() && plane.At(p) < 0) || !PointUnderCursor(p, view)) return;
            if (found && !(Length(p - view.eye) < best)) return;
            found = true, best = Length(p - view.eye), hit = p;
        };
        const short mode = mesh.shadeMode;
        if (mode == 0 || mode == 1 || mode == 3 || mode == 6 || mode == 11)
            for (const Vec3& v : mesh.Vertices()) offer(v);
        else
            for (std::size_t i = 0; i < feature.size(); ++i)
                for (int k = 0; k < 3; ++k)
                    if (feature[i][k]) offer(Corner(i, k)), offer(Corner(i, k + 1));
        return found;
    }
    bool Edge(bool all, Vec3& hit, Vec3& start, Vec3& along) const {
        bool found = false;
        double best = 0;
        for (std::size_t i = 0; i < feature.size(); ++i)
            for (int k = 0; k < 3; ++k) {
                if (!all && !feature[i][k]) continue;
                Vec3 a = TransformPoint(Corner(i, k), matrix), b = TransformPoint(Corner(i, k + 1), matrix), p;
                if (Clips()) {
                    const double fa = plane.At(a), fb = plane.At(b);
                    if (fa > 0 && fb < 0)
                        b = IntersectLineWithPlane(a, b - a, plane);
                    else if (fa < 0 && fb > 0)
                        a = IntersectLineWithPlane(a, b - a, plane);
                    else if (!(fa > 0 && fb > 0))
                        continue;
                }
                if (!TestSegmentOnScreen(a, b, view, p) || (found && !(Length(p - view.eye) < best))) continue;
                found = true, best = Length(p - view.eye), hit = p, start = a, along = b - a;
            }
        return found;
    }
    bool Surface(bool onScreen, Vec3& hit) const {
        const Vec3 eye = TransformPointByInverse(view.eye, matrix),
                   sight = Normalized(TransformByInverse(view.view, matrix));
        const float margin = onScreen ? view.tolerance * 0.5f : 0.0034615383f;
        bool found = false;
        double best = 0;
        for (std::size_t i = 0; i < feature.size(); ++i) {
            const Vec3 n = Facet(i);
            const double angle = AngleOfUnitDot(Dot(sight, n));
            bool ahead = false, inside = true;
            const Vec3 h = IntersectLineWithPlane(eye, sight, PlaneThrough(Corner(i, 0), n), &ahead);
            if ((angle > 89.99999 && angle < 90.00001) || (Clips() && local.At(h) <= 0)) continue;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const float a = Corner(i, 0)[axis], b = Corner(i, 1)[axis], c = Corner(i, 2)[axis];
                inside = inside && h[axis] >= std::min({a, b, c}) - margin && h[axis] <= std::max({a, b, c}) + margin;
            }
            if (!inside || !ahead) continue;
            const Vec3 w[3] = {TransformPoint(Corner(i, 0), matrix), TransformPoint(Corner(i, 1), matrix),
                               TransformPoint(Corner(i, 2), matrix)};
            const Vec3 f = FacetNormal(w[0], w[1], w[2]), p = TransformPoint(h, matrix);
            const double x = std::fabs(f.x), y = std::fabs(f.y), z = std::fabs(f.z);
            const int drop = x >= z && y < x ? 2 : y > z && y >= x ? 1 : 0;
            const auto flat = [&](const Vec3& q) {
                if (onScreen) return Project(q, view.screen);
                return drop == 2 ? ScreenPoint{q.z, q.y} : drop == 1 ? ScreenPoint{q.x, q.z} : ScreenPoint{q.x, q.y};
            };
            const ScreenPoint s = flat(p), c[3] = {flat(w[0]), flat(w[1]), flat(w[2])};
            int left = 0;
            bool on = false;
            for (int k = 0; k < 3 && !on; ++k) {
                const ScreenPoint &a = c[k], &b = c[(k + 1) % 3];
                const double side = (b.x - a.x) * (s.y - a.y) - (b.y - a.y) * (s.x - a.x);
                on = side == 0;
                left += side >= 0 ? 1 : 0;
            }
            if (!on && left != 0 && left != 3) continue;
            if (found && !(Length(p - view.eye) < best)) continue;
            found = true, best = Length(p - view.eye), hit = p;
        }
        return found;
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
        for (int t = 0; t < 24; ++t) {
            float p[9];
            for (float& v : p) v = step * float(below(5) - 2) + (seed % 4 == 1 ? 2e-7f * float(below(9) - 4) : 0);
            mesh.AddTriangle3P(p);
        }
        mesh.EndBuild();
        mesh.SetThresholdAngle(40);
        mesh.shadeMode = static_cast<short>(below(13));
        mesh.viewingType = static_cast<short>(below(3));
        mesh.sectionEnabled = seed % 5 == 0;
        mesh.planeClipOn = mesh.sectionEnabled;
        mesh.clipPoint = {0.5f * float(below(3) - 1), 0, 0};
        mesh.clipNormal = below(2) ? Vec3{1, 0, 0} : Normalized({real(), real(), 1});
        CMatrix matrix;
        if (seed % 2) {
            matrix.RotateX(real());
            matrix.Scale(1 + below(2), 1, 2);
            matrix.Translate(real(), real(), real());
        }
        // A window from -1 to 1, along z or askew, in perspective or parallel.
        PickView view;
        view.eye = below(3) ? Vec3{0, 0, 3} : Vec3{real(), real(), real()};
        view.view = below(3) ? Vec3{0, 0, -1} : SafeNormal(real(), real(), real());
        double m[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        if (below(2)) {
            m[11] = -1;
            m[15] = view.eye.z;
        }
        if (below(3) == 0) m[4] = 2e-6 * (below(3) - 1), m[1] = below(2) ? real() : 0;
        view.screen.SetFromArray(m, false);
        view.tolerance = below(2) ? 0.007f : 0.1f;
        // On a vertex, beside it, or anywhere.
        const Vec3& aim = mesh.Vertices()[below(int(mesh.Vertices().size()))];
        const ScreenPoint s = Project(TransformPoint(aim, matrix), view.screen);
        view.x = below(4) ? float(s.x) + view.tolerance * (below(2) ? real() : 0) : real();
        view.y = below(4) ? float(s.y) + view.tolerance * (below(2) ? 8 * real() : 0) : real();

        SCOPED_TRACE("seed " + std::to_string(seed));
        Plain plain{mesh, view, matrix};
        plain.FindFeatures();
        const BBox box = mesh.GetBoundBox(matrix, true, CMatrix());
        const auto compare = [&](int kind, bool expected, const Vec3& at, bool actual, const Vec3& found) {
            ASSERT_EQ(actual, expected) << "kind " << kind << ", mode " << mesh.shadeMode;
            if (!expected) return;
            ++hits[kind];
            for (std::size_t axis = 0; axis < 3; ++axis)
                if (!std::isnan(at[axis])) {
                    ASSERT_EQ(found[axis], at[axis]) << "kind " << kind;
                }
        };
        PickHit hit, section;
        Vec3 at, start, along;
        bool expected = plain.Point(at);
        if (mesh.sectionEnabled && mesh.PickCrossSectionPoint(view, matrix, section) &&
            (!expected || Length(section.point - view.eye) < Length(at - view.eye)))
            expected = true, at = section.point;
        compare(0, expected, at, mesh.PickPoint(view, matrix, hit), hit.point);
        const short mode = mesh.shadeMode;
        const bool offersEdges = mode <= 4 || mode == 6 || mode == 9 || mode == 11;
        expected = offersEdges && plain.Edge(mode == 3, at, start, along);
        if (!expected) start = along = {};
        expected = (mesh.sectionEnabled && mesh.PickCrossSectionEdge(view, matrix, section)) || expected;
        compare(1, expected, SnapToEdgeLine(view, start, along), mesh.PickEdge(view, matrix, hit), hit.point);
        const bool shaded = mode == 0 || mode == 1 || mode == 4 || mode == 6 || mode == 11;
        if (shaded || mode == 5 || mode == 7) {
            expected = shaded && LineHitsBox(view.eye, view.view, box) && plain.Surface(true, at);
            compare(2, expected, at, mesh.IntersectLine(view, matrix, box, hit), hit.point);
        }
        expected = shaded && LineHitsBox(view.eye, view.view, box) && plain.Surface(false, at);
        compare(3, expected, at, mesh.IntersectRay(view, matrix, box, hit), hit.point);
        if (HasFatalFailure()) return;
        ++rounds;
    }
    for (const int count : hits) EXPECT_GT(count, rounds / 30);
}

// The chain of a section against a search through the buckets from their front.
TEST(PlainLoops, ChainSectionsInTheOrderOfTheBuckets) {
    for (int seed = 0; seed < 300; ++seed) {
        std::mt19937 random(seed);
        const float near[] = {-0.5f, 0, 7e-10f, 0.5f, 1};
        const auto coordinate = [&] { return near[random() % 5]; };
        const auto node = [&] { return Vec3{coordinate(), coordinate(), 0}; };
        std::vector<SectionCut> order;
        SectionTables tables(kLoopDivisor);
        SectionCut first;
        for (int i = 0; i < 40; ++i) {
            const SectionCut cut{node(), node()};
            if (i % 9 == 0) {
                order.insert(order.begin(), cut);
                tables.PutFirst(first = cut);
            } else {
                order.push_back(cut);
                tables.Append(cut);
            }
        }
        tables.Index();
        CPolyLine curve;
        int segment = 0;
        TraceLoop(tables, first, curve, segment);

        std::vector<Vec3> chain{first.start, first.end};
        std::vector<bool> used(order.size());
        used[0] = true;
        const auto follow = [&](const Vec3& tip, Vec3& next) {
            for (const bool byStart : {true, false})
                for (std::size_t i = 0; i < order.size(); ++i) {
                    const Vec3& p = byStart ? order[i].start : order[i].end;
                    if (used[i] || !PointsEqual(p, tip) || tables.BucketOf(p) != tables.BucketOf(tip)) continue;
                    used[i] = true;
                    next = byStart ? order[i].end : order[i].start;
                    return true;
                }
            return false;
        };
        Vec3 next;
        bool closed = false;
        int before = 0;
        while (!closed && follow(chain.back(), next)) {
            chain.push_back(next);
            closed = PointsEqual(next, chain.front());
        }
        while (!closed && follow(chain.front(), next))
            if (!PointsEqual(next, chain.front())) chain.insert(chain.begin(), next), ++before;
        ASSERT_EQ(curve.PointCount(), int(chain.size())) << seed;
        ASSERT_EQ(segment, before) << seed;
        for (std::size_t i = 0; i < chain.size(); ++i) ASSERT_TRUE(PointsEqual(curve.Points()[i].position, chain[i]));
    }
}

}  // namespace
}  // namespace tessera
