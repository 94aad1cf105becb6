// The mesh build against the plain loops that it is a faster way of: number for number on random heaps of
// triangles, where ties, near misses across cells, edges of three and collapsed triangles all occur.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>

#include "geometry/trimesh.h"

namespace tessera {
namespace {

struct Plain {
    struct Triangle {
        int vertex[3], normal[3] = {0, 0, 0}, neighbour[3] = {-1, -1, -1};
        bool resolved[3] = {false, false, false}, smooth[3] = {false, false, false}, seen = false, gone = false;
        int CornerAt(int v) const { return vertex[0] == v ? 0 : vertex[1] == v ? 1 : vertex[2] == v ? 2 : -1; }
        bool Lacks() const { return neighbour[0] < 0 || neighbour[1] < 0 || neighbour[2] < 0; }
    };
    std::vector<Vec3> vertices, table;
    std::vector<Triangle> triangles;
    std::vector<std::vector<int>> incident;
    int pending = -1, first = 0, depth = 0;
    static constexpr int mostReached = 500;
    std::map<std::pair<double, double>, std::vector<int>> normalCells;

    void Weld(const std::vector<Vec3>& points);
    bool Link(int a, int b);
    void LinkAll();
    bool Orient(int t, bool start);
    void Normals(double threshold);
    void Classify(double threshold);
    void Widen();
    int LookUpOrAdd(const Vec3& n);
    Vec3 Facet(const Triangle& t) const {
        return FacetNormal(vertices[t.vertex[0]], vertices[t.vertex[1]], vertices[t.vertex[2]]);
    }
    bool FacesOut(const Vec3& n, const Triangle& t) const {
        const Vec3 f = Facet(t), p = vertices[t.vertex[0]];
        return double(f.x) * (double(p.x) + n.x) + double(f.y) * (double(p.y) + n.y) +
                   double(f.z) * (double(p.z) + n.z) - Dot(f, p) >
               0;
    }
};

void Plain::Weld(const std::vector<Vec3>& points) {
    BBox box;
    for (const Vec3& p : points) box.Add(p);
    const auto widen = [](float& low, float& high) {
        if (high - low < 1e-5f) low -= 0.5f, high += 0.5f;
    };
    widen(box.xmin, box.xmax), widen(box.ymin, box.ymax);
    const double x = box.xmin - std::fabs(box.xmin * 0.001), dx = box.xmax + std::fabs(box.xmax * 0.001) - x;
    const double y = box.ymin - std::fabs(box.ymin * 0.001), dy = box.ymax + std::fabs(box.ymax * 0.001) - y;
    const double count = double(points.size()) / 3, columns = std::ceil(std::sqrt(count * dx / (dy * 20))),
                 rows = std::ceil(std::sqrt(count * dy / (dx * 20)));
    std::map<std::pair<double, double>, std::vector<int>> cells;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const auto cell = [](double scaled) { return std::ceil(scaled) == 0 ? 0 : std::ceil(scaled) - 1; };
        auto& list = cells[{cell((points[i].x - x) * (columns / dx)), cell((points[i].y - y) * (rows / dy))}];
        int found = -1;
        for (const int v : list)
            if (found < 0 && PointsEqual(vertices[v], points[i])) found = v;
        if (found < 0) {
            found = int(vertices.size());
            vertices.push_back(points[i]);
            incident.emplace_back();
            list.push_back(found);
        }
        if (i % 3 == 0) triangles.emplace_back();
        triangles.back().vertex[i % 3] = found;
        incident[found].push_back(int(i / 3));
    }
}

bool Plain::Link(int a, int b) {
    Triangle &ta = triangles[a], &tb = triangles[b];
    std::vector<std::pair<int, int>> common;
    for (int i = 0; i < 3 && common.size() < 2; ++i)
        if (tb.CornerAt(ta.vertex[i]) >= 0) common.push_back({i, tb.CornerAt(ta.vertex[i])});
    if (a == b || common.size() < 2 || common[0].second == common[1].second) return false;
    const auto edge = [](int p, int q) { return p + q == 1 ? 0 : p + q == 3 ? 1 : 2; };
    int& here = ta.neighbour[edge(common[0].first, common[1].first)];
    int& there = tb.neighbour[edge(common[0].second, common[1].second)];
    if (here >= 0 || there >= 0) return false;
    here = b, there = a;
    return true;
}

void Plain::LinkAll() {
    for (int t = 0; t < int(triangles.size()); ++t)
        for (int k = 0; k < 3 && triangles[t].Lacks(); ++k)
            for (const int u : incident[triangles[t].vertex[k]])
                if (u > t && triangles[u].Lacks()) Link(t, u);
}

// False once so many triangles have been reached; then the flood starts again from the last one turned.
bool Plain::Orient(int i, bool start) {
    if (start) pending = -1, first = i, depth = 0;
    depth += !start;
    Triangle& t = triangles[i];
    t.seen = true;
    for (int k = 0; k < 3; ++k) {
        const int u = t.neighbour[k];
        if (u < 0 || u == pending || triangles[u].seen) continue;
        Triangle& o = triangles[u];
        const int m = o.neighbour[0] == i ? 0 : o.neighbour[1] == i ? 1 : 2;
        if (t.vertex[k] != o.vertex[m] || t.vertex[(k + 1) % 3] != o.vertex[(m + 1) % 3]) continue;
        std::swap(o.vertex[1], o.vertex[2]);
        std::swap(o.neighbour[0], o.neighbour[2]);
        pending = u;
        k = 0;
    }
    bool whole = depth != mostReached;
    for (int k = 0; k < 3 && whole; ++k)
        if (t.neighbour[k] >= 0 && !triangles[t.neighbour[k]].seen) whole = Orient(t.neighbour[k], false);
    return i == first && !whole && pending >= 0 ? Orient(pending, true) : whole;
}

int Plain::LookUpOrAdd(const Vec3& n) {
    auto& cell = normalCells[{std::ceil(25.0 * n.x), std::ceil(25.0 * n.y)}];
    for (const int i : cell)
        if (PointsEqual(table[i], n)) return i;
    cell.push_back(int(table.size()));
    table.push_back(n);
    return cell.back();
}

void Plain::Normals(double threshold) {
    for (Triangle& t : triangles)
        for (bool& r : t.resolved) r = false;
    for (std::size_t i = 0; i < triangles.size(); ++i)
        for (int k = 0; k < 3; ++k) {
            Triangle& t = triangles[i];
            if (t.resolved[k]) continue;
            const Vec3 facet = Facet(t);
            const auto near = [&](int u) {
                return AngleOfUnitDot(Dot(facet, Facet(triangles[u]))) < threshold * 0.7692308;
            };
            Vec3 sum = facet;
            for (const int u : incident[t.vertex[k]])
                if (u != int(i) && near(u)) sum = sum + Facet(triangles[u]);
            Normalize(sum);
            const int q = LookUpOrAdd(sum);
            if (FacesOut(sum, t)) t.normal[k] = q, t.resolved[k] = true;
            for (const int u : incident[t.vertex[k]]) {
                Triangle& o = triangles[u];
                const int at = o.CornerAt(t.vertex[k]);
                if (u != int(i) && near(u) && FacesOut(table[q], o)) o.normal[at] = q, o.resolved[at] = true;
            }
        }
}

void Plain::Classify(double threshold) {
    for (int i = 0; i < int(triangles.size()); ++i)
        for (int k = 0; k < 3; ++k) {
            Triangle& t = triangles[i];
            if (t.neighbour[k] < i) continue;
            Triangle& u = triangles[t.neighbour[k]];
            const int m = u.neighbour[0] == i ? 0 : u.neighbour[1] == i ? 1 : 2;
            const Vec3 a = table[t.normal[k]] + table[t.normal[(k + 1) % 3]];
            const Vec3 b = table[u.normal[m]] + table[u.normal[(m + 1) % 3]];
            t.smooth[k] = u.smooth[m] = AngleBetween(a, b) < threshold && AngleOfUnitDot(Dot(Facet(t), Facet(u))) <= 50;
        }
}

// A larger tolerance, in force as the global one.
void Plain::Widen() {
    for (int i = 0; i < int(triangles.size()); ++i) {
        Triangle& t = triangles[i];
        const Vec3 &a = vertices[t.vertex[0]], &b = vertices[t.vertex[1]], &c = vertices[t.vertex[2]];
        if (!PointsEqual(a, b) && !PointsEqual(b, c) && !PointsEqual(a, c)) continue;
        t.gone = true;
        for (Triangle& o : triangles)
            for (int k = 0; k < 3; ++k)
                if (o.neighbour[k] == i) o.neighbour[k] = -1, o.smooth[k] = false;
        for (auto& list : incident) std::erase(list, i);
    }
    for (std::size_t i = 0; i < vertices.size(); ++i)
        for (std::size_t j = i + 1; j < vertices.size(); ++j) {
            if (incident[j].empty() || !PointsEqual(vertices[i], vertices[j])) continue;
            for (const int t : incident[j])
                for (int& v : triangles[t].vertex)
                    if (v == int(j)) v = int(i);
            incident[i].insert(incident[i].end(), incident[j].begin(), incident[j].end());
            incident[j].clear();
            for (const int a : incident[i])
                for (const int b : incident[i])
                    if (triangles[a].Lacks() && triangles[b].Lacks()) Link(a, b);
        }
    std::vector<int> number(triangles.size(), -1);
    int left = 0;
    for (std::size_t i = 0; i < triangles.size(); ++i)
        if (!triangles[i].gone) number[i] = left++;
    for (Triangle& t : triangles)
        for (int& n : t.neighbour) n = n < 0 ? -1 : number[n];
    for (auto& list : incident)
        for (int& t : list) t = number[t];
    std::erase_if(triangles, [](const Triangle& t) { return t.gone; });
}

void ExpectSame(const CTriMesh& mesh, const Plain& plain, const TriNormalTable& table) {
    ASSERT_EQ(mesh.Vertices().size(), plain.vertices.size());
    for (std::size_t v = 0; v < plain.vertices.size(); ++v)
        for (std::size_t axis = 0; axis < 3; ++axis) ASSERT_EQ(mesh.Vertices()[v][axis], plain.vertices[v][axis]) << v;
    ASSERT_EQ(table.Count(), plain.table.size());
    ASSERT_EQ(mesh.Triangles().size(), plain.triangles.size());
    for (std::size_t i = 0; i < plain.triangles.size(); ++i)
        for (int k = 0; k < 3; ++k) {
            const TriMeshTriangle& t = mesh.Triangles()[i];
            const Plain::Triangle& p = plain.triangles[i];
            ASSERT_EQ(int(t.vertex[k]), p.vertex[k]) << "triangle " << i;
            ASSERT_EQ(int(t.neighbour[k]), p.neighbour[k]) << "triangle " << i << ", edge " << k;
            ASSERT_EQ(int(t.normal[k]), p.normal[k]) << "triangle " << i << ", corner " << k;
            ASSERT_EQ(t.IsResolved(k), p.resolved[k]) << "triangle " << i << ", corner " << k;
            if (p.neighbour[k] >= 0) {
                ASSERT_EQ(t.IsSmooth(k), p.smooth[k]) << "triangle " << i << ", edge " << k;
            }
        }
}

TEST(Transcription, AgreesOnRandomHeaps) {
    const struct {
        float tolerance, step, jitter, threshold, wider;
        int lattice;
    } cases[] = {{1e-9f, 0.5f, 0, 40, 0.3f, 4},           {1e-9f, 0.004f, 1.1e-9f, 40, 0.005f, 6},
                 {0.01f, 0.05f, 0.011f, 80, 0.06f, 7},    {0.1f, 0.08f, 0.05f, 40, 0.2f, 9},
                 {1e-4f, 1, 1.1e-4f, 130, 1.1f, 3},       {1e-9f, 1000, 0, 20, 1500, 5},
                 {0.001f, 0.25f, 0.0011f, 40, 0.002f, 5}, {1.5f, 10, 0, 40, 1.6f, 5}};
    int number = 0;
    for (const auto& c : cases)
        for (int seed = 0; seed < 12; ++seed) {
            SCOPED_TRACE("case " + std::to_string(number++));
            std::mt19937 random(number);
            const auto below = [&](int n) { return int(random() % unsigned(n)); };
            std::vector<Vec3> points;
            TriNormalTable table;
            table.BuildGrid();
            CTriMesh built(&table);
            static_cast<CElement&>(built).SetPointTolerance(c.tolerance);
            built.BeginBuild();
            Plain plain;
            const ToleranceScope scope(c.tolerance);
            for (int t = 0; t < (seed % 4 ? 150 : 1500); ++t) {
                const int corner[3] = {below(c.lattice), below(c.lattice), below(c.lattice)};
                Vec3 p[3];
                for (Vec3& q : p)
                    for (std::size_t axis = 0; axis < 3; ++axis)
                        q[axis] = c.step * float(corner[axis] - 1 + below(2)) + c.jitter * float(below(3) - 1);
                if (PointsEqual(p[0], p[1]) || PointsEqual(p[1], p[2]) || PointsEqual(p[0], p[2])) continue;
                points.insert(points.end(), p, p + 3);
                built.AddTriangle3P(&p[0].x);
            }
            built.EndBuild();
            plain.Weld(points);
            plain.LinkAll();
            for (int t = 0; t < int(plain.triangles.size()); ++t)
                if (!plain.triangles[t].seen) plain.Orient(t, true);
            built.SetThresholdAngle(c.threshold);
            plain.Normals(c.threshold);
            plain.Classify(c.threshold);
            ExpectSame(built, plain, table);
            if (HasFatalFailure()) return;
            built.SetPointTolerance(c.wider);
            const ToleranceScope wider(c.wider);
            plain.Widen();
            plain.Normals(c.threshold);
            plain.Classify(c.threshold);
            ExpectSame(built, plain, table);
            if (HasFatalFailure()) return;
        }
}

}  // namespace
}  // namespace tessera
