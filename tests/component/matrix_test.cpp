// Matrices, boxes and vectors from the inside: hosts see only some of their corners.
#include "component/matrix.h"

#include <cmath>
#include <numbers>

#include "component/bbox.h"
#include "component/host.h"

namespace tessera::test {
namespace {

constexpr double kPi = std::numbers::pi;

Array16 Forward(const CMatrix& m) {
    Array16 out;
    m.GetArray(out.data(), false);
    return out;
}

// inverse times matrix, which is the identity where the two belong together.
Array16 Check(const CMatrix& m) {
    CMatrix inverse, product;
    inverse.SetFromArray(m.Inverse(), false);
    inverse.Multiply(m);
    return Forward(inverse);
}

void ExpectPoint(const Vec3& p, float x, float y, float z, float tolerance = 1e-6F) {
    EXPECT_NEAR(p.x, x, tolerance);
    EXPECT_NEAR(p.y, y, tolerance);
    EXPECT_NEAR(p.z, z, tolerance);
}

TEST(Matrix, TurnsAgainstTheRightHandRule) {
    const struct {
        void (CMatrix::*turn)(double);
        Vec3 expected;  // of (1, 2, 3)
    } cases[] = {{&CMatrix::RotateX, {1, 3, -2}}, {&CMatrix::RotateY, {-3, 2, 1}}, {&CMatrix::RotateZ, {2, -1, 3}}};
    for (const auto& [turn, expected] : cases) {
        CMatrix m;
        (m.*turn)(kPi / 2);
        ExpectPoint(TransformPoint({1, 2, 3}, m), expected.x, expected.y, expected.z);
        ExpectPoint(TransformPointByInverse(expected, m), 1, 2, 3);
        ExpectNear(Check(m), kIdentity, 1e-15);
    }
}

TEST(Matrix, AppliesTheNewerOperationAfterTheOlder) {
    CMatrix m;
    m.Translate(1, 2, 3);
    m.RotateZ(kPi / 2);
    ExpectPoint(TransformPoint({0, 0, 0}, m), 2, -1, 3);
    m.Scale(2, 4, 8);
    m.MirrorXY();
    ExpectPoint(TransformPoint({0, 0, 0}, m), 4, -4, -24);
    ExpectPoint(TransformPointByInverse({4, -4, -24}, m), 0, 0, 0);
    CMatrix a, b;
    a.RotateX(0.3);
    a.Translate(5, 6, 7);
    b.Scale(1, 2, 3);
    b.RotateY(1);
    m.Multiply(a);
    m.Multiply(b);
    ExpectNear(Check(m), kIdentity, 1e-12);
    ExpectPoint(TransformPoint(TransformPoint({1, 2, 3}, a), b), TransformPoint({1, 2, 3}, a * b).x,
                TransformPoint({1, 2, 3}, a * b).y, TransformPoint({1, 2, 3}, a * b).z, 1e-5F);
    CMatrix xz, yz;
    xz.MirrorXZ();
    yz.MirrorYZ();
    ExpectPoint(TransformPoint({1, 2, 3}, xz), 1, -2, 3);
    ExpectPoint(TransformPoint({1, 2, 3}, yz), -1, 2, 3);
    CMatrix zero;
    zero.Scale(0, 1, 1);
    EXPECT_TRUE(std::isinf(zero.Inverse()[0]));
}

TEST(Matrix, InvertsInSinglePrecision) {
    CMatrix exact;
    exact.RotateX(0.4);
    exact.Scale(2, 3, 0.7);
    exact.RotateZ(-1.1);
    exact.Translate(10, -20, 30);
    CMatrix m;
    m.SetFromArray(exact.Forward(), true);
    double difference = 0;
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(m.Inverse()[i], static_cast<float>(m.Inverse()[i])) << i;
        difference = std::max(difference, std::fabs(m.Inverse()[i] - exact.Inverse()[i]));
    }
    EXPECT_LT(difference, 2e-5);
    EXPECT_GT(difference, 0);
    EXPECT_NEAR(m.Determinant(), 4.2, 1e-5);
    // Row exchanges, and a sign that goes with them.
    const Array16 swapped = {0, 2, 0, 0, 0, 0, 4, 0, 8, 0, 0, 0, 1, 1, 1, 1};
    m.SetFromArray(swapped.data(), true);
    ExpectNear(Check(m), kIdentity, 1e-6);
    EXPECT_FLOAT_EQ(m.Determinant(), 64);
}

TEST(Matrix, KeepsTheFormerInverseOfASingularOne) {
    CMatrix m;
    m.Translate(1, 2, 3);
    Array16 before;
    m.GetArray(before.data(), true);
    Array16 flat = kIdentity, tiny = kIdentity;
    flat[10] = 0;
    tiny[0] = tiny[5] = tiny[10] = 0.99e-5;  // determinant just below 1e-15
    for (const Array16& values : {flat, tiny}) {
        m.SetFromArray(values.data(), true);
        Array16 after;
        m.GetArray(after.data(), true);
        EXPECT_EQ(after, before);
        EXPECT_EQ(Forward(m), values);
    }
    tiny[0] = tiny[5] = tiny[10] = 1.01e-5;
    m.SetFromArray(tiny.data(), true);
    EXPECT_NEAR(m.Inverse()[0], 1 / 1.01e-5, 1);
    m.SetFromArray(kIdentity.data(), false);
    EXPECT_NEAR(m.Inverse()[0], 1 / 1.01e-5, 1);
}

TEST(Matrix, ComparesForwardElementsOnly) {
    CMatrix a, b;
    EXPECT_TRUE(a.Equals(b));
    for (const auto& [step, same] : {std::pair{1e-8, true}, {1.1e-8, false}, {-1e-8, true}, {double(NAN), false}}) {
        Array16 values = kIdentity;
        values[12] = step;
        b.SetFromArray(values.data(), false);
        EXPECT_EQ(a.Equals(b), same) << step;
    }
    Array16 flat = kIdentity;
    flat[10] = 2;
    a.SetFromArray(flat.data(), true);
    b.SetFromArray(flat.data(), false);
    EXPECT_TRUE(a.Equals(b));
}

TEST(Matrix, TurnsAboutAnAxis) {
    const double from[3] = {1, 0, 0}, to[3] = {1, 1, 1};
    CMatrix turned;
    Array16 m = kIdentity, inverse = kIdentity;
    EXPECT_EQ(RotateAboutAxis(m.data(), inverse.data(), from, from, 1), -1);
    EXPECT_EQ(m, kIdentity);
    ASSERT_EQ(RotateAboutAxis(m.data(), inverse.data(), from, to, 2 * kPi / 3), 1);
    turned.SetFromArray(m.data(), false);
    ExpectPoint(TransformPoint({1, 5, 5}, turned), 1, 5, 5, 1e-5F);
    const Vec3 once = TransformPoint({1, 1, 0}, turned), thrice = TransformPoint(TransformPoint(once, turned), turned);
    EXPECT_NEAR(Distance(once, {1, 0.5F, 0.5F}), Distance({1, 1, 0}, {1, 0.5F, 0.5F}), 1e-5F);
    EXPECT_GT(Distance(once, {1, 1, 0}), 0.5F);
    ExpectPoint(thrice, 1, 1, 0, 1e-5F);
    const double up[3] = {0, 0, 1}, origin[3] = {0, 0, 0};
    Array16 z = kIdentity, zInverse = kIdentity;
    RotateAboutAxis(z.data(), zInverse.data(), origin, up, kPi / 2);
    CMatrix rotated;
    rotated.RotateZ(kPi / 2);
    ExpectNear(z, Forward(rotated), 1e-12);
}

TEST(Matrix, FlushesWhatNoNormalFloatHolds) {
    CMatrix m;
    m.Scale(1e-20, 1, -1e-20);
    const Vec3 p = TransformPoint({1e-20F, 1e-40F, 1e-20F}, m);
    EXPECT_EQ(p.x, 0);
    EXPECT_EQ(p.y, 0);
    EXPECT_EQ(p.z, 0);
    EXPECT_FALSE(std::signbit(p.z));
    EXPECT_NE(TransformPoint({1e-17F, 0, 0}, m).x, 0);
    CMatrix back;
    back.Translate(7, 8, 9);
    back.Scale(1, 1, 1e20);
    const Vec3 v = TransformByInverse({1, 2, 1e-20F}, back);
    EXPECT_EQ(v.x, 1);
    EXPECT_EQ(v.z, 0);
}

TEST(Box, GrowsByValidBoxesOnly) {
    BBox empty, box{-1, 2, -3, 4, -5, 6, 1};
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(empty.xmin, kFar);
    EXPECT_EQ(empty.zmax, -kFar);
    box.Union(empty);
    EXPECT_EQ(box.xmin, -1);
    EXPECT_EQ(box.zmax, 6);
    empty.Union(box);
    EXPECT_EQ(empty.valid, 1);
    EXPECT_EQ(empty.xmin, -1);
    EXPECT_EQ(empty.ymax, 4);
    box.Union({-9, 0, 0, 9, 0, 0, 1});
    EXPECT_EQ(box.xmin, -9);
    EXPECT_EQ(box.xmax, 2);
    EXPECT_EQ(box.ymax, 9);
    EXPECT_DOUBLE_EQ(box.DiagonalSquared(), 11 * 11 + 12 * 12 + 11 * 11);
    EXPECT_DOUBLE_EQ(box.CenterY(), 3);
    EXPECT_DOUBLE_EQ(box.CenterZ(), 0.5);
    CMatrix half;
    half.RotateZ(kPi);
    box.Transform(half);
    EXPECT_GT(box.xmin, box.xmax);
}

TEST(Vector, NormalisesShortVectorsByTheirX) {
    const struct {
        Vec3 in, out;
    } cases[] = {{{0, 0, 0}, {1, 0, 0}},
                 {{0, 1e-7F, 0}, {1, 1e-7F, 0}},
                 {{0, 0, -2e-6F}, {0, 0, -1}},
                 {{3, 0, 4}, {0.6F, 0, 0.8F}}};
    for (const auto& [in, out] : cases) ExpectPoint(Normalized(in), out.x, out.y, out.z, 1e-7F);
    ExpectPoint(SafeNormal(0, 5e-7F, 0), 1, 5e-7F, 0, 0);
    ExpectPoint(SafeNormal(3, 0, 4), 3, 0, 4, 0);
    ExpectPoint(Cross({2, 0, 0}, {0, 3, 0}), 0, 0, 1);
    const ToleranceScope tolerance(0.25F);
    EXPECT_TRUE(PointsEqual({1, 1, 1}, {1.25F, 0.75F, 1}));
    EXPECT_FALSE(PointsEqual({1, 1, 1}, {1.26F, 1, 1}));
}

}  // namespace
}  // namespace tessera::test
