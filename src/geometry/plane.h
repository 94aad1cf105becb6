// A plane in space.
#pragma once

#include "component/matrix.h"

namespace tessera {

// The points p with normal * p + distance = 0.
struct Plane {
    Vec3 normal;
    double distance = 0;

    double At(const Vec3& p) const { return Dot(normal, p) + distance; }
};

inline Plane PlaneThrough(const Vec3& point, const Vec3& normal) { return {normal, -Dot(normal, point)}; }

// The same plane in the frame from which the matrix leads to the world, the normal of unit length.
inline Plane LocalPlaneThrough(const Vec3& point, const Vec3& normal, const CMatrix& world) {
    return PlaneThrough(TransformPointByInverse(point, world), Normalized(TransformByInverse(normal, world)));
}

}  // namespace tessera
