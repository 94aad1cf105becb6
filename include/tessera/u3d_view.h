// A named view for the U3D export.
#pragma once

#include <cstdint>

#include "platform.h"

namespace tessera {

// ITessera::ExportU3D takes an array of these as its float*. World coordinates.
#pragma pack(push, 1)
struct U3dView {
    float eye[3];
    float target[3];  // must differ from eye
    float up[3];      // need not be perpendicular to the line of sight, nor of length 1
    // -1 for a perspective view, anything else for a parallel one; only the low 16 bits count.
    std::int32_t perspective;
    const OLECHAR* name;  // zero-terminated
};
#pragma pack(pop)
static_assert(sizeof(U3dView) == 40 + sizeof(void*));

}  // namespace tessera
