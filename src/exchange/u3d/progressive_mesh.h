// A mesh that comes position by position: each one adds faces, and takes corners of earlier faces over.
#pragma once

#include "exchange/u3d/mesh_blocks.h"

namespace tessera {

// Leaves out faces without area by their indices, and gives positions with very many faces copies of their own, since
// the work and the size at a position grow with the square of its faces. False, with nothing changed, for what only
// the form at full resolution can hold.
bool PrepareProgressiveMesh(U3dMesh& mesh);
// The data of the blocks, for a mesh that has been prepared. Its arrays are used up.
std::vector<U3dBytes> U3dProgressiveMeshData(const std::string& name, U3dMesh& mesh,
                                             const U3dQuantization& quantization);

}  // namespace tessera
