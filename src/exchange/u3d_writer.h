// What the walk of a U3D export carries down the tree.
#pragma once

#include <cstdint>

namespace tessera {

class IU3dScene;

struct U3dWriter {
    IU3dScene& scene;
    bool compressed;          // meshes may be reduced by readers
    std::uint32_t viewCount;  // names of nodes that are taken
};

}  // namespace tessera
