// The element under construction.
#include "geometry/trimesh.h"
#include "scene/part.h"

namespace tessera {
namespace {

// Colours a little outside the range that rounding may produce are still taken.
bool IsInRange(const Color& color) {
    constexpr float kLow = -0.0001f, kHigh = 1.001f;
    for (const float channel : {color.red, color.green, color.blue})
        if (!(channel >= kLow && channel <= kHigh)) return false;
    return true;
}

}  // namespace

void CPart::BeginTriMesh() {
    if (IsBuilding()) return;
    buildingMesh_ = true;
    building_ = std::make_unique<CTriMesh>(triNormals_);
    CTriMesh& mesh = *building_;
    mesh.SetElementExternalColor(externalColor);
    mesh.SetElementInternalColor(internalColor);
    mesh.backgroundColor = backgroundColor;
    mesh.borderColor = borderColor;
    mesh.edgeColor = edgeColor;
    mesh.SetPointTolerance(pointTolerance);
    mesh.shadeMode = shadeMode;
    mesh.optionsShadeMode = optionsShadeMode;
    mesh.viewingType = viewingType;
    mesh.BeginBuild();
}

void CPart::EndTriMesh() {
    if (!building_) return;
    building_->EndBuild();
    buildingMesh_ = false;
    if (building_->TriangleCount() == 0) {
        building_.reset();
        return;
    }
    cachedVolume = 0;
    building_->SetTextureId(envTexture);
    building_->SetThresholdAngle(thresholdAngle);
    RefreshShading(*building_);
    const std::lock_guard<std::mutex> hold(lock_);
    elements_.push_back(std::move(building_));
}

// The first colour given to a mesh becomes the part's, which its later meshes start with.
void CPart::SetTriMeshExternalColor(const Color& color) {
    if (!building_ || !IsInRange(color)) return;
    building_->SetElementExternalColor(color);
    if (colourSet) return;
    externalColor = color;
    colourSet = true;
}

void CPart::SetTriMeshInternalColor(const Color& color) {
    if (building_) building_->SetElementInternalColor(color);
}

void CPart::SetTriMeshEdgeColor(const Color& color) {
    if (building_) building_->edgeColor = color;
}

void CPart::SetTriMeshBorderColor(const Color& color) {
    if (building_) building_->borderColor = color;
}

}  // namespace tessera
