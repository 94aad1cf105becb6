#pragma once

#include <tessera/tessera.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "camera.h"

namespace tessera::host {

enum class What { kPoint, kEdge, kSegment, kArc, kInstance, kSectionPoint, kSectionEdge };

// What lies under a cursor, in the world.
struct Found {
    std::string path;  // of the instance
    int node = 0;
    Vec3 point{};
    std::optional<Vec3> normal;               // of an instance's surface
    std::optional<std::array<Vec3, 2>> ends;  // of a segment
    std::optional<Vec3> center;               // of an arc
    std::vector<Vec3> arc;

    double Radius() const;
};

// A pixel of a picture, to ask a scene what is seen there.
class Cursor {
public:
    // Pixels count from the top left corner of the picture; reach is how many of them away a point or an edge is found.
    Cursor(const Camera& camera, int width, int height, double x, double y, double reach);

    std::optional<Found> Pick(ITessera& scene, What what);
    // How far a point lies from the eye along the line of sight, and how far from it a pick reaches there.
    double DepthOf(const Vec3& point) const;
    double ReachAt(double depth) const;
    // The same place, where picks reach so much less far.
    Cursor Narrowed(double factor) const;

private:
    bool Ask(ITessera& scene, What what, Found& found);
    bool AskArc(ITessera& scene, Found& found);

    float eye_[3];
    float sight_[3];
    double screen_[16];
    float x_, y_, diagonal_;
    double slope_, offset_;  // of the reach in the world over the depth
};

}  // namespace tessera::host
