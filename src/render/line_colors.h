// Colours of lines and points.
#pragma once

#include <GL/gl.h>

#include "geometry/element.h"

namespace tessera {

inline void SetColor(const Color& color) { glColor3f(color.red, color.green, color.blue); }

// On paper white lines would not show.
inline Color PrintedColor(const Color& color, bool printing) {
    const bool white = color.red >= 0.99f && color.green >= 0.99f && color.blue >= 0.99f;
    return printing && white ? Color{0, 0, 0} : color;
}

}  // namespace tessera
