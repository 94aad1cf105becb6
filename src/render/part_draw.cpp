#include <GL/gl.h>

#include "geometry/trimesh.h"
#include "render/draw_state.h"
#include "render/element_state.h"
#include "render/line_colors.h"
#include "render/plane_quad.h"
#include "render/texture_cache.h"
#include "scene/part.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

// A cap this opaque or more is drawn without blending.
constexpr float kOpaqueCap = 0.96f;

}  // namespace

bool CPart::IsCapped() const { return cappingEnabled != 0 && crossSectionEnabled != 0 && !useDisplayAcc; }

void CPart::DrawPart(const CMatrix& matrix, int kind, int pass, int flip, const BBox& instanceBox) {
    if (pass == 2 && optionsShadeMode != 2) return;
    glFrontFace(flip ? GL_CW : GL_CCW);
    if (shadeMode == ShadeEnvMap && !envTextureName.empty() && textures_) FetchTexture();
    if (IsCapped()) return DrawCapped(matrix, kind, pass, instanceBox);
    if (IsReduced()) return DrawLevels(matrix, kind, pass, instanceBox);
    for (const auto& element : elements_) element->Draw(matrix, kind, pass);
}

void CPart::FetchTexture() {
    envTexture = textures_->GetTexture(envTextureName);
    for (const auto& element : elements_)
        if (element->GetKind() == 0) static_cast<CTriMesh&>(*element).SetTextureId(envTexture);
}

// Each fragment of the clipped surfaces turns the stencil bit over. Where an odd number of them covers a pixel, the
// view goes into a solid through the cut, and there the square in the plane of the cut shows.
void CPart::DrawCapped(const CMatrix& matrix, int kind, int pass, const BBox& instanceBox) {
    Color color;
    float opacity = 0;
    bool found = false;
    glClearStencil(0);
    glEnable(GL_STENCIL_TEST);
    glClear(GL_STENCIL_BUFFER_BIT);
    glStencilFunc(GL_ALWAYS, 1, 1);
    glStencilOp(GL_INVERT, GL_INVERT, GL_INVERT);
    for (const auto& element : elements_) {
        if (element->GetKind() != 0) continue;
        if (!found) color = element->externalColor, opacity = element->alpha;
        found = true;
        auto& mesh = static_cast<CTriMesh&>(*element);
        mesh.SetCapping(true);
        mesh.Draw(matrix, kind, pass);
        mesh.SetCapping(false);
    }
    glStencilFunc(GL_EQUAL, 1, 1);
    const bool blended = opacity < kOpaqueCap;
    if (blended) {
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
    }
    if (shadeMode == ShadeHiddenLine)
        tessera::SetColor(backgroundColor);
    else if (blended)
        glColor4f(color.red, color.green, color.blue, opacity);
    else
        tessera::SetColor(color);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glBegin(GL_QUADS);
    for (const Vec3& corner : PlaneQuad(instanceBox, sectionPoint, sectionNormal)) {
        const Vec3 p = TransformPointByInverse(corner, matrix);
        glVertex3f(p.x, p.y, p.z);
    }
    glEnd();
    glDisable(GL_STENCIL_TEST);
    if (blended) {
        glDisable(GL_BLEND);
        glDepthMask(GL_TRUE);
    }
    for (const auto& element : elements_)
        if (element->GetKind() != 0) element->Draw(matrix, kind, pass);
}

void CPart::DrawSimple(const CMatrix& matrix, bool withBox) {
    for (const auto& element : elements_) element->DrawSimple(matrix);
    if (!withBox) return;
    const BBox box = GetBoundBox(CMatrix(), false, CMatrix());
    if (box.IsEmpty()) return;
    glColor3f(externalColor.red, externalColor.green, externalColor.blue);
    box.DrawWire();
}

}  // namespace tessera
