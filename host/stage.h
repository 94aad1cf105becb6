#pragma once

#include <array>

#include "camera.h"

namespace tessera::host {

using Rgb = std::array<float, 3>;

// What stands around a model in a picture: the ground behind it and the light on it. All of it is state and drawing in
// the current OpenGL context.

// Clears colour, depth and stencil, and paints a ground that runs evenly from `top` to `bottom`.
void PaintBackground(const Rgb& top, const Rgb& bottom);

// Loads the camera's matrices and lights the world from behind it: a key light from the upper left, a weaker fill from
// the right, both sides of every surface. The lights move with the camera.
void LightFromBehind(const Camera& camera);

}  // namespace tessera::host
