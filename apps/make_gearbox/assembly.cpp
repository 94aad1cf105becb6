#include "assembly.h"

#include <cmath>
#include <numbers>
#include <string>

#include "parts.h"

namespace gearbox {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kSmooth = 32;  // degrees; teeth and chamfers stay sharp
using Transform = std::array<double, 16>;

constexpr Transform kUnmoved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

Transform Move(double x, double y, double z) { return {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, y, z, 1}; }

// Turns about the X axis, then moves.
Transform TurnAndMove(double angle, double x, double y, double z) {
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    return {1, 0, 0, 0, 0, c, s, 0, 0, -s, c, 0, x, y, z, 1};
}

// Scales each axis, by -1 to mirror, then moves.
Transform ScaleAndMove(double sx, double sy, double sz, double x, double y, double z) {
    return {sx, 0, 0, 0, 0, sy, 0, 0, 0, 0, sz, 0, x, y, z, 1};
}

class Builder {
public:
    Builder(GlbWriter& writer, int segments) : writer_(writer), maker_(segments) {
        cast_ = writer_.Material("cast iron, painted", {0.30, 0.48, 0.66}, 1, 0.1);
        steel_ = writer_.Material("steel", {0.70, 0.72, 0.75}, 1, 0.8);
        bronze_ = writer_.Material("bronze", {0.84, 0.64, 0.30}, 1, 0.8);
        bright_ = writer_.Material("bearing steel", {0.86, 0.87, 0.89}, 1, 0.9);
        dark_ = writer_.Material("blackened steel", {0.28, 0.29, 0.31}, 1, 0.6);
        accent_ = writer_.Material("cap paint", {0.86, 0.43, 0.14}, 1, 0.1);
        glass_ = writer_.Material("acrylic", {0.70, 0.85, 0.95}, 0.2, 0);
    }

    void Run() {
        // Millimetres with Z up become metres with Y up.
        constexpr double kScale = 0.001;
        const int top =
            writer_.Node("gearbox", -1, -1, {kScale, 0, 0, 0, 0, 0, -kScale, 0, 0, kScale, 0, 0, 0, 0, 0, 1});
        BuildHousing(writer_.Node("housing", top, -1, kUnmoved));
        BuildTrain(writer_.Node("gear train", top, -1, kUnmoved));
    }

private:
    int Mesh(const std::string& name, const Solid& solid, int material) {
        return writer_.Mesh(name, solid.Finish(kSmooth), material);
    }

    void BuildHousing(int housing) {
        const int lower = writer_.Node("lower half", housing, -1, kUnmoved);
        const int upper = writer_.Node("upper half", housing, -1, kUnmoved);
        writer_.Node("body", lower, Mesh("lower body", maker_.LowerHousing(), cast_), kUnmoved);
        writer_.Node("end walls", upper, Mesh("upper end walls", maker_.UpperEndWalls(), cast_), kUnmoved);
        // The lower flange with its ribs is one part, as made on the left and mirrored on the right.
        const double across = kLeftY + kRightY;
        const int rail = Mesh("ribbed rail", maker_.Rail(true), cast_);
        writer_.Node("left rail", lower, rail, kUnmoved);
        writer_.Node("right rail", lower, rail, ScaleAndMove(1, -1, 1, 0, across, 0));
        const int strip = Mesh("upper rail", maker_.Rail(false), cast_);
        writer_.Node("left rail", upper, strip, Move(0, 0, 10));
        writer_.Node("right rail", upper, strip, ScaleAndMove(-1, -1, 1, 0, across, 10));
        const int foot = Mesh("foot", maker_.Foot(), cast_);
        writer_.Node("left foot", lower, foot, Move(0, kLeftY + 22, 0));
        writer_.Node("right foot", lower, foot, Move(0, kRightY - 22, 0));
        writer_.Node("cover", upper, Mesh("cover", maker_.Cover(), glass_), kUnmoved);
        BuildBolts(writer_.Node("flange bolts", housing, -1, kUnmoved), across);
        BuildCaps(writer_.Node("bearing caps", housing, -1, kUnmoved));
    }

    void BuildBolts(int group, double across) {
        const int bolt = Mesh("bolt M8", maker_.Bolt(), dark_);
        const int nut = Mesh("nut M8", maker_.Nut(), dark_);
        for (const double y : {kBoltY, across - kBoltY}) {
            for (const double x : kBoltX) {
                const int pair = writer_.Node("bolt and nut", group, -1, Move(x, y, 0));
                writer_.Node("bolt", pair, bolt, Move(0, 0, 10));
                writer_.Node("nut", pair, nut, Move(0, 0, -10));
            }
        }
    }

