// How far a block of task memory reaches.
#pragma once

#include <cstddef>

namespace tessera {

// At least the bytes that were asked of CoTaskMemAlloc, by the allocator's own books; 0 for null. The greatest number
// where there are no books to read.
std::size_t TaskBlockSize(const void* block);

}  // namespace tessera
