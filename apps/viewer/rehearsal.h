#pragma once

#include <string>
#include <vector>

#include "window.h"

namespace tessera::viewer {

// Runs the viewer off screen, without a display: waits for the models, does the steps, and writes what the window would
// then show as a PNG. Returns the measurements taken, a line each. Steps are, with places in pixels from the window's
// top left corner:
//   key K             presses a key, "shift+H" with shift; "escape" for that
//   click X,Y         and with ctrl, "ctrl+click X,Y"; "double X,Y"
//   drag X,Y X,Y      with the left button; "right X,Y X,Y" with the right one
//   wheel N X,Y       by N notches, away from the hand
//   move X,Y
//   type TEXT         into the field that has the focus
//   shot FILE         writes a picture of now
// Throws Failure, for a step that is none of these too.
std::vector<std::string> Rehearse(const WindowOptions& options, const std::vector<std::string>& steps,
                                  const std::string& output);

}  // namespace tessera::viewer
