#include "render/dib_image.h"

#include <array>
#include <bit>
#include <cstdio>
#include <new>

#include "platform/error_box.h"
#include "platform/file.h"

namespace tessera {
namespace {

constexpr std::size_t kFileHeader = 14, kCoreHeader = 12, kInfoHeader = 40;
// All that stands before the rows: headers, masks and palette.
constexpr std::size_t kMostHead = kFileHeader + 1024 + 12 + 4 * 256;
constexpr std::uint32_t kPlain = 0, kBitFields = 3;  // ways of compression
// Larger pictures are no textures.
constexpr std::int64_t kMostPixels = 1 << 28;

class Bytes {
public:
    explicit Bytes(const std::vector<std::uint8_t>& data) : data_(data) {}
    // 0 beyond the end.
    std::uint32_t At(std::size_t i) const { return i < data_.size() ? data_[i] : 0; }
    std::uint32_t U16(std::size_t i) const { return At(i) | At(i + 1) << 8; }
    std::uint32_t U32(std::size_t i) const { return U16(i) | U16(i + 2) << 16; }

private:
    const std::vector<std::uint8_t>& data_;
};

// One colour in a pixel of 16 or 32 bits.
struct Channel {
    std::uint32_t mask = 0;
    std::uint8_t Of(std::uint32_t pixel) const {
        if (mask == 0) return 0;
        const std::uint64_t value = (pixel & mask) >> std::countr_zero(mask), most = mask >> std::countr_zero(mask);
        return static_cast<std::uint8_t>(value * 255 / most);
    }
};

class Decoder {
public:
    explicit Decoder(const Bytes& bytes) : bytes_(bytes) {}

    // False for a header that tells nothing usable.
    bool ReadHeader();
    // Where the rows begin, and how many bytes they take.
    std::uint64_t PixelsAt() const { return pixels_; }
    std::size_t PixelBytes() const { return stride_ * height_; }
    RgbImage ReadPixels(const Bytes& rows) const;

private:
    std::array<std::uint8_t, 3> PixelAt(const Bytes& rows, std::size_t row, std::size_t x) const;

    const Bytes& bytes_;
    std::size_t width_ = 0, height_ = 0, stride_ = 0;
    std::size_t palette_ = 0, paletteEntry_ = 4, colors_ = 0;
    std::size_t pixels_ = 0;
    bool downwards_ = false;
    std::uint32_t bits_ = 0;
    Channel channel_[3];
};

bool Decoder::ReadHeader() {
    const bool hasFileHeader = bytes_.At(0) == 'B' && bytes_.At(1) == 'M';
    const std::size_t header = hasFileHeader ? kFileHeader : 0, size = bytes_.U32(header);
    std::int64_t width = 0, height = 0;
    std::uint32_t compression = kPlain;
    if (size == kCoreHeader) {
        width = bytes_.U16(header + 4);
        height = bytes_.U16(header + 6);
        bits_ = bytes_.U16(header + 10);
        paletteEntry_ = 3;
    } else if (size >= kInfoHeader && size <= 1024) {
        width = static_cast<std::int32_t>(bytes_.U32(header + 4));
        height = static_cast<std::int32_t>(bytes_.U32(header + 8));
        bits_ = bytes_.U16(header + 14);
        compression = bytes_.U32(header + 16);
        colors_ = bytes_.U32(header + 32);
    } else {
        return false;
    }
    downwards_ = height < 0;
    if (downwards_) height = -height;
    const bool known = bits_ == 1 || bits_ == 4 || bits_ == 8 || bits_ == 16 || bits_ == 24 || bits_ == 32;
    const bool fields = compression == kBitFields && (bits_ == 16 || bits_ == 32);
    if (!known || (compression != kPlain && !fields)) return false;
    if (width < 1 || height < 1 || width > kMostPixels / height) return false;
    width_ = static_cast<std::size_t>(width);
    height_ = static_cast<std::size_t>(height);
    stride_ = (width_ * bits_ + 31) / 32 * 4;
    palette_ = header + size;
    constexpr std::uint32_t kMasks16[3] = {0x7c00, 0x3e0, 0x1f}, kMasks32[3] = {0xff0000, 0xff00, 0xff};
    for (std::size_t i = 0; i < 3; ++i)
        channel_[i].mask = fields ? bytes_.U32(header + kInfoHeader + 4 * i) : bits_ == 16 ? kMasks16[i] : kMasks32[i];
    if (fields && size == kInfoHeader) palette_ += 12;
    if (bits_ <= 8 && (colors_ == 0 || colors_ > (std::size_t{1} << bits_))) colors_ = std::size_t{1} << bits_;
    pixels_ = hasFileHeader ? bytes_.U32(10) : palette_ + (colors_ <= 256 ? colors_ : 0) * paletteEntry_;
    return true;
}

std::array<std::uint8_t, 3> Decoder::PixelAt(const Bytes& rows, std::size_t row, std::size_t x) const {
    const std::size_t start = row * stride_;
    if (bits_ == 16 || bits_ == 32) {
        const std::uint32_t pixel = bits_ == 16 ? rows.U16(start + 2 * x) : rows.U32(start + 4 * x);
        return {channel_[0].Of(pixel), channel_[1].Of(pixel), channel_[2].Of(pixel)};
    }
    const auto color = [](const Bytes& from, std::size_t at) -> std::array<std::uint8_t, 3> {
        return {static_cast<std::uint8_t>(from.At(at + 2)), static_cast<std::uint8_t>(from.At(at + 1)),
                static_cast<std::uint8_t>(from.At(at))};
    };
    if (bits_ <= 8) {
        const std::size_t perByte = 8 / bits_, shift = 8 - bits_ * (x % perByte + 1);
        const std::uint32_t index = rows.At(start + x / perByte) >> shift & ((1u << bits_) - 1);
        return color(bytes_, palette_ + index * paletteEntry_);
    }
    return color(rows, start + 3 * x);
}

RgbImage Decoder::ReadPixels(const Bytes& rows) const {
    RgbImage image{static_cast<int>(width_), static_cast<int>(height_), {}};
    image.pixels.reserve(3 * width_ * height_);
    for (std::size_t y = 0; y < height_; ++y)
        for (std::size_t x = 0; x < width_; ++x) {
            const auto pixel = PixelAt(rows, downwards_ ? height_ - 1 - y : y, x);
            image.pixels.insert(image.pixels.end(), pixel.begin(), pixel.end());
        }
    return image;
}

}  // namespace

std::optional<RgbImage> LoadDIBImage(const String& path) {
    try {
        InputFile file(path);
        if (!file.IsOpen()) {
            ShowError(("Failed to open DIB file " + ToUtf8(path) + ".\n").c_str());
            return std::nullopt;
        }
        const std::vector<std::uint8_t> head = file.Read(0, kMostHead);
        const Bytes bytes(head);
        Decoder decoder(bytes);
        if (!decoder.ReadHeader()) {
            ShowError("Unknown DIB file format.");
            return std::nullopt;
        }
        const std::vector<std::uint8_t> rows = file.Read(decoder.PixelsAt(), decoder.PixelBytes());
        if (rows.size() == decoder.PixelBytes()) return decoder.ReadPixels(Bytes(rows));
        ShowError("Image file conversion error.");
    } catch (const std::bad_alloc&) {
        ShowError("Out of memory.");
    }
    return std::nullopt;
}

}  // namespace tessera
