// Volume, centre of mass and areas.
#include <algorithm>
#include <chrono>
#include <numbers>

#include "geometry/trimesh.h"
#include "lens.h"
#include "scene/part.h"

namespace tessera::test {
namespace {

struct Scanned {
    double volume = 0, center[3] = {0, 0, 0}, projected = 0;
};

// The scan as plain loops: each row asks each triangle.
Scanned ScanPlainly(const std::vector<Vec3>& corners, float precision, bool projected) {
    Scanned out;
    BBox box;
    for (const Vec3& p : corners) box.Add(p);
    const float dx = box.xmax - box.xmin, dy = box.ymax - box.ymin;
    const float diagonal = static_cast<float>(std::sqrt(double(dx) * dx + double(dy) * dy));
    const double p = precision > 1.0000001f ? 2.0 * precision : precision;
    const double cell = (diagonal <= 50 ? diagonal * 0.00015 : 0.15) / p;
    const int n = static_cast<int>(std::ceil(precision * 1000.0));
    const int nx = projected ? n : static_cast<int>(std::ceil(dx / cell)),
              ny = projected ? n : static_cast<int>(std::ceil(dy / cell));
    const double tolerance = 1e-9f;
    std::vector<std::vector<double>> store(nx + 1);
    const auto columnOf = [&](double x) { return static_cast<int>(std::ceil((x - box.xmin) * nx / dx - 0.9)); };
    const auto rowOf = [&](double y) { return static_cast<int>(std::ceil((y - box.ymin) * ny / dy - 0.9)); };
    double moment[3] = {0, 0, 0}, count = 0;
    for (int j = 0; j <= ny; ++j) {
        const double y = (j + 0.5) * dy / ny + box.ymin;
        for (std::size_t t = 0; t < corners.size(); t += 3) {
            const Vec3* c = &corners[t];
            const Vec3 normal = FacetNormal(c[0], c[1], c[2]);
            if (std::fabs(double(normal.z)) <= tolerance || std::fabs(double(normal.z)) <= 0.00001) continue;
            int top = 0, bottom = 0;
            for (int k = 1; k < 3; ++k) {
                if (c[k].y > c[top].y) top = k;
                if (c[k].y <= c[bottom].y) bottom = k;
            }
            const int middle = 3 - top - bottom;
            if (c[top].y < y || y < c[bottom].y) continue;
            int low, high;
            if (rowOf(c[middle].y) == j && rowOf(c[bottom].y) == j) {
                low = columnOf(c[middle].x), high = columnOf(c[bottom].x);
            } else if (rowOf(c[top].y) == j && rowOf(c[middle].y) == j) {
                low = columnOf(c[top].x), high = columnOf(c[middle].x);
            } else {
                std::vector<int> found;
                for (int k = 0; k < 3; ++k) {
                    const Vec3 &a = c[k], &b = c[(k + 1) % 3];
                    if (!((a.y > y && y >= b.y) || (a.y <= y && y < b.y))) continue;
                    const double ex = double(b.x) - a.x, m = (double(b.y) - a.y) / ex;
                    found.push_back(columnOf(std::fabs(ex) <= tolerance ? a.x : (y - (a.y - a.x * m)) / m));
                }
                if (found.size() < 2) continue;
                low = found[0], high = found[1];
            }
            if (low > high) std::swap(low, high);
            for (int i = low; i < high; ++i) {
                const double x = (i + 0.5) * dx / nx + box.xmin;
                const double z = -(double(normal.x) * x + double(normal.y) * y - Dot(normal, c[0])) / normal.z;
                store[i].push_back(z * cell * cell);
            }
        }
        for (int i = 0; i <= nx; ++i) {
            auto& values = store[i];
            count += values.empty() || i == nx ? 0 : 1;
            std::sort(values.begin(), values.end());
            std::vector<double> kept;
            for (const double z : values)
                if (kept.empty() || std::fabs(z - kept.back()) > 1.000000013351432e-10) kept.push_back(z);
            for (std::size_t k = 0; kept.size() % 2 == 0 && k < kept.size(); k += 2) {
                const double dv = kept[k + 1] - kept[k];
                out.volume += dv;
                moment[0] += dv * ((i + 0.5) * dx / nx + box.xmin);
                moment[1] += dv * y;
                moment[2] += dv * ((kept[k] + kept[k + 1]) / (2 * cell * cell));
            }
            values.clear();
        }
    }
    for (int i = 0; i < 3; ++i) out.center[i] = moment[i] / out.volume;
    out.projected = static_cast<float>(double(dx) / n * (double(dy) / n) * count);
    return out;
}

class Measures : public PickTest {
protected:
    double Volume(int node) {
        double volume = -1;
        EXPECT_EQ(host->GetVolume(node, &volume, &error), STATUS_OK);
        return volume;
    }
    double Area(int node) {
        double area = -1;
        host->GetSurfaceArea(node, &area, &error);
        return area;
    }
    float Projected(int node) {
        float area = -1;
        host->GetProjectedSurfaceXY(node, &area, &error);
        return area;
    }
    Point Center(int node) {
        Point c{};
        host->GetCenterOfMass(node, &c[0], &c[1], &c[2], &error);
        return c;
    }
};

TEST_F(Measures, AreThoseOfThePlainScan) {
    for (const TestMesh& mesh : {Cube(2, {5, 0.3F, 1}), Sphere(24, 12), Cylinder(13), OpenBox(), ThreeOnAnEdge()})
        for (const float precision : {0.02F, 0.1F}) {
            SCOPED_TRACE(mesh.name + " at " + std::to_string(precision));
            const Placed p = scene.AddMesh(mesh);
            scene->SetVolumePrecision(p.instance, precision, &error);
            std::vector<Vec3> corners;
            for (std::size_t i = 0; i < mesh.soup.size(); i += 3)
                corners.push_back({mesh.soup[i], mesh.soup[i + 1], mesh.soup[i + 2]});
            const Scanned plain = ScanPlainly(corners, precision, false);
            EXPECT_EQ(Volume(p.instance), plain.volume);
            EXPECT_EQ(Projected(p.instance), ScanPlainly(corners, precision, true).projected);
            const Point center = Center(p.instance);
            for (std::size_t i = 0; i < 3; ++i)
                if (std::isfinite(plain.center[i])) {
                    EXPECT_EQ(center[i], static_cast<float>(plain.center[i]));
                }
        }
}

TEST_F(Measures, ComeNearTheTruth) {
    TestMesh hollow = Cube(4);
    for (const float v : Cube(2).soup) hollow.soup.push_back(v);
    TestMesh flipped = Cube(2);
    for (std::size_t t = 0; t < flipped.soup.size(); t += 9)
        for (std::size_t k = 0; k < 3; ++k) std::swap(flipped.soup[t + 3 + k], flipped.soup[t + 6 + k]);
    const struct {
        TestMesh mesh;
        double volume, area, projected;
    } cases[] = {{Cube(2, {7, 8, 9}), 8, 24, 4},
                 {flipped, 8, 24, 4},
                 {hollow, 64 - 8, 96 + 24, 16},
                 {OpenBox(), 0, 20, 4},
                 {Sphere(200, 100), 4.18669, 12.5632, 3.14107},
                 {Sheet(3, 2), 0, 6, 6}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mesh.name);
        const int node = scene.AddMesh(c.mesh).instance;
        scene->SetVolumePrecision(node, 0.2F, &error);
        EXPECT_NEAR(Volume(node), c.volume, 0.01 * std::max(1.0, c.volume));
        EXPECT_NEAR(Area(node), c.area, 1e-3);
        EXPECT_NEAR(Projected(node), c.projected, 0.02 * c.projected);
    }
}

TEST_F(Measures, CombineDownTheTree) {
    const int frame = scene.AddAssembly();
    const Placed a = scene.AddMesh(Cube(), frame);
    const int b = scene.AddInstance(a.part, frame);
    scene->SetVolumePrecision(0, 0.1F, &error);
    scene.Translate(b, 10, 0, 0);
    const double one = Volume(a.instance);
    EXPECT_EQ(Volume(frame), 2 * one);
    EXPECT_NEAR(Area(0), 48, 1e-9);
    ExpectPoint(Center(frame), {5, 0, 0}, 0.01);
    ExpectPoint(Center(b), {10, 0, 0}, 0.01);
    double twice[16] = {2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
    scene->SetTransform(frame, twice, &error);
    EXPECT_EQ(Volume(frame), 2 * one) << "its own matrix has no effect";
    EXPECT_EQ(Volume(b), 8 * one) << "that above it has";
    scene->EnableDrawing(a.instance, 0, &error);
    EXPECT_EQ(Volume(0), 2 * one) << "hidden parts count";
    // A change of precision that is no change keeps what was found.
    scene->SetVolumePrecision(0, 0.1005F, &error);
    EXPECT_EQ(Volume(a.instance), 8 * one);
    scene->SetVolumePrecision(0, 0.3F, &error);
    EXPECT_NE(Volume(a.instance), 8 * one);
    // Nothing to measure.
    const int empty = scene.AddEmptyPart().instance, bare = scene.AddAssembly();
    for (const int node : {empty, bare}) EXPECT_EQ(Volume(node) + Area(node) + Projected(node), 0);
    EXPECT_FALSE(std::isfinite(Center(bare)[0]));
    double volume = 5;
    EXPECT_LT(host->GetVolume(999, &volume, &error), 0);
    EXPECT_EQ(error, 0);
}

TEST_F(Measures, EndForAnyPrecision) {
    const int cube = scene.AddMesh(Cube()).instance, wall = scene.AddMesh(Soup{0, 0, 0, 0, 1, 0, 0, 0, 1}).instance;
    for (const float precision : {0.0F, -1.0F, 1e30F, std::nanf("")}) {
        scene->SetVolumePrecision(0, precision, &error);
        EXPECT_FALSE(Volume(cube) > 0) << precision;
        Projected(cube);
        EXPECT_FALSE(Volume(wall) > 0) << precision;
        Projected(wall);
    }
}

}  // namespace
}  // namespace tessera::test
