// Triangle strips: what they cover, and that both ways to send them send the same.
#include <algorithm>
#include <cmath>

#include "render_fixture.h"

namespace tessera::test {
namespace {

using Facet = std::array<Point, 3>;

// With the smallest corner first, so that equal triangles of one winding compare equal.
Facet Turned(Facet f) {
    std::rotate(f.begin(), std::min_element(f.begin(), f.end()), f.end());
    return f;
}

std::vector<Facet> Facets(const Soup& soup) {
    std::vector<Facet> facets;
    for (const float* p = soup.data(); p < soup.data() + soup.size(); p += 9)
        facets.push_back(Turned({Point{p[0], p[1], p[2]}, Point{p[3], p[4], p[5]}, Point{p[6], p[7], p[8]}}));
    return facets;
}

// The cosine of the angle between a normal and a facet's own.
double Agreement(const Point& normal, const Facet& f) {
    double a[3], b[3], n[3], dot = 0;
    for (std::size_t i = 0; i < 3; ++i) a[i] = f[1][i] - f[0][i], b[i] = f[2][i] - f[0][i];
    for (std::size_t i = 0; i < 3; ++i) n[i] = a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3];
    for (std::size_t i = 0; i < 3; ++i) dot += n[i] * normal[i];
    return dot / std::hypot(n[0], n[1], n[2]) / std::hypot(normal[0], normal[1], normal[2]);
}

class Strips : public RenderTest {
protected:
    std::vector<Primitive> DrawStrips(bool arrays) {
        scene->UseVertexArray(arrays);
        scene.Draw();
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.UnusedPointers(), 0);
        EXPECT_EQ(recording.Count("glInterleavedArrays GL_N3F_V3F 0"), arrays ? 1 : 0);
        std::vector<Primitive> strips = recording.PrimitivesOf(GL_TRIANGLE_STRIP);
        for (const Primitive& strip : strips) EXPECT_EQ(strip.fromArrays, arrays);
        return strips;
    }
};

TEST_F(Strips, EveryTriangleOnceWithItsWindingAndNormals) {
    for (const TestMesh& mesh : MeshSuite()) {
        SCOPED_TRACE(mesh.name);
        const Placed placed = AddColored(mesh);
        std::vector<Facet> drawn, given = Facets(mesh.soup);
        for (const Primitive& strip : DrawStrips(true))
            for (std::size_t i = 0; i + 2 < strip.vertices.size(); ++i) {
                const Vertex *a = &strip.vertices[i], *b = a + 1, *c = a + 2;
                if (i % 2) std::swap(a, b);
                const Facet facet = {a->position, b->position, c->position};
                drawn.push_back(Turned(facet));
                for (const Vertex* v : {a, b, c}) EXPECT_GT(Agreement(v->normal, facet), 0.7);
                EXPECT_NEAR(std::hypot(a->normal[0], a->normal[1], a->normal[2]), 1, 1e-5);
            }
        if (!mesh.manifold)  // its triangles cannot all keep the winding that they came with
            for (std::vector<Facet>* facets : {&drawn, &given})
                for (Facet& facet : *facets) std::sort(facet.begin(), facet.end());
        std::sort(drawn.begin(), drawn.end());
        std::sort(given.begin(), given.end());
        EXPECT_EQ(drawn, given);
        for (const int mode : {1, 4, 6, 10, 11}) {
            scene.SetShadeMode(placed.instance, mode);
            const auto immediate = DrawStrips(false), arrays = DrawStrips(true);
            ASSERT_EQ(immediate.size(), arrays.size()) << "mode " << mode;
            for (std::size_t i = 0; i < arrays.size(); ++i) EXPECT_TRUE(immediate[i].vertices == arrays[i].vertices);
        }
        scene->Remove(placed.instance, &error);
    }
}

TEST_F(Strips, RunAsFarAsTheSurfaceIsSmooth) {
    struct Case {
        TestMesh mesh;
        std::size_t strips, vertices;  // of each; 0 for any number
    };
    for (const Case& c : {Case{SingleTriangle(), 1, 3}, {Cube(), 6, 4}, {OpenBox(), 5, 4}, {Band(500), 4, 0}}) {
        const Placed placed = AddColored(c.mesh);
        const auto strips = DrawStrips(true);
        EXPECT_LE(strips.size(), c.strips) << c.mesh.name;
        std::vector<Point> sent, points;
        for (const Primitive& strip : strips) {
            EXPECT_TRUE(c.vertices == 0 || strip.vertices.size() == c.vertices) << c.mesh.name;
            for (const Vertex& v : strip.vertices) sent.push_back(v.position);
        }
        scene.SetShadeMode(placed.instance, 9);  // shows these vertices as points
        Recording recording;
        scene.Draw();
        for (const Primitive& p : recording.PrimitivesOf(GL_POINTS))
            for (const Vertex& v : p.vertices) points.push_back(v.position);
        EXPECT_EQ(points, sent);
        scene->Remove(placed.instance, &error);
    }
}

TEST_F(Strips, FlatModeSendsEachTriangleWithItsFacetNormal) {
    for (const TestMesh& mesh : MeshSuite()) {
        if (!mesh.manifold) continue;
        const Placed placed = AddColored(mesh, 0);
        Recording recording;
        scene.Draw();
        std::vector<Facet> drawn;
        const auto v = recording.PrimitivesOf(GL_TRIANGLES).at(0).vertices;
        for (std::size_t i = 0; i < v.size(); i += 3) {
            drawn.push_back(Turned({v[i].position, v[i + 1].position, v[i + 2].position}));
            EXPECT_GT(Agreement(v[i + 2].normal, drawn.back()), 0.9999);
        }
        EXPECT_EQ(drawn, Facets(mesh.soup)) << mesh.name;  // in the order in which they came
        EXPECT_EQ(recording.Count("glNormal3f"), mesh.triangles);
        scene->Remove(placed.instance, &error);
    }
}

TEST_F(Strips, BuildingLeavesTheHostsArraysAlone) {
    const float own[6] = {};
    glVertexPointer(3, GL_FLOAT, 0, own);
    glEnableClientState(GL_VERTEX_ARRAY);
    Recording recording;
    AddColored(Cube());
    EXPECT_EQ(recording.Changed(), Texts{});
    EXPECT_EQ(recording.Violations(), Texts{});
}

}  // namespace
}  // namespace tessera::test
