#pragma once

#include <CLI/CLI.hpp>
#include <array>
#include <optional>
#include <string>
#include <vector>

#include "camera.h"
#include "stage.h"

namespace tessera::cli {

enum class Overlay { kNone, kEdges, kVertices };

// How much a command tells on standard error.
struct Talk {
    bool quiet = false;
    bool verbose = false;
};

struct RenderOptions {
    std::vector<std::string> models;
    std::string output;
    int width = 1024;
    int height = 768;
    short mode = 1;  // ShadeMode of the engine
    host::View view = host::View::kIso;
    std::optional<host::Vec3> eye;
    std::optional<host::Vec3> target;
    std::optional<host::Vec3> up;
    bool parallel = false;
    Overlay overlay = Overlay::kNone;
    std::optional<host::Rgb> color;
    std::optional<float> alpha;
    host::Rgb top{0.66F, 0.73F, 0.81F};
    host::Rgb bottom{0.96F, 0.97F, 0.98F};
    bool immediate = false;
    int device = -1;
    Talk talk;
};

// Declares the options of `render`. `options` is filled when the command line is parsed.
void DeclareRenderOptions(CLI::App& command, RenderOptions& options);

}  // namespace tessera::cli
