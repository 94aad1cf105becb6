// A mesh that comes position by position: each one adds faces, and takes corners of earlier faces over.
#pragma once

#include "exchange/u3d/mesh_blocks.h"

namespace tessera {

// The data of the blocks. Faces without area by their indices are left out, and positions with very many faces get
// copies, since the work and the size at a position grow with the square of its faces; the mesh is then as its
// declaration must tell. False, with the mesh's surface as it was, for what is better held at full resolution: nothing
// at all, extreme numbers, colours without end, and faces that no surface has.
bool U3dProgressiveMeshData(const std::string& name, U3dMesh& mesh, const U3dQuantization& quantization,
                            std::vector<U3dBytes>& blocks);

}  // namespace tessera
