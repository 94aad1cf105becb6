// The quantities that the suite of meshes claims, against sums over its triangles.
#include "meshes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

namespace tessera::test {
namespace {

TEST(MeshSuite, ClaimsWhatItsTrianglesSay) {
    std::set<std::string> names;
    for (const TestMesh& mesh : MeshSuite()) {
        SCOPED_TRACE(mesh.name);
        EXPECT_TRUE(names.insert(mesh.name).second);
        std::set<Point> points;
        std::map<std::set<Point>, int> edges;
        double area = 0, volume = 0;
        const Point origin = {mesh.soup[0], mesh.soup[1], mesh.soup[2]};
        for (std::size_t i = 0; i < mesh.soup.size(); i += 9) {
            Point p[3];
            double v[3][3];
            for (int k = 0; k < 9; ++k) {
                p[k / 3][k % 3] = mesh.soup[i + k];
                v[k / 3][k % 3] = double{mesh.soup[i + k]} - origin[k % 3];
            }
            double a[3], b[3], n[3];
            for (int k = 0; k < 3; ++k) a[k] = v[1][k] - v[0][k], b[k] = v[2][k] - v[0][k];
            for (int k = 0; k < 3; ++k) n[k] = a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3];
            area += std::hypot(n[0], n[1], n[2]) / 2;
            volume += (v[0][0] * n[0] + v[0][1] * n[1] + v[0][2] * n[2]) / 6;
            for (int k = 0; k < 3; ++k) {
                points.insert(p[k]);
                ++edges[{p[k], p[(k + 1) % 3]}];
            }
        }
        int open = 0, crowded = 0;
        for (const auto& [ends, count] : edges) {
            open += count == 1;
            crowded += count > 2;
        }
        EXPECT_EQ(int(points.size()), mesh.vertices);
        EXPECT_NEAR(area, mesh.area, 1e-6 * mesh.area);
        EXPECT_EQ(crowded == 0, mesh.manifold);
        EXPECT_EQ(open + crowded, mesh.openEdges);  // the third triangle at an edge finds it taken
        if (open == 0 && crowded == 0) {
            EXPECT_NEAR(volume, mesh.volume, 1e-6 * mesh.volume);
        } else {
            EXPECT_EQ(mesh.volume, 0);
        }
    }
}

}  // namespace
}  // namespace tessera::test
