// When meshes are to be written to disk.
#pragma once

#include <cstdint>

namespace tessera {

// Decides from how much memory the process uses. Pure: time, memory and files belong to the caller.
class SpoolSchedule {
public:
    static constexpr int kSlow = 30000, kFast = 10;  // pauses, in milliseconds

    // physical: bytes of memory. narrow: for a process that reaches no more than 32 bits can count; then all sums are
    // of 32 bits, and a fixed limit a little below what such a process can have holds beside the other.
    explicit SpoolSchedule(std::uint64_t physical, bool narrow = sizeof(void*) == 4);

    // Whether a pass is due at a use of so many bytes.
    bool IsDue(std::uint64_t used) const;
    // What a pass has brought: the use after it, and the bytes that it wrote.
    void Passed(std::uint64_t used, std::uint64_t written);
    // Until the next look.
    int Pause() const { return pause_; }
    std::uint64_t Limit() const { return limit_; }

private:
    std::uint64_t Sum(std::uint64_t bytes) const { return narrow_ ? static_cast<std::uint32_t>(bytes) : bytes; }

    bool narrow_;
    std::uint64_t limit_;
    int pause_ = kSlow;
};

}  // namespace tessera
