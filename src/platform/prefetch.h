// Memory on its way before it is used.
#pragma once

namespace tessera {

// A wish: any address will do.
inline void Prefetch(const void* address) {
#if defined(__GNUC__)
    __builtin_prefetch(address);
#else
    static_cast<void>(address);
#endif
}

}  // namespace tessera
