#include "meshes.h"

#include <cmath>
#include <numbers>
#include <sstream>

namespace tessera::test {

namespace {

struct Ring {
    float radius, z;
};

Point OnRing(const Ring& ring, int side, int sides) {
    const double angle = 2 * std::numbers::pi * (side % sides) / sides;
    return {float(ring.radius * std::cos(angle)), float(ring.radius * std::sin(angle)), ring.z};
}

// The surface between rings of `sides` corners each, rising in z; a ring of radius 0 is a point. Area and volume are
// those of the frusta of regular pyramids between the rings.
TestMesh Revolve(const std::vector<Ring>& rings, int sides) {
    TestMesh mesh;
    const double half = std::numbers::pi / sides;
    for (std::size_t i = 0; i + 1 < rings.size(); ++i) {
        const Ring &low = rings[i], &high = rings[i + 1];
        for (int s = 0; s < sides; ++s) {
            const Point a = OnRing(low, s, sides), b = OnRing(low, s + 1, sides);
            const Point c = OnRing(high, s + 1, sides), d = OnRing(high, s, sides);
            if (low.radius > 0) AddTriangle(mesh.soup, a, b, high.radius > 0 ? c : d);
            if (high.radius > 0) AddTriangle(mesh.soup, a, c, d);
        }
        const double rise = high.z - low.z, run = (high.radius - low.radius) * std::cos(half);
        mesh.area += sides * (low.radius + high.radius) * std::sin(half) * std::hypot(rise, run);
        mesh.volume += rise * sides * std::sin(2 * half) / 6 *
                       (low.radius * low.radius + low.radius * high.radius + high.radius * high.radius);
    }
    for (const Ring& ring : rings) mesh.vertices += ring.radius > 0 ? sides : 1;
    return mesh;
}

TestMesh Finish(TestMesh mesh, std::string name, int hardEdges, int openEdges) {
    mesh.name = std::move(name);
    mesh.triangles = static_cast<int>(mesh.soup.size() / 9);
    mesh.hardEdges = hardEdges;
    mesh.openEdges = openEdges;
    return mesh;
}

}  // namespace

void AddTriangle(Soup& soup, const Point& a, const Point& b, const Point& c) {
    for (const Point& p : {a, b, c}) soup.insert(soup.end(), p.begin(), p.end());
}

void AddQuad(Soup& soup, const Point& a, const Point& b, const Point& c, const Point& d) {
    AddTriangle(soup, a, b, c);
    AddTriangle(soup, a, c, d);
}

std::string ToObj(const Soup& soup) {
    std::ostringstream obj;
    for (std::size_t i = 0; i < soup.size(); i += 3)
        obj << "v " << soup[i] << " " << soup[i + 1] << " " << soup[i + 2] << (i % 9 == 6 ? "\nf -3 -2 -1\n" : "\n");
    return obj.str();
}

TestMesh Cube(float size, const Point& centre) {
    TestMesh mesh{.vertices = 8, .area = 6.0 * size * size, .volume = double{size} * size * size};
    const float h = size / 2;
    const auto corner = [&](int i) {
        return Point{centre[0] + (i & 1 ? h : -h), centre[1] + (i & 2 ? h : -h), centre[2] + (i & 4 ? h : -h)};
    };
    const int faces[6][4] = {{0, 2, 3, 1}, {4, 5, 7, 6}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 4, 6, 2}, {1, 3, 7, 5}};
    for (const auto& f : faces) AddQuad(mesh.soup, corner(f[0]), corner(f[1]), corner(f[2]), corner(f[3]));
    return Finish(mesh, "cube", 12, 0);
}

TestMesh OpenBox() {
    TestMesh mesh = Cube();
    mesh.soup.erase(mesh.soup.begin() + 18, mesh.soup.begin() + 36);
    mesh.area = 20, mesh.volume = 0;
    return Finish(mesh, "open box", 8, 4);
}

TestMesh Sheet(int columns, int rows) {
    TestMesh mesh{.vertices = (columns + 1) * (rows + 1), .area = double(columns) * rows};
    for (int i = 0; i < columns * rows; ++i) {
        const float x = float(i % columns), y = float(i / columns);
        AddQuad(mesh.soup, {x, y, 0}, {x + 1, y, 0}, {x + 1, y + 1, 0}, {x, y + 1, 0});
    }
    return Finish(mesh, "flat sheet", 0, 2 * (columns + rows));
}

TestMesh ThreeOnAnEdge() {
    TestMesh mesh{.vertices = 5, .area = 1.5, .manifold = false};
    for (int i = 0; i < 3; ++i) AddTriangle(mesh.soup, {0, 0, 0}, OnRing({1, 0}, i, 3), {0, 0, 1});
    return Finish(mesh, "three on an edge", 1, 7);
}

TestMesh SingleTriangle() {
    TestMesh mesh{.soup = {0, 0, 0, 1, 0, 0, 0, 1, 0}, .vertices = 3, .area = 0.5};
    return Finish(mesh, "single triangle", 0, 3);
}

TestMesh Sphere(int sides, int rings, float radius) {
    std::vector<Ring> list;
    for (int i = 0; i <= rings; ++i) {
        const double angle = std::numbers::pi * i / rings;
        list.push_back({i % rings ? float(radius * std::sin(angle)) : 0.0F, float(-radius * std::cos(angle))});
    }
    return Finish(Revolve(list, sides), "sphere", 0, 0);
}

TestMesh Cylinder(int sides, float radius, float height, int levels) {
    std::vector<Ring> rings = {{0, -height / 2}};
    for (int i = 0; i <= levels; ++i) rings.push_back({radius, height * (float(i) / float(levels) - 0.5F)});
    rings.push_back({0, height / 2});
    const bool smoothWall = 360.0 / sides < 40;
    return Finish(Revolve(rings, sides), "cylinder of " + std::to_string(sides),
                  2 * sides + (smoothWall ? 0 : levels * sides), 0);
}

TestMesh Band(int sides) {
    TestMesh mesh = Revolve({{1, 0}, {1, 1}}, sides);
    mesh.volume = 0;
    return Finish(mesh, "long run", 0, 2 * sides);
}

const std::vector<TestMesh>& MeshSuite() {
    static const std::vector<TestMesh> suite = [] {
        std::vector<TestMesh> list = {Cube(),           OpenBox(),
                                      Sheet(5, 4),      ThreeOnAnEdge(),
                                      SingleTriangle(), Sphere(),
                                      Cylinder(48),     Cylinder(6),
                                      Band(500),        Cube(1, {1e5F, -2e5F, 3e5F}),
                                      Cube(1e-4F),      Cylinder(16, 1, 1000, 100)};
        list[9].name = "far cube", list[10].name = "tiny cube", list[11].name = "long in z";
        return list;
    }();
    return suite;
}

}  // namespace tessera::test
