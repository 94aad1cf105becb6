// What a plane leaves of a triangle.
#pragma once

#include "component/vector3.h"

namespace tessera {

// From one crossed edge of a triangle to the other, in the mesh's frame.
struct SectionCut {
    Vec3 start, end;
};

}  // namespace tessera
