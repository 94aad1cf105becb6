// Rejects boxes that a line surely passes by.
#pragma once

#include <algorithm>
#include <cmath>

#include "component/vector3.h"

namespace tessera {

// A line, endless both ways, seen along two axes: in each of these views it is flatter than 45 degrees over the axis
// that it runs along most. No division a box.
class LineFilter {
public:
    // The direction has any length but 0.
    LineFilter(const Vec3& origin, const Vec3& direction) {
        std::size_t main = 0;
        for (std::size_t axis = 1; axis < 3; ++axis)
            if (std::fabs(direction[axis]) > std::fabs(direction[main])) main = axis;
        main_ = main;
        start_ = origin[main];
        const double scale = 1.0 / direction[main];
        for (int i = 0; i < 2; ++i) {
            const std::size_t axis = (main + 1 + static_cast<std::size_t>(i)) % 3;
            side_[i] = {axis, origin[axis], direction[axis] * scale};
        }
    }

    // Whether no point of the line, rounded to float, lies in the box.
    template <class Number>
    bool Misses(const Number low[3], const Number high[3]) const {
        return MissesBeside(low, high, side_[0]) || MissesBeside(low, high, side_[1]);
    }

private:
    struct Side {
        std::size_t axis;
        double start, slope;
    };
    template <class Number>
    bool MissesBeside(const Number low[3], const Number high[3], const Side& side) const {
        const double a = side.slope * (low[main_] - start_) + side.start,
                     b = side.slope * (high[main_] - start_) + side.start;
        const double rounding =
            1e-6 * (std::fabs(a) + std::fabs(b) + std::fabs(side.start) + std::fabs(static_cast<double>(low[main_])) +
                    std::fabs(static_cast<double>(high[main_])));
        return std::max(a, b) + rounding < low[side.axis] || std::min(a, b) - rounding > high[side.axis];
    }

    std::size_t main_;
    double start_;
    Side side_[2];
};

}  // namespace tessera
