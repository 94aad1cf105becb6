#include "platform/file.h"

#include <cstdio>
#include <memory>

namespace tessera {

bool ReadWholeFile(const String& path, std::vector<std::uint8_t>& data) {
#ifdef _WIN32
    std::FILE* const opened = _wfopen(path.c_str(), L"rb");
#else
    std::FILE* const opened = std::fopen(ToUtf8(path).c_str(), "rb");
#endif
    if (!opened) return false;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(opened, std::fclose);
    data.clear();
    for (std::size_t got = 1; got > 0;) {
        constexpr std::size_t kStep = 1 << 16;
        const std::size_t size = data.size();
        data.resize(size + kStep);
        got = std::fread(data.data() + size, 1, kStep, file.get());
        data.resize(size + got);
    }
    return std::ferror(file.get()) == 0;
}

}  // namespace tessera
