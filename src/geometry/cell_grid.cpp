#include "geometry/cell_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace tessera {
namespace {

// Width of a bucket in tolerances: wide enough that few points lie near a border, narrow enough that
// the points in it, which lie a tolerance apart from each other, stay few.
constexpr double kBucketWidth = 8;
// Buckets begin off the lattice that drawn points like to lie on.
constexpr double kBucketShift = 0.37;
// Share of a bucket beside the tolerance in which rounding may hide a neighbour.
constexpr double kRounding = 1e-6;
// Floats this many tolerances from 0 lie more than a tolerance apart.
constexpr double kExactFrom = 33554432;  // 2^25
// In place of the next point of a chain, for a point that is in none.
constexpr std::uint32_t kUnlisted = CellGrid::kNone - 1;
constexpr std::int64_t kExactTag = std::int64_t{1} << 40;

std::int64_t ToInteger(double value) {
    return value > -1e15 && value < 1e15 ? static_cast<std::int64_t>(value) : 0;
}

std::int64_t Floor(double value) {
    const std::int64_t whole = ToInteger(value);
    return whole - (static_cast<double>(whole) > value ? 1 : 0);
}

bool HasNaN(const Vec3& p) {
    return std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z);
}

}  // namespace

double CellRule::Cell(double scaled) const {
    const double cell = std::ceil(scaled);
    return lowEdgeJoinsFirstCell && cell == 0 ? 1 : cell;
}

void CellGrid::Reset(const CellRule& rule, double tolerance, std::size_t expected) {
    rule_ = rule;
    tolerance_ = std::max(tolerance, 1e-30);
    perUnit_ = 1 / (kBucketWidth * tolerance_);
    exactFrom_ = kExactFrom * tolerance_;
    cellsInKey_ = kBucketWidth * tolerance_ * std::max(rule.scaleX, rule.scaleY) > 0.05;
    const std::size_t slots = std::bit_ceil(std::max<std::size_t>(expected, 1024));
    slots_.assign(slots, kNone);
    shift_ = 64 - std::countr_zero(slots);
    next_.clear();
    next_.reserve(expected);
}

void CellGrid::Release() {
    std::vector<std::uint32_t>().swap(slots_);
    std::vector<std::uint32_t>().swap(next_);
}

std::int64_t CellGrid::BucketOf(float value) const {
    if (std::fabs(value) > exactFrom_) return std::bit_cast<std::int32_t>(value) ^ kExactTag;
    return Floor(value * perUnit_ + kBucketShift);
}

std::int64_t CellGrid::CellOf(const Vec3& p) const {
    if (!cellsInKey_) return 0;
    return ToInteger(rule_.Column(p)) * 0x1000193 + ToInteger(rule_.Row(p));
}

std::size_t CellGrid::SlotOf(const Key& key) const {
    std::uint64_t hash = static_cast<std::uint64_t>(key.x) * 0x9e3779b97f4a7c15u;
    hash = (hash ^ (hash >> 32) ^ static_cast<std::uint64_t>(key.y)) * 0xc2b2ae3d27d4eb4fu;
    hash = (hash ^ (hash >> 32) ^ static_cast<std::uint64_t>(key.z)) * 0x165667b19e3779f9u;
    hash = (hash ^ (hash >> 32) ^ static_cast<std::uint64_t>(key.cell)) * 0x9e3779b97f4a7c15u;
    return hash >> shift_;
}

bool CellGrid::Matches(const Vec3& stored, const Vec3& p, double tolerance) const {
    if (std::memcmp(&stored, &p, sizeof p) == 0) return true;
    return CoordinateEquals(stored.x, p.x, tolerance) && CoordinateEquals(stored.y, p.y, tolerance) &&
           CoordinateEquals(stored.z, p.z, tolerance) && rule_.SameCell(stored, p);
}

void CellGrid::FindEndOfChain(const Key& key) {
    lastSlot_ = SlotOf(key);
    lastInChain_ = kNone;
    for (std::uint32_t i = slots_[lastSlot_]; i != kNone; i = next_[i]) lastInChain_ = i;
}

std::uint32_t CellGrid::LookUp(const Vec3* points, const Vec3& p, double tolerance) {
    const double reach = tolerance * perUnit_ + kRounding;
    std::int64_t bucket[3];
    int low[3] = {0, 0, 0}, high[3] = {0, 0, 0};
    bool across = false;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bucket[axis] = BucketOf(p[axis]);
        if (std::fabs(p[axis]) > exactFrom_) continue;
        const double inside = p[axis] * perUnit_ + kBucketShift - static_cast<double>(bucket[axis]);
        low[axis] = inside < reach ? -1 : 0;
        high[axis] = inside > 1 - reach ? 1 : 0;
        across |= low[axis] != high[axis];
    }
    const Key key{bucket[0], bucket[1], bucket[2], CellOf(p)};
    if (across) return LookUpAcrossBuckets(points, p, tolerance, key, low, high);
    lastSlot_ = SlotOf(key);
    lastInChain_ = kNone;
    for (std::uint32_t i = slots_[lastSlot_]; i != kNone; i = next_[i]) {
        if (Matches(points[i], p, tolerance)) return i;
        lastInChain_ = i;
    }
    return kNone;
}

// The tolerance reaches into neighbouring buckets: the earliest match of all of them.
std::uint32_t CellGrid::LookUpAcrossBuckets(const Vec3* points, const Vec3& p, double tolerance, const Key& own,
                                            const int low[3], const int high[3]) {
    std::uint32_t found = kNone;
    for (int dx = low[0]; dx <= high[0]; ++dx)
        for (int dy = low[1]; dy <= high[1]; ++dy)
            for (int dz = low[2]; dz <= high[2]; ++dz) {
                const Key key{own.x + dx, own.y + dy, own.z + dz, own.cell};
                std::uint32_t i = slots_[SlotOf(key)];
                while (i < found && !Matches(points[i], p, tolerance)) i = next_[i];
                found = std::min(found, i);
            }
    if (found == kNone) FindEndOfChain(own);
    return found;
}

void CellGrid::Enter(const Vec3* points, const Vec3& p) {
    const auto index = static_cast<std::uint32_t>(next_.size());
    if (HasNaN(p)) return Skip(1);  // equals nothing
    next_.push_back(kNone);
    (lastInChain_ == kNone ? slots_[lastSlot_] : next_[lastInChain_]) = index;
    if (next_.size() > slots_.size()) Grow(points);
}

void CellGrid::Append(const Vec3* points, const Vec3& p) {
    FindEndOfChain(KeyOf(p));
    Enter(points, p);
}

void CellGrid::Skip(std::size_t count) {
    next_.insert(next_.end(), count, kUnlisted);
}

void CellGrid::Grow(const Vec3* points) {
    slots_.assign(slots_.size() * 2, kNone);
    --shift_;
    for (std::size_t i = next_.size(); i-- > 0;) {  // from the last, so that each chain keeps order of entry
        if (next_[i] == kUnlisted) continue;
        std::uint32_t& first = slots_[SlotOf(KeyOf(points[i]))];
        next_[i] = first;
        first = static_cast<std::uint32_t>(i);
    }
}

}  // namespace tessera
