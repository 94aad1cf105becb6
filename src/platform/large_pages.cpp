#include "platform/large_pages.h"

#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#endif

namespace tessera {

void PreferLargePages(void* memory, std::size_t bytes) {
#if defined(MADV_HUGEPAGE)
    constexpr std::uintptr_t kLargePage = 2 << 20;
    const auto start = (reinterpret_cast<std::uintptr_t>(memory) + kLargePage - 1) / kLargePage * kLargePage;
    const auto end = (reinterpret_cast<std::uintptr_t>(memory) + bytes) / kLargePage * kLargePage;
    // A wish: a system that has none left serves small ones.
    if (start < end) static_cast<void>(madvise(reinterpret_cast<void*>(start), end - start, MADV_HUGEPAGE));
#else
    static_cast<void>(memory), static_cast<void>(bytes);
#endif
}

}  // namespace tessera
