#pragma once

#include <string>

#include "pick_options.h"
#include "render_options.h"

namespace tessera::cli {

// All throw host::Failure.
void Render(const RenderOptions& options);
void Pick(const PickOptions& options);
// Prints the length of the lines in which the options' plane cuts the models.
void MeasureSection(const RenderOptions& options, bool json);
struct MeasureOptions {
    RenderOptions picture;  // models, section and talk
    std::string path;       // of the node; empty for all
    std::optional<float> precision;
    bool json = false;
};
void MeasureModel(const MeasureOptions& options);
void Info(const std::string& model, bool json, const Talk& talk);

}  // namespace tessera::cli
