#include "u3d_bit_reader.h"

namespace tessera::host {

namespace {

bool IsUtf8(const std::string& text) {
    for (std::size_t i = 0; i < text.size();) {
        const unsigned lead = static_cast<unsigned char>(text[i++]);
        const int more = lead < 0x80 ? 0 : lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
        unsigned code = more == 0 ? lead : lead & (0x3Fu >> more);
        for (int k = 0; k < more; ++k, ++i) {
            if (i == text.size() || (text[i] & 0xC0) != 0x80) return false;
            code = code << 6 | (text[i] & 0x3F);
        }
        constexpr unsigned least[] = {0, 0x80, 0x800, 0x10000};
        if ((lead & 0xC0) == 0x80 || lead > 0xF4 || code < least[more] || code > 0x10FFFF) return false;
        if (code >= 0xD800 && code < 0xE000) return false;
    }
    return true;
}

}  // namespace

std::string U3dBitReader::String() {
    std::string text(U16(), '\0');
    for (char& c : text) c = static_cast<char>(U8());
    Require(IsUtf8(text), "a string that is not UTF-8");
    return text;
}

}  // namespace tessera::host
