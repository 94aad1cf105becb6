// Pictures in files: Windows device-independent bitmaps.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/text.h"

namespace tessera {

// Rows from the bottom up, packed, red, green and blue a pixel.
struct RgbImage {
    int width = 0, height = 0;
    std::vector<std::uint8_t> pixels;
};

// Reads a bitmap with or without its file header: 1, 4, 8, 16, 24 or 32 bits a pixel, uncompressed, stored upwards or
// downwards. Says on the platform's error output what is wrong with a file, and gives nothing then.
std::optional<RgbImage> LoadDIBImage(const String& path);

}  // namespace tessera
