// A 3DG file of any bytes is refused, or holds up as a scene.
#include <cstddef>
#include <cstdint>

#include "whole_scene.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tessera::test::LoadAndUseAll({data, data + size});
    return 0;
}
