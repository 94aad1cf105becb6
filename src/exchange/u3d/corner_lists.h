// The faces around each position, as chains of corners; corner c belongs to face c / 3.
#pragma once

#include <cstdint>
#include <vector>

namespace tessera {

class U3dCornerLists {
public:
    static constexpr std::uint32_t kNone = 0xffffffff;

    U3dCornerLists(std::size_t positions, std::size_t corners) : first_(positions, kNone), next_(corners, kNone) {}

    std::uint32_t First(std::uint32_t position) const { return first_[position]; }
    std::uint32_t Next(std::uint32_t corner) const { return next_[corner]; }

    void AddFirst(std::uint32_t position, std::uint32_t corner) {
        next_[corner] = first_[position];
        first_[position] = corner;
    }

    // The corner must be there.
    void Remove(std::uint32_t position, std::uint32_t corner) {
        std::uint32_t* link = &first_[position];
        while (*link != corner) link = &next_[*link];
        *link = next_[corner];
    }

    // Makes these, in their order, all that the position has.
    void Set(std::uint32_t position, const std::vector<std::uint32_t>& corners) {
        std::uint32_t* link = &first_[position];
        for (const std::uint32_t corner : corners) {
            *link = corner;
            link = &next_[corner];
        }
        *link = kNone;
    }

private:
    std::vector<std::uint32_t> first_, next_;
};

}  // namespace tessera
