#pragma once

#include <string>

#include "pick_options.h"
#include "render_options.h"
#include "scene_file.h"

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
struct ConvertOptions {
    std::vector<std::string> models;
    std::string output;
    std::optional<int> vrml;
    std::optional<Section> section;
    std::vector<host::View> views;
    bool compress = false;
    Talk talk;
};
// From the name of the file to write. Throws CLI::ValidationError where the options do not go together.
host::SceneFormat OutputFormat(const ConvertOptions& options);
void Convert(const ConvertOptions& options);
void Info(const std::string& model, bool json, const Talk& talk);

}  // namespace tessera::cli
