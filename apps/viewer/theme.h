#pragma once

namespace tessera::viewer {

// Sizes of the window's parts, in pixels.
struct Theme {
    float scale = 1;  // of everything, for dense screens
    float sideWidth = 290;
    float statusHeight = 28;
};

const Theme& CurrentTheme();

// Sets colours, sizes and font of the current ImGui context. Once, before its first frame.
void ApplyTheme(float scale);

}  // namespace tessera::viewer
