// The blocks that hold a mesh.
#pragma once

#include "exchange/u3d/bit_stream.h"
#include "exchange/u3d/u3d_scene.h"

namespace tessera {

// How fine the steps of a progressive mesh are; a full-resolution mesh states them without a use for them.
struct U3dQuantization {
    float position = 1.0f / (1 << 18), normal = 1.0f / (1 << 14), color = 1.0f / (1 << 14);
};

// Position steps for the extent of the mesh.
U3dQuantization U3dQuantizationOf(const U3dMesh& mesh);
// The data of the declaration. minimumResolution: 0 for a progressive mesh, and the number of positions otherwise.
U3dBytes U3dMeshDeclarationData(const std::string& name, const U3dMesh& mesh, std::uint32_t minimumResolution,
                                const U3dQuantization& quantization);
// An upper bound, but for a few bytes, of what the next gives.
std::uint64_t U3dBaseMeshSize(const U3dMesh& mesh);
// The data of the block with the whole mesh.
U3dBytes U3dBaseMeshData(const std::string& name, const U3dMesh& mesh);

}  // namespace tessera
