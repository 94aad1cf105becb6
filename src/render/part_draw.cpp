#include <GL/gl.h>

#include "scene/part.h"

namespace tessera {

void CPart::DrawPart(const CMatrix& matrix, int kind, int pass, int flip) {
    if (pass == 2 && optionsShadeMode != 2) return;
    glFrontFace(flip ? GL_CW : GL_CCW);
    for (const auto& element : elements_) element->Draw(matrix, kind, pass);
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
