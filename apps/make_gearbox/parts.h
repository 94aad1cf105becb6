#pragma once

#include <vector>

#include "solid.h"

// The parts of the gearbox, in millimetres. Shafts run along X, Z is up, the housing is split at Z = 0.
namespace gearbox {

// One spur gear pair on two shafts.
struct Stage {
    double module;
    int pinionTeeth;
    int wheelTeeth;
    double CentreDistance() const { return module * (pinionTeeth + wheelTeeth) / 2; }
};

inline constexpr Stage kFirstStage{2.0, 18, 42};
inline constexpr Stage kSecondStage{2.5, 18, 38};
// Y of the three shafts.
inline constexpr double kShaftY[] = {-60, 0, 70};

inline constexpr double kInnerX = 42;  // half the room between the end walls
inline constexpr double kOuterX = 58;
inline constexpr double kLeftY = -100;  // outside of the housing
inline constexpr double kRightY = 140;
inline constexpr double kBoltX[] = {-48, -16, 16, 48};
inline constexpr double kBoltY = -111;  // on the left rail
inline constexpr double kCapScrewRadius = 26.5;

struct ShaftStep {
    double radius;
    double length;
};

// Makes parts whose circles have `segments` sides.
class PartMaker {
public:
    explicit PartMaker(int segments) : segments_(segments) {}

    Solid LowerHousing() const;
    Solid UpperEndWalls() const;
    Solid Cover() const;
    // The flange along the left side below z = 0.
    Solid Rail(bool ribbed) const;
    Solid Foot() const;
    Solid BearingCap(double shaftRadius) const;  // 0 for a closed one
    // Both about the X axis from x = 0 on.
    Solid Pinion(double module, int teeth, double width, double bore) const;
    Solid Wheel(double module, int teeth, double width, double bore) const;
    Solid Shaft(const std::vector<ShaftStep>& steps) const;
    Solid Key(double length) const;
    Solid InnerRing() const;
    Solid OuterRing() const;
    Solid Ball() const;
    // Along Z, the head above z = 0.
    Solid Bolt() const;
    Solid Nut() const;
    // Along X, the head at x > 0.
    Solid CapScrew() const;

private:
    Solid Ring(double inner, double outer, double low, double high) const;
    // Inner and outer faces of the upper housing, seen along X, from right to left.
    void AppendArch(Loop& loop, double inset) const;
    Loop Teeth(double module, int teeth) const;

    int segments_;
};

}  // namespace gearbox
