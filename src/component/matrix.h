// A transform that carries its own inverse.
#pragma once

#include "component/vector3.h"

namespace tessera {

// 4 by 4 transform for row vectors: a point p goes to p times M, the translation stands in elements
// 12 to 14, element 4*r + c is row r, column c. The same array is column-major to OpenGL. There is
// no division by w. Matrix and inverse are built together, step by step, so that picking and
// drawing never invert; only a matrix that comes from outside goes through Invert.
class CMatrix {
public:
    CMatrix() { SetIdentity(); }

    static const CMatrix& Identity();
    void SetIdentity();
    // The newer operation acts after the older ones: m = m * other, inverse = other's inverse * inverse.
    void Multiply(const CMatrix& other);
    // Angles are radians; a positive one turns against the right-hand rule.
    void RotateX(double angle);
    void RotateY(double angle);
    void RotateZ(double angle);
    // A factor of 0 is not caught: the inverse then holds infinities.
    void Scale(double sx, double sy, double sz);
    void Translate(double tx, double ty, double tz);
    void MirrorXY();
    void MirrorXZ();
    void MirrorYZ();

    void GetArray(double out[16], bool ofInverse) const;
    // Without computeInverse the inverse keeps its old value, out of step with the matrix.
    void SetFromArray(const double values[16], bool computeInverse);
    // Inverse in single precision, by LINPACK's SGEFA and SGESL (Dongarra, Bunch, Moler, Stewart: LINPACK
    // Users' Guide, 1979). Hosts see its rounding. A nearly singular matrix keeps its former inverse.
    void Invert();
    // Whether all elements agree to 1e-8; the inverses are not compared.
    bool Equals(const CMatrix& other) const;

    const double* Forward() const { return m_; }
    const double* Inverse() const { return inverse_; }
    float Determinant() const { return determinant_; }

    friend CMatrix operator*(const CMatrix& first, const CMatrix& then) { return {first, then}; }

private:
    CMatrix(const CMatrix& first, const CMatrix& then);

    double m_[16];
    double inverse_[16];
    float determinant_ = 0;  // left by the last Invert
};

// p times M, with values too small for a normal float flushed to 0.
Vec3 TransformPoint(const Vec3& p, const CMatrix& matrix);
// p times the inverse.
Vec3 TransformPointByInverse(const Vec3& p, const CMatrix& matrix);
// A direction through M or through the inverse: no translation, no normalising.
Vec3 TransformDirection(const Vec3& v, const CMatrix& matrix);
Vec3 TransformByInverse(const Vec3& v, const CMatrix& matrix);

// The same builders on a pair of raw arrays: Build writes a fresh pair, Apply multiplies in place.
void BuildTranslation(double* m, double* inverse, double tx, double ty, double tz);
void BuildRotationX(double* m, double* inverse, double angle);
void BuildRotationY(double* m, double* inverse, double angle);
void BuildRotationZ(double* m, double* inverse, double angle);
void BuildScale(double* m, double* inverse, double sx, double sy, double sz);
void BuildMirrorXY(double* m, double* inverse);
void BuildMirrorXZ(double* m, double* inverse);
void BuildMirrorYZ(double* m, double* inverse);
void ApplyTranslation(double* m, double* inverse, double tx, double ty, double tz);
void ApplyRotationX(double* m, double* inverse, double angle);
void ApplyRotationY(double* m, double* inverse, double angle);
void ApplyRotationZ(double* m, double* inverse, double angle);
// Rotation by angle about the axis from p0 to p1. Gives 1, or -1 with nothing changed if they coincide.
int RotateAboutAxis(double* m, double* inverse, const double p0[3], const double p1[3], double angle);

}  // namespace tessera
