// A level of detail of a part.
#pragma once

#include <cstdint>
#include <vector>

namespace tessera {

// Strips in one colour.
struct MeshBlock {
    float color[4] = {0, 0, 0, 1};  // red, green, blue, opacity
    bool useVertexArray = false;
    std::vector<float> vertices;       // nx, ny, nz, x, y, z a vertex; all strips back to back
    std::vector<std::int32_t> strips;  // vertices of each, ended by 0; all of them lie in vertices
};

struct LodGroup {
    std::vector<MeshBlock> blocks;
};

// Whether a stream, or the computation of levels, has met any since it was cleared last.
extern bool g_lodsPresent;

}  // namespace tessera
