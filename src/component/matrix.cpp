#include "component/matrix.h"

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <utility>

namespace tessera {
namespace {

void PutIdentity(double* m) {
    for (int i = 0; i < 16; ++i) m[i] = i % 5 == 0 ? 1.0 : 0.0;
}

void Product(const double* __restrict a, const double* __restrict b, double* __restrict out) {
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            out[4 * r + c] =
                a[4 * r] * b[c] + a[4 * r + 1] * b[4 + c] + a[4 * r + 2] * b[8 + c] + a[4 * r + 3] * b[12 + c];
}

// m = m * other, inverse = otherInverse * inverse.
void Append(double* m, double* inverse, const double* other, const double* otherInverse) {
    double product[16];
    Product(m, other, product);
    std::copy_n(product, 16, m);
    Product(otherInverse, inverse, product);
    std::copy_n(product, 16, inverse);
}

double Cosine(double angle) { return static_cast<double>(std::cos(static_cast<long double>(angle))); }
double Sine(double angle) { return static_cast<double>(std::sin(static_cast<long double>(angle))); }

void OneRotationX(double* m, double angle) {
    PutIdentity(m);
    m[5] = m[10] = Cosine(angle);
    m[9] = Sine(angle);
    m[6] = -m[9];
}

void OneRotationY(double* m, double angle) {
    PutIdentity(m);
    m[0] = m[10] = Cosine(angle);
    m[2] = Sine(angle);
    m[8] = -m[2];
}

void OneRotationZ(double* m, double angle) {
    PutIdentity(m);
    m[0] = m[5] = Cosine(angle);
    m[4] = Sine(angle);
    m[1] = -m[4];
}

void Diagonal(double* m, double sx, double sy, double sz) {
    PutIdentity(m);
    m[0] = sx;
    m[5] = sy;
    m[10] = sz;
}

float Flushed(double value) { return std::fabs(value) <= FLT_MIN ? 0.0f : static_cast<float>(value); }

Vec3 PointThrough(const Vec3& p, const double* m) {
    return {Flushed(p.x * m[0] + p.y * m[4] + p.z * m[8] + m[12]),
            Flushed(p.x * m[1] + p.y * m[5] + p.z * m[9] + m[13]),
            Flushed(p.x * m[2] + p.y * m[6] + p.z * m[10] + m[14])};
}

Vec3 DirectionThrough(const Vec3& v, const double* m) {
    return {Flushed(v.x * m[0] + v.y * m[4] + v.z * m[8]), Flushed(v.x * m[1] + v.y * m[5] + v.z * m[9]),
            Flushed(v.x * m[2] + v.y * m[6] + v.z * m[10])};
}

// Single-precision LU factors of a matrix of order 4, rows swapped in place as LINPACK does.
struct LuFactors {
    float row[4][4];
    int pivot[4];  // the last entry is the sign of the permutation
    float determinant = 1;

