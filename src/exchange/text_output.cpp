#include "exchange/text_output.h"

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>

namespace tessera {
namespace {

constexpr std::uint64_t kPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000};
constexpr std::size_t kLongestNumber = 330;  // of a double

// The magnitude in units of the last decimal, rounded as the exact value is: to the nearest, ties to even. Below
// 2^43 that takes 64 bits.
std::uint64_t ScaledMagnitude(std::uint32_t bits, std::uint64_t scale) {
    const std::uint32_t exponent = (bits >> 23) & 0xff;
    const std::uint64_t mantissa = exponent == 0 ? bits & 0x7fffff : (bits & 0x7fffff) | 0x800000;
    const int shift = static_cast<int>(exponent == 0 ? 1 : exponent) - 150;
    const std::uint64_t exact = mantissa * scale;
    if (shift >= 0) return exact << shift;
    if (shift < -62) return 0;
    const std::uint64_t whole = exact >> -shift, rest = exact & ((1ull << -shift) - 1), half = 1ull << (-shift - 1);
    return whole + (rest > half || (rest == half && (whole & 1) != 0) ? 1 : 0);
}

}  // namespace

void TextOutput::Flush() {
    file_.Write(buffer_, used_);
    used_ = 0;
}

char* TextOutput::Room(std::size_t bytes) {
    if (kSize - used_ < bytes) Flush();
    return buffer_ + used_;
}

TextOutput& TextOutput::Text(std::string_view text) {
    if (text.size() > kSize) {
        Flush();
        file_.Write(text.data(), text.size());
        return *this;
    }
    std::memcpy(Room(text.size()), text.data(), text.size());
    used_ += text.size();
    return *this;
}

TextOutput& TextOutput::Integer(std::uint32_t value) {
    char* const out = Room(kLongestNumber);
    used_ += static_cast<std::size_t>(std::to_chars(out, out + kLongestNumber, value).ptr - out);
    return *this;
}

TextOutput& TextOutput::Fixed(float value, int decimals) {
    constexpr float kExact = 8796093022208.0f;  // 2^43
    if (!(std::fabs(value) < kExact)) return Fixed(static_cast<double>(value), decimals);
    char* const begin = Room(kLongestNumber);
    char* out = begin;
    if (std::signbit(value)) *out++ = '-';
    const std::uint64_t scale = kPowers[decimals];
    const std::uint64_t scaled = ScaledMagnitude(std::bit_cast<std::uint32_t>(value), scale);
    out = std::to_chars(out, begin + kLongestNumber, scaled / scale).ptr;
    *out = '.';
    auto fraction = static_cast<std::uint32_t>(scaled % scale);
    for (int i = decimals; i > 0; --i, fraction /= 10) out[i] = static_cast<char>('0' + fraction % 10);
    used_ += static_cast<std::size_t>(out + 1 + decimals - begin);
    return *this;
}

TextOutput& TextOutput::Fixed(double value, int decimals) {
    char* const out = Room(kLongestNumber);
    const auto format = std::chars_format::fixed;
    used_ += static_cast<std::size_t>(std::to_chars(out, out + kLongestNumber, value, format, decimals).ptr - out);
    return *this;
}

}  // namespace tessera
