// Volume, centre of mass and areas.
#include <algorithm>

#include "geometry/trimesh.h"
#include "lens.h"

namespace tessera::test {
namespace {

struct Measured {
    double volume = -1, area = -1;
    float projected = -1;
    Point center{};
};

// The scan of a small mesh as plain loops: each row asks each triangle.
Measured ScanPlainly(const std::vector<Vec3>& corners, float precision, bool projected) {
    BBox box;
    for (const Vec3& p : corners) box.Add(p);
    const float dx = box.xmax - box.xmin, dy = box.ymax - box.ymin;
    const float diagonal = static_cast<float>(std::sqrt(double(dx) * dx + double(dy) * dy));
    const double cell = diagonal * 0.00015 / precision, tolerance = 1e-9f;
    const auto whole = [](double x) { return static_cast<int>(std::ceil(x)); };
    const int n = whole(precision * 1000.0), nx = projected ? n : whole(dx / cell),
              ny = projected ? n : whole(dy / cell);
    const auto columnOf = [&](double x) { return whole((x - box.xmin) * nx / dx - 0.9); };
    const auto rowOf = [&](double y) { return whole((y - box.ymin) * ny / dy - 0.9); };
    double volume = 0, moment[3] = {0, 0, 0}, count = 0;
    for (int j = 0; j <= ny; ++j) {
        const double y = (j + 0.5) * dy / ny + box.ymin;
        std::vector<std::vector<double>> store(nx + 1);
        for (std::size_t t = 0; t < corners.size(); t += 3) {
            const Vec3* c = &corners[t];
            const Vec3 normal = FacetNormal(c[0], c[1], c[2]);
            int top = 0, bottom = 0;
            for (int k = 1; k < 3; ++k) {
                if (c[k].y > c[top].y) top = k;
                if (c[k].y <= c[bottom].y) bottom = k;
            }
            const int middle = 3 - top - bottom;
            if (std::fabs(double(normal.z)) <= 0.00001 || c[top].y < y || y < c[bottom].y) continue;
            std::vector<int> ends;
            if (rowOf(c[middle].y) == j && rowOf(c[bottom].y) == j)
                ends = {columnOf(c[middle].x), columnOf(c[bottom].x)};
            else if (rowOf(c[top].y) == j && rowOf(c[middle].y) == j)
                ends = {columnOf(c[top].x), columnOf(c[middle].x)};
            else
                for (int k = 0; k < 3; ++k) {
                    const Vec3 &a = c[k], &b = c[(k + 1) % 3];
                    if (!((a.y > y && y >= b.y) || (a.y <= y && y < b.y))) continue;
                    const double ex = double(b.x) - a.x, m = (double(b.y) - a.y) / ex;
                    ends.push_back(columnOf(std::fabs(ex) <= tolerance ? a.x : (y - (a.y - a.x * m)) / m));
                }
            if (ends.size() < 2) continue;
            for (int i = std::min(ends[0], ends[1]); i < std::max(ends[0], ends[1]); ++i) {
                const double x = (i + 0.5) * dx / nx + box.xmin;
                const double z = -(double(normal.x) * x + double(normal.y) * y - Dot(normal, c[0])) / normal.z;
                store[i].push_back(z * cell * cell);
            }
        }
        for (int i = 0; i <= nx; ++i) {
            count += store[i].empty() || i == nx ? 0 : 1;
            std::sort(store[i].begin(), store[i].end());
            std::vector<double> kept;
            for (const double z : store[i])
                if (kept.empty() || std::fabs(z - kept.back()) > 1.000000013351432e-10) kept.push_back(z);
            for (std::size_t k = 0; kept.size() % 2 == 0 && k < kept.size(); k += 2) {
                const double dv = kept[k + 1] - kept[k];
                volume += dv;
                moment[0] += dv * ((i + 0.5) * dx / nx + box.xmin);
                moment[1] += dv * y;
                moment[2] += dv * ((kept[k] + kept[k + 1]) / (2 * cell * cell));
            }
        }
    }
    Measured out{volume, 0, static_cast<float>(double(dx) / n * (double(dy) / n) * count)};
    for (std::size_t i = 0; i < 3; ++i) out.center[i] = static_cast<float>(moment[i] / volume);
    return out;
}

class Measures : public PickTest {
protected:
    Measured Of(int node) {
        Measured m;
        EXPECT_EQ(host->GetVolume(node, &m.volume, &error), STATUS_OK);
        host->GetSurfaceArea(node, &m.area, &error);
        host->GetProjectedSurfaceXY(node, &m.projected, &error);
        host->GetCenterOfMass(node, &m.center[0], &m.center[1], &m.center[2], &error);
        return m;
    }
};

TEST_F(Measures, AreThoseOfThePlainScanAndNearTheTruth) {
    TestMesh hollow = Cube(4), flipped = Cube(2, {5, 0.3F, 1});
    for (const float v : Cube(2).soup) hollow.soup.push_back(v);
    for (std::size_t t = 0; t < flipped.soup.size(); t += 9)
        std::swap_ranges(&flipped.soup[t + 3], &flipped.soup[t + 6], &flipped.soup[t + 6]);
    const struct {
        TestMesh mesh;
        double volume, area, projected;
    } cases[] = {{Cube(2, {7, 8, 9}), 8, 24, 4},
                 {flipped, 8, 24, 4},
                 {hollow, 64 - 8, 96 + 24, 16},
                 {OpenBox(), 0, 20, 4},
                 {Sphere(24, 12), Sphere(24, 12).volume, Sphere(24, 12).area, 3.1058},
                 {Cylinder(13), Cylinder(13).volume, Cylinder(13).area, Cylinder(13).volume / 2},
                 {ThreeOnAnEdge(), 0, 1.5, 0},
                 {Sheet(3, 2), 0, 6, 6}};
    for (const auto& c : cases)
        for (const float precision : {0.02F, 0.1F}) {
            SCOPED_TRACE(c.mesh.name + " at " + std::to_string(precision));
            const int node = scene.AddMesh(c.mesh).instance;
            scene->SetVolumePrecision(node, precision, &error);
            std::vector<Vec3> corners;
            for (std::size_t i = 0; i < c.mesh.soup.size(); i += 3)
                corners.push_back({c.mesh.soup[i], c.mesh.soup[i + 1], c.mesh.soup[i + 2]});
            const Measured plain = ScanPlainly(corners, precision, false), got = Of(node);
            EXPECT_EQ(got.volume, plain.volume);
            EXPECT_EQ(got.projected, ScanPlainly(corners, precision, true).projected);
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_TRUE(got.center[i] == plain.center[i] || !std::isfinite(plain.center[i]));
            EXPECT_NEAR(got.area, c.area, 1e-3);
            if (precision < 0.1F) continue;
            EXPECT_NEAR(got.volume, c.volume, 0.02 * std::max(1.0, c.volume));
            EXPECT_NEAR(got.projected, c.projected, 0.05 * c.projected);
        }
}

TEST_F(Measures, CombineDownTheTree) {
    const int frame = scene.AddAssembly();
    const Placed a = scene.AddMesh(Cube(), frame);
    const int b = scene.AddInstance(a.part, frame);
    scene->SetVolumePrecision(0, 0.1F, &error);
    scene.Translate(b, 10, 0, 0);
    const double one = Of(a.instance).volume;
    EXPECT_EQ(Of(frame).volume, 2 * one);
    EXPECT_NEAR(Of(0).area, 48, 1e-9);
    ExpectPoint(Of(frame).center, {5, 0, 0}, 0.01);
    ExpectPoint(Of(b).center, {10, 0, 0}, 0.01);
    double twice[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
    scene->SetTransform(frame, twice, &error);
    EXPECT_EQ(Of(frame).volume, 2 * one) << "its own matrix has no effect";
    EXPECT_EQ(Of(b).volume, 8 * one) << "that above it has";
    scene->EnableDrawing(a.instance, 0, &error);
    EXPECT_EQ(Of(0).volume, 2 * one) << "hidden parts count";
    // A change of precision that is no change keeps what was found.
    for (const float precision : {0.1005F, 0.3F}) {
        scene->SetVolumePrecision(0, precision, &error);
        EXPECT_EQ(Of(a.instance).volume == 8 * one, precision < 0.2F);
    }
    // Nothing to measure.
    const int empty = scene.AddEmptyPart().instance, bare = scene.AddAssembly();
    for (const int node : {empty, bare}) EXPECT_EQ(Of(node).volume + Of(node).area + Of(node).projected, 0);
    EXPECT_FALSE(std::isfinite(Of(bare).center[0]));
    double volume = 5;
    EXPECT_LT(host->GetVolume(999, &volume, &error), 0);
    EXPECT_EQ(error, 0);
}

TEST_F(Measures, EndForAnyPrecision) {
    const int cube = scene.AddMesh(Cube()).instance, wall = scene.AddMesh(Soup{0, 0, 0, 0, 1, 0, 0, 0, 1}).instance;
    for (const float precision : {0.0F, -1.0F, 1e30F, std::nanf("")}) {
        scene->SetVolumePrecision(0, precision, &error);
        for (const int node : {cube, wall}) EXPECT_FALSE(Of(node).volume > 0) << precision;
    }
}

}  // namespace
}  // namespace tessera::test
