// The declaration of a mesh, and the block that holds it whole: arrays as they are, and indices packed by the number
// of what they can name.
#include <algorithm>
#include <cmath>
#include <limits>

#include "exchange/u3d/mesh_blocks.h"

namespace tessera {
namespace {

constexpr std::uint32_t kQuality = 1000;  // the best; readers only report it
// Cosines that once steered the making of normals elsewhere; readers of the file do not use them.
constexpr float kNormalCrease = 0.999f, kNormalUpdate = -1.0f, kNormalTolerance = 0.985f;
constexpr std::uint32_t kFaceColors = 1;
constexpr std::uint32_t kNoNormals = 1;
constexpr std::uint32_t kShadingContext = 1;
constexpr std::uint64_t kPlainIndices = 16383;  // an array of so many entries takes indices of four bytes

std::uint32_t CountOf(std::size_t count) { return static_cast<std::uint32_t>(count); }

std::uint64_t IndexBytes(const std::vector<std::uint32_t>& faces, std::size_t count) {
    return faces.size() * (count >= kPlainIndices ? 4ull : 2ull);
}

void PutFaces(U3dBitStream& block, const U3dMesh& mesh) {
    const std::uint32_t positions = kU3dFixedContext + CountOf(mesh.positions.size());
    const std::uint32_t normals = kU3dFixedContext + CountOf(mesh.normals.size());
    const std::uint32_t colors = kU3dFixedContext + CountOf(mesh.colors.size());
    const bool hasNormals = !mesh.normalFaces.empty(), hasColors = !mesh.colorFaces.empty();
    for (std::size_t i = 0; i < mesh.positionFaces.size(); ++i) {
        if (i % 3 == 0) block.Packed32(kShadingContext, 0);
        block.Packed32(positions, mesh.positionFaces[i]);
        if (hasNormals) block.Packed32(normals, mesh.normalFaces[i]);
        if (hasColors) block.Packed32(colors, mesh.colorFaces[i]);
    }
}

}  // namespace

U3dQuantization U3dQuantizationOf(const U3dMesh& mesh) {
    constexpr double kSteps = 1 << 18, kMostSteps = 0xfffffe00;
    U3dQuantization result;
    if (mesh.positions.empty()) return result;
    double low[3], high[3], largest = 0, radius = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = high[axis] = mesh.positions[0][axis];
        for (const Vec3& p : mesh.positions) {
            low[axis] = std::min<double>(low[axis], p[axis]);
            high[axis] = std::max<double>(high[axis], p[axis]);
        }
        largest = std::max({largest, std::fabs(low[axis]), std::fabs(high[axis])});
    }
    for (const Vec3& p : mesh.positions) {
        double square = 0;
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double offset = p[axis] - (low[axis] + high[axis]) / 2;
            square += offset * offset;
        }
        radius = std::max(radius, square);
    }
    radius = std::sqrt(radius);
    const double step = std::max((radius > 0 ? radius : 1.0) / kSteps, largest / kMostSteps);
    result.position = static_cast<float>(std::max<double>(step, std::numeric_limits<float>::min()));
    return result;
}

U3dBytes U3dMeshDeclarationData(const std::string& name, const U3dMesh& mesh, std::uint32_t minimumResolution,
                                const U3dQuantization& quantization) {
    const bool hasNormals = !mesh.normalFaces.empty();
    U3dBitStream data;
    data.Text(name);
    data.U32(0);  // first in its chain
    data.U32(hasNormals ? 0 : kNoNormals);
    data.U32(CountOf(mesh.FaceCount()));
    data.U32(CountOf(mesh.positions.size()));
    data.U32(hasNormals ? CountOf(mesh.normals.size()) : 0);
    data.U32(CountOf(mesh.colors.size()));
    data.U32(0);  // specular colours
    data.U32(0);  // texture coordinates
    data.U32(1);  // one shading
    data.U32(mesh.colorFaces.empty() ? 0 : kFaceColors);
    data.U32(0);  // texture layers
    data.U32(0);  // the shading's own number
    data.U32(minimumResolution);
    data.U32(CountOf(mesh.positions.size()));
    for (int i = 0; i < 3; ++i) data.U32(kQuality);
    data.F32(quantization.position);
    data.F32(quantization.normal);
    for (int i = 0; i < 3; ++i) data.F32(quantization.color);  // texture coordinates take it too
    data.F32(kNormalCrease);
    data.F32(kNormalUpdate);
    data.F32(kNormalTolerance);
    data.U32(0);  // bones
    return data.Finish();
}

std::uint64_t U3dBaseMeshSize(const U3dMesh& mesh) {
    const std::uint64_t indices = IndexBytes(mesh.positionFaces, mesh.positions.size()) +
                                  IndexBytes(mesh.normalFaces, mesh.normals.size()) +
                                  IndexBytes(mesh.colorFaces, mesh.colors.size());
    return sizeof(Vec3) * (mesh.positions.size() + mesh.normals.size()) + 16 * mesh.colors.size() + indices +
           indices / 64 + mesh.FaceCount() / 64;
}

U3dBytes U3dBaseMeshData(const std::string& name, const U3dMesh& mesh) {
    const bool hasNormals = !mesh.normalFaces.empty();
    U3dBitStream block;
    block.Reserve(U3dBaseMeshSize(mesh) + name.size() + 64);
    block.Text(name);
    block.U32(0);
    block.U32(CountOf(mesh.FaceCount()));
    block.U32(CountOf(mesh.positions.size()));
    block.U32(hasNormals ? CountOf(mesh.normals.size()) : 0);
    block.U32(CountOf(mesh.colors.size()));
    block.U32(0);  // specular colours
    block.U32(0);  // texture coordinates
    block.Raw(mesh.positions.data(), sizeof(Vec3) * mesh.positions.size());
    if (hasNormals) block.Raw(mesh.normals.data(), sizeof(Vec3) * mesh.normals.size());
    block.Raw(mesh.colors.data(), sizeof(mesh.colors[0]) * mesh.colors.size());
    PutFaces(block, mesh);
    return block.Finish();
}

}  // namespace tessera
