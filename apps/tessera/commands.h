#pragma once

#include <string>

#include "render_options.h"

namespace tessera::cli {

// Both throw host::Failure.
void Render(const RenderOptions& options);
void Info(const std::string& model, bool json, const Talk& talk);

}  // namespace tessera::cli
