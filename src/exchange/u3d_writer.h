// What the walk of a U3D export carries down the tree.
#pragma once

namespace tessera {

class IU3dScene;

struct U3dWriter {
    IU3dScene& scene;
    bool compressed;  // meshes may be reduced by readers
};

}  // namespace tessera
