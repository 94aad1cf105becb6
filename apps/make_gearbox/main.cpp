#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <string>

#include "assembly.h"
#include "glb_writer.h"

namespace {

int Run(int argc, char** argv) {
    std::string path;
    int segments = 48;
    CLI::App app(
        "Writes a two-stage gearbox as a GLB file: a hierarchy with shared parts, mirrored parts, colours and "
        "a transparent cover.",
        "make_gearbox");
    app.add_option("OUT.glb", path, "File to write")->required()->option_text(" ");
    app.add_option("--segments", segments, "Sides of a full circle, a multiple of 8 from 16 to 512 [48]")
        ->check([](const std::string& text) {
            int value = 0;
            const bool number = CLI::detail::lexical_cast(text, value);
            return number && value >= 16 && value <= 512 && value % 8 == 0
                       ? std::string()
                       : "not a multiple of 8 from 16 to 512: " + text;
        })
        ->option_text("N");
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    gearbox::GlbWriter writer;
    gearbox::BuildGearbox(writer, segments);
    writer.Write(path);
    std::fprintf(stderr, "%s: %zu triangles in its parts\n", path.c_str(), writer.Triangles());
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "make_gearbox: %s\n", error.what());
        return 1;
    }
}
