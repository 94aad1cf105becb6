#pragma once

#include <string>
#include <vector>

#include "viewer.h"

namespace tessera::viewer {

struct WindowOptions {
    int width = 1280;
    int height = 800;
    std::vector<std::string> models;
};

// Shows the viewer in a window of the desktop until a person closes it. Throws Failure where there is no display or no
// OpenGL.
void RunWindow(const WindowOptions& options);

}  // namespace tessera::viewer
