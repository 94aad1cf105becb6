// A U3D file of any bytes is refused, or read in full.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "u3d_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int input = ::memfd_create("input", 0), output = ::memfd_create("output", 0);
    if (::ftruncate(input, 0) != 0 || ::ftruncate(output, 0) != 0) return 0;
    if (::pwrite(input, data, size, 0) != static_cast<ssize_t>(size)) return 0;
    try {
        tessera::host::ModelWriter writer(output);
        tessera::host::ReadU3d("/proc/self/fd/" + std::to_string(input), true, writer);
    } catch (const std::runtime_error&) {
    }
    return 0;
}
