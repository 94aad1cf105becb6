// How much memory there is, and how much of it this process has.
#pragma once

#include <cstdint>

namespace tessera {

// Asks the system. Tests put their own numbers in its place.
class ProcessMemory {
public:
    virtual ~ProcessMemory() = default;
    // Bytes that the process may have: the machine's, or those of its control group where these are fewer.
    virtual std::uint64_t Physical() const;
    // Bytes that it has, in memory and as claims that need backing: shared pages count once, its own twice. False
    // where the system does not tell.
    virtual bool ReadUsed(std::uint64_t& used) const;
};

// Gives memory that has been freed back to the system, where the allocator would keep it.
void ReturnFreedMemory();

}  // namespace tessera
