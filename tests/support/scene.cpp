#include "scene.h"

#include <stdexcept>
#include <string>

namespace tessera::test {

Scene::Scene() {
    if (CreateTessera(&tessera_) != STATUS_OK) throw std::runtime_error("no component");
}

Scene::~Scene() { tessera_->Release(); }

void Scene::Require(HRESULT status) const {
    if (status != STATUS_OK || error_ != 1) throw std::runtime_error("refused with " + std::to_string(error_));
}

int Scene::AddAssembly(int parent) {
    int id = 0;
    tessera_->CreateAssembly(&id);
    Require(tessera_->SetParent(id, parent, &error_));
    return id;
}

Placed Scene::AddEmptyPart(int parent) {
    Placed placed;
    tessera_->CreatePart(&placed.part);
    placed.instance = AddInstance(placed.part, parent);
    return placed;
}

int Scene::AddInstance(int part, int parent) {
    int id = 0;
    tessera_->CreatePartInstance(&id);
    Require(tessera_->SetPart(id, part, &error_));
    Require(tessera_->SetParent(id, parent, &error_));
    return id;
}

Placed Scene::AddMesh(const Soup& soup, int parent) {
    const Placed placed = AddEmptyPart(parent);
    AddMeshTo(placed.part, soup);
    return placed;
}

void Scene::AddMeshTo(int part, const Soup& soup) {
    Require(tessera_->BeginTriMesh(part, &error_));
    Soup corners = soup;
    for (std::size_t i = 0; i < corners.size(); i += 9) Require(tessera_->AddTriangle3P(part, &corners[i], &error_));
    Require(tessera_->EndTriMesh(part, &error_));
}

void Scene::AddCurveTo(int part, const std::vector<Point>& points) {
    Require(tessera_->BeginPolyLine(part, &error_));
    for (Point p : points) tessera_->AddPolyLinePoint(part, p.data(), &error_);
    Require(tessera_->EndPolyLine(part, &error_));
}

void Scene::AddPointsTo(int part, const std::vector<Point>& points) {
    Require(tessera_->BeginPointSet(part, &error_));
    for (Point p : points) tessera_->AddPointSetPoint(part, p.data(), &error_);
    Require(tessera_->EndPointSet(part, &error_));
}

}  // namespace tessera::test
