#pragma once

#include <array>
#include <map>
#include <string>

#include "cursor.h"
#include "render_options.h"

namespace tessera::cli {

using host::Found;
using host::What;

struct PickOptions {
    RenderOptions picture;  // output is empty where none is wanted
    std::array<double, 2> at{};
    double reach = 9;  // pixels
    What what = What::kInstance;
    bool all = false;
    bool json = false;
};

inline const std::map<std::string, What> kPickNames = {{"point", What::kPoint},
                                                       {"edge", What::kEdge},
                                                       {"segment", What::kSegment},
                                                       {"arc", What::kArc},
                                                       {"instance", What::kInstance},
                                                       {"section-point", What::kSectionPoint},
                                                       {"section-edge", What::kSectionEdge}};

// Declares the options of `pick`. `options` is filled when the command line is parsed.
void DeclarePickOptions(CLI::App& command, PickOptions& options);

}  // namespace tessera::cli
