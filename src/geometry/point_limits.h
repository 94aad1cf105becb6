// Which points curves and point sets take.
#pragma once

#include <cmath>

#include "component/vector3.h"

namespace tessera {

// Neither NaN, infinite nor denormal, and not absurdly remote.
inline bool IsUsableCoordinate(float value) {
    const int kind = std::fpclassify(value);
    return (kind == FP_NORMAL || kind == FP_ZERO) && !(std::fabs(value) > 1e25f);
}
inline bool IsUsablePoint(const Vec3& p) {
    return IsUsableCoordinate(p.x) && IsUsableCoordinate(p.y) && IsUsableCoordinate(p.z);
}

}  // namespace tessera
