// Triangle strips: what they cover, and that both ways to send them send the same.
#include <algorithm>
#include <cmath>
#include <map>

#include "render_fixture.h"

namespace tessera::test {
namespace {

using Corner = std::array<float, 3>;
using Facet = std::array<Corner, 3>;

// With the smallest corner first, so that equal triangles of one winding compare equal.
Facet Turned(Facet f) {
    std::rotate(f.begin(), std::min_element(f.begin(), f.end()), f.end());
    return f;
}

std::vector<Facet> Facets(const Soup& soup) {
    std::vector<Facet> facets;
    for (std::size_t i = 0; i < soup.size(); i += 9)
        facets.push_back(
            Turned({Corner{soup[i], soup[i + 1], soup[i + 2]}, Corner{soup[i + 3], soup[i + 4], soup[i + 5]},
                    Corner{soup[i + 6], soup[i + 7], soup[i + 8]}}));
    return facets;
}

Corner Normal(const Facet& f) {
    const double a[3] = {f[1][0] - f[0][0], f[1][1] - f[0][1], f[1][2] - f[0][2]};
    const double b[3] = {f[2][0] - f[0][0], f[2][1] - f[0][1], f[2][2] - f[0][2]};
    const double n[3] = {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    const double length = std::hypot(n[0], n[1], n[2]);
    return {float(n[0] / length), float(n[1] / length), float(n[2] / length)};
}

float Dot(const Corner& a, const Corner& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

class Strips : public RenderTest {
protected:
    std::vector<Primitive> DrawStrips(bool arrays) {
        scene->UseVertexArray(arrays);
        scene.Draw();
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Violations(), Texts{});
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
        for (const Primitive& strip : DrawStrips(true)) {
            for (std::size_t i = 0; i + 2 < strip.vertices.size(); ++i) {
                const Vertex *a = &strip.vertices[i], *b = &strip.vertices[i + 1], *c = &strip.vertices[i + 2];
                if (i % 2) std::swap(a, b);
                const Facet facet = {a->position, b->position, c->position};
                drawn.push_back(Turned(facet));
                for (const Vertex* v : {a, b, c}) {
                    EXPECT_NEAR(Dot(v->normal, v->normal), 1, 1e-5);
                    EXPECT_GT(Dot(v->normal, Normal(facet)), 0.7F);
                }
            }
        }
        if (!mesh.manifold)  // its triangles cannot all keep the winding that they came with
            for (std::vector<Facet>* facets : {&drawn, &given})
                for (Facet& facet : *facets) std::sort(facet.begin(), facet.end());
        std::sort(drawn.begin(), drawn.end());
        std::sort(given.begin(), given.end());
        EXPECT_EQ(drawn, given);
        scene->Remove(placed.instance, &error);
    }
}

TEST_F(Strips, ArraysAndImmediateModeSendTheSameVertices) {
    for (const TestMesh& mesh : MeshSuite()) {
        SCOPED_TRACE(mesh.name);
        const Placed placed = AddColored(mesh);
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
        std::map<std::size_t, int> lengths;  // strips by their number of vertices
    };
    const Case cases[] = {{SingleTriangle(), {{3, 1}}}, {Cube(), {{4, 6}}}, {OpenBox(), {{4, 5}}}};
    for (const Case& c : cases) {
        const Placed placed = AddColored(c.mesh);
        std::map<std::size_t, int> lengths;
        for (const Primitive& strip : DrawStrips(true)) ++lengths[strip.vertices.size()];
        EXPECT_EQ(lengths, c.lengths) << c.mesh.name;
        scene->Remove(placed.instance, &error);
    }
    AddColored(Band(500));
    EXPECT_LE(DrawStrips(true).size(), 4U);  // of 1000 triangles
}

TEST_F(Strips, PointsOfModeNineAreTheStripVertices) {
    const Placed cylinder = AddColored(Cylinder(48));
    std::vector<Corner> strips, points;
    for (const Primitive& p : DrawStrips(false))
        for (const Vertex& v : p.vertices) strips.push_back(v.position);
    scene.SetShadeMode(cylinder.instance, 9);
    Recording recording;
    scene.Draw();
    for (const Primitive& p : recording.PrimitivesOf(GL_POINTS))
        for (const Vertex& v : p.vertices) points.push_back(v.position);
    EXPECT_EQ(points, strips);
}

TEST_F(Strips, FlatModeSendsEachTriangleWithItsFacetNormal) {
    for (const TestMesh& mesh : MeshSuite()) {
        if (!mesh.manifold) continue;
        SCOPED_TRACE(mesh.name);
        const Placed placed = AddColored(mesh, 0);
        Recording recording;
        scene.Draw();
        const std::vector<Primitive> blocks = recording.PrimitivesOf(GL_TRIANGLES);
        ASSERT_EQ(blocks.size(), 1U);
        const std::vector<Vertex>& v = blocks[0].vertices;
        std::vector<Facet> drawn;
        for (std::size_t i = 0; i < v.size(); i += 3) {
            const Facet facet = {v[i].position, v[i + 1].position, v[i + 2].position};
            drawn.push_back(Turned(facet));
            EXPECT_GT(Dot(v[i + 2].normal, Normal(facet)), 0.9999F);
            EXPECT_EQ(v[i].normal, v[i + 2].normal);
        }
        EXPECT_EQ(drawn, Facets(mesh.soup));  // in the order in which they came
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
