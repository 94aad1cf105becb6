#include "text.h"

#include <new>

namespace tessera::host {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Reads one character at `at` and moves on behind it.
char32_t NextUtf8(std::string_view text, std::size_t& at) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(at++);
    if (first < 0x80) return first;
    const int following = first >= 0xF0 ? 3 : first >= 0xE0 ? 2 : 1;
    if (first < 0xC2 || first > 0xF4) return kReplacement;
    char32_t code = first & (0x3F >> following);
    for (int i = 0; i < following; ++i) {
        if (at >= text.size() || (byte(at) & 0xC0) != 0x80) return kReplacement;
        code = code << 6 | (byte(at++) & 0x3F);
    }
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    const bool surrogate = code >= 0xD800 && code < 0xE000;
    return code < kSmallest[following] || surrogate || code > 0x10FFFF ? kReplacement : code;
}

void AppendUtf8(std::string& text, char32_t code) {
    if (code < 0x80) {
        text += static_cast<char>(code);
        return;
    }
    const int following = code >= 0x10000 ? 3 : code >= 0x800 ? 2 : 1;
    text += static_cast<char>((0xF00 >> (following + 1) & 0xFF) | (code >> (6 * following)));
    for (int i = following - 1; i >= 0; --i) text += static_cast<char>(0x80 | (code >> (6 * i) & 0x3F));
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
    std::u16string result;
    for (std::size_t at = 0; at < utf8.size();) {
        const char32_t code = NextUtf8(utf8, at);
        if (code < 0x10000) {
            result += static_cast<char16_t>(code);
        } else {
            result += static_cast<char16_t>(0xD7C0 + (code >> 10));
            result += static_cast<char16_t>(0xDC00 + (code & 0x3FF));
        }
    }
    return result;
}

std::string ToUtf8(std::u16string_view utf16) {
    std::string result;
    for (std::size_t i = 0; i < utf16.size(); ++i) {
        const char32_t unit = utf16[i];
        const bool high = unit >= 0xD800 && unit < 0xDC00;
        const bool paired = high && i + 1 < utf16.size() && utf16[i + 1] >= 0xDC00 && utf16[i + 1] < 0xE000;
        if (paired) {
            AppendUtf8(result, 0x10000 + ((unit - 0xD800) << 10) + (utf16[++i] - 0xDC00U));
        } else {
            AppendUtf8(result, unit >= 0xD800 && unit < 0xE000 ? kReplacement : unit);
        }
    }
    return result;
}

EngineText::EngineText(std::string_view utf8) {
    const std::u16string text = ToUtf16(utf8);
    text_ = SysAllocStringLen(reinterpret_cast<const OLECHAR*>(text.data()), static_cast<ULONG>(text.size()));
    if (text_ == nullptr) throw std::bad_alloc();
}

std::string TakeText(BSTR text) {
    std::string result = ToUtf8({reinterpret_cast<const char16_t*>(text), SysStringLen(text)});
    SysFreeString(text);
    return result;
}

}  // namespace tessera::host
