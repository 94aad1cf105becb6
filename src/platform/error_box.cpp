#include "platform/error_box.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <cstdio>
#include <cstring>
#endif

namespace tessera {

void ShowError(const char* text) noexcept {
#ifdef _WIN32
    wchar_t wide[1024] = L"";
    MultiByteToWideChar(CP_UTF8, 0, text, -1, wide, 1023);
    MessageBoxW(nullptr, wide, L"Error", MB_OK);
#else
    const std::size_t length = std::strlen(text);
    std::fprintf(stderr, "Error: %s%s", text, length > 0 && text[length - 1] == '\n' ? "" : "\n");
#endif
}

}  // namespace tessera
