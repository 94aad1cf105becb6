// Memory in large pages.
#pragma once

#include <cstddef>
#include <vector>

namespace tessera {

// Asks for large pages under memory that is about to be filled, if it is large enough for some: they are fewer to fault
// in, and walks through a mesh that the caches do not hold miss fewer address translations.
void PreferLargePages(void* memory, std::size_t bytes);

// Room for so many items, in large pages where there is enough of it.
template <class T>
void ReserveLarge(std::vector<T>& array, std::size_t count) {
    if (count <= array.capacity()) return;
    array.reserve(count);
    PreferLargePages(array.data(), count * sizeof(T));
}

}  // namespace tessera
