// A bitmap of any bytes is refused, or has the pixels that it says.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "render/dib_image.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const int file = memfd_create("bitmap", 0);
    static const tessera::String path = tessera::FromAscii(("/proc/self/fd/" + std::to_string(file)).c_str());
    if (ftruncate(file, 0) != 0 || pwrite(file, data, size, 0) != static_cast<ssize_t>(size)) std::abort();
    const auto image = tessera::LoadDIBImage(path);
    if (image &&
        image->pixels.size() != 3u * static_cast<unsigned>(image->width) * static_cast<unsigned>(image->height))
        std::abort();
    return 0;
}
