#include "exchange/u3d/normal_prediction.h"

#include <algorithm>
#include <cstdint>

namespace tessera {
namespace {

float SingleDot(const Vec3& a, const Vec3& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

// Scaled to unit length, unless it is too short.
bool Unit(Vec3& v) {
    constexpr float kShortest = 1e-7f;
    if (std::fabs(v.x) < kShortest && std::fabs(v.y) < kShortest && std::fabs(v.z) < kShortest) return false;
    v = v * (1.0f / std::sqrt(SingleDot(v, v)));
    return true;
}

Vec3 Interpolated(const Vec3& from, Vec3 to, float share) {
    constexpr float kStraight = 1e-6f;
    float cosine = SingleDot(from, to);
    if (cosine < 0) {
        to = -to;
        cosine = -cosine;
    }
    if (!(1.0f - cosine > kStraight)) return from * (1.0f - share) + to * share;
    const float angle = std::acos(cosine), sine = std::sin(angle);
    return from * (std::sin((1.0f - share) * angle) / sine) + to * (std::sin(share * angle) / sine);
}

// Starts with the first, and goes on with what is least like all that were chosen.
void ChooseFarthest(const std::vector<Vec3>& normals, std::size_t count, std::vector<Vec3>& chosen) {
    chosen.push_back(normals[0]);
    std::vector<float> nearest(normals.size(), -2.0f);
    while (chosen.size() < count) {
        std::size_t farthest = 0;
        for (std::size_t i = 0; i < normals.size(); ++i) {
            nearest[i] = std::max(nearest[i], SingleDot(normals[i], chosen.back()));
            if (nearest[i] < nearest[farthest]) farthest = i;
        }
        chosen.push_back(nearest[farthest] < 1.0f ? normals[farthest] : normals[0]);
    }
}

}  // namespace

bool U3dFaceNormal(const Vec3& a, const Vec3& b, const Vec3& c, Vec3& normal) {
    Vec3 u = b - a, v = c - a;
    if (!Unit(u) || !Unit(v)) return false;
    normal = {u.y * v.z - u.z * v.y, u.z * v.x - u.x * v.z, u.x * v.y - u.y * v.x};
    return Unit(normal);
}

void PredictU3dNormals(const std::vector<Vec3>& faceNormals, std::size_t count, std::vector<Vec3>& result) {
    result.clear();
    if (faceNormals.empty()) {
        result.resize(count);
        return;
    }
    ChooseFarthest(faceNormals, count, result);
    std::vector<std::uint32_t> merged(count);
    for (const Vec3& normal : faceNormals) {
        std::size_t nearest = 0;
        float largest = SingleDot(result[0], normal);
        for (std::size_t i = 1; i < count; ++i) {
            const float likeness = SingleDot(result[i], normal);
            if (!(likeness > largest)) continue;
            largest = likeness;
            nearest = i;
        }
        const float share = 1.0f / static_cast<float>(++merged[nearest]);
        result[nearest] = Interpolated(result[nearest], normal, share);
    }
}

}  // namespace tessera
