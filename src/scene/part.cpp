#include "scene/part.h"

#include <algorithm>
#include <cmath>

#include "geometry/trimesh.h"

namespace tessera {

CPart::CPart(TriNormalTable* normals, TextureCache* textures) : triNormals_(normals), textures_(textures) {}
CPart::~CPart() = default;

const String& CPart::DefaultName() {
    static const String name = FromAscii("No Name");
    return name;
}

void CPart::Release() {
    if (--useCount == 0) delete this;
}

Color& CPart::ColorOf(ColorIndex index) {
    switch (index) {
        case ExternalColor: return externalColor;
        case InternalColor: return internalColor;
        case EdgeColor: return edgeColor;
        case BorderColor: return borderColor;
        case BackgroundColor: break;
    }
    return backgroundColor;
}

void CPart::SetColor(ColorIndex index, const Color& color) {
    ColorOf(index) = color;
    colourSet = true;
    if (index == ExternalColor)
        for (LodGroup& group : lodGroups)
            for (MeshBlock& block : group.blocks) {
                block.color[0] = color.red;
                block.color[1] = color.green;
                block.color[2] = color.blue;
            }
    for (const auto& element : elements_) switch (index) {
            case ExternalColor: element->SetElementExternalColor(color); break;
            case InternalColor: element->SetElementInternalColor(color); break;
            case EdgeColor: element->edgeColor = color; break;
            case BorderColor: element->borderColor = color; break;
            case BackgroundColor: element->backgroundColor = color; break;
        }
}

void CPart::SetPointTolerance(float tolerance) {
    pointTolerance = tolerance;
    for (const auto& element : elements_) element->SetPointTolerance(tolerance);
}

void CPart::SetThresholdAngle(float degrees) {
    thresholdAngle = degrees;
    triNormals_->BuildGrid();
    for (const auto& element : elements_) element->SetThresholdAngle(degrees);
}

// Any one of the five settings carries all of them to the elements again.
void CPart::RefreshShading() {
    for (const auto& element : elements_) RefreshShading(*element);
}

void CPart::RefreshShading(CElement& element) const {
    element.shadeMode = shadeMode;
    element.SetSimpleShadeMode(simpleShadeMode);
    element.optionsShadeMode = optionsShadeMode;
    element.viewingType = viewingType;
    if (alpha < kAlphaLimit) element.alpha = alpha;
}

void CPart::SetShadeMode(short code) {
    shadeMode = code;
    RefreshShading();
}

void CPart::SetSimpleShadeMode(short code) {
    simpleShadeMode = code;
    RefreshShading();
}

void CPart::SetOptionsShadeMode(short code) {
    optionsShadeMode = code;
    RefreshShading();
}

void CPart::SetViewingType(short code) {
    viewingType = code;
    RefreshShading();
}

void CPart::SetTransparency(float level) {
    if (!(level < kAlphaLimit)) return;
    alpha = level;
    for (LodGroup& group : lodGroups)
        for (MeshBlock& block : group.blocks) block.color[3] = level;
    RefreshShading();
}

void CPart::SetVolumePrecision(float precision) {
    if (std::fabs(precision - volumePrecision) < 0.001f) return;
    cachedVolume = 0;
    volumePrecision = precision;
}

void CPart::SetCamera(const float view[6]) {
    cameraPoint = {view[0], view[1], view[2]};
    targetPoint = {view[3], view[4], view[5]};
    for (const auto& element : elements_) {
        element->cameraPoint = cameraPoint;
        element->targetPoint = targetPoint;
    }
}

void CPart::SetEnvtexture(const String& text) {
    if (envTextureName != text) envTexture = 0;
    envTextureName = text;
}

void CPart::Scale(float x, float y, float z) {
    CMatrix matrix;
    matrix.Scale(x, y, z);
    cachedVolume = 0;
    for (const auto& element : elements_) element->ApplyMatrix(matrix);
}

void CPart::SetCrossSectionPlane(const Vec3& point, const Vec3& normal) {
    sectionPoint = point;
    sectionNormal = normal;
    for (const auto& element : elements_) {
        element->clipPoint = point;
        element->clipNormal = normal;
    }
}

void CPart::EnableCrossSection(int value) {
    crossSectionEnabled = value;
    for (const auto& element : elements_) element->sectionEnabled = value;
}

void CPart::SwitchCrossSectionPlane(int value) {
    sectionPlaneOn = value;
    for (const auto& element : elements_) element->planeClipOn = value;
}

BBox CPart::GetBoundBox(const CMatrix& matrix, bool recompute, const CMatrix& reference) {
    if (elements_.empty()) return BBox();
    boundBox = BBox();
    for (const auto& element : elements_) {
        const BBox box = element->GetBoundBox(matrix, recompute, reference);
        if (boundBox.valid == 0)
            boundBox = box;
        else
            boundBox.Union(box);
    }
    return boundBox;
}

void CPart::SpoolToFile(const std::shared_ptr<SpoolFile>& file) {
    const std::lock_guard<std::mutex> hold(lock_);
    for (const auto& element : elements_) element->SpoolOut(file);
}

}  // namespace tessera
