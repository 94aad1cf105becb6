// The scene as U3D: a mesh, a material, a shader and a node for each instance that is shown, and the host's views.
#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>

#include "exchange/export.h"
#include "exchange/u3d/u3d_scene.h"
#include "exchange/u3d_writer.h"
#include "geometry/trimesh.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"
#include "tessera/u3d_view.h"

namespace tessera {
namespace {

// Numbers meshes and nodes of all exports of the process, so that no two files share a name.
std::atomic<int> g_u3dMeshCounter = 0, g_u3dNodeCounter = 0;

// Opacity above this is full.
constexpr float kFullAlpha = 0.9f;
// Both sides of faces.
constexpr std::uint32_t kVisibility = 3;
// The format's strings end at 64 KiB; names get some characters more.
constexpr std::size_t kLongestName = 65000;

std::string NameOf(const String& text) {
    std::string name = ToUtf8(text.substr(0, text.find(OLECHAR(0))));
    if (name.size() <= kLongestName) return name;
    std::size_t end = kLongestName;
    while ((name[end] & 0xc0) == 0x80) --end;  // not within a character
    name.resize(end);
    return name;
}

struct Direction3 {
    double x, y, z;
};

Direction3 Across(const Direction3& a, const Direction3& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

// Not finite for a vector without length.
Direction3 Unit(double x, double y, double z) {
    const double scale = 1 / std::sqrt(x * x + y * y + z * z);
    return {x * scale, y * scale, z * scale};
}

// Side, up, backwards and the eye. Side and up have the length that the angle between sight and up leaves them.
U3dMatrix ViewMatrix(const U3dView& view) {
    const float *e = view.eye, *t = view.target, *u = view.up;
    const Direction3 f =
        Unit(static_cast<double>(t[0]) - e[0], static_cast<double>(t[1]) - e[1], static_cast<double>(t[2]) - e[2]);
    const Direction3 s = Across(f, Unit(u[0], u[1], u[2])), w = Across(s, f);
    const auto row = [](const Direction3& d, double sign) -> std::array<float, 3> {
        return {static_cast<float>(sign * d.x), static_cast<float>(sign * d.y), static_cast<float>(sign * d.z)};
    };
    const std::array<float, 3> a = row(s, 1), b = row(w, 1), c = row(f, -1);
    return {a[0], a[1], a[2], 0, b[0], b[1], b[2], 0, c[0], c[1], c[2], 0, e[0], e[1], e[2], 1};
}

U3dMatrix NarrowMatrix(const CMatrix& matrix) {
    U3dMatrix narrow{};
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            narrow[4 * row + column] = static_cast<float>(matrix.Forward()[4 * row + column]);
    narrow[15] = 1;
    return narrow;
}

// Readers break on matrices of anything else.
bool IsFinite(const U3dMatrix& matrix) {
    return std::all_of(matrix.begin(), matrix.end(), [](float value) { return std::isfinite(value); });
}

float FiniteOr0(float value) { return std::isfinite(value) ? value : 0; }

// Each view has a resource of its own. One that looks from its target, or with no up, has no place.
void AddView(IU3dScene& scene, const U3dView& view) {
    const std::string name = view.name ? NameOf(view.name) : std::string(), resource = "VR_" + name;
    const U3dMatrix matrix = ViewMatrix(view);
    if (!IsFinite(matrix)) return;
    const HRESULT status = scene.CreateViewResource(resource, "");
    if (status < 0) throw IFXException(status, "The view resource cannot be made.");
    U3dProjection projection;
    projection.perspective = static_cast<std::int16_t>(view.perspective) == VARIANT_TRUE;
    // The clip planes must hold the model however small or large its unit is.
    const float sight = static_cast<float>(std::hypot(static_cast<double>(view.target[0]) - view.eye[0],
                                                      static_cast<double>(view.target[1]) - view.eye[1],
                                                      static_cast<double>(view.target[2]) - view.eye[2]));
    if (sight > 0 && sight < 1e30f) {
        projection.nearClip = std::fmin(projection.nearClip, 0.001f * sight);
        projection.farClip = std::fmax(projection.farClip, 1000 * sight);
    }
    scene.CreateViewNode(name, "", matrix, resource, projection);
}

}  // namespace

void ExportU3DFile(const String& path, CNode& root, const U3dView* views, std::uint32_t viewCount, bool compressed) {
    const std::unique_ptr<IU3dScene> scene = CreateU3dFile();
    for (std::uint32_t i = 0; i < viewCount; ++i) AddView(*scene, views[i]);
    U3dWriter writer{*scene, compressed, viewCount};
    root.ExportU3D(writer, CMatrix());
    scene->Write(path);
}

void CAssembly::ExportU3D(U3dWriter& writer, const CMatrix& M) {
    if (drawingEnabled == 0) return;
    const CMatrix T = transform * M;
    for (CNode* child : children_) child->ExportU3D(writer, T);
}

void CPartInstance::ExportU3D(U3dWriter& writer, const CMatrix& M) {
    if (part_ && drawingEnabled != 0) part_->ExportU3D(writer, transform * M);
}

// Every instance gets a mesh of its own. All faces take the colour of the part's first element, of whatever kind,
// though each element's colour is there.
void CPart::ExportU3D(U3dWriter& writer, const CMatrix& matrix) const {
    const U3dMatrix placement = NarrowMatrix(matrix);
    if (!IsFinite(placement)) return;
    U3dMesh mesh;
    U3dMaterial material;
    material.opacity = alpha > kFullAlpha ? 1.0f : FiniteOr0(alpha);
    for (const auto& element : elements_) {
        const Color& color = element->externalColor;
        mesh.colors.push_back({FiniteOr0(color.red), FiniteOr0(color.green), FiniteOr0(color.blue), material.opacity});
        element->FillU3DMesh(mesh);
    }
    if (mesh.FaceCount() == 0) return;
    mesh.colorFaces.assign(mesh.positionFaces.size(), 0);
    const std::string meshName = NameOf(name) + "_" + std::to_string(g_u3dMeshCounter++);
    const std::string materialName = meshName + "_material", shaderName = meshName + "_shader";
    const auto full = static_cast<std::uint32_t>(mesh.positions.size());
    if (writer.scene.CreateMeshResource(meshName, std::move(mesh), writer.compressed ? 0 : full) < 0) return;
    writer.scene.CreateMaterial(materialName, material);
    writer.scene.CreateShader(shaderName, materialName);
    writer.scene.AttachShader(meshName, shaderName);
    // A view may have the name that is next.
    HRESULT status = STATUS_FAIL;
    for (std::uint32_t tries = 0; status < 0 && tries <= writer.viewCount; ++tries)
        status = writer.scene.CreateModelNode(meshName + "_" + std::to_string(g_u3dNodeCounter++), "", placement,
                                              meshName, kVisibility);
}

void CTriMesh::FillU3DMesh(U3dMesh& mesh) {
    const ReadLock lock(*this);
    const auto firstPosition = static_cast<std::uint32_t>(mesh.positions.size());
    auto corner = static_cast<std::uint32_t>(mesh.normals.size());
    mesh.positions.insert(mesh.positions.end(), vertices_.begin(), vertices_.end());
    mesh.normals.reserve(mesh.normals.size() + 3 * triangles_.size());
    mesh.normalFaces.reserve(mesh.normalFaces.size() + 3 * triangles_.size());
    mesh.positionFaces.reserve(mesh.positionFaces.size() + 3 * triangles_.size());
    for (const TriMeshTriangle& t : triangles_)
        for (int k = 0; k < 3; ++k) {
            mesh.positionFaces.push_back(firstPosition + t.vertex[k]);
            mesh.normalFaces.push_back(corner++);
            mesh.normals.push_back((*normals_)[t.normal[k]]);
        }
}

}  // namespace tessera
