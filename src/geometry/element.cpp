#include "geometry/element.h"

#include <algorithm>

#include "platform/spool_file.h"

namespace tessera {
namespace {

Color Clamped(const Color& color) {
    constexpr float kDarkest = 0.2f;
    return {std::max(color.red, kDarkest), std::max(color.green, kDarkest), std::max(color.blue, kDarkest)};
}

}  // namespace

CElement::CElement() : pointTolerance_(gPointTolerance) {}
CElement::~CElement() = default;

void CElement::SpoolOut(const std::shared_ptr<SpoolFile>&) {}

BBox CElement::GetBoundBox(const CMatrix& matrix, bool, const CMatrix&) {
    BBox box = bounds_;
    box.Transform(matrix);
    return box;
}

void CElement::Clear() {
    ElementState fresh;
    fresh.vertexVisible = vertexVisible;
    fresh.transparentSection = transparentSection;
    fresh.printing = printing;
    fresh.useVertexArray = useVertexArray;
    fresh.clipPoint = clipPoint;
    fresh.clipNormal = clipNormal;
    static_cast<ElementState&>(*this) = fresh;
    externalColor = {1, 0, 0};
    internalColor = {0, 1, 0};
    sectionEnabled = 0;
    planeClipOn = 1;
    thresholdAngle_ = 0;
    pointTolerance_ = gPointTolerance;
    spoolFile_.reset();
    spooled_ = false;
    bounds_ = {1e-28f, 1e-28f, 1e-28f, -1e-28f, -1e-28f, -1e-28f, 0};
}

void CElement::SetElementExternalColor(const Color& color) { externalColor = Clamped(color); }
void CElement::SetElementInternalColor(const Color& color) { internalColor = Clamped(color); }

}  // namespace tessera
