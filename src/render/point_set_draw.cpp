// What a point set sends to OpenGL.
#include <GL/gl.h>

#include "geometry/point_set.h"
#include "render/element_state.h"
#include "render/line_colors.h"
#include "tessera/itessera.h"

namespace tessera {

void CPointSet::Draw(const CMatrix& matrix, int kind, int pass) {
    if (pointsVisible_ == 0 || points_.empty() || alpha <= kInvisibleAlpha || !IsInPass(alpha, pass)) return;
    glEnable(GL_DEPTH_TEST);
    if (kind == DrawKindSection || shadeMode == ShadeSection) return;
    glPushAttrib(GL_CURRENT_BIT | GL_POINT_BIT | GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    if (IsClipping()) EnableClipPlane(ClipPlaneIn(matrix));
    SetColor(vertexVisible ? Color{1, 1, 0} : externalColor);
    glPointSize(2.0f);
    glBegin(GL_POINTS);
    for (const Vec3& p : points_) glVertex3f(p.x, p.y, p.z);
    glEnd();
    glPopAttrib();
    if (IsClipping()) glDisable(GL_CLIP_PLANE0);
}

}  // namespace tessera
