#include "geometry/cell_grid.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "platform/large_pages.h"
#include "platform/prefetch.h"

namespace tessera {
namespace {

// Width of a bucket in tolerances: wide enough that few points lie near a border, narrow enough that
// the points in it, which lie a tolerance apart from each other, stay few.
constexpr double kBucketWidth = 8;
// Buckets begin off the lattice that drawn points like to lie on.
constexpr double kBucketShift = 0.37;
// Share of a bucket beside the tolerance in which rounding may hide a neighbour.
constexpr double kRounding = 1e-6;
constexpr std::int64_t kExactTag = std::int64_t{1} << 40;

std::int64_t ToInteger(double value) { return value > -1e15 && value < 1e15 ? static_cast<std::int64_t>(value) : 0; }

std::int64_t Floor(double value) {
    const std::int64_t whole = ToInteger(value);
    return whole - (static_cast<double>(whole) > value ? 1 : 0);
}

bool HasNaN(const Vec3& p) { return std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z); }

std::uint64_t HashOfBits(const Vec3& p) {
    std::uint64_t xy = 0;
    std::uint32_t z = 0;
    std::memcpy(&xy, &p.x, sizeof xy);
    std::memcpy(&z, &p.z, sizeof z);
    const std::uint64_t hash = (xy ^ (xy >> 29) ^ (static_cast<std::uint64_t>(z) << 17)) * 0x9e3779b97f4a7c15u;
    return (hash ^ (hash >> 32)) * 0xc2b2ae3d27d4eb4fu;
}

bool SameBits(const Vec3& a, const Vec3& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

}  // namespace

double CellRule::Cell(double scaled) const {
    const double cell = std::ceil(scaled);
    return lowEdgeJoinsFirstCell && cell == 0 ? 1 : cell;
}

void CellGrid::Reset(const CellRule& rule, double tolerance, std::size_t expected) {
    rule_ = rule;
    tolerance_ = tolerance > 1e-30 ? tolerance : 1e-30;
    distinctUpTo_ = tolerance_;
    perUnit_ = 1 / (kBucketWidth * tolerance_);
    // The least power of two from which on floats lie further apart than the tolerance.
    exactFrom_ = static_cast<float>(std::min(std::ldexp(1.0, std::ilogb(std::min(tolerance_, 1e30)) + 24), 1e38));
    cellsInKey_ = kBucketWidth * tolerance_ * std::max(rule.scaleX, rule.scaleY) > 0.05;
    count_ = 0;
    entered_ = 0;
    Release();  // not set, should memory run out here
    heads_.assign(1024, kNone);
    tails_.assign(1024, kNone);
    const std::size_t slots = std::bit_ceil(std::max<std::size_t>(expected + expected / 2, 1024));
    ReserveLarge(exact_, slots);
    exact_.assign(slots, kNone);
}

void CellGrid::Release() noexcept {
    std::vector<std::uint32_t>().swap(exact_);
    std::vector<std::uint32_t>().swap(heads_);
    std::vector<std::uint32_t>().swap(tails_);
    std::vector<Link>().swap(links_);
}

std::int64_t CellGrid::BucketOf(float value) const {
    if (!IsNear(value)) return std::bit_cast<std::int32_t>(value) ^ kExactTag;
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
    return (hash >> 32) & (heads_.size() - 1);
}

// The slot that holds a point with the same bits, or the empty one where it would go.
std::size_t CellGrid::ExactSlot(const Vec3* points, const Vec3& p) const {
    const std::size_t mask = exact_.size() - 1;
    std::size_t slot = (HashOfBits(p) >> 20) & mask;
    while (exact_[slot] != kNone && !SameBits(points[exact_[slot]], p)) slot = (slot + 1) & mask;
    return slot;
}

void CellGrid::Announce(const Vec3& p) const { Prefetch(&exact_[(HashOfBits(p) >> 20) & (exact_.size() - 1)]); }

std::uint32_t CellGrid::LookUp(const Vec3* points, const Vec3& p, double tolerance) {
    slot_ = ExactSlot(points, p);
    if (!(tolerance >= 0)) return kNone;  // then no point equals even itself
    distinctUpTo_ = std::min(distinctUpTo_, tolerance);
    const std::uint32_t same = exact_[slot_];
    // An earlier point that equals p would equal its double too, which then would not have been entered.
    if (same != kNone && tolerance <= distinctUpTo_) return same;
    if (IsNear(p)) return LookUpNear(points, p, tolerance);
    return same;
}

// The earliest match in all buckets that the tolerance reaches into.
std::uint32_t CellGrid::LookUpNear(const Vec3* points, const Vec3& p, double tolerance) const {
    const double reach = tolerance * perUnit_ + kRounding;
    std::int64_t bucket[3];
    int low[3] = {0, 0, 0}, high[3] = {0, 0, 0};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        bucket[axis] = BucketOf(p[axis]);
        if (!IsNear(p[axis])) continue;
        const double inside = p[axis] * perUnit_ + kBucketShift - static_cast<double>(bucket[axis]);
        low[axis] = inside < reach ? -1 : 0;
        high[axis] = inside > 1 - reach ? 1 : 0;
    }
    const auto matches = [&](const Vec3& q) {
        return CoordinateEquals(q.x, p.x, tolerance) && CoordinateEquals(q.y, p.y, tolerance) &&
               CoordinateEquals(q.z, p.z, tolerance) && rule_.SameCell(q, p);
    };
    const std::int64_t cell = CellOf(p);
    std::uint32_t found = kNone;
    for (int dx = low[0]; dx <= high[0]; ++dx)
        for (int dy = low[1]; dy <= high[1]; ++dy)
            for (int dz = low[2]; dz <= high[2]; ++dz) {
                std::uint32_t at = heads_[SlotOf({bucket[0] + dx, bucket[1] + dy, bucket[2] + dz, cell})];
                while (at != kNone && links_[at].point < found && !matches(points[links_[at].point]))
                    at = links_[at].next;
                if (at != kNone) found = std::min(found, links_[at].point);
            }
    return found;
}

