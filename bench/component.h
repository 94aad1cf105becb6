// A scene for measurements.
#pragma once

#include <tessera/tessera.h>

#include <cstdlib>
#include <vector>

#include "workload.h"

// A component that is released with the object.
class Component {
public:
    Component() {
        if (tessera::CreateTessera(&scene_) < 0) std::abort();
    }
    ~Component() { scene_->Release(); }
    Component(const Component&) = delete;
    Component& operator=(const Component&) = delete;
    tessera::ITessera* operator->() const { return scene_; }

    // An empty part under an instance of its own; gives the part's id.
    int Part() {
        int part = 0, instance = 0, error = 0;
        scene_->CreatePart(&part);
        scene_->CreatePartInstance(&instance);
        scene_->SetPart(instance, part, &error);
        scene_->SetParent(instance, 0, &error);
        return part;
    }

private:
    tessera::ITessera* scene_ = nullptr;
};

inline void AddOneByOne(Component& scene, int part, std::vector<float>& soup) {
    int error = 0;
    scene->BeginTriMesh(part, &error);
    for (std::size_t t = 0; t + 8 < soup.size(); t += 9) scene->AddTriangle3P(part, &soup[t], &error);
}

// Instances of one part under the root; gives the radius around them.
inline double Place(Component& scene, workload::Assembly assembly) {
    int error = 0;
    const int part = scene.Part();
    AddOneByOne(scene, part, assembly.part);
    scene->EndTriMesh(part, &error);
    int instance = 0;
    scene->GetFirstChild(0, &instance, &error);
    for (std::size_t i = 0; i < assembly.placements.size(); ++i) {
        if (i > 0) {
            scene->CreatePartInstance(&instance);
            scene->SetPart(instance, part, &error);
            scene->SetParent(instance, 0, &error);
        }
        double m[16];
        for (int e = 0; e < 16; ++e) m[e] = assembly.placements[i][e];
        scene->SetTransform(instance, m, &error);
    }
    return assembly.radius;
}

// Instances of the thousand-triangle gear.
inline double PlaceAssembly(Component& scene, int count) { return Place(scene, workload::assembly(count)); }
