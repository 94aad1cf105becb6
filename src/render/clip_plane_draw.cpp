// The display of a plane: a translucent square around an assembly, with the lines in which it cuts the parts.
#include <GL/gl.h>

#include "component/tessera.h"
#include "render/draw_state.h"
#include "render/plane_quad.h"

namespace tessera {

void CAssembly::DrawClipPlane(const Vec3& point, const Vec3& normal) {
    constexpr float kGlass[4] = {0.6f, 0.6f, 0.6f, 0.6f};
    constexpr int kOverlayPass = 4;
    const CMatrix identity;
    const std::array<Vec3, 4> corners = PlaneQuad(GetBoundBox(identity, identity, true, identity), point, normal);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glDepthMask(GL_FALSE);
    gTold.materials = nullptr;
    glMaterialfv(GL_FRONT, GL_DIFFUSE, kGlass);
    glMaterialfv(GL_BACK, GL_DIFFUSE, kGlass);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    const Vec3 facing = Cross(corners[1] - corners[0], corners[2] - corners[1]);
    glBegin(GL_POLYGON);
    glNormal3f(facing.x, facing.y, facing.z);
    for (const std::size_t i : {0, 1, 2, 3, 0}) glVertex3f(corners[i].x, corners[i].y, corners[i].z);
    glEnd();
    glPushAttrib(GL_COLOR_BUFFER_BIT | GL_ENABLE_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_BLEND);
    glDepthMask(GL_TRUE);
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    DrawNode(identity, 2, kOverlayPass, 0);
    glEnable(GL_DEPTH_TEST);
    glPopAttrib();
}

HRESULT CTessera::DrawClipPlane(int nodeID, float* ptOfPlane, float* vectOfPlane, int* errCode) {
    if (!ptOfPlane || !vectOfPlane) return Refuse(errCode);
    CNode* const node = NodeOf(nodeID, errCode);
    if (!node) return STATUS_FAIL;
    const HostState state;
    node->DrawClipPlane({ptOfPlane[0], ptOfPlane[1], ptOfPlane[2]},
                        Normalized({vectOfPlane[0], vectOfPlane[1], vectOfPlane[2]}));
    return STATUS_OK;
}

}  // namespace tessera