void CellGrid::Enter(const Vec3* points, const Vec3& p) {
    const std::uint32_t index = count_++;
    if (HasNaN(p)) return;  // equals nothing
    if (exact_[slot_] == kNone) exact_[slot_] = index;
    if (++entered_ * 3 > exact_.size() * 2) GrowExact(points);
    if (!IsNear(p)) return;
    if (links_.size() >= heads_.size()) GrowNear(points);
    EnterNear(p, index);
}

void CellGrid::EnterNear(const Vec3& p, std::uint32_t index) {
    const std::size_t slot = SlotOf({BucketOf(p.x), BucketOf(p.y), BucketOf(p.z), CellOf(p)});
    const auto link = static_cast<std::uint32_t>(links_.size());
    links_.push_back({index, kNone});
    (heads_[slot] == kNone ? heads_[slot] : links_[tails_[slot]].next) = link;
    tails_[slot] = link;
}

void CellGrid::Append(const Vec3* points, const Vec3& p) {
    distinctUpTo_ = -1;
    slot_ = ExactSlot(points, p);
    Enter(points, p);
}

void CellGrid::GrowExact(const Vec3* points) {
    std::vector<std::uint32_t> former;
    ReserveLarge(former, exact_.size() * 2);
    former.resize(exact_.size() * 2, kNone);
    former.swap(exact_);
    for (const std::uint32_t index : former)
        if (index != kNone) exact_[ExactSlot(points, points[index])] = index;
}

void CellGrid::GrowNear(const Vec3* points) {
    std::vector<std::uint32_t> heads(heads_.size() * 4, kNone), tails(heads.size(), kNone);
    std::vector<Link> former;
    former.reserve(heads.size());
    former.swap(links_);
    heads_.swap(heads);
    tails_.swap(tails);
    for (const Link& link : former) EnterNear(points[link.point], link.point);
}

}  // namespace tessera
