// Chains the unordered cuts of a section into a curve.
#pragma once

#include <cstdint>
#include <vector>

#include "query/section_cut.h"

namespace tessera {

class CPolyLine;

// Of the tables from which one curve is traced, and of those from which all curves of a part are chained.
constexpr int kLoopDivisor = 59, kChainDivisor = 99;

// The cuts of a section in two tables of buckets, one by their starts and one by their ends. A bucket is found by the
// ceilings of a point's coordinates, so that equal points on either side of an integer do not find each other;
// that, and the order within a bucket, decides where a curve goes on, and is kept. Buckets are long in large
// sections: each table has a second index by small cells, which finds the same cut sooner.
class SectionTables {
public:
    // Remainders by the divisor tell the buckets apart.
    explicit SectionTables(int divisor) : divisor_(divisor) {}

    void Append(const SectionCut& cut) { cuts_.push_back({cut, static_cast<std::int64_t>(cuts_.size()) + 1, false}); }
    // To the front of its buckets, before all that stand there.
    void PutFirst(const SectionCut& cut) {
        cuts_.push_back({cut, -static_cast<std::int64_t>(cuts_.size()) - 1, false});
    }
    // Builds the indices. Points count as equal by the process-wide tolerance of this moment.
    void Index();
    // Takes the first unused cut that starts, or else ends, at the tip, and gives its other end.
    bool Follow(const Vec3& tip, Vec3& next);
    // Takes the cut that was put first last.
    void TakeFirst();
    // Takes the cut that was appended first.
    bool TakeOldest(SectionCut& cut);
    // Takes the first cut left, by the buckets of their starts.
    bool TakeNext(SectionCut& cut);
    int BucketOf(const Vec3& p) const;

private:
    struct Record {
        SectionCut cut;
        std::int64_t order;  // within its buckets
        bool used;
    };
    struct Table {
        std::vector<std::uint32_t> heads;  // of chains of records
        std::vector<std::uint32_t> next;   // per record
    };
    static const Vec3& PointOf(const Record& r, bool byStart) { return byStart ? r.cut.start : r.cut.end; }
    // Of a small cell, for the points in one bucket.
    std::size_t SlotOf(double x, double y, double z, int bucket) const;
    void Enter(Table& table, bool byStart);
    std::int64_t Find(Table& table, bool byStart, const Vec3& tip);

    int divisor_;
    double tolerance_ = 0, perUnit_ = 1;
    std::vector<Record> cuts_;
    Table starts_, ends_;
    std::vector<std::uint32_t> byBucket_;  // made by the first TakeNext
    std::size_t nextLeft_ = 0;             // in byBucket_
};

// Grows the curve from the cut that was put first last, in both directions, as far as cuts meet or until it closes.
// segment: the index of that cut in the curve.
void TraceLoop(SectionTables& tables, const SectionCut& first, CPolyLine& curve, int& segment);

// Grows an empty curve from a cut that has been taken. A point that the curve refuses still leads on.
void ChainCurve(SectionTables& tables, const SectionCut& first, CPolyLine& curve);

}  // namespace tessera
