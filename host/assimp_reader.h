#pragma once

#include <atomic>
#include <nlohmann/json_fwd.hpp>
#include <string>

#include "file_format.h"
#include "model_stream.h"

namespace tessera::host {

// Reads a model file through assimp, writes its arrays and returns its description. The whole runs in the calling
// thread and recurses by the file's hierarchy, so it wants a large stack. Throws Failure.
nlohmann::json ReadWithAssimp(const std::string& path, FileFormat format, bool countPoints, ModelWriter& writer,
                              std::atomic<float>& fraction);

}  // namespace tessera::host
