#pragma once

#include <tessera/tessera.h>

#include <string>

namespace tessera::host {

enum class SceneFormat { kTdpm, kVrml1, kVrml2, kSectionXml };

// Writes what a scene shows; of kTdpm, all of it. What `path` was before stays unless the file is complete. Throws
// Failure.
void WriteScene(ITessera& scene, SceneFormat format, const std::string& path);

}  // namespace tessera::host
