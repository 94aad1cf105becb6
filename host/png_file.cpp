#include "png_file.h"

#include <png.h>

#include <cstdio>

#include "failure.h"
#include "replacement.h"

namespace tessera::host {

void WritePng(const std::string& path, const Image& image) {
    Replacement file(path);
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    png.width = static_cast<png_uint_32>(image.width);
    png.height = static_cast<png_uint_32>(image.height);
    png.format = PNG_FORMAT_RGBA;
    // A sixth of the time for a file a third larger.
    png.flags = PNG_IMAGE_FLAG_FAST;
    // The negative stride turns the rows round; the library finds the first one from the start of the buffer.
    const png_int_32 stride = -image.width * 4;
    if (!png_image_write_to_stdio(&png, file.Stream(), 0, image.rgba.data(), stride, nullptr)) {
        throw Failure(path, std::string("cannot be written: ") + png.message);
    }
    file.Finish();
}

Image ReadPng(const std::string& path) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) throw Failure(path, png.message);
    png.format = PNG_FORMAT_RGBA;
    Image image{static_cast<int>(png.width), static_cast<int>(png.height), {}};
    image.rgba.resize(PNG_IMAGE_SIZE(png));
    if (!png_image_finish_read(&png, nullptr, image.rgba.data(), -image.width * 4, nullptr)) {
        throw Failure(path, png.message);
    }
    return image;
}

}  // namespace tessera::host
