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
// cell: the answer of a scan through the cell's list in order of entry, without the scan. Points are
// hashed twice: by their bits, and, where a coordinate is so near to 0 that other floats lie within the
// tolerance, by buckets a few tolerances wide. The points themselves stay with the caller, who passes
// their array to each call.
class CellGrid {
public:
    static constexpr std::uint32_t kNone = 0xffffffffu;

    // Forgets all points. tolerance is the greatest that LookUp may be asked for until the next Reset.
    void Reset(const CellRule& rule, double tolerance, std::size_t expected);
    void Release() noexcept;
    double GreatestTolerance() const { return tolerance_; }
    bool IsSet() const { return !exact_.empty(); }

    std::uint32_t LookUp(const Vec3* points, const Vec3& p, double tolerance);
    // Announces a LookUp some steps ahead, so that its memory is on the way.
    void Announce(const Vec3& p) const;
    // Enters the next point, which the caller has stored; it must be the p of the preceding LookUp, which
    // gave kNone.
    void Enter(const Vec3* points, const Vec3& p);
    // Enters the next point, whatever it equals.
    void Append(const Vec3* points, const Vec3& p);
    // Gives the next count points their indices without entering them.
    void Skip(std::size_t count) { count_ += static_cast<std::uint32_t>(count); }

private:
    struct Key {
        std::int64_t x, y, z, cell;
    };
    struct Link {
        std::uint32_t point, next;
    };
    bool IsNear(float value) const { return !(value > exactFrom_ || value < -exactFrom_); }
    bool IsNear(const Vec3& p) const { return IsNear(p.x) || IsNear(p.y) || IsNear(p.z); }
    std::int64_t BucketOf(float value) const;
    std::int64_t CellOf(const Vec3& p) const;
    std::size_t SlotOf(const Key& key) const;
    std::size_t ExactSlot(const Vec3* points, const Vec3& p) const;
    std::uint32_t LookUpNear(const Vec3* points, const Vec3& p, double tolerance) const;
    void EnterNear(const Vec3& p, std::uint32_t index);
    void GrowExact(const Vec3* points);
    void GrowNear(const Vec3* points);

    CellRule rule_;
    double tolerance_ = 0;
    // No two stored points of a cell are equal under tolerances up to this one.
    double distinctUpTo_ = 0;
    double perUnit_ = 1;       // buckets per unit
    float exactFrom_ = 0;      // coordinates beyond this have no other float within the tolerance
    bool cellsInKey_ = false;  // where a bucket may span many cells
    std::uint32_t count_ = 0;  // points that have an index
    std::size_t entered_ = 0;
    std::vector<std::uint32_t> exact_;  // open addressing by the points' bits
    std::vector<std::uint32_t> heads_;  // of the chains of links, in order of entry
    std::vector<std::uint32_t> tails_;  // their last links
    std::vector<Link> links_;
    std::size_t slot_ = 0;  // where the last LookUp looked
};

}  // namespace tessera
