#pragma once

#include <tessera/tessera.h>

#include <optional>
#include <vector>

#include "camera.h"
#include "stage.h"

namespace tessera::host {

enum class Overlay { kNone, kEdges, kVertices };

struct Section {
    Vec3 point{};
    Vec3 normal{};  // towards what stays
};

// How a scene is to look on one picture, beyond what its nodes are set to.
struct Drawing {
    short mode = ShadeSmooth;  // what the root's shade mode becomes
    Overlay overlay = Overlay::kNone;
    bool highlight = false;  // shows selected instances as such
    bool exploded = false;
    std::optional<float> acceleration;  // draws with levels of detail, as DrawLOD takes it
    std::optional<Section> plane;       // shows this plane as a square
    bool sectionLines = false;          // over all else; gives the scene their colour for good
    Rgb top{0.66F, 0.73F, 0.81F};
    Rgb bottom{0.96F, 0.97F, 0.98F};
};

// Points and lines to draw over a picture, in the world.
struct Marks {
    std::vector<Vec3> points;
    std::vector<std::vector<Vec3>> lines;  // each through all its points
};

// Paints background and scene into the current OpenGL context's viewport. Throws Failure.
void DrawScene(ITessera& scene, const Camera& camera, const Drawing& drawing);

// Draws in one colour with a white rim, seen through everything. The camera is the one of the scene drawn last.
void DrawMarks(const Marks& marks, const Rgb& color = {0.86F, 0.05F, 0.1F});

}  // namespace tessera::host