    explicit LuFactors(const double* m);
    void Solve(float b[4]) const;
};

LuFactors::LuFactors(const double* m) {
    for (int i = 0; i < 16; ++i) row[i / 4][i % 4] = static_cast<float>(m[i]);
    pivot[3] = 1;
    for (int k = 0; k < 3; ++k) {
        int l = k;
        for (int r = k + 1; r < 4; ++r)
            if (std::fabs(row[r][k]) > std::fabs(row[l][k])) l = r;
        pivot[k] = l;
        if (l != k) pivot[3] = -pivot[3];
        std::swap(row[l][k], row[k][k]);
        determinant = row[k][k] * determinant;
        if (row[k][k] == 0) continue;
        const float scale = -1 / row[k][k];
        for (int r = k + 1; r < 4; ++r) row[r][k] = scale * row[r][k];
        for (int j = k + 1; j < 4; ++j) {
            std::swap(row[l][j], row[k][j]);
            const float t = row[k][j];
            if (t == 0) continue;
            for (int r = k + 1; r < 4; ++r) row[r][j] = row[r][j] + t * row[r][k];
        }
    }
    determinant = static_cast<float>(pivot[3]) * row[3][3] * determinant;
}

void LuFactors::Solve(float b[4]) const {
    for (int k = 0; k < 3; ++k) {
        const int l = pivot[k];
        const float t = b[l];
        b[l] = b[k];
        b[k] = t;
        for (int r = k + 1; r < 4; ++r) b[r] = b[r] + t * row[r][k];
    }
    for (int k = 3; k > 0; --k) {
        b[k] = b[k] / row[k][k];
        const float t = -b[k];
        for (int r = 0; r < k; ++r) b[r] = b[r] + t * row[r][k];
    }
    b[0] = b[0] / row[0][0];
}

}  // namespace

CMatrix::CMatrix(const CMatrix& first, const CMatrix& then) : determinant_(first.determinant_) {
    Product(first.m_, then.m_, m_);
    Product(then.inverse_, first.inverse_, inverse_);
}

const CMatrix& CMatrix::Identity() {
    static const CMatrix identity;
    return identity;
}

void CMatrix::SetIdentity() {
    PutIdentity(m_);
    PutIdentity(inverse_);
}

void CMatrix::Multiply(const CMatrix& other) { Append(m_, inverse_, other.m_, other.inverse_); }

void CMatrix::RotateX(double angle) { ApplyRotationX(m_, inverse_, angle); }
void CMatrix::RotateY(double angle) { ApplyRotationY(m_, inverse_, angle); }
void CMatrix::RotateZ(double angle) { ApplyRotationZ(m_, inverse_, angle); }
void CMatrix::Translate(double tx, double ty, double tz) { ApplyTranslation(m_, inverse_, tx, ty, tz); }

void CMatrix::Scale(double sx, double sy, double sz) {
    double s[16], t[16];
    BuildScale(s, t, sx, sy, sz);
    Append(m_, inverse_, s, t);
}

void CMatrix::MirrorXY() { Scale(1, 1, -1); }
void CMatrix::MirrorXZ() { Scale(1, -1, 1); }
void CMatrix::MirrorYZ() { Scale(-1, 1, 1); }

void CMatrix::GetArray(double out[16], bool ofInverse) const { std::copy_n(ofInverse ? inverse_ : m_, 16, out); }

void CMatrix::SetFromArray(const double values[16], bool computeInverse) {
    std::copy_n(values, 16, m_);
    if (computeInverse) Invert();
}

void CMatrix::Invert() {
    const LuFactors lu(m_);
    determinant_ = lu.determinant;
    if (std::fabs(static_cast<double>(determinant_)) <= 1e-15) return;
    for (int c = 0; c < 4; ++c) {
        float b[4] = {0, 0, 0, 0};
        b[c] = 1;
        lu.Solve(b);
        for (int i = 0; i < 4; ++i) inverse_[4 * i + c] = b[i];
    }
}

bool CMatrix::Equals(const CMatrix& other) const {
    for (int i = 0; i < 16; ++i)
        if (!(std::fabs(m_[i] - other.m_[i]) <= 1e-8)) return false;
    return true;
}

Vec3 TransformPoint(const Vec3& p, const CMatrix& matrix) { return PointThrough(p, matrix.Forward()); }
Vec3 TransformPointByInverse(const Vec3& p, const CMatrix& matrix) { return PointThrough(p, matrix.Inverse()); }
Vec3 TransformDirection(const Vec3& v, const CMatrix& matrix) { return DirectionThrough(v, matrix.Forward()); }
Vec3 TransformByInverse(const Vec3& v, const CMatrix& matrix) { return DirectionThrough(v, matrix.Inverse()); }

void BuildTranslation(double* m, double* inverse, double tx, double ty, double tz) {
    const double t[3] = {tx, ty, tz};
    PutIdentity(m);
    PutIdentity(inverse);
    for (int i = 0; i < 3; ++i) {
        m[12 + i] = t[i];
        inverse[12 + i] = -t[i];
    }
}

void BuildRotationX(double* m, double* inverse, double angle) {
    OneRotationX(m, angle);
    OneRotationX(inverse, -angle);
}

void BuildRotationY(double* m, double* inverse, double angle) {
    OneRotationY(m, angle);
    OneRotationY(inverse, -angle);
}

void BuildRotationZ(double* m, double* inverse, double angle) {
    OneRotationZ(m, angle);
    OneRotationZ(inverse, -angle);
}

void BuildScale(double* m, double* inverse, double sx, double sy, double sz) {
    Diagonal(m, sx, sy, sz);
    Diagonal(inverse, 1 / sx, 1 / sy, 1 / sz);
}

void BuildMirrorXY(double* m, double* inverse) { BuildScale(m, inverse, 1, 1, -1); }
void BuildMirrorXZ(double* m, double* inverse) { BuildScale(m, inverse, 1, -1, 1); }
void BuildMirrorYZ(double* m, double* inverse) { BuildScale(m, inverse, -1, 1, 1); }

void ApplyTranslation(double* m, double* inverse, double tx, double ty, double tz) {
    double t[16], u[16];
    BuildTranslation(t, u, tx, ty, tz);
    Append(m, inverse, t, u);
}

void ApplyRotationX(double* m, double* inverse, double angle) {
    double t[16], u[16];
    BuildRotationX(t, u, angle);
    Append(m, inverse, t, u);
}

void ApplyRotationY(double* m, double* inverse, double angle) {
    double t[16], u[16];
    BuildRotationY(t, u, angle);
    Append(m, inverse, t, u);
}

void ApplyRotationZ(double* m, double* inverse, double angle) {
    double t[16], u[16];
    BuildRotationZ(t, u, angle);
    Append(m, inverse, t, u);
}

int RotateAboutAxis(double* m, double* inverse, const double p0[3], const double p1[3], double angle) {
    const double d[3] = {p1[0] - p0[0], p1[1] - p0[1], p1[2] - p0[2]};
    const double length = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    if (length == 0) return -1;
    const double phi = d[0] == 0 && d[1] == 0 ? 0 : std::atan2(d[1], d[0]);
    const double theta = std::acos(std::clamp(d[2] / length, -1.0, 1.0));
    double t[16], u[16];
    PutIdentity(t);
    PutIdentity(u);
    ApplyTranslation(t, u, -p0[0], -p0[1], -p0[2]);
    ApplyRotationZ(t, u, phi);
    ApplyRotationY(t, u, theta);
    ApplyRotationZ(t, u, angle);
    ApplyRotationY(t, u, -theta);
    ApplyRotationZ(t, u, -phi);
    ApplyTranslation(t, u, p0[0], p0[1], p0[2]);
    Append(m, inverse, t, u);
    return 1;
}

}  // namespace tessera
