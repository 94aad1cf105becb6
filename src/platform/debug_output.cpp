#include "platform/debug_output.h"

#ifdef _WIN32
#include <windows.h>
#else
#include <cstdio>
#endif

namespace tessera {

void WriteDebugText(const char* text) noexcept {
#ifdef _WIN32
    OutputDebugStringA(text);
#else
    std::fputs(text, stderr);
#endif
}

}  // namespace tessera
