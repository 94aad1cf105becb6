// A 3DG file of any bytes is refused, or holds up as a scene.
#include <cstddef>
#include <cstdint>

#include "failure.h"
#include "tdpm_loader.h"
#include "whole_scene.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const tessera::host::TdpmFile file("input", {data, data + size});
        const tessera::host::Scene scene = tessera::host::CreateScene();
        tessera::host::LoadTdpm(*scene, file);
        tessera::test::UseAll(*scene);
    } catch (const tessera::host::Failure&) {
    }
    return 0;
}
