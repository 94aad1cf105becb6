#pragma once

#include <cstdint>

#include "u3d_bit_reader.h"
#include "u3d_file.h"

namespace tessera::host {

// Reads so many updates of a progressive mesh, each of which adds a position, with the faces, colours and normals that
// come with it, to what the mesh has. Throws std::runtime_error.
void ReadUpdates(U3dBitReader& in, std::uint32_t count, U3dContent::Mesh& mesh);

}  // namespace tessera::host
