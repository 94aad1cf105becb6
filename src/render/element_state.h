// What the draws of all kinds of elements share.
#pragma once

#include <GL/gl.h>

#include "geometry/element.h"

namespace tessera {

inline bool IsInPass(float alpha, int pass) {
    if (pass == 4) return true;  // the clip plane's overlay shows everything
    return alpha >= kOpaqueAlpha ? pass != 1 : pass == 1;
}

// The plane is given in the frame of the modelview matrix.
inline void EnableClipPlane(const Plane& plane) {
    const GLdouble equation[4] = {plane.normal.x, plane.normal.y, plane.normal.z, plane.distance};
    glEnable(GL_CLIP_PLANE0);
    glClipPlane(GL_CLIP_PLANE0, equation);
}

}  // namespace tessera
