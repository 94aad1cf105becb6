// A named view for the U3D export.
#pragma once

#include <cstdint>
#include <exception>

#include "platform.h"

namespace tessera {

// ITessera::ExportU3D takes an array of these as its float*. World coordinates.
#pragma pack(push, 1)
struct U3dView {
    float eye[3];
    // A view that looks from its target, or with an up of no length, is left out.
    float target[3];
    float up[3];  // need not be perpendicular to the line of sight, nor of length 1
    // -1 for a perspective view, anything else for a parallel one; only the low 16 bits count.
    std::int32_t perspective;
    const OLECHAR* name;  // zero-terminated
};
#pragma pack(pop)
static_assert(sizeof(U3dView) == 40 + sizeof(void*));

// What ITessera::ExportU3D throws when a view cannot be made: one with the name of another.
struct TESSERA_API IFXException : std::exception {
    IFXException(HRESULT code, const char* text) noexcept : status(code), message(text) {}
    const char* what() const noexcept override { return message; }

    HRESULT status;
    const char* message;  // static
};

}  // namespace tessera
