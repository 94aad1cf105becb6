// The shapes of VRML 1.0. Point sets have none.
#include "exchange/vrml.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"

namespace tessera {
namespace {

void PutMaterial(TextOutput& out, const Color& color) {
    out.Text(
        "\r\n\tSeparator {\r\n"
        "\r\n\t\tMaterial {\r\n");
    PutColor(out, "\t\t\tdiffuseColor ", color);
    out.Text(
        "\t\t}\r\n"
        "\r\n\t    NormalBinding {\r\n"
        "\t\tvalue PER_VERTEX_INDEXED\r\n"
        "\t    }\r\n"
        "\r\n\tCoordinate3 {\r\n"
        "\t\tpoint [\r\n");
}

void PutFace(TextOutput& out, std::string_view before, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    out.Text(before).Integer(a).Text(", ").Integer(b).Text(", ").Integer(c).Text(", -1,\r\n");
}

}  // namespace

void CTriMesh::WriteVRML(TextOutput& out, const CMatrix& matrix, int flip) {
    const ReadLock lock(*this);
    out.Text("\r\n\tShapeHints {\r\n").Text("\t\tvertexOrdering  ");
    out.Text(flip != 0 ? "CLOCKWISE\r\n" : "COUNTERCLOCKWISE\r\n");
    out.Text(
        "\t\tshapeType       UNKNOWN_SHAPE_TYPE\r\n"
        "\t\tfaceType        CONVEX\r\n"
        "\t}\r\n");
    PutMaterial(out, externalColor);
    for (const Vec3& v : vertices_) PutPoint(out, "\t\t\t", v, matrix);
    out.Text(
        "  \t\t\t]}\r\n"
        "\r\n\tNormal {\r\n\t\tvector [\r\n");
    PutNormals(out, "\t\t\t", matrix);
    out.Text(
        " \t\t]}\r\n"
        "\r\n\t\tIndexedFaceSet {\r\n\t\t\tcoordIndex [\r\n");
    for (const TriMeshTriangle& t : triangles_) PutFace(out, " \t\t\t\t\t", t.vertex[0], t.vertex[1], t.vertex[2]);
    out.Text("\t\t\t\t\t]\r\n\t\t\t\tnormalIndex\t [\r\n");
    for (std::uint32_t i = 0; i < 3 * triangles_.size(); i += 3) PutFace(out, "\t\t\t\t\t", i, i + 1, i + 2);
    out.Text(
        "\t\t\t\t\t]}\r\n"
        "\t\t\t}\r\n");
}

void CPolyLine::WriteVRML(TextOutput& out, const CMatrix& matrix, int) {
    PutMaterial(out, externalColor);
    for (const PolyLinePoint& p : points_) PutPoint(out, "\t\t\t", p.position, matrix);
    out.Text(
        "  \t\t\t]}\r\n"
        "\r\n\t\tIndexedLineSet {\r\n\t\t\tcoordIndex [\r\n");
    for (std::uint32_t i = 0; i < points_.size(); ++i) out.Text(" \t\t\t\t\t").Integer(i).Text(",\r\n");
    out.Text(
        "\t\t\t\t  -1 ]\r\n"
        "\t\t\t\t}\r\n"
        "\t\t\t}\r\n");
}

}  // namespace tessera
