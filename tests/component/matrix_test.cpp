// Matrices, boxes and vectors from the inside: hosts see only some of their corners.
#include "component/matrix.h"

#include <cmath>
#include <numbers>

#include "component/bbox.h"
#include "component/host.h"

namespace tessera::test {
namespace {

constexpr double kPi = std::numbers::pi;

Array16 Array(const CMatrix& m, bool ofInverse = false) {
    Array16 out;
    m.GetArray(out.data(), ofInverse);
    return out;
}

void ExpectInverse(const CMatrix& m, double tolerance) {
    CMatrix product;
    product.SetFromArray(m.Inverse(), false);
    product.Multiply(m);
    ExpectNear(Array(product), kIdentity, tolerance);
}

void ExpectPoint(const Vec3& p, const Vec3& q, float tolerance = 1e-6F) {
    ExpectNear(std::array{p.x, p.y, p.z}, {q.x, q.y, q.z}, tolerance);
}

TEST(Matrix, KeepsItsInverseInStep) {
    CMatrix m, other, zero;
    m.Translate(1, 2, 3);
    m.RotateZ(kPi / 2);
    m.Scale(2, 4, 8);
    m.MirrorXY(), m.MirrorXZ(), m.MirrorYZ();
    ExpectPoint(TransformPoint({0, 0, 0}, m), {-4, 4, -24});
    ExpectPoint(TransformPointByInverse({-4, 4, -24}, m), {0, 0, 0});
    other.RotateX(0.3), other.RotateY(0.2);
    other.Translate(5, 6, 7);
    ExpectInverse(m * other, 1e-12);
    ExpectPoint(TransformPoint({1, 2, 3}, m * other), TransformPoint(TransformPoint({1, 2, 3}, m), other), 1e-5F);
    zero.Scale(0, 1, 1);
    EXPECT_TRUE(std::isinf(zero.Inverse()[0]));
    // A third of a turn about a line along (1, 1, 1) goes round the axes.
    const double from[3] = {1, 0, 0}, to[3] = {2, 1, 1};
    Array16 turn = kIdentity, inverse = kIdentity;
    EXPECT_EQ(RotateAboutAxis(turn.data(), inverse.data(), from, from, 1), -1);
    ASSERT_EQ(RotateAboutAxis(turn.data(), inverse.data(), from, to, 2 * kPi / 3), 1);
    m.SetFromArray(turn.data(), false);
    ExpectPoint(TransformPoint({1 + 1, 2, 3}, m), {1 + 2, 3, 1}, 1e-5F);
}

TEST(Matrix, InvertsInSinglePrecision) {
    CMatrix exact, m;
    exact.RotateX(0.4);
    exact.Scale(2, 3, 0.7);
    exact.RotateZ(-1.1);
    exact.Translate(10, -20, 30);
    m.SetFromArray(exact.Forward(), true);
    for (const double value : Array(m, true)) EXPECT_EQ(value, static_cast<float>(value));
    ExpectNear(Array(m, true), Array(exact, true), 2e-5);
    EXPECT_NEAR(m.Determinant(), 4.2, 1e-5);
    // An exchange of rows, and a sign that goes with it.
    const Array16 swapped = {0, 0, 2, 0, 0, 4, 0, 0, 8, 0, 0, 0, 1, 1, 1, 1};
    m.SetFromArray(swapped.data(), true);
    ExpectInverse(m, 1e-6);
    EXPECT_FLOAT_EQ(m.Determinant(), -64);
}

TEST(Matrix, KeepsTheFormerInverseOfASingularOne) {
    CMatrix m;
    m.Translate(1, 2, 3);
    // The determinant has to reach 1e-15.
    for (const auto& [size, inverted] : {std::pair{0.0, false}, {0.99e-5, false}, {1.01e-5, true}}) {
        Array16 values = kIdentity;
        values[0] = values[5] = values[10] = size;
        m.SetFromArray(values.data(), true);
        EXPECT_EQ(Array(m), values);
        EXPECT_NEAR(m.Inverse()[0], inverted ? 1 / size : 1, inverted) << size;
        EXPECT_EQ(m.Inverse()[12], inverted ? 0 : -1);
    }
    m.SetFromArray(kIdentity.data(), false);
    EXPECT_NEAR(m.Inverse()[0], 1 / 1.01e-5, 1);
}

TEST(Matrix, FlushesAndComparesToATolerance) {
    CMatrix a, b, m, back;
    b.Scale(2, 1, 1);  // of the inverse nothing is compared
    for (const auto& [step, same] : {std::pair{1e-8, true}, {1.1e-8, false}, {-1e-8, true}, {double(NAN), false}}) {
        b.SetFromArray(Moved(step, 0, 0).data(), false);
        EXPECT_EQ(a.Equals(b), same) << step;
    }
    // What no normal float holds becomes zero.
    m.Scale(1e-20, 1, -1e-20);
    const Vec3 p = TransformPoint({1e-20F, 1e-40F, 1e-20F}, m);
    ExpectPoint(p, {0, 0, 0}, 0);
    EXPECT_FALSE(std::signbit(p.z) || TransformPoint({1e-17F, 0, 0}, m).x == 0);
    back.Translate(7, 8, 9);
    back.Scale(1, 1, 1e20);
    ExpectPoint(TransformByInverse({1, 2, 1e-20F}, back), {1, 2, 0}, 0);
    // Short vectors are normalised by their x.
    ExpectPoint(Normalized({0, 1e-7F, 0}), {1, 1e-7F, 0}, 0);
    ExpectPoint(Normalized({0, 0, -2e-6F}), {0, 0, -1});
    ExpectPoint(Normalized({3, 0, 4}), {0.6F, 0, 0.8F});
    const ToleranceScope tolerance(0.25F);
    EXPECT_TRUE(PointsEqual({1, 1, 1}, {1.25F, 0.75F, 1}) && !PointsEqual({1, 1, 1}, {1.26F, 1, 1}));
}

TEST(Matrix, MovesTheCornersOfABoxAlone) {
    BBox box{-9, 2, -3, 9, -5, 6, 1}, empty;
    empty.Union(BBox());
    EXPECT_DOUBLE_EQ(box.DiagonalSquared(), 11 * 11 + 12 * 12 + 11 * 11);
    CMatrix half;
    half.RotateZ(kPi);
    box.Transform(half);
    EXPECT_TRUE(box.xmin > box.xmax && !box.IsEmpty() && empty.IsEmpty());
}

}  // namespace
}  // namespace tessera::test
