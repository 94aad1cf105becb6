#pragma once

#include <tessera/tessera.h>

#include "meshes.h"

// A scene for tests, built through the interface as a host builds one. A call that is refused throws, so a test never
// goes on with half a scene.
namespace tessera::test {

struct Placed {
    int instance = 0, part = 0;
};

class Scene {
public:
    Scene();
    ~Scene();
    Scene(const Scene&) = delete;
    Scene& operator=(const Scene&) = delete;

    ITessera* operator->() const { return tessera_; }

    int AddAssembly(int parent = 0);
    Placed AddEmptyPart(int parent = 0);        // an instance with a part that holds no element
    int AddInstance(int part, int parent = 0);  // of a part that another instance already has
    Placed AddMesh(const Soup& soup, int parent = 0);
    Placed AddMesh(const TestMesh& mesh, int parent = 0) { return AddMesh(mesh.soup, parent); }
    void AddMeshTo(int part, const Soup& soup);  // one more mesh in a part
    void AddCurveTo(int part, const std::vector<Point>& points);
    void AddPointsTo(int part, const std::vector<Point>& points);

    void SetShadeMode(int node, int mode) { Require(tessera_->SetShadeMode(node, static_cast<short>(mode), &error_)); }
    void SetExternalColor(int node, float r, float g, float b) {
        Require(tessera_->SetExternalColor(node, r, g, b, &error_));
    }
    void SetTransparency(int node, float alpha) { Require(tessera_->SetTransparency(node, alpha, &error_)); }
    void SetSelected(int node, bool selected) { Require(tessera_->SetSelected(node, selected, &error_)); }
    void Translate(int node, float x, float y, float z) { Require(tessera_->Translate(node, x, y, z, &error_)); }
    void SetCamera(Point camera, Point target) { Require(tessera_->SetCamera(camera.data(), target.data(), &error_)); }
    void SetSectionPlane(int node, Point point, Point normal) {
        Require(tessera_->SetCrossSectionPlane(node, point.data(), normal.data(), &error_));
    }
    void Draw(int node = 0, int kind = 0) { Require(tessera_->Draw(node, kind, &error_)); }

private:
    void Require(HRESULT status) const;

    ITessera* tessera_ = nullptr;
    int error_ = 0;
};

}  // namespace tessera::test
