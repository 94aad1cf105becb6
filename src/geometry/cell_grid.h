// Look-up of points that are equal within a tolerance, one cell at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "component/vector3.h"

namespace tessera {

// Columns and rows over x and y, without end in z: two points can only be found equal when they
// share a cell, so points on either side of a cell's border stay apart however close they are.
struct CellRule {
    double originX = 0, originY = 0;
    double scaleX = 1, scaleY = 1;  // cells per unit
    bool lowEdgeJoinsFirstCell = false;

    // As doubles: spans of wildly unequal length give more cells than an integer can count.
    double Column(const Vec3& p) const { return Cell((p.x - originX) * scaleX); }
    double Row(const Vec3& p) const { return Cell((p.y - originY) * scaleY); }
    bool SameCell(const Vec3& a, const Vec3& b) const { return Column(a) == Column(b) && Row(a) == Row(b); }

private:
    double Cell(double scaled) const;
};

// Finds the earliest of the stored points that equals a query point under a tolerance and shares its
// cell: the answer of a scan through the cell's list in order of entry. The points are hashed by
// small buckets instead, so that a cell may hold any number of them. A coordinate so large that no
// other float lies within the tolerance is a bucket of its own. The points themselves stay with the
// caller, who passes their array to each call.
class CellGrid {
public:
    static constexpr std::uint32_t kNone = 0xffffffffu;

    // Forgets all points. tolerance is the greatest that LookUp may be asked for until the next Reset.
    void Reset(const CellRule& rule, double tolerance, std::size_t expected);
    void Release();
    double GreatestTolerance() const { return tolerance_; }
    bool IsSet() const { return !slots_.empty(); }

    std::uint32_t LookUp(const Vec3* points, const Vec3& p, double tolerance);
    // Enters the next point, which the caller has stored; it must be the p of the preceding LookUp, which gave kNone.
    void Enter(const Vec3* points, const Vec3& p);
    // Enters the next point, whatever it equals.
    void Append(const Vec3* points, const Vec3& p);
    // Gives the next count points their indices without entering them.
    void Skip(std::size_t count);

private:
    struct Key {
        std::int64_t x, y, z, cell;
    };
    std::int64_t BucketOf(float value) const;
    Key KeyOf(const Vec3& p) const { return {BucketOf(p.x), BucketOf(p.y), BucketOf(p.z), CellOf(p)}; }
    std::int64_t CellOf(const Vec3& p) const;
    std::size_t SlotOf(const Key& key) const;
    bool Matches(const Vec3& stored, const Vec3& p, double tolerance) const;
    void FindEndOfChain(const Key& key);
    std::uint32_t LookUpAcrossBuckets(const Vec3* points, const Vec3& p, double tolerance, const Key& own,
                                      const int low[3], const int high[3]);
    void Grow(const Vec3* points);

    CellRule rule_;
    double tolerance_ = 0;
    double perUnit_ = 1;                // buckets per unit
    double exactFrom_ = 0;              // coordinates beyond this are compared exactly
    bool cellsInKey_ = false;           // where a bucket may span many cells
    int shift_ = 0;                     // 64 - log2 of the slot count
    std::vector<std::uint32_t> slots_;  // first point of a chain
    std::vector<std::uint32_t> next_;   // next point of the chain, in order of entry
    std::size_t lastSlot_ = 0;          // where the last LookUp ended
    std::uint32_t lastInChain_ = kNone;
};

}  // namespace tessera
