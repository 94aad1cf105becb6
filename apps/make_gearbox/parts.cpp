#include "parts.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace gearbox {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kBearingBore = 10;  // radius
constexpr double kBearingRadius = 23.5;
constexpr double kBearingWidth = 14;
constexpr double kBallRadius = 3.9;
constexpr double kFloorZ = -72;
constexpr double kTopZ = 66;
constexpr double kPressureAngle = 20 * kPi / 180;
constexpr double kBacklash = 0.02;  // of the module, at each flank

double Involute(double angle) { return std::tan(angle) - angle; }

Loop Hexagon(double acrossFlats) {
    Loop loop;
    AppendArc(loop, 0, 0, acrossFlats / std::sqrt(3.0), 0, 2 * kPi * 5 / 6, 5);
    return loop;
}

}  // namespace

Solid PartMaker::Ring(double inner, double outer, double low, double high) const {
    constexpr double kChamfer = 0.6;
    return Solid::Revolved({{inner, low + kChamfer},
                            {inner + kChamfer, low},
                            {outer - kChamfer, low},
                            {outer, low + kChamfer},
                            {outer, high - kChamfer},
                            {outer - kChamfer, high},
                            {inner + kChamfer, high},
                            {inner, high - kChamfer}},
                           segments_)
        .AlongX();
}

Solid PartMaker::LowerHousing() const {
    Loop wall = {{kLeftY, kFloorZ}, {kRightY, kFloorZ}, {kRightY, 0}};
    for (const double y : {kShaftY[2], kShaftY[1], kShaftY[0]}) {
        AppendArc(wall, y, 0, kBearingRadius, 0, -kPi, segments_ / 2);
    }
    wall.push_back({kLeftY, 0});
    const Loop trough = {
        {kLeftY, kFloorZ},           {kRightY, kFloorZ}, {kRightY, 0}, {kRightY - 10, 0}, {kRightY - 10, kFloorZ + 12},
        {kLeftY + 10, kFloorZ + 12}, {kLeftY + 10, 0},   {kLeftY, 0}};
    return Solid::Extruded(wall, {}, -kOuterX, -kInnerX)
        .Add(Solid::Extruded(wall, {}, kInnerX, kOuterX))
        .Add(Solid::Extruded(trough, {}, -kInnerX, kInnerX))
        .AlongX();
}

void PartMaker::AppendArch(Loop& loop, double inset) const {
    const double radius = 36 - inset;
    const double right = kRightY - inset - radius;
    const double left = kLeftY + inset + radius;
    const double top = kTopZ - inset - radius;
    loop.push_back({kRightY - inset, 0});
    AppendArc(loop, right, top, radius, 0, kPi / 2, segments_ / 4);
    AppendArc(loop, left, top, radius, kPi / 2, kPi, segments_ / 4);
    loop.push_back({kLeftY + inset, 0});
}

Solid PartMaker::UpperEndWalls() const {
    Loop wall;
    AppendArch(wall, 0);
    for (const double y : kShaftY) AppendArc(wall, y, 0, kBearingRadius, kPi, 0, segments_ / 2);
    return Solid::Extruded(wall, {}, -kOuterX, -kInnerX).Add(Solid::Extruded(wall, {}, kInnerX, kOuterX)).AlongX();
}

Solid PartMaker::Cover() const {
    Loop arch;
    Loop inner;
    AppendArch(arch, 0.5);
    AppendArch(inner, 7);
    arch.insert(arch.end(), inner.rbegin(), inner.rend());
    return Solid::Extruded(arch, {}, -kInnerX + 0.2, kInnerX - 0.2).AlongX();
}

Solid PartMaker::Rail(bool ribbed) const {
    std::vector<Loop> holes;
    for (const double x : kBoltX) holes.push_back(Hole(x, kBoltY, 4.4, segments_ / 2));
    const Loop plate = RoundedRectangle(-kOuterX, kLeftY - 22, kOuterX, kLeftY + 0.01, 3, segments_ / 8);
    Solid rail = Solid::Extruded(plate, holes, -10, 0);
    if (!ribbed) return rail;
    for (const double x : {-35.0, -3.0, 29.0}) {
        const Loop rib = {{kLeftY, -56}, {kLeftY, -9.9}, {kLeftY - 19, -9.9}};
        rail.Add(Solid::Extruded(rib, {}, x, x + 6).AlongX());
    }
    return rail;
}

Solid PartMaker::Foot() const {
    const std::vector<Loop> holes = {Hole(-64, 0, 5, segments_ / 2), Hole(64, 0, 5, segments_ / 2)};
    return Solid::Extruded(RoundedRectangle(-78, -16, 78, 16, 8, segments_ / 4), holes, kFloorZ - 12, kFloorZ);
}

Solid PartMaker::BearingCap(double shaftRadius) const {
    constexpr double kOuter = 29.4;
    if (shaftRadius > 0) return Ring(shaftRadius + 0.6, kOuter, 0, 6).Add(Ring(shaftRadius + 0.6, 16, 0, 10));
    return Solid::Revolved({{0, 0}, {kOuter, 0}, {kOuter, 5}, {kOuter - 1, 6}, {15, 6}, {13, 8}, {0, 8}}, segments_)
        .AlongX();
}

