// The shapes of VRML 2.0.
#include "exchange/vrml.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"

namespace tessera {
namespace {

// geometry: with the line that opens it.
void OpenShape(TextOutput& out, std::string_view colorName, const Color& color, std::string_view geometry) {
    out.Text(
        "\r\n\tShape {\r\n"
        "\t\tappearance Appearance {\r\n"
        "\t\t    material Material {\r\n");
    PutColor(out, colorName, color);
    out.Text(
        "\t\t\t\tshininess 0.1\r\n"
        "\t\t      }\r\n"
        "\t\t}\r\n"
        "\t\tgeometry ");
    out.Text(geometry).Text("\r\n\t\t{\r\n");
}

constexpr std::string_view kDiffuse = "\t\t\t\tdiffuseColor ", kEmissive = "\t\t\t\temissiveColor ";
constexpr std::string_view kIndices = "\t\t   coordIndex\r\n\t\t   [\r\n", kEndOfIndices = "\t\t   ]\r\n",
                           kIndex = "\t\t      ";
constexpr std::string_view kPoints = "\t\t   coord Coordinate\r\n\t\t   {\r\n\t\t      point\r\n\t\t      [\r\n",
                           kEndOfPoints = "\t\t      ]\r\n\t\t   }\r\n", kPoint = "\t\t         ";
constexpr std::string_view kEndOfShape = "\t    }\r\n\t }\r\n";

void PutFace(TextOutput& out, std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    out.Text(kIndex).Integer(a).Text(", ").Integer(b).Text(", ").Integer(c).Text(", -1,\r\n");
}

}  // namespace

// One normal for each corner, however many of them are the same.
void CTriMesh::PutNormals(TextOutput& out, std::string_view before, const CMatrix& matrix) const {
    for (const TriMeshTriangle& t : triangles_)
        for (const std::uint32_t n : t.normal)
            PutNumbers(out, before, Normalized(TransformDirection((*normals_)[n], matrix)), ",\r\n");
}

void CTriMesh::WriteVRML2(TextOutput& out, const CMatrix& matrix) {
    const ReadLock lock(*this);
    OpenShape(out, kDiffuse, externalColor, "IndexedFaceSet");
    out.Text(kIndices);
    for (const TriMeshTriangle& t : triangles_) PutFace(out, t.vertex[0], t.vertex[1], t.vertex[2]);
    out.Text(kEndOfIndices).Text("\t\t   normalIndex\r\n\t\t   [\r\n");
    for (std::uint32_t i = 0; i < 3 * triangles_.size(); i += 3) PutFace(out, i, i + 1, i + 2);
    out.Text(kEndOfIndices).Text(kPoints);
    for (const Vec3& v : vertices_) PutPoint(out, kPoint, v, matrix);
    out.Text(kEndOfPoints);
    out.Text("\t\t   normal Normal\r\n\t\t   {\r\n\t\t      vector\r\n\t\t      [\r\n");
    PutNormals(out, kPoint, matrix);
    out.Text(kEndOfPoints).Text(kEndOfShape);
}

void CPolyLine::WriteVRML2(TextOutput& out, const CMatrix& matrix) {
    OpenShape(out, kEmissive, externalColor, "IndexedLineSet");
    out.Text(kIndices);
    for (std::uint32_t i = 0; i < points_.size(); ++i) out.Text(kIndex).Integer(i).Text(",\r\n");
    out.Text("\t\t      -1\r\n").Text(kEndOfIndices).Text(kPoints);
    for (const PolyLinePoint& p : points_) PutPoint(out, kPoint, p.position, matrix);
    out.Text(kEndOfPoints).Text(kEndOfShape);
}

void CPointSet::WriteVRML2(TextOutput& out, const CMatrix& matrix) {
    OpenShape(out, kDiffuse, externalColor, "PointSet");
    out.Text(kPoints);
    for (const Vec3& p : points_) PutPoint(out, kPoint, p, matrix);
    out.Text(kEndOfPoints).Text(kEndOfShape);
}

}  // namespace tessera
