#include "platform/text.h"

#include <cstdint>
#include <new>

namespace tessera {
namespace {

void AppendUtf8(std::string& out, std::uint32_t code) {
    const auto continuation = [&](int shift) { out += static_cast<char>(0x80 | ((code >> shift) & 0x3f)); };
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xc0 | (code >> 6));
        continuation(0);
    } else if (code < 0x10000) {
        out += static_cast<char>(0xe0 | (code >> 12));
        continuation(6);
        continuation(0);
    } else {
        out += static_cast<char>(0xf0 | (code >> 18));
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

}  // namespace

String ToString(BSTR text) {
    try {
        return text ? String(text, SysStringLen(text)) : String();
    } catch (const std::bad_alloc&) {
        throw ComError{STATUS_OUT_OF_MEMORY};
    }
}

BSTR ToBstr(const String& text) {
    BSTR copy = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    if (!copy) throw ComError{STATUS_OUT_OF_MEMORY};
    return copy;
}

String FromAscii(const char* text) {
    String out;
    for (; *text; ++text) out += static_cast<OLECHAR>(*text);
    return out;
}

String Numbered(const String& base, int number) {
    return base + FromAscii(" (") + FromAscii(std::to_string(number).c_str()) + FromAscii(")");
}

bool SplitNumbered(const String& text, String& base, int& number) {
    const std::size_t open = text.rfind(FromAscii(" ("));
    if (open == String::npos || text.back() != ')' || text.size() - open < 4 || text.size() - open > 12) return false;
    long long value = 0;
    for (std::size_t i = open + 2; i + 1 < text.size(); ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = 10 * value + (text[i] - '0');
    }
    if (text[open + 2] == '0' || value > 0x7fffffff) return false;
    base = text.substr(0, open);
    number = static_cast<int>(value);
    return true;
}

std::string ToUtf8(const String& text) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        std::uint32_t code = static_cast<std::uint32_t>(text[i]) & 0xffff;
        const bool high = code >= 0xd800 && code < 0xdc00, low = code >= 0xdc00 && code < 0xe000;
        const std::uint32_t next = i + 1 < text.size() ? static_cast<std::uint32_t>(text[i + 1]) & 0xffff : 0;
        if (high && next >= 0xdc00 && next < 0xe000) {
            code = 0x10000 + ((code - 0xd800) << 10) + (next - 0xdc00);
            ++i;
        } else if (high || low) {
            code = 0xfffd;
        }
        AppendUtf8(out, code);
    }
    return out;
}

std::string ToCodePage(const String& text) {
    const String head = text.substr(0, text.find(OLECHAR(0)));
#ifdef _WIN32
    const int length = static_cast<int>(head.size());
    std::string out(
        static_cast<std::size_t>(WideCharToMultiByte(CP_ACP, 0, head.data(), length, nullptr, 0, nullptr, nullptr)),
        '\0');
    WideCharToMultiByte(CP_ACP, 0, head.data(), length, out.data(), static_cast<int>(out.size()), nullptr, nullptr);
    return out;
#else
    return ToUtf8(head);
#endif
}

}  // namespace tessera
