#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "model_stream.h"

namespace tessera::host {

// Reads a U3D file of triangle meshes, as the engine and many others write it, writes its arrays and returns its
// description. What is hidden is left out; every model node shows a mesh, and has an assembly of its own where nodes
// hang under it. Throws Failure, and std::runtime_error that names the byte where a file breaks with the format.
nlohmann::json ReadU3d(const std::string& path, bool countPoints, ModelWriter& writer);

}  // namespace tessera::host
