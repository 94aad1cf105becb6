// Comparison of an angle with a limit.
#pragma once

#include <cmath>

#include "component/vector3.h"

namespace tessera {

// Compares the angle between two unit vectors with a limit in degrees, by their dot product where that
// decides beyond doubt and by the angle itself close to the limit.
class AngleLimit {
public:
    explicit AngleLimit(double degrees) : degrees_(degrees) {
        if (!(degrees > 0.01 && degrees < 179.99)) return;
        const double cosine = std::cos(degrees / 57.29577951308232);
        surelyNearer_ = cosine + 1e-9;
        surelyFarther_ = cosine - 1e-9;
    }
    bool IsAbove(double dot) const {  // angle < limit
        return dot > surelyNearer_ || (dot >= surelyFarther_ && AngleOfUnitDot(dot) < degrees_);
    }
    bool IsReached(double dot) const {  // angle <= limit
        return dot > surelyNearer_ || (dot >= surelyFarther_ && AngleOfUnitDot(dot) <= degrees_);
    }

private:
    double degrees_;
    double surelyNearer_ = 1e9, surelyFarther_ = -1e9;
};

}  // namespace tessera