// One tooth points along the first axis.
Loop PartMaker::Teeth(double module, int teeth) const {
    const double pitch = module * teeth / 2;
    const double base = pitch * std::cos(kPressureAngle);
    const double root = pitch - 1.25 * module;
    const double tip = pitch + module;
    const double halfAtPitch = kPi / (2 * teeth) - kBacklash * module / pitch;
    const int steps = std::max(4, segments_ / 8);
    const auto halfAngle = [&](double radius) {
        const double pressure = std::acos(std::min(1.0, base / radius));
        return halfAtPitch + Involute(kPressureAngle) - Involute(pressure);
    };
    Loop loop;
    for (int tooth = 0; tooth < teeth; ++tooth) {
        const double middle = 2 * kPi * tooth / teeth;
        const auto add = [&](double radius, double angle) {
            loop.push_back({radius * std::cos(middle + angle), radius * std::sin(middle + angle)});
        };
        const double start = std::max(base, root);
        if (root < base) add(root, -halfAngle(start));
        for (int i = 0; i <= steps; ++i) {
            const double radius = start + (tip - start) * i / steps;
            add(radius, -halfAngle(radius));
        }
        for (int i = steps; i >= 0; --i) {
            const double radius = start + (tip - start) * i / steps;
            add(radius, halfAngle(radius));
        }
        if (root < base) add(root, halfAngle(start));
        add(root * 0.995, kPi / teeth);
    }
    return loop;
}

Solid PartMaker::Pinion(double module, int teeth, double width, double bore) const {
    return Solid::Extruded(Teeth(module, teeth), {Hole(0, 0, bore, segments_)}, 0, width).AlongX();
}

// A rim with teeth, a thinner web with holes, and a hub.
Solid PartMaker::Wheel(double module, int teeth, double width, double bore) const {
    const double rim = module * (teeth / 2.0 - 1.25) - 2.2 * module;
    const double hub = bore + 7;
    std::vector<Loop> webHoles = {Hole(0, 0, hub - 0.5, segments_)};
    const double holeRadius = (rim - hub) * 0.34;
    const double holeCircle = (rim + hub) / 2;
    for (int i = 0; i < 6; ++i) {
        const double angle = kPi / 3 * i + 0.11;
        webHoles.push_back(Hole(holeCircle * std::cos(angle), holeCircle * std::sin(angle), holeRadius, segments_ / 2));
    }
    return Solid::Extruded(Teeth(module, teeth), {Hole(0, 0, rim, segments_)}, 0, width)
        .Add(Solid::Extruded(Circle(0, 0, rim + 0.5, segments_), webHoles, width * 0.3, width * 0.7))
        .AlongX()
        .Add(Ring(bore, hub, -1.5, width + 1.5));
}

Solid PartMaker::Shaft(const std::vector<ShaftStep>& steps) const {
    constexpr double kChamfer = 1;
    Loop profile = {{0, 0}};
    double at = 0;
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const double radius = steps[i].radius;
        const bool opens = i == 0 || steps[i - 1].radius < radius;
        const bool closes = i + 1 == steps.size() || steps[i + 1].radius < radius;
        const double end = at + steps[i].length;
        if (opens) profile.push_back({radius - kChamfer, at});
        profile.push_back({radius, opens ? at + kChamfer : at});
        profile.push_back({radius, closes ? end - kChamfer : end});
        if (closes) profile.push_back({radius - kChamfer, end});
        at = end;
    }
    profile.push_back({0, at});
    return Solid::Revolved(profile, segments_).AlongX();
}

Solid PartMaker::Key(double length) const {
    return Solid::Extruded(RoundedRectangle(0, -3, length, 3, 2.99, segments_ / 4), {}, 4, 11.5);
}

Solid PartMaker::InnerRing() const { return Ring(kBearingBore, kBearingBore + 4.3, 0, kBearingWidth); }

Solid PartMaker::OuterRing() const { return Ring(kBearingRadius - 4.3, kBearingRadius, 0, kBearingWidth); }

Solid PartMaker::Ball() const {
    Loop profile;
    AppendArc(profile, 0, 0, kBallRadius, -kPi / 2, kPi / 2, segments_ / 4);
    profile.front()[0] = profile.back()[0] = 0;
    return Solid::Revolved(profile, segments_ / 2);
}

Solid PartMaker::Bolt() const {
    const Loop shank = {{0, -31}, {3.2, -31}, {4, -30}, {4, 0.1}, {0, 0.1}};
    const Loop washer = {{0, 0}, {8, 0}, {8, 1.2}, {7.6, 1.6}, {0, 1.6}};
    const Loop top = {{0, 7}, {6.4, 7}, {5.8, 7.5}, {0, 7.5}};
    return Solid::Revolved(shank, segments_ / 2)
        .Add(Solid::Revolved(washer, segments_ / 2))
        .Add(Solid::Extruded(Hexagon(13), {}, 1.6, 7))
        .Add(Solid::Revolved(top, segments_ / 2));
}

Solid PartMaker::Nut() const { return Solid::Extruded(Hexagon(13), {Hole(0, 0, 4, segments_ / 2)}, -6.5, 0); }

Solid PartMaker::CapScrew() const {
    Loop socket = Hexagon(2.6);
    std::reverse(socket.begin(), socket.end());
    const Loop head = Circle(0, 0, 2.6, segments_ / 2);
    const Loop shank = {{0, -14}, {1.5, -14}, {1.5, 0.1}, {0, 0.1}};
    return Solid::Revolved(shank, segments_ / 4)
        .Add(Solid::Extruded(head, {}, 0, 1.2))
        .Add(Solid::Extruded(head, {socket}, 1.2, 3))
        .AlongX();
}

}  // namespace gearbox
