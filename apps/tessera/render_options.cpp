#include "render_options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <map>
#include <sstream>

#include "number_range.h"

namespace tessera::cli {

namespace {

const std::map<std::string, short> kModes = {
    {"flat", 0},         {"smooth", 1},  {"wire", 2},       {"wire-all", 3},     {"hidden-line", 4}, {"points", 5},
    {"smooth-edges", 6}, {"section", 7}, {"silhouette", 8}, {"strip-points", 9}, {"highlight", 10},  {"env-map", 11}};

const std::map<std::string, Overlay> kOverlays = {{"edges", Overlay::kEdges}, {"vertices", Overlay::kVertices}};

// Declares an option that takes one of the names in `meanings`.
template <class Value>
CLI::Option* AddChoice(CLI::App& command, const std::string& option, Value& value,
                       const std::map<std::string, Value>& meanings, const std::string& help) {
    const auto choose = [option, &value, &meanings](const std::string& name) {
        const auto meaning = meanings.find(name);
        if (meaning != meanings.end()) {
            value = meaning->second;
            return;
        }
        std::string known;
        for (const auto& entry : meanings) known += " " + entry.first;
        throw CLI::ValidationError(option, "does not know \"" + name + "\", only" + known);
    };
    return command.add_option_function<std::string>(option, choose, help)->option_text("NAME");
}

host::Vec3 ParseVector(const std::string& option, std::string_view text) {
    host::Vec3 vector{};
    ParseNumbers(option, text, vector.data(), vector.size());
    return vector;
}

host::Vec3 ParseDirection(const std::string& option, std::string_view text) {
    const host::Vec3 direction = ParseVector(option, text);
    if (std::hypot(direction[0], direction[1], direction[2]) < 1e-6)
        throw CLI::ValidationError(option, "wants a direction longer than 0.000001");
    return direction;
}

host::Rgb ParseColor(const std::string& option, std::string_view text) {
    const host::Vec3 color = ParseVector(option, text);
    for (const double channel : color) {
        if (channel < 0 || channel > 1) throw CLI::ValidationError(option, "wants numbers from 0 to 1");
    }
    return {static_cast<float>(color[0]), static_cast<float>(color[1]), static_cast<float>(color[2])};
}

void ParseSize(const std::string& text, RenderOptions& options) {
    const char* end = text.data() + text.size();
    const auto [cross, first] = std::from_chars(text.data(), end, options.width);
    const bool separated = first == std::errc() && cross != end && *cross == 'x';
    const auto [rest, second] = separated ? std::from_chars(cross + 1, end, options.height)
                                          : std::from_chars_result{cross, std::errc::invalid_argument};
    const bool inRange =
        std::min(options.width, options.height) >= 1 && std::max(options.width, options.height) <= 16384;
    if (!separated || second != std::errc() || rest != end || !inRange) {
        throw CLI::ValidationError("--size", "wants WIDTHxHEIGHT with each from 1 to 16384, not \"" + text + "\"");
    }
}

void ParseBackground(const std::string& text, RenderOptions& options) {
    const std::size_t colon = text.find(':');
    options.top = ParseColor("--background", std::string_view(text).substr(0, colon));
    options.bottom =
        colon == std::string::npos ? options.top : ParseColor("--background", std::string_view(text).substr(colon + 1));
}

void DeclareCamera(CLI::App& command, RenderOptions& options) {
    CLI::Option* view = AddChoice(command, "--view", options.view, kViews,
                                  "iso (the default), front, back, left, right, top or bottom");
    CLI::Option* eye = command
                           .add_option_function<std::string>(
                               "--eye", [&](const std::string& s) { options.eye = ParseVector("--eye", s); },
                               "Place of the camera, in place of a view that fits the model")
                           ->option_text("X,Y,Z")
                           ->excludes(view);
    command
        .add_option_function<std::string>(
            "--target", [&](const std::string& s) { options.target = ParseVector("--target", s); },
            "Point that the camera looks at; the middle of the model if left out")
        ->option_text("X,Y,Z")
        ->needs(eye);
    command
        .add_option_function<std::string>(
            "--up", [&](const std::string& s) { options.up = ParseDirection("--up", s); },
            "Direction that points up on the picture. With a view, 0,1,0 takes Y for the world's vertical and 0,0,1 "
            "takes Z; left out, it is Y for a glTF or COLLADA model, else Z")
        ->option_text("X,Y,Z");
    CLI::Option* parallel = command.add_flag("--parallel", options.parallel, "Parallel projection");
    command.add_flag("--perspective")->description("Perspective projection (the default)")->excludes(parallel);
}

}  // namespace

void ParseNumbers(const std::string& option, std::string_view text, double* values, std::size_t count) {
    const char* at = text.data();
    const char* end = at + text.size();
    for (std::size_t i = 0; i < count; ++i) {
        const auto [next, error] = std::from_chars(at, end, values[i]);
        const bool last = i + 1 == count;
        const bool separated = last ? next == end : next != end && *next == ',';
        if (error != std::errc() || !(std::abs(values[i]) <= std::numeric_limits<float>::max()) || !separated) {
            throw CLI::ValidationError(option, "wants " + std::to_string(count) +
                                                   " numbers with commas between, not \"" + std::string(text) + "\"");
        }
        at = next + (last ? 0 : 1);
    }
}

std::vector<host::View> ParseViews(const std::string& option, const std::string& text) {
    std::vector<host::View> views;
    std::istringstream names(text);
    for (std::string name; std::getline(names, name, ',');) {
        const auto view = kViews.find(name);
        if (view == kViews.end()) throw CLI::ValidationError(option, "no view is called \"" + name + "\"");
        if (std::find(views.begin(), views.end(), view->second) == views.end()) views.push_back(view->second);
    }
    return views;
}

Section ParseSection(const std::string& option, std::string_view text) {
    const std::size_t colon = text.find(':');
    if (colon == std::string::npos) {
        throw CLI::ValidationError(option, "wants a point, a colon and a normal, not \"" + std::string(text) + "\"");
    }
    return {ParseVector(option, text.substr(0, colon)), ParseDirection(option, text.substr(colon + 1))};
}

void DeclareRenderOptions(CLI::App& command, RenderOptions& options) {
    command.add_option("MODEL", options.models, kModelFiles)->required()->option_text("...");
    command
        .add_option_function<std::string>(
            "--size", [&](const std::string& text) { ParseSize(text, options); }, "Pixels of the picture [1024x768]")
        ->option_text("WxH");
    AddChoice(command, "--mode", options.mode, kModes,
              "smooth (the default), flat, wire, wire-all, hidden-line, points, smooth-edges, section, silhouette, "
              "strip-points, highlight or env-map");
    DeclareCamera(command, options);
    AddChoice(command, "--option", options.overlay, kOverlays, "Draw over the surfaces: edges (open ones) or vertices");
    CLI::Option* section =
        command
            .add_option_function<std::string>(
                "--section", [&](const std::string& s) { options.section = ParseSection("--section", s); },
                "Plane by a point and a normal; what lies behind it, against the normal, is cut away")
            ->option_text("PX,PY,PZ:NX,NY,NZ");
    command.add_flag("--cap", options.cap, "Fill the cut")->needs(section);
    command.add_flag("--clip-plane", options.clipPlane, "Show the plane")->needs(section);
    command
        .add_option("--explode", options.explode,
                    "Move the parts of the topmost assembly away from its middle, by so many times their distance")
        ->check(Between(0.0, 100.0))
        ->option_text("FACTOR");
    command
        .add_flag("--section-lines", options.sectionLines,
                  "Show the lines in which the plane cuts the whole model, in place of cutting")
        ->needs(section);
    command
        .add_option_function<std::string>(
            "--color", [&](const std::string& s) { options.color = ParseColor("--color", s); },
            "Colour of all surfaces, channels from 0 to 1, in place of the model's own")
        ->option_text("R,G,B");
    command.add_option("--alpha", options.alpha, "Opacity of all surfaces, 0 to 1")
        ->check(Between(0.0, 1.0))
        ->option_text("A");
    command
        .add_option_function<std::string>(
            "--background", [&](const std::string& text) { ParseBackground(text, options); },
            "Colour behind the model; two make a gradient from top to bottom")
        ->option_text("R,G,B[:R,G,B]");
    command
        .add_option("--lod", options.lod,
                    "Draw reduced levels, opaque and without highlights, as for this acceleration: 0 chooses by "
                    "distance alone, 220 leaves no full detail")
        ->check(Between(0.0, 220.0))
        ->option_text("ACC");
    command
        .add_option("--texture", options.texture,
                    "Reflection image of mode env-map: KMDefault (the default), KMStripes or a BMP file")
        ->option_text("NAME");
    command
        .add_option("--select", options.selected,
                    "Highlight the node at this path, as pick prints it; as often as wanted")
        ->option_text("PATH")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    command.add_flag("--immediate", options.immediate, "Draw in immediate mode, not with vertex arrays");
    command.add_option("--device", options.device, "EGL device to draw with, counted from 0; left out, the best one")
        ->check(CLI::Range(0, 63).description(""))
        ->option_text("N");
    CLI::Option* quiet = command.add_flag("-q,--quiet", options.talk.quiet, "Say nothing but errors");
    command.add_flag("-v,--verbose", options.talk.verbose, "Tell the OpenGL at work and what takes how long")
        ->excludes(quiet);
}

}  // namespace tessera::cli
