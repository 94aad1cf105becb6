#include "render/plane_quad.h"

namespace tessera {
namespace {

// The axis that the square's sides are turned by. The components are compared with their signs: a normal along a
// negative axis gets an axis along itself, and then a side along x.
Vec3 AxisBeside(const Vec3& n) {
    constexpr float kNearAxis = 0.9f;
    if (n.z < kNearAxis) return {0, 0, 1};
    if (n.y < kNearAxis) return {0, 1, 0};
    return {1, 0, 0};
}

}  // namespace

std::array<Vec3, 4> PlaneQuad(const BBox& box, const Vec3& p, const Vec3& n) {
    const float reach = static_cast<float>(box.Diagonal());
    const Vec3 c = Vec3{box.xmin + box.xmax, box.ymin + box.ymax, box.zmin + box.zmax} * 0.5f;
    const float along = static_cast<float>(-(Dot(n, c) - Dot(n, p)) / Dot(n, n));
    const Vec3 middle = c + n * along;
    const Vec3 a = Cross(AxisBeside(n), n), b = Cross(a, n);
    const auto corner = [&](const Vec3& direction) { return middle + Normalized(direction) * reach; };
    return {corner(a + b), corner(b - a), corner(-b - a), corner(a - b)};
}

}  // namespace tessera
