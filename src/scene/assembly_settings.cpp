// Settings that an assembly hands to its children, keeping a copy of those that a node has itself.
#include "geometry/element.h"
#include "scene/assembly.h"

namespace tessera {

void CAssembly::SetExternalColor(const Color& color) {
    for (CNode* child : children_) child->SetExternalColor(color);
}

void CAssembly::SetInternalColor(const Color& color) {
    for (CNode* child : children_) child->SetInternalColor(color);
}

void CAssembly::SetBackgroundColor(const Color& color) {
    for (CNode* child : children_) child->SetBackgroundColor(color);
}

void CAssembly::SetBorderColor(const Color& color) {
    for (CNode* child : children_) child->SetBorderColor(color);
}

void CAssembly::SetEdgeColor(const Color& color) {
    for (CNode* child : children_) child->SetEdgeColor(color);
}

void CAssembly::SetPointTolerance(float tolerance) {
    for (CNode* child : children_) child->SetPointTolerance(tolerance);
}

void CAssembly::SetThresholdAngle(float degrees) {
    for (CNode* child : children_) child->SetThresholdAngle(degrees);
}

void CAssembly::SetShadeMode(short code) {
    for (CNode* child : children_) child->SetShadeMode(code);
}

void CAssembly::SetSimpleShadeMode(short code) {
    for (CNode* child : children_) child->SetSimpleShadeMode(code);
}

void CAssembly::SetOptionsShadeMode(short code) {
    for (CNode* child : children_) child->SetOptionsShadeMode(code);
}

void CAssembly::SetViewingType(short code) {
    for (CNode* child : children_) child->SetViewingType(code);
}

void CAssembly::SetTransparency(float level) {
    for (CNode* child : children_) child->SetTransparency(level);
}

void CAssembly::SetVolumePrecision(float precision) {
    for (CNode* child : children_) child->SetVolumePrecision(precision);
}

void CAssembly::SetPickTolerance(float value) {
    for (CNode* child : children_) child->SetPickTolerance(value);
}

void CAssembly::SetPrintingStatus(int value) {
    for (CNode* child : children_) child->SetPrintingStatus(value);
}

void CAssembly::UseVertexArray(int value) {
    for (CNode* child : children_) child->UseVertexArray(value);
}

void CAssembly::SetCrossSectionPlane(const Vec3& point, const Vec3& normal) {
    for (CNode* child : children_) child->SetCrossSectionPlane(point, normal);
}

void CAssembly::SwitchCrossSectionPlane(int value) {
    for (CNode* child : children_) child->SwitchCrossSectionPlane(value);
}

void CAssembly::EnableTransparentXSection(int value) {
    for (CNode* child : children_) child->EnableTransparentXSection(value);
}

void CAssembly::SwitchWireFrameVisibility(int value) {
    CNode::SwitchWireFrameVisibility(value);
    for (CNode* child : children_) child->SwitchWireFrameVisibility(value);
}

void CAssembly::SwitchTriMeshVisibility(int value) {
    CNode::SwitchTriMeshVisibility(value);
    for (CNode* child : children_) child->SwitchTriMeshVisibility(value);
}

void CAssembly::SwitchPointSetVisibility(int value) {
    CNode::SwitchPointSetVisibility(value);
    for (CNode* child : children_) child->SwitchPointSetVisibility(value);
}

void CAssembly::SetVertexVisible(int value) {
    CNode::SetVertexVisible(value);
    for (CNode* child : children_) child->SetVertexVisible(value);
}

void CAssembly::SetSelected(int value) {
    CNode::SetSelected(value);
    for (CNode* child : children_) child->SetSelected(value);
}

void CAssembly::SetUserName(const String& text) {
    CNode::SetUserName(text);
    for (CNode* child : children_) child->SetUserName(text);
}

void CAssembly::SetDateAsNow() {
    CNode::SetDateAsNow();
    for (CNode* child : children_) child->SetDateAsNow();
}

void CAssembly::SetEnvtexture(const String& text) {
    CNode::SetEnvtexture(text);
    for (CNode* child : children_) child->SetEnvtexture(text);
}

void CAssembly::SetCamera(const float view[6]) {
    CNode::SetCamera(view);
    for (CNode* child : children_) child->SetCamera(view);
}

void CAssembly::SetZoomFactor(float value) {
    CNode::SetZoomFactor(value);
    for (CNode* child : children_) child->SetZoomFactor(value);
}

void CAssembly::ComputeLODs(IDecimator* decimator) {
    for (CNode* child : children_) child->ComputeLODs(decimator);
}

void CAssembly::SetUseDisplayAcc(bool status, float accuracy, const BBox& sceneBox) {
    CNode::SetUseDisplayAcc(status, accuracy, sceneBox);
    for (CNode* child : children_) child->SetUseDisplayAcc(status, accuracy, sceneBox);
}

void CAssembly::EnableCrossSection(int value) {
    CNode::EnableCrossSection(value);
    for (CNode* child : children_) child->EnableCrossSection(value);
}

void CAssembly::EnableCrossSectionCapping(int value) {
    CNode::EnableCrossSectionCapping(value);
    for (CNode* child : children_) child->EnableCrossSectionCapping(value);
}

// The first child with a plane answers.
bool CAssembly::GetCrossSectionPlane(Vec3& point, Vec3& normal) {
    for (CNode* child : children_)
        if (child->GetCrossSectionPlane(point, normal)) return true;
    return false;
}

}  // namespace tessera
