// Settings that an instance hands to its part or to the part's elements; without a part they do nothing more.
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {

void CPartInstance::SetExternalColor(const Color& color) {
    if (part_) part_->SetColor(ExternalColor, color);
}

void CPartInstance::SetInternalColor(const Color& color) {
    if (part_) part_->SetColor(InternalColor, color);
}

void CPartInstance::SetBackgroundColor(const Color& color) {
    if (part_) part_->SetColor(BackgroundColor, color);
}

void CPartInstance::SetBorderColor(const Color& color) {
    if (part_) part_->SetColor(BorderColor, color);
}

void CPartInstance::SetEdgeColor(const Color& color) {
    if (part_) part_->SetColor(EdgeColor, color);
}

void CPartInstance::SetPointTolerance(float tolerance) {
    if (part_) part_->SetPointTolerance(tolerance);
}

void CPartInstance::SetThresholdAngle(float degrees) {
    if (part_) part_->SetThresholdAngle(degrees);
}

void CPartInstance::SetShadeMode(short code) {
    if (part_) part_->SetShadeMode(code);
}

void CPartInstance::SetSimpleShadeMode(short code) {
    if (part_) part_->SetSimpleShadeMode(code);
}

void CPartInstance::SetOptionsShadeMode(short code) {
    if (part_) part_->SetOptionsShadeMode(code);
}

void CPartInstance::SetViewingType(short code) {
    if (part_) part_->SetViewingType(code);
}

void CPartInstance::SetTransparency(float level) {
    if (part_) part_->SetTransparency(level);
}

void CPartInstance::SetVolumePrecision(float precision) {
    if (part_) part_->SetVolumePrecision(precision);
}

void CPartInstance::SetCrossSectionPlane(const Vec3& point, const Vec3& normal) {
    if (part_) part_->SetCrossSectionPlane(point, normal);
}

void CPartInstance::SwitchCrossSectionPlane(int value) {
    if (part_) part_->SwitchCrossSectionPlane(value);
}

void CPartInstance::SetEnvtexture(const String& text) {
    CNode::SetEnvtexture(text);
    if (part_) part_->SetEnvtexture(text);
}

void CPartInstance::SetCamera(const float view[6]) {
    CNode::SetCamera(view);
    if (part_) part_->SetCamera(view);
}

void CPartInstance::EnableCrossSection(int value) {
    CNode::EnableCrossSection(value);
    if (part_) part_->EnableCrossSection(value);
}

void CPartInstance::SwitchWireFrameVisibility(int value) {
    CNode::SwitchWireFrameVisibility(value);
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->SetWireVisible(value);
}

void CPartInstance::SwitchTriMeshVisibility(int value) {
    CNode::SwitchTriMeshVisibility(value);
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->SetSurfaceVisible(value);
}

void CPartInstance::SwitchPointSetVisibility(int value) {
    CNode::SwitchPointSetVisibility(value);
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->SetPointsVisible(value);
}

void CPartInstance::SetVertexVisible(int value) {
    CNode::SetVertexVisible(value);
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->vertexVisible = value;
}

void CPartInstance::UseVertexArray(int value) {
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->useVertexArray = value != 0;
}

void CPartInstance::SetPickTolerance(float value) {
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->pickTolerance = value;
}

void CPartInstance::SetPrintingStatus(int value) {
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->printing = value;
}

void CPartInstance::EnableTransparentXSection(int value) {
    if (!part_) return;
    for (const auto& element : part_->Elements()) element->transparentSection = value;
}

void CPartInstance::SetZoomFactor(float value) {
    CNode::SetZoomFactor(value);
    if (part_) part_->zoomFactor = value;
}

void CPartInstance::EnableCrossSectionCapping(int value) {
    CNode::EnableCrossSectionCapping(value);
    if (part_) part_->cappingEnabled = value;
}

void CPartInstance::ComputeLODs(IDecimator* decimator) {
    if (part_) part_->ComputePartLods(decimator);
}

void CPartInstance::SetUseDisplayAcc(bool status, float accuracy, const BBox& sceneBox) {
    CNode::SetUseDisplayAcc(status, accuracy, sceneBox);
    if (!part_) return;
    part_->useDisplayAcc = status;
    part_->displayAccuracy = accuracy;
    part_->sceneBox = status ? &sceneBox : nullptr;
}

bool CPartInstance::GetCrossSectionPlane(Vec3& point, Vec3& normal) {
    if (!part_) return false;
    point = part_->sectionPoint;
    normal = part_->sectionNormal;
    return true;
}

}  // namespace tessera
