#include "query/section_loop.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

#include "geometry/polyline.h"

namespace tessera {
namespace {

constexpr std::uint32_t kNone = 0xffffffffu;
// Width of a cell in tolerances.
constexpr double kCellWidth = 4;

}  // namespace

int SectionTables::BucketOf(const Vec3& p) const {
    // Sums that no integer holds all count as one.
    const double sum =
        std::ceil(static_cast<double>(p.x)) + std::ceil(static_cast<double>(p.y)) + std::ceil(static_cast<double>(p.z));
    if (!(std::fabs(sum) < 2147483648.0)) return 0;
    return std::abs(static_cast<int>(sum) % divisor_);
}

std::size_t SectionTables::SlotOf(double x, double y, double z, int bucket) const {
    // A sum with 0.0 makes the two zeros one.
    std::uint64_t hash = std::bit_cast<std::uint64_t>(x + 0.0) * 0x9e3779b97f4a7c15u;
    hash = (hash ^ (hash >> 32) ^ std::bit_cast<std::uint64_t>(y + 0.0)) * 0xc2b2ae3d27d4eb4fu;
    hash = (hash ^ (hash >> 32) ^ std::bit_cast<std::uint64_t>(z + 0.0)) * 0x165667b19e3779f9u;
    hash = (hash ^ (hash >> 32) ^ static_cast<std::uint64_t>(bucket)) * 0x9e3779b97f4a7c15u;
    return (hash >> 32) & (starts_.heads.size() - 1);
}

void SectionTables::Index() {
    tolerance_ = gPointTolerance;
    perUnit_ = 1 / (kCellWidth * std::max(tolerance_, 1e-30));
    const std::size_t size = std::bit_ceil(cuts_.size() + 16);
    for (Table* table : {&starts_, &ends_}) {
        table->heads.assign(size, kNone);
        table->next.assign(cuts_.size(), kNone);
    }
    Enter(starts_, true);
    Enter(ends_, false);
}

// Each chain stands in the order of the buckets: the cuts put first, the latest before the others, then the rest.
void SectionTables::Enter(Table& table, bool byStart) {
    const auto enter = [&](std::size_t i) {
        const Vec3& p = PointOf(cuts_[i], byStart);
        std::uint32_t& head = table.heads[SlotOf(std::floor(p.x * perUnit_), std::floor(p.y * perUnit_),
                                                 std::floor(p.z * perUnit_), BucketOf(p))];
        table.next[i] = head;
        head = static_cast<std::uint32_t>(i);
    };
    for (std::size_t i = cuts_.size(); i-- > 0;)
        if (cuts_[i].order > 0) enter(i);
    for (std::size_t i = 0; i < cuts_.size(); ++i)
        if (cuts_[i].order < 0) enter(i);
}

// The first in the order of the bucket, among all cells that the tolerance reaches into. Used cuts leave the chains
// that they are met in, so that walks along dense curves do not meet them again.
std::int64_t SectionTables::Find(Table& table, bool byStart, const Vec3& tip) {
    double low[3];
    int cells[3];  // 2 where the tolerance reaches over a border
    for (std::size_t axis = 0; axis < 3; ++axis) {
        low[axis] = std::floor((tip[axis] - tolerance_) * perUnit_);
        cells[axis] = std::floor((tip[axis] + tolerance_) * perUnit_) > low[axis] ? 2 : 1;
    }
    const int bucket = BucketOf(tip);
    std::int64_t found = -1;
    const auto search = [&](std::size_t slot) {
        for (std::uint32_t* link = &table.heads[slot]; *link != kNone;) {
            const Record& r = cuts_[*link];
            if (r.used) {
                *link = table.next[*link];
                continue;
            }
            if (found >= 0 && r.order >= cuts_[static_cast<std::size_t>(found)].order) return;
            const Vec3& p = PointOf(r, byStart);
            if (PointsEqual(p, tip) && BucketOf(p) == bucket) {
                found = *link;
                return;
            }
            link = &table.next[*link];
        }
    };
    for (int x = 0; x < cells[0]; ++x)
        for (int y = 0; y < cells[1]; ++y)
            for (int z = 0; z < cells[2]; ++z) search(SlotOf(low[0] + x, low[1] + y, low[2] + z, bucket));
    return found;
}

bool SectionTables::Follow(const Vec3& tip, Vec3& next) {
    for (const bool byStart : {true, false}) {
        const std::int64_t found = Find(byStart ? starts_ : ends_, byStart, tip);
        if (found < 0) continue;
        Record& r = cuts_[static_cast<std::size_t>(found)];
        r.used = true;
        next = PointOf(r, !byStart);
        return true;
    }
    return false;
}

void SectionTables::TakeFirst() {
    const auto first = std::min_element(cuts_.begin(), cuts_.end(),
                                        [](const Record& a, const Record& b) { return a.order < b.order; });
    if (first != cuts_.end()) first->used = true;
}

bool SectionTables::TakeOldest(SectionCut& cut) {
    if (cuts_.empty()) return false;
    cuts_.front().used = true;
    cut = cuts_.front().cut;
    return true;
}

bool SectionTables::TakeNext(SectionCut& cut) {
    if (byBucket_.empty()) {
        std::vector<int> buckets;
        buckets.reserve(cuts_.size());
        for (const Record& r : cuts_) buckets.push_back(BucketOf(r.cut.start));
        byBucket_.resize(cuts_.size());
        std::iota(byBucket_.begin(), byBucket_.end(), 0u);
        std::stable_sort(byBucket_.begin(), byBucket_.end(),
                         [&](std::uint32_t a, std::uint32_t b) { return buckets[a] < buckets[b]; });
    }
    while (nextLeft_ < byBucket_.size() && cuts_[byBucket_[nextLeft_]].used) ++nextLeft_;
    if (nextLeft_ == byBucket_.size()) return false;
    Record& r = cuts_[byBucket_[nextLeft_]];
    r.used = true;
    cut = r.cut;
    return true;
}

void TraceLoop(SectionTables& tables, const SectionCut& first, CPolyLine& curve, int& segment) {
    curve.Begin(6, 10);
    curve.AddPoint(first.start);
    curve.AddPoint(first.end);
    tables.TakeFirst();
    segment = 0;
    Vec3 tip = first.end, next;
    bool closed = false;
    while (!closed && tables.Follow(tip, next)) {
        const int count = curve.PointCount();
        curve.AddPoint(next);
        if (curve.PointCount() > count) tip = next;
        closed = PointsEqual(tip, first.start);
    }
    tip = first.start;
    while (!closed && tables.Follow(tip, next)) {
        const int count = curve.PointCount();
        curve.AddPointFront(next);
        if (curve.PointCount() == count) continue;
        tip = next;
        ++segment;
    }
    curve.End();
}

void ChainCurve(SectionTables& tables, const SectionCut& first, CPolyLine& curve) {
    curve.Begin(6, 10);
    curve.AddPoint(first.start);
    curve.AddPoint(first.end);
    Vec3 tip = first.end;
    bool closed = false;
    while (!closed && tables.Follow(tip, tip)) {
        curve.AddPoint(tip);
        closed = PointsEqual(tip, first.start);
    }
    tip = first.start;
    while (!closed && tables.Follow(tip, tip)) curve.AddPointFront(tip);
    curve.End();
}

}  // namespace tessera
