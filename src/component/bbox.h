// Axis-aligned box with a valid word.
#pragma once

#include "component/matrix.h"

namespace tessera {

struct BBox {
    // 9.99999944e27: far outside anything that a host can place, yet safe to square in double.
    static constexpr float kFar = 9.99999944e27f;

    float xmin = kFar, xmax = -kFar, ymin = kFar, ymax = -kFar, zmin = kFar, zmax = -kFar;
    int valid = 0;

    bool IsEmpty() const { return valid == 0; }
    // Grows to take in other; an invalid other changes nothing.
    void Union(const BBox& other);
    // Grows to take in one point; valid is left to the caller.
    void Add(const Vec3& p);
    double Diagonal() const;
    double DiagonalSquared() const;
    double CenterX() const { return (static_cast<double>(xmin) + xmax) / 2; }
    double CenterY() const { return (static_cast<double>(ymin) + ymax) / 2; }
    double CenterZ() const { return (static_cast<double>(zmin) + zmax) / 2; }
    // Moves the two extreme corners and stores them as they come: under a rotation the result is
    // neither sorted nor a bound. Callers that need a bound ask the elements.
    void Transform(const CMatrix& matrix);
    // render/bbox_draw.cpp
    void DrawWire() const;
};

}  // namespace tessera
