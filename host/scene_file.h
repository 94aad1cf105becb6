#pragma once

#include <tessera/tessera.h>

#include <string>
#include <vector>

#include "camera.h"

namespace tessera::host {

enum class SceneFormat { kTdpm, kVrml1, kVrml2, kSectionXml, kU3d };

// A place that a U3D file offers to look from.
struct NamedView {
    std::string name;
    Camera camera;
};

struct U3dOptions {
    std::vector<NamedView> views;
    bool compress = false;  // quantised, and shown piece by piece while it loads
};

// Writes what a scene shows; of kTdpm, all of it. What `path` was before stays unless the file is complete. Throws
// Failure.
void WriteScene(ITessera& scene, SceneFormat format, const std::string& path, const U3dOptions& u3d = {});

}  // namespace tessera::host
