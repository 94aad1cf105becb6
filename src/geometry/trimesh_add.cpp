#include <algorithm>
#include <cfloat>
#include <cmath>

#include "geometry/trimesh.h"

namespace tessera {
namespace {

constexpr float kLargestCoordinate = 1e20f;
constexpr double kGivenNormalLimit = 45.0;    // degrees between a corner's normal and the facet's
constexpr double kCheckedNormalLimit = 50.0;  // the same, for triangles that arrive in bulk

Vec3 ToVec3(const float* p) { return {p[0], p[1], p[2]}; }

void ToVec3(const float p[9], Vec3 out[3]) {
    for (int k = 0; k < 3; ++k) out[k] = ToVec3(p + 3 * k);
}

// The three vectors that indices name among count doubles; false if one lies outside.
bool FetchThree(const double* values, std::uint32_t count, const std::uint32_t* indices, Vec3 out[3]) {
    for (int k = 0; k < 3; ++k) {
        const std::size_t at = 3 * static_cast<std::size_t>(indices[k]);
        if (at + 2 >= count) return false;
        out[k] = {static_cast<float>(values[at]), static_cast<float>(values[at + 1]),
                  static_cast<float>(values[at + 2])};
    }
    return true;
}

// Also false for NaN.
bool IsPlaceable(float value) { return std::fabs(value) < kLargestCoordinate; }
bool ArePlaceable(const Vec3 p[3]) {
    for (int k = 0; k < 3; ++k)
        if (!(IsPlaceable(p[k].x) && IsPlaceable(p[k].y) && IsPlaceable(p[k].z))) return false;
    return true;
}

bool IsNormalOrZero(float value) {
    const int kind = std::fpclassify(value);
    return kind == FP_NORMAL || kind == FP_ZERO;
}

bool AreEqualPoints(const Vec3 p[3]) {
    return PointsEqual(p[0], p[1]) || PointsEqual(p[1], p[2]) || PointsEqual(p[0], p[2]);
}

double LengthSquared(const Vec3& v) { return Dot(v, v); }

// Whether the tip of a normal that stands at p lies above the plane through origin with normal facet.
bool VotesForFacet(const Vec3& p, const Vec3& n, const Vec3& facet, const Vec3& origin) {
    const double tip[3] = {static_cast<double>(p.x) + n.x, static_cast<double>(p.y) + n.y,
                           static_cast<double>(p.z) + n.z};
    return facet.x * tip[0] + facet.y * tip[1] + facet.z * tip[2] - Dot(facet, origin) > 0;
}

// The corners' normals vote on which side is out; the winding follows the majority, and a corner that
// voted against it has its normal turned (and normalised once more, where the winding stays). Gives true if the
// winding was reversed.
bool ResolveWinding(Vec3 p[3], Vec3 n[3], const Vec3& facet) {
    bool vote[3];
    int positive = 0;
    for (int k = 0; k < 3; ++k) {
        vote[k] = VotesForFacet(p[k], n[k], facet, p[0]);
        positive += vote[k];
    }
    const bool keep = positive >= 2;
    if (positive == 1 || positive == 2)
        for (int k = 0; k < 3; ++k)
            if (vote[k] != keep) n[k] = keep ? Normalized(-n[k]) : -n[k];
    if (keep) return false;
    std::swap(p[1], p[2]);
    std::swap(n[1], n[2]);
    return true;
}

// Whether the normals given with a triangle are usable and lie near enough to its facet's.
bool FitsNormals(const Vec3 p[3], const Vec3 n[3]) {
    if (!ArePlaceable(n)) return false;
    for (int k = 0; k < 3; ++k)
        if (LengthSquared(n[k]) < 0.001) return false;
    static const double surelyWithin = std::cos(kCheckedNormalLimit / 57.29577951308232) + 1e-6;
    const Vec3 facet = FacetNormal(p[0], p[1], p[2]);
    for (int k = 0; k < 3; ++k)
        if (!(Dot(facet, Normalized(n[k])) > surelyWithin) && AngleBetween(facet, n[k]) > kCheckedNormalLimit)
            return false;
    return true;
}

}  // namespace

void CTriMesh::BeginBuild() {
    LockShared();
    building_ = true;
    rawPoints_.Clear();
}

void CTriMesh::Accept(const Vec3 p[3], const Vec3* givenNormals) {
    std::copy_n(p, 3, rawPoints_.AddThree());
    if (givenNormals) std::copy_n(givenNormals, 3, rawNormals_.AddThree());
    rawGiven_.push_back(givenNormals ? 1 : 0);
    ++triangleCount_;
}

void CTriMesh::AddTriangle3P(const float points[9]) {
    if (!building_) return;
    Vec3 p[3];
    ToVec3(points, p);
    if (!ArePlaceable(p)) return;
    const ToleranceScope tolerance(pointTolerance_);
    if (!AreEqualPoints(p)) Accept(p, nullptr);
}

void CTriMesh::AddTriangle3P3N(const float points[9], const float normals[9]) {
    if (!building_) return;
    Vec3 p[3], n[3];
    ToVec3(points, p);
    ToVec3(normals, n);
    if (!ArePlaceable(p)) return;
    const bool usable = std::all_of(normals, normals + 9, IsNormalOrZero) &&
                        std::none_of(n, n + 3, [](const Vec3& v) { return LengthSquared(v) < 1e-10; });
    if (!usable) return AddTriangle3P(points);
    const ToleranceScope tolerance(pointTolerance_);
    if (!AreEqualPoints(p)) AcceptGiven3P3N(p, n);
}

void CTriMesh::AcceptGiven3P3N(Vec3 p[3], Vec3 n[3]) {
    for (int k = 0; k < 3; ++k) Normalize(n[k]);
    Vec3 facet = FacetNormal(p[0], p[1], p[2]);
    if (ResolveWinding(p, n, facet)) facet = -facet;
    const bool near =
        std::all_of(n, n + 3, [&](const Vec3& v) { return !(AngleBetween(v, facet) > kGivenNormalLimit); });
    Accept(p, near ? n : nullptr);
}

void CTriMesh::AddTriangle3P4N(const float points[9], const float normals[9], const float facet[3]) {
    if (!building_) return;
    Vec3 p[3], n[3];
    ToVec3(points, p);
    ToVec3(normals, n);
    const ToleranceScope tolerance(pointTolerance_);
    if (AreEqualPoints(p)) return;
    for (int k = 0; k < 3; ++k) Normalize(n[k]);
    ResolveWinding(p, n, ToVec3(facet));
    Accept(p, n);
}

void CTriMesh::AddTriangles3P3N(double* points, std::uint32_t numVertices, const std::uint32_t* vertexIndices,
                                const double* normals, std::uint32_t numNormals, const std::uint32_t* normalIndices,
                                std::uint32_t numTriangles, bool hasNormals) {
    if (!building_) return;
    constexpr double kLargestFloat = FLT_MAX;
    for (std::uint32_t i = 0; i < numVertices; ++i)
        if (points[i] >= kLargestFloat) points[i] = kLargestFloat;
    const ToleranceScope tolerance(pointTolerance_);
    for (std::size_t t = 0; t < numTriangles; ++t) {
        Vec3 p[3], n[3];
        if (!FetchThree(points, numVertices, vertexIndices + 3 * t, p) || !ArePlaceable(p) || AreEqualPoints(p))
            continue;
        const bool given = hasNormals && FetchThree(normals, numNormals, normalIndices + 3 * t, n) && FitsNormals(p, n);
        if (given)
            for (int k = 0; k < 3; ++k) Normalize(n[k]);
        Accept(p, given ? n : nullptr);
    }
}

void CTriMesh::AppendTrianglesTo(CTriMesh& target) {
    const ReadLock lock(*this);
    for (const TriMeshTriangle& t : triangles_) {
        float p[9], n[9];
        for (int k = 0; k < 3; ++k) {
            const Vec3& point = Corner(t, k);
            const Vec3 normal = (*normals_)[t.normal[k]];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                p[3 * k + static_cast<int>(axis)] = point[axis];
                n[3 * k + static_cast<int>(axis)] = normal[axis];
            }
        }
        target.AddTriangle3P3N(p, n);
    }
}

}  // namespace tessera
