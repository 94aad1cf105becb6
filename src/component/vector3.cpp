#include "component/vector3.h"

namespace tessera {

float gPointTolerance = 1e-9f;

double AngleOfUnitDot(double d) {
    constexpr double kNearlyOne = 0.999999999999;
    constexpr double kDegrees = 57.29577951308232;
    if (d >= kNearlyOne) return 0.0;
    if (d <= -kNearlyOne) return 180.0;
    return std::acos(d) * kDegrees;
}

double AngleBetween(const Vec3& a, const Vec3& b) { return AngleOfUnitDot(Dot(Normalized(a), Normalized(b))); }

}  // namespace tessera
