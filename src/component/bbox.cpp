#include "component/bbox.h"

#include <algorithm>
#include <cmath>

namespace tessera {

void BBox::Union(const BBox& other) {
    if (other.valid == 0) return;
    xmin = std::min(xmin, other.xmin);
    xmax = std::max(xmax, other.xmax);
    ymin = std::min(ymin, other.ymin);
    ymax = std::max(ymax, other.ymax);
    zmin = std::min(zmin, other.zmin);
    zmax = std::max(zmax, other.zmax);
    valid = 1;
}

void BBox::Add(const Vec3& p) {
    xmin = std::min(xmin, p.x);
    xmax = std::max(xmax, p.x);
    ymin = std::min(ymin, p.y);
    ymax = std::max(ymax, p.y);
    zmin = std::min(zmin, p.z);
    zmax = std::max(zmax, p.z);
}

double BBox::DiagonalSquared() const {
    const double dx = static_cast<double>(xmax) - xmin, dy = static_cast<double>(ymax) - ymin,
                 dz = static_cast<double>(zmax) - zmin;
    return dx * dx + dy * dy + dz * dz;
}

double BBox::Diagonal() const { return std::sqrt(DiagonalSquared()); }

void BBox::Transform(const CMatrix& matrix) {
    const Vec3 low = TransformPoint({xmin, ymin, zmin}, matrix), high = TransformPoint({xmax, ymax, zmax}, matrix);
    xmin = low.x, ymin = low.y, zmin = low.z;
    xmax = high.x, ymax = high.y, zmax = high.z;
}

}  // namespace tessera
