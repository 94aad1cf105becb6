#include <GL/gl.h>

#include "component/bbox.h"

namespace tessera {

void BBox::DrawWire() const {
    const float x[2] = {xmin, xmax}, y[2] = {ymin, ymax}, z[2] = {zmin, zmax};
    const auto edge = [&](int i, int j, int k, int axis) {
        glVertex3f(x[i], y[j], z[k]);
        glVertex3f(x[axis == 0 ? 1 - i : i], y[axis == 1 ? 1 - j : j], z[axis == 2 ? 1 - k : k]);
    };
    for (int side = 0; side < 2; ++side) {  // bottom, then top
        glBegin(GL_LINES);
        edge(0, 0, side, 0);
        edge(1, 0, side, 1);
        edge(1, 1, side, 0);
        edge(0, 1, side, 1);
        glEnd();
    }
    for (int side = 0; side < 2; ++side) {  // the verticals
        glBegin(GL_LINES);
        edge(side, 0, 0, 2);
        edge(side, 1, 0, 2);
        glEnd();
    }
}

}  // namespace tessera
