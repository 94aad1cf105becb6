// What a mesh sends: strips that cover it, the same by both ways to send them, and the edges and vertices of the line
// and point modes.
#include <algorithm>
#include <cmath>
#include <map>

#include "render_fixture.h"

namespace tessera::test {
namespace {

using Facet = std::array<Point, 3>;

// With the smallest corner first, so that equal triangles of one winding compare equal.
Facet Turned(Facet f) {
    std::rotate(f.begin(), std::min_element(f.begin(), f.end()), f.end());
    return f;
}

// The cosine of the angle between a normal and a facet's own.
double Agreement(const Point& normal, const Facet& f) {
    double a[3], b[3], n[3], dot = 0;
    for (std::size_t i = 0; i < 3; ++i) a[i] = f[1][i] - f[0][i], b[i] = f[2][i] - f[0][i];
    for (std::size_t i = 0; i < 3; ++i) n[i] = a[(i + 1) % 3] * b[(i + 2) % 3] - a[(i + 2) % 3] * b[(i + 1) % 3];
    for (std::size_t i = 0; i < 3; ++i) dot += n[i] * normal[i];
    return dot / std::hypot(n[0], n[1], n[2]) / std::hypot(normal[0], normal[1], normal[2]);
}

class Meshes : public RenderTest {
protected:
    std::vector<Primitive> DrawStrips(bool arrays) {
        scene->UseVertexArray(arrays);
        const std::size_t calls = Drawing(scene).Calls().size();
        const Drawing drawing(scene);
        EXPECT_EQ(drawing.Calls().size(), calls);
        EXPECT_EQ(TheLog().pointersUnused, 0);
        EXPECT_FALSE(drawing.Primitives().empty());
        std::vector<Primitive> strips = drawing.PrimitivesOf(GL_TRIANGLE_STRIP);
        EXPECT_EQ(drawing.Count("glInterleavedArrays GL_N3F_V3F 0"), arrays && !strips.empty());
        EXPECT_EQ(drawing.Count("glDrawArrays"), arrays ? std::ssize(strips) : 0);
        return strips;
    }
    // The triangles that are drawn. Normals have to agree with the facet, as its cosine says: in strips of all corners,
    // in single triangles of the last one.
    static std::vector<Facet> Facets(const std::vector<Primitive>& primitives, double agreement) {
        std::vector<Facet> facets;
        for (const auto& [mode, call, v, state, frame] : primitives)
            for (std::size_t i = 0; i + 2 < v.size(); i += mode == GL_TRIANGLES ? 3 : 1) {
                const std::size_t odd = mode == GL_TRIANGLES ? 0 : i % 2;
                facets.push_back(Turned({v[i + odd].position, v[i + 1 - odd].position, v[i + 2].position}));
                for (std::size_t k = mode == GL_TRIANGLES ? i + 2 : i; k < i + 3; ++k)
                    EXPECT_GT(Agreement(v[k].normal, facets.back()), agreement);
                EXPECT_NEAR(std::hypot(v[i + 2].normal[0], v[i + 2].normal[1], v[i + 2].normal[2]), 1, 1e-5);
            }
        return facets;
    }
};

TEST_F(Meshes, SendEveryTriangleOnceWithItsWindingAndNormals) {
    for (const TestMesh& mesh : MeshSuite()) {
        SCOPED_TRACE(mesh.name);
        const int node = AddColored(mesh, 0).instance;
        std::vector<Facet> given;
        for (const float* p = mesh.soup.data(); p < mesh.soup.data() + mesh.soup.size(); p += 9)
            given.push_back(Turned({Point{p[0], p[1], p[2]}, Point{p[3], p[4], p[5]}, Point{p[6], p[7], p[8]}}));
        if (mesh.manifold) {
            const Drawing flat(scene);
            EXPECT_EQ(Facets(flat.PrimitivesOf(GL_TRIANGLES), 0.9999), given);  // in the order in which they came
            EXPECT_EQ(flat.Count("glNormal3f"), mesh.triangles);
        }
        scene.SetShadeMode(node, 1);
        std::vector<Facet> drawn = Facets(DrawStrips(true), 0.7);
        for (std::vector<Facet>* facets : {&drawn, &given}) {
            if (!mesh.manifold)  // its triangles cannot all keep the winding that they came with
                for (Facet& facet : *facets) std::sort(facet.begin(), facet.end());
            std::sort(facets->begin(), facets->end());
        }
        EXPECT_EQ(drawn, given);
        Overlay(node, 1, true);
        for (int mode = 0; mode <= 11; ++mode) {
            scene.SetShadeMode(node, mode);
            Cut(node, true, mode % 2);
            const auto immediate = DrawStrips(false), arrays = DrawStrips(true);
            ASSERT_EQ(immediate.size(), arrays.size()) << "mode " << mode;
            for (std::size_t i = 0; i < arrays.size(); ++i) EXPECT_TRUE(immediate[i].vertices == arrays[i].vertices);
        }
        scene->Remove(node, &error);
    }
}

TEST_F(Meshes, StripsRunAsFarAsTheSurfaceIsSmooth) {
    // The most strips that there may be, and the vertices of each; 0 for any number.
    const std::tuple<TestMesh, std::size_t, std::size_t> cases[] = {
        {SingleTriangle(), 1, 3}, {Cube(), 6, 4}, {OpenBox(), 5, 4}, {Band(500), 4, 0}};
    for (const auto& [mesh, most, vertices] : cases) {
        const int node = AddColored(mesh).instance;
        const auto strips = DrawStrips(true);
        EXPECT_LE(strips.size(), most) << mesh.name;
        std::vector<Point> sent, points;
        for (const Primitive& strip : strips) {
            EXPECT_TRUE(vertices == 0 || strip.vertices.size() == vertices) << mesh.name;
            for (const Vertex& v : strip.vertices) sent.push_back(v.position);
        }
        scene.SetShadeMode(node, 9);  // shows these vertices as points
        for (const Primitive& p : Drawing(scene).PrimitivesOf(GL_POINTS))
            for (const Vertex& v : p.vertices) points.push_back(v.position);
        EXPECT_EQ(points, sent);
        scene->Remove(node, &error);
    }
}

// With a view that is neither perspective nor parallel there are no silhouettes, and the counts are the mesh's own. The
// vertex overlay shows all vertices over surfaces, the ends of the drawn edges over line modes.
TEST_F(Meshes, ShowTheirHardOpenAndAllEdgesAndVertices) {
    for (const TestMesh& mesh : MeshSuite()) {
        const int node = AddColored(mesh).instance;
        scene->SetViewingType(node, 2, &error);
        Overlay(node, 2, false);
        const int hard = mesh.hardEdges, open = mesh.openEdges, all = (3 * mesh.triangles + open) / 2;
        const std::map<Color, int> both = {{kEdge, hard}, {kBorder, open}};
        const std::tuple<int, std::map<Color, int>, int> cases[] = {
            {2, both, 2 * (hard + open)},  {3, {{kExternal, all}}, mesh.vertices},
            {4, both, 2 * (hard + open)},  {6, {{{0.1F, 0.1F, 0.1F, 1}, hard + open}}, mesh.vertices},
            {8, {{kRed, hard + open}}, 0}, {0, {}, mesh.vertices},
            {1, {}, mesh.vertices},        {11, {}, mesh.vertices}};
        for (auto [mode, segments, points] : cases) {
            SCOPED_TRACE(mesh.name + ", mode " + std::to_string(mode));
            scene.SetShadeMode(node, mode);
            const Drawing drawing(scene);
            for (const Segment& s : drawing.Segments()) --segments[s.b.color];
            for (const auto& [color, missing] : segments) EXPECT_EQ(missing, 0);
            EXPECT_EQ(drawing.Points().size(), points);
            for (const Spot& spot : drawing.Points()) EXPECT_EQ(spot.color, kRed);
        }
        scene->Remove(node, &error);
    }
}

// A ball of 32 sides and 16 rings: seen along z its silhouette is the ring of 32 edges at the height where the sight
// lines touch; seen along y, two meridians of 16 edges. The view is kept in the world, the test is made in the mesh:
// a turned ball has its silhouette across the same world axis.
TEST_F(Meshes, SilhouetteOfASmoothBallFollowsTheCamera) {
    // The way of viewing, the camera, the axis that the silhouette lies across, and its distance from the centre.
    const float step = std::sin(std::acos(-1.0F) / 16);
    const std::tuple<int, Point, int, float> cases[] = {
        {1, {0, 0, 50}, 2, 0}, {1, {0, -50, 0}, 1, 0}, {0, {0, 0, 5}, 2, step}, {0, {0, 0, -5}, 2, -step}};
    const int assembly = scene.AddAssembly(), ball = AddColored(Sphere(), 2, assembly).instance;
    const auto expectRing = [&](int axis, float height, const Color& color) {
        const auto segments = Drawing(scene).Segments();
        EXPECT_EQ(segments.size(), 32U);
        for (const auto& [a, b] : segments) {
            for (const Spot& end : {a, b}) EXPECT_NEAR(end.at[axis], height, 1e-5);
            EXPECT_EQ(a.color, color);
        }
    };
    for (const float shift : {0.0F, 10.0F}) {
        scene.Translate(ball, shift, shift, shift);
        for (const auto& [viewing, camera, axis, height] : cases)
            for (const int mode : {2, 4, 8}) {
                SCOPED_TRACE("mode " + std::to_string(mode));
                scene.SetShadeMode(ball, mode);
                scene->SetViewingType(ball, static_cast<short>(viewing), &error);
                scene.SetCamera({camera[0] + shift, camera[1] + shift, camera[2] + shift}, {shift, shift, shift});
                expectRing(axis, height + shift, mode == 8 ? kRed : kExternal);
            }
    }
    scene->RotateX(ball, std::acos(0.0F), &error);  // (10, 10, 10) to (10, 10, -10)
    scene.Translate(assembly, 0, 0, 3);
    scene->SetViewingType(ball, 1, &error);
    scene.SetCamera({0, 0, 50}, {0, 0, 0});
    expectRing(2, -7, kRed);
}

TEST_F(Meshes, VertexCloudThinsFromFourThousandOn) {
    const std::tuple<int, int, std::size_t> cases[] = {{2, 666, 2001}, {2, 1332, 3999}, {49, 79, 2000}, {59, 99, 2000}};
    for (const auto& [columns, rows, points] : cases) {
        const int node = AddColored(Sheet(columns, rows), 5).instance;
        const Drawing drawing(scene);
        EXPECT_EQ(drawing.Points().size(), points) << columns << " by " << rows;
        EXPECT_EQ(drawing.Points().at(0).color, kExternal);
        scene->Remove(node, &error);
    }
}

}  // namespace
}  // namespace tessera::test
