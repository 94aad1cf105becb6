// Three floats and the few operations that the engine runs on them.
#pragma once

#include <cmath>
#include <cstddef>

namespace tessera {

struct Vec3 {
    float x = 0, y = 0, z = 0;

    float& operator[](std::size_t axis) { return (&x)[axis]; }
    float operator[](std::size_t axis) const { return (&x)[axis]; }
};

inline Vec3 operator+(const Vec3& a, const Vec3& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(const Vec3& a, const Vec3& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator-(const Vec3& a) { return {-a.x, -a.y, -a.z}; }
inline Vec3 operator*(const Vec3& a, float s) { return {a.x * s, a.y * s, a.z * s}; }

inline double Dot(const Vec3& a, const Vec3& b) {
    return static_cast<double>(a.x) * b.x + static_cast<double>(a.y) * b.y + static_cast<double>(a.z) * b.z;
}

inline double Length(const Vec3& v) { return std::sqrt(Dot(v, v)); }

// Vectors shorter than this have no direction.
constexpr double kShortestVector = 1e-6;

// Scales v to unit length. A vector that is too short keeps y and z and gets x = 1: hosts rely on
// the result having a usable direction, not on its length.
inline void Normalize(Vec3& v) {
    const double length = Length(v);
    if (length < kShortestVector) {
        v.x = 1.0f;
        return;
    }
    const double scale = 1.0 / length;
    v = {static_cast<float>(v.x * scale), static_cast<float>(v.y * scale), static_cast<float>(v.z * scale)};
}

inline Vec3 Normalized(Vec3 v) {
    Normalize(v);
    return v;
}

// Right-handed cross product, of unit length.
inline Vec3 Cross(const Vec3& a, const Vec3& b) {
    return Normalized({a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x});
}

inline float Distance(const Vec3& a, const Vec3& b) { return static_cast<float>(Length(a - b)); }

// The three values with x set to 1 where they are too short to be a direction; otherwise unscaled.
inline Vec3 SafeNormal(float x, float y, float z) {
    const Vec3 v{x, y, z};
    return Length(v) < kShortestVector ? Vec3{1.0f, y, z} : v;
}

// Angle in degrees between two unit vectors whose dot product is d.
double AngleOfUnitDot(double d);

// Angle in degrees between two vectors of any length.
double AngleBetween(const Vec3& a, const Vec3& b);

// Unit normal of a triangle, from the cross product of its two normalised edges at a.
inline Vec3 FacetNormal(const Vec3& a, const Vec3& b, const Vec3& c) {
    return Cross(Normalized(b - a), Normalized(c - a));
}

// The process-wide point tolerance: two points are equal when each coordinate of one lies within
// it of the other's, ends included. A mesh puts its own in force through a ToleranceScope.
extern float gPointTolerance;

inline bool CoordinateEquals(float a, float b, double tolerance) { return a >= b - tolerance && a <= b + tolerance; }

inline bool PointsEqual(const Vec3& a, const Vec3& b) {
    const double tolerance = gPointTolerance;
    return CoordinateEquals(a.x, b.x, tolerance) && CoordinateEquals(a.y, b.y, tolerance) &&
           CoordinateEquals(a.z, b.z, tolerance);
}

class ToleranceScope {
public:
    explicit ToleranceScope(float tolerance) : saved_(gPointTolerance) { gPointTolerance = tolerance; }
    ~ToleranceScope() { gPointTolerance = saved_; }
    ToleranceScope(const ToleranceScope&) = delete;
    ToleranceScope& operator=(const ToleranceScope&) = delete;

private:
    float saved_;
};

}  // namespace tessera
