#pragma once

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "camera.h"
#include "scene_picture.h"

namespace CLI {
class App;
}

namespace tessera::cli {

// What commands take.
constexpr const char* kModelFiles = "Model files: 3DG, U3D, STL, OBJ, PLY, OFF, glTF, GLB, 3DS or DAE";

inline const std::map<std::string, host::View> kViews = {{"iso", host::View::kIso},      {"front", host::View::kFront},
                                                         {"back", host::View::kBack},    {"left", host::View::kLeft},
                                                         {"right", host::View::kRight},  {"top", host::View::kTop},
                                                         {"bottom", host::View::kBottom}};

using host::Overlay;
using host::Section;

// How much a command tells on standard error.
struct Talk {
    bool quiet = false;
    bool verbose = false;
};

// A picture of models, and what is to be seen on it.
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
    std::optional<Section> section;
    bool cap = false;                   // fills the cut
    bool clipPlane = false;             // shows the plane
    double explode = 0;                 // how far parts move apart, in distances from the middle
    bool sectionLines = false;          // over the whole model, in place of the clipping
    bool markLines = false;             // the picture gets lines from elsewhere
    std::string texture;                // reflection image of mode env-map
    std::vector<std::string> selected;  // paths of nodes to highlight
    int turntable = 0;                  // pictures of a whole turn; 0 for the one view
    std::optional<float> lod;           // acceleration that levels of detail are chosen for
    bool immediate = false;
    int device = -1;
    Talk talk;
};

// Declares the models and the options of a picture, but for the file to write. `options` is filled when the command
// line is parsed.
void DeclareRenderOptions(CLI::App& command, RenderOptions& options);
// Names of kViews with commas between, each once. Throws CLI::ValidationError.
std::vector<host::View> ParseViews(const std::string& option, const std::string& text);
// "PX,PY,PZ:NX,NY,NZ". Throws CLI::ValidationError.
Section ParseSection(const std::string& option, std::string_view text);
// Numbers between commas, exactly as many as `values` has room for. Throws CLI::ValidationError.
void ParseNumbers(const std::string& option, std::string_view text, double* values, std::size_t count);

}  // namespace tessera::cli
