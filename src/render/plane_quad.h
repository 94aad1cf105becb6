// A square in a plane, to fill a cut or to show the plane.
#pragma once

#include <array>

#include "component/bbox.h"

namespace tessera {

// The corners of a square whose middle is the middle of the box, moved along the normal into the plane through a point,
// and which reaches as far as the box's diagonal. The normal has any length but 0.
std::array<Vec3, 4> PlaneQuad(const BBox& box, const Vec3& point, const Vec3& normal);

}  // namespace tessera
