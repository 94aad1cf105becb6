#include "render/texture_cache.h"

#include <GL/gl.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "render/dib_image.h"

namespace tessera {
namespace {

constexpr int kSide = 256;  // of the built-in pictures
constexpr int kStripe = 3;  // pixels

using Rgb = std::array<float, 3>;

// A soft light: brightness at (x, y) of a patch around (cx, cy) with half widths (w, h).
float Patch(float x, float y, float cx, float cy, float w, float h) {
    const float u = std::fabs(x - cx) / w, v = std::fabs(y - cy) / h;
    return 1 / (1 + std::exp(12 * (std::max(u, v) - 1)));
}

Rgb Mixed(const Rgb& a, const Rgb& b, float share) {
    return {a[0] + (b[0] - a[0]) * share, a[1] + (b[1] - a[1]) * share, a[2] + (b[2] - a[2]) * share};
}

// A workshop as a polished ball shows it: a dark ceiling, a warm wall with two windows, a floor that takes up their
// light. x and y run from -1 to 1, y upwards.
Rgb Reflection(float x, float y) {
    constexpr Rgb kCeiling = {0.12f, 0.10f, 0.09f}, kWall = {0.72f, 0.62f, 0.51f}, kFloor = {0.58f, 0.47f, 0.36f};
    constexpr Rgb kWindow = {1.0f, 0.93f, 0.78f}, kLamp = {1.0f, 0.80f, 0.52f};
    const float up = 1 / (1 + std::exp(-9 * (y - 0.35f))), down = 1 / (1 + std::exp(9 * (y + 0.30f)));
    Rgb color = Mixed(Mixed(kWall, kCeiling, up), kFloor, down);
    color = Mixed(color, kWindow, 0.95f * Patch(x, y, -0.42f, 0.12f, 0.20f, 0.26f));
    color = Mixed(color, kWindow, 0.70f * Patch(x, y, 0.02f, 0.10f, 0.12f, 0.24f));
    color = Mixed(color, kLamp, 0.80f * Patch(x, y, 0.55f, 0.05f, 0.10f, 0.10f));
    color = Mixed(color, kWindow, 0.28f * Patch(x, y, -0.30f, -0.55f, 0.45f, 0.16f));
    // Towards the rim everything darkens, as at grazing angles.
    const float rim = std::min(1.0f, x * x + y * y);
    return Mixed(color, {0.03f, 0.025f, 0.02f}, 0.35f * rim * rim);
}

std::uint8_t ToByte(float value) { return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255)); }

std::vector<std::uint8_t> BuiltIn(bool stripes) {
    std::vector<std::uint8_t> pixels;
    pixels.reserve(4 * kSide * kSide);
    for (int row = 0; row < kSide; ++row)
        for (int column = 0; column < kSide; ++column) {
            const auto scaled = [](int i) { return 2 * (static_cast<float>(i) + 0.5f) / kSide - 1; };
            const bool white = column / kStripe % 2 == 0;
            const Rgb color = stripes ? (white ? Rgb{1, 1, 1} : Rgb{1.0f / 255, 1.0f / 255, 1.0f / 255})
                                      : Reflection(scaled(column), scaled(row));
            for (const float channel : color) pixels.push_back(ToByte(channel));
            pixels.push_back(255);
        }
    return pixels;
}

unsigned MakeTexture() {
    GLuint id = 0;
    glGenTextures(1, &id);
    glBindTexture(GL_TEXTURE_2D, id);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    return id;
}

void Upload(GLenum format, int width, int height, const std::uint8_t* pixels) {
    glPushClientAttrib(GL_CLIENT_PIXEL_STORE_BIT);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glPixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    glPixelStorei(GL_UNPACK_SKIP_ROWS, 0);
    glPixelStorei(GL_UNPACK_SKIP_PIXELS, 0);
    glTexImage2D(GL_TEXTURE_2D, 0, 3, width, height, 0, format, GL_UNSIGNED_BYTE, pixels);
    glPopClientAttrib();
}

}  // namespace

unsigned TextureCache::GetTexture(const String& name) {
    const auto known = textures_.find(name);
    if (known != textures_.end()) return known->second;
    const bool stripes = name == FromAscii("KMStripes");
    if (stripes || name == FromAscii("KMDefault")) {
        const unsigned id = textures_[name] = MakeTexture();
        Upload(GL_RGBA, kSide, kSide, BuiltIn(stripes).data());
        return id;
    }
    if (unreadable_.count(name) > 0) return 0;
    const std::optional<RgbImage> image = LoadDIBImage(name);
    if (!image) {
        unreadable_.insert(name);
        return 0;
    }
    const unsigned id = textures_[name] = MakeTexture();
    Upload(GL_RGB, image->width, image->height, image->pixels.data());
    return id;
}

}  // namespace tessera
