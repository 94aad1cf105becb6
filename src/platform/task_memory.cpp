// Task memory, for systems that have none of their own.
#include <tessera/platform.h>

#if !defined(_WIN32)

#include <cstdlib>

namespace tessera {

void* CoTaskMemAlloc(std::size_t bytes) { return std::malloc(bytes); }

void CoTaskMemFree(void* block) { std::free(block); }

}  // namespace tessera

#endif