    void BuildCaps(int group) {
        const int open = Mesh("open cap", maker_.BearingCap(9.5), accent_);
        const int closed = Mesh("closed cap", maker_.BearingCap(0), accent_);
        const int screw = Mesh("cap screw", maker_.CapScrew(), dark_);
        for (int shaft = 0; shaft < 3; ++shaft) {
            for (const int side : {-1, 1}) {
                // Half a turn about Z brings a cap made for the right side to the left one.
                const double y = kShaftY[shaft];
                const bool drives = (shaft == 0 && side < 0) || (shaft == 2 && side > 0);
                const int cap = writer_.Node("cap", group, -1, ScaleAndMove(side, side, 1, side * kOuterX, y, 0));
                writer_.Node("plate", cap, drives ? open : closed, kUnmoved);
                for (int i = 0; i < 4; ++i) {
                    const double angle = kPi / 4 + kPi / 2 * i;
                    writer_.Node("screw", cap, screw,
                                 Move(6, kCapScrewRadius * std::cos(angle), kCapScrewRadius * std::sin(angle)));
                }
            }
        }
    }

    void BuildTrain(int train) {
        inner_ = Mesh("inner ring", maker_.InnerRing(), bright_);
        outer_ = Mesh("outer ring", maker_.OuterRing(), bright_);
        ball_ = Mesh("ball", maker_.Ball(), bright_);
        key_ = Mesh("key", maker_.Key(26), dark_);
        const double seat = kOuterX - kInnerX;
        const int input = Axle(train, "input shaft", 0);
        const int middle = Axle(train, "intermediate shaft", 1);
        const int output = Axle(train, "output shaft", 2);

        const Solid inputShaft = maker_.Shaft({{9.5, 52}, {10, seat}, {12, 2 * kInnerX}, {10, seat}});
        writer_.Node("shaft", input, Mesh("input shaft", inputShaft, steel_), Move(-kOuterX - 52, 0, 0));
        writer_.Node("key", input, key_, Move(-kOuterX - 46, 0, 0));
        const Solid middleShaft = maker_.Shaft({{10, seat}, {13, 2 * kInnerX}, {10, seat}});
        writer_.Node("shaft", middle, Mesh("intermediate shaft", middleShaft, steel_), Move(-kOuterX, 0, 0));
        const Solid outputShaft = maker_.Shaft({{10, seat}, {15, 2 * kInnerX}, {10, seat}, {9.5, 58}});
        writer_.Node("shaft", output, Mesh("output shaft", outputShaft, steel_), Move(-kOuterX, 0, 0));
        writer_.Node("key", output, key_, Move(kOuterX + 26, 0, 0));

        // A pinion points a tooth at its wheel, which has a gap there: half a pitch of turn for an even count.
        const auto [firstModule, firstPinion, firstWheel] = kFirstStage;
        const auto [secondModule, secondPinion, secondWheel] = kSecondStage;
        writer_.Node("pinion", input, Mesh("pinion 18 x 2", maker_.Pinion(firstModule, firstPinion, 26, 12), steel_),
                     Move(-34, 0, 0));
        writer_.Node("wheel", middle, Mesh("wheel 42 x 2", maker_.Wheel(firstModule, firstWheel, 22, 13), bronze_),
                     TurnAndMove(kPi / firstWheel, -32, 0, 0));
        writer_.Node("pinion", middle,
                     Mesh("pinion 18 x 2.5", maker_.Pinion(secondModule, secondPinion, 32, 13), steel_), Move(3, 0, 0));
        writer_.Node("wheel", output, Mesh("wheel 38 x 2.5", maker_.Wheel(secondModule, secondWheel, 28, 15), bronze_),
                     TurnAndMove(kPi / secondWheel, 5, 0, 0));
    }

    // A shaft's assembly with its two bearings.
    int Axle(int train, const std::string& name, int shaft) {
        const int axle = writer_.Node(name, train, -1, Move(0, kShaftY[shaft], 0));
        for (const double x : {-kInnerX - 15, kInnerX + 1}) {
            const int bearing = writer_.Node("bearing", axle, -1, Move(x, 0, 0));
            writer_.Node("inner ring", bearing, inner_, kUnmoved);
            writer_.Node("outer ring", bearing, outer_, kUnmoved);
            constexpr int kBalls = 9;
            for (int i = 0; i < kBalls; ++i) {
                const double angle = 2 * kPi * i / kBalls;
                writer_.Node("ball", bearing, ball_, Move(7, 16.75 * std::cos(angle), 16.75 * std::sin(angle)));
            }
        }
        return axle;
    }

    GlbWriter& writer_;
    PartMaker maker_;
    int cast_ = 0;
    int steel_ = 0;
    int bronze_ = 0;
    int bright_ = 0;
    int dark_ = 0;
    int accent_ = 0;
    int glass_ = 0;
    int inner_ = 0;
    int outer_ = 0;
    int ball_ = 0;
    int key_ = 0;
};

}  // namespace

void BuildGearbox(GlbWriter& writer, int segments) { Builder(writer, segments).Run(); }

}  // namespace gearbox
