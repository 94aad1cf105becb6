// The element under construction.
#include "geometry/point_set.h"
#include "geometry/polyline.h"
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

// A new element starts with the part's colours.
void CPart::GiveColors(CElement& element) const {
    element.SetElementExternalColor(externalColor);
    element.SetElementInternalColor(internalColor);
    element.backgroundColor = backgroundColor;
    element.borderColor = borderColor;
    element.edgeColor = edgeColor;
}

void CPart::Open(std::unique_ptr<CElement> element) {
    GiveColors(*element);
    building_ = std::move(element);
}

// Hands the element over to the part, or throws it away.
void CPart::Close(bool keep) {
    if (keep) {
        cachedVolume = 0;
        const std::lock_guard<std::mutex> hold(lock_);
        elements_.push_back(std::move(building_));
    }
    building_.reset();
    openMesh_ = nullptr;
    openPolyLine_ = nullptr;
    openPointSet_ = nullptr;
}

void CPart::BeginTriMesh() {
    if (IsBuilding()) return;
    auto mesh = std::make_unique<CTriMesh>(triNormals_);
    mesh->SetPointTolerance(pointTolerance);
    mesh->shadeMode = shadeMode;
    mesh->optionsShadeMode = optionsShadeMode;
    mesh->viewingType = viewingType;
    mesh->BeginBuild();
    openMesh_ = mesh.get();
    Open(std::move(mesh));
}

void CPart::EndTriMesh() {
    if (!openMesh_) return;
    try {
        openMesh_->EndBuild();
        const bool keep = openMesh_->TriangleCount() > 0;
        if (keep) {
            openMesh_->SetTextureId(envTexture);
            openMesh_->SetThresholdAngle(thresholdAngle);
            RefreshShading(*openMesh_);
        }
        Close(keep);
    } catch (...) {  // what it has is half done
        Close(false);
        throw;
    }
}

// Tolerance and shade modes of the part reach curves and point sets with their next change.
void CPart::BeginPolyLine() {
    if (IsBuilding()) return;
    Open(std::make_unique<CPolyLine>());
    openPolyLine_ = static_cast<CPolyLine*>(building_.get());
    openPolyLine_->Begin(6, 10);
}

void CPart::EndPolyLine() {
    if (!openPolyLine_) return;
    openPolyLine_->End();
    Close(openPolyLine_->PointCount() > 0);
}

void CPart::BeginPointSet() {
    if (IsBuilding()) return;
    Open(std::make_unique<CPointSet>());
    openPointSet_ = static_cast<CPointSet*>(building_.get());
    openPointSet_->Begin();
}

void CPart::EndPointSet() {
    if (!openPointSet_) return;
    openPointSet_->End();
    Close(openPointSet_->PointCount() > 0);
}

// The first colour given to a mesh becomes the part's, which its later meshes start with.
void CPart::SetTriMeshExternalColor(const Color& color) {
    if (!openMesh_ || !IsInRange(color)) return;
    openMesh_->SetElementExternalColor(color);
    if (colourSet) return;
    externalColor = color;
    colourSet = true;
}

void CPart::SetTriMeshInternalColor(const Color& color) {
    if (openMesh_) openMesh_->SetElementInternalColor(color);
}

void CPart::SetTriMeshEdgeColor(const Color& color) {
    if (openMesh_) openMesh_->edgeColor = color;
}

void CPart::SetTriMeshBorderColor(const Color& color) {
    if (openMesh_) openMesh_->borderColor = color;
}

void CPart::SetPolyLineColor(const Color& color) {
    if (openPolyLine_ && IsInRange(color)) openPolyLine_->SetElementExternalColor(color);
}

void CPart::SetPointSetColor(const Color& color) {
    if (openPointSet_) openPointSet_->SetElementExternalColor(color);
}

}  // namespace tessera
