#include "geometry/tri_normal_table.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "platform/large_pages.h"

namespace tessera {
namespace {

constexpr std::size_t kFirstSlots = 30000;

// A unit vector lies in one of 51 by 51 cells over x and y; z does not enter.
constexpr CellRule kNormalCells{0, 0, 25, 25, false};
// Before the grid is built all normals share one cell.
constexpr CellRule kOneCell{0, 0, 0, 0, false};

// A look-up made for so wide a tolerance is slow for a narrow one.
constexpr double kWideTolerance = 0.01;

}  // namespace

std::uint32_t g_triNormalBase = 0;

const unsigned char* TriNormalTable::Read(const unsigned char* stream) {
    Clear();
    std::uint32_t count = 0;
    std::memcpy(&count, stream, sizeof count);
    stream += sizeof count;
    normals_.resize(count);
    if (count > 0) std::memcpy(normals_.data(), stream, sizeof(Vec3) * count);
    for (Vec3& n : normals_) {
        const double length = Length(n);
        if (length < kShortestVector)
            n.x = 1.0f;
        else
            n = n * (1.0f / static_cast<float>(length));
    }
    return stream + sizeof(Vec3) * count;
}

std::uint32_t TriNormalTable::Append(const TriNormalTable& other) {
    const std::uint32_t first = Count();
    normals_.insert(normals_.end(), other.normals_.begin(), other.normals_.end());
    try {
        if (gridBuilt_) {
            unknown_.emplace_back(first, Count());
            grid_.Skip(other.Count());
        } else if (grid_.IsSet()) {
            for (std::uint32_t i = first; i < Count(); ++i) grid_.Append(normals_.data(), normals_[i]);
        }
    } catch (...) {
        normals_.resize(first);
        grid_.Release();  // to be made anew
        throw;
    }
    return first;
}

void TriNormalTable::Index(double tolerance) {
    grid_.Reset(gridBuilt_ ? kNormalCells : kOneCell, tolerance, normals_.size());
    auto range = unknown_.begin();
    try {
        for (std::uint32_t i = 0; i < Count(); ++i) {
            if (range != unknown_.end() && i == range->first) {
                grid_.Skip(range->second - range->first);
                i = range++->second - 1;
            } else {
                grid_.Append(normals_.data(), normals_[i]);
            }
        }
    } catch (...) {
        grid_.Release();  // to be made anew
        throw;
    }
}

void TriNormalTable::BuildGrid() {
    if (gridBuilt_) return;
    gridBuilt_ = true;
    Index(gPointTolerance);
}

std::uint32_t TriNormalTable::LookUpOrAdd(const Vec3& v) {
    const double tolerance = gPointTolerance, built = grid_.GreatestTolerance();
    if (!grid_.IsSet() || tolerance > built || (built > kWideTolerance && tolerance * 16 < built)) Index(tolerance);
    const std::uint32_t found = grid_.LookUp(normals_.data(), v, tolerance);
    if (found != CellGrid::kNone) return found;
    if (Count() == normals_.capacity()) ReserveLarge(normals_, std::max(2 * normals_.capacity(), kFirstSlots));
    normals_.push_back(v);
    grid_.Enter(normals_.data(), v);
    return Count() - 1;
}

void TriNormalTable::Clear() noexcept {
    std::vector<Vec3>().swap(normals_);
    grid_.Release();
    gridBuilt_ = false;
    unknown_.clear();
}

}  // namespace tessera
