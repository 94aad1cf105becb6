#include "png_file.h"

#include <fcntl.h>
#include <png.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "failure.h"

namespace tessera::host {

namespace {

// A file that takes the place of another once it is written whole, and else leaves no trace.
class Replacement {
public:
    explicit Replacement(const std::string& path) : path_(path), temporary_(path + ".XXXXXX") {
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) throw Failure(path, "not a file to write");
        const int descriptor = ::mkostemp(temporary_.data(), O_CLOEXEC);
        if (descriptor < 0) throw Failure(path, std::string("cannot be written: ") + std::strerror(errno));
        const mode_t mask = ::umask(0);
        ::umask(mask);
        ::fchmod(descriptor, 0666 & ~mask);
        stream_ = ::fdopen(descriptor, "wb");
    }
    ~Replacement() {
        if (stream_ != nullptr) std::fclose(stream_);
        if (!done_) ::unlink(temporary_.c_str());
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    std::FILE* Stream() const { return stream_; }

    void Finish() {
        const bool written = std::fclose(stream_) == 0;
        stream_ = nullptr;
        done_ = written && std::rename(temporary_.c_str(), path_.c_str()) == 0;
        if (!done_) throw Failure(path_, std::string("cannot be written: ") + std::strerror(errno));
    }

private:
    std::string path_;
    std::string temporary_;
    std::FILE* stream_ = nullptr;
    bool done_ = false;
};

}  // namespace

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
