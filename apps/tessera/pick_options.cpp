#include "pick_options.h"

#include <CLI/CLI.hpp>

#include "number_range.h"

namespace tessera::cli {

void DeclarePickOptions(CLI::App& command, PickOptions& options) {
    DeclareRenderOptions(command, options.picture);
    options.picture.markLines = true;
    command
        .add_option_function<std::string>(
            "--at", [&](const std::string& s) { ParseNumbers("--at", s, options.at.data(), options.at.size()); },
            "Pixel of the picture, from its top left corner")
        ->option_text("X,Y")
        ->required();
    const auto choose = [&](const std::string& name) {
        const auto known = kPickNames.find(name);
        if (known == kPickNames.end())
            throw CLI::ValidationError(
                "--what",
                "does not know \"" + name + "\", only instance point edge segment arc section-point section-edge");
        options.what = known->second;
    };
    CLI::Option* what =
        command
            .add_option_function<std::string>(
                "--what", choose, "instance (the default), point, edge, segment, arc, section-point or section-edge")
            ->option_text("NAME");
    command.add_flag("--all", options.all, "Try all of these")->excludes(what);
    command.add_option("--reach", options.reach, "Pixels between the cursor and what is found, at most [9]")
        ->check(Between(0.01, 1000.0))
        ->option_text("N");
    command.add_option("-o,--output", options.picture.output, "PNG file that shows what was picked")
        ->option_text("OUT.png");
    command.add_flag("--json", options.json, "Print JSON");
}

}  // namespace tessera::cli
