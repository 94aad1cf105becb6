// Rejects what is surely not under the cursor, before the exact tests.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "query/pick_frame.h"

namespace tessera {

// Sorts the vertices of an element by the side of the cursor's square on which they appear (outcodes after Cohen
// and Sutherland), straight from the element's frame and without a division. The square is widened by all that
// rounding on the exact way can make up, so that what is rejected would have been refused there too.
class ScreenFilter {
public:
    enum Side : std::uint8_t { Left = 1, Right = 2, Below = 4, Above = 8 };

    // bounds: of the element in its own frame. clip: the world's clip plane, or null. Ends that lie in it
    // are never rejected, since cutting there may move them anywhere.
    ScreenFilter(const PickView& view, const CMatrix& world, const BBox& bounds, const Plane* clip);

    // No bits where the vertex may be under the cursor, or where its place is not sure.
    std::uint8_t SideOf(const Vec3& p) const;
    std::vector<std::uint8_t> SidesOf(std::span<const Vec3> vertices) const;
    // Whether a segment whose ends have these sides in common surely passes the cursor by. Steep ones are
    // doubtful above and below: the exact test places their foot in float.
    bool Misses(std::uint8_t shared, const Vec3& a, const Vec3& b) const {
        if (shared == 0) return false;
        return (shared & (Left | Right)) != 0 || !IsSteep(a, b);
    }

private:
    bool IsSteep(const Vec3& a, const Vec3& b) const;

    double x_[4], y_[4], w_[4];  // offset from the cursor times w, and w, as linear forms of the vertex
    double inX_, inY_;           // what rounding may add to them
    double half_;                // of the square
    double leastW_, far_;
    bool clipping_;
    double clip_[4], nearClip_ = 0;
    double steepest_;
};

}  // namespace tessera
