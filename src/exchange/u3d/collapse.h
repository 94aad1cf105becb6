// The order in which a progressive mesh gains its positions.
#pragma once

#include "exchange/u3d/u3d_scene.h"

namespace tessera {

// How one position comes: out of an earlier one, with some faces made and some corners taken over.
struct U3dSplit {
    std::uint32_t from = 0, made = 0, moved = 0;
};

struct U3dSplits {
    std::vector<U3dSplit> splits;      // by position
    std::vector<std::uint32_t> made;   // faces; those of the first position stand last
    std::vector<std::uint32_t> moved;  // corners, likewise
    // The position whose coming changes the faces at a position, or their shapes, for the last time.
    std::vector<std::uint32_t> settled;
};

// Takes the positions away one after another, the least noticed first, and numbers those of the mesh backwards in this
// order. positionFaces is left as each face was when its last position but two went: the state in which it is made.
// Every face must have three different positions. False, with the mesh as it was, if its faces are so entangled that
// few go with each position, and those that stay crowd ever fewer positions: random corners do that, surfaces do not.
bool CollapseU3dMesh(U3dMesh& mesh, U3dSplits& splits);

}  // namespace tessera
