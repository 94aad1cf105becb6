// A list of points that grows without moving what it holds.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "component/vector3.h"

namespace tessera {

class PointBlocks {
public:
    // A multiple of 3, so that a triangle's points stand in one block.
    static constexpr std::size_t kBlock = 12288;

    std::size_t Count() const { return count_; }
    // Room for three more points, to be filled in by the caller.
    Vec3* AddThree() {
        const std::size_t at = count_ % kBlock;
        if (at == 0) blocks_.push_back(std::make_unique_for_overwrite<Block>());
        count_ += 3;
        return blocks_.back()->points + at;
    }
    const Vec3* Three(std::size_t triangle) const {
        return blocks_[triangle * 3 / kBlock]->points + triangle * 3 % kBlock;
    }
    // Frees the block that the triangle opens, if all before it have been read.
    void ReleaseBefore(std::size_t triangle) {
        const std::size_t block = triangle * 3 / kBlock;
        if (triangle * 3 % kBlock == 0 && block > 0) blocks_[block - 1].reset();
    }
    void Clear() {
        blocks_.clear();
        count_ = 0;
    }

private:
    struct Block {
        Vec3 points[kBlock];
        Block() {}  // leaves the points as they are
    };
    std::vector<std::unique_ptr<Block>> blocks_;
    std::size_t count_ = 0;
};

}  // namespace tessera
