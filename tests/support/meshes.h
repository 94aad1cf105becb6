#pragma once

#include <array>
#include <string>
#include <vector>

// Triangle soups for tests: nine floats a triangle, wound counter-clockwise seen from outside, with the quantities
// that the shape itself dictates. An operation on meshes is tested over all of MeshSuite().
namespace tessera::test {

using Point = std::array<float, 3>;
using Soup = std::vector<float>;

struct TestMesh {
    std::string name = {};
    Soup soup = {};
    int triangles = 0;
    int vertices = 0;  // distinct points
    double area = 0;
    double volume = 0;     // 0 for an open mesh
    int hardEdges = 0;     // edges between two triangles that a threshold of 40 degrees leaves hard
    int openEdges = 0;     // edges of one triangle
    bool manifold = true;  // at most two triangles at an edge
};

void AddTriangle(Soup& soup, const Point& a, const Point& b, const Point& c);
void AddQuad(Soup& soup, const Point& a, const Point& b, const Point& c, const Point& d);  // split along a-c
std::string ToObj(const Soup& soup);                                                       // as an OBJ file

TestMesh Cube(float size = 2, const Point& centre = {0, 0, 0});
TestMesh OpenBox();                     // a 2 by 2 by 2 box without its lid at z = 1
TestMesh Sheet(int columns, int rows);  // unit squares in z = 0, from the origin
TestMesh ThreeOnAnEdge();               // three right triangles around the z axis, 120 degrees apart
TestMesh SingleTriangle();              // (0,0,0) (1,0,0) (0,1,0)
TestMesh Sphere(int sides = 32, int rings = 16, float radius = 1);
TestMesh Cylinder(int sides, float radius = 1, float height = 2, int levels = 1);  // with both ends
TestMesh Band(int sides);  // a cylinder's wall alone: one long run of triangles

// Closed cube, open box, flat sheet, non-manifold, far from the origin, tiny, long in z, sphere, cylinders, single
// triangle, long run.
const std::vector<TestMesh>& MeshSuite();

}  // namespace tessera::test
