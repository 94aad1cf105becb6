#include "platform/large_pages.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace tessera {

void PreferLargePages(void* memory, std::size_t bytes) {
#if defined(MADV_HUGEPAGE)
    constexpr std::size_t kLargePage = 2 << 20;
    const std::size_t before = (kLargePage - reinterpret_cast<std::uintptr_t>(memory) % kLargePage) % kLargePage;
    if (bytes < before + kLargePage) return;
    // A wish: a system that has none left serves small ones.
    static_cast<void>(
        madvise(static_cast<char*>(memory) + before, (bytes - before) / kLargePage * kLargePage, MADV_HUGEPAGE));
#else
    static_cast<void>(memory), static_cast<void>(bytes);
#endif
}

}  // namespace tessera
