// Task memory, for systems that have none of their own.
#include <tessera/platform.h>

#include <limits>

#include "platform/task_block.h"

#if !defined(_WIN32)

#include <cstdlib>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace tessera {

void* CoTaskMemAlloc(std::size_t bytes) { return std::malloc(bytes); }

void CoTaskMemFree(void* block) { std::free(block); }

}  // namespace tessera

#endif

namespace tessera {

std::size_t TaskBlockSize(const void* block) {
    if (!block) return 0;
#if defined(__GLIBC__)
    return malloc_usable_size(const_cast<void*>(block));
#else
    return std::numeric_limits<std::size_t>::max();
#endif
}

}  // namespace tessera
