#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>

#include "rehearsal.h"
#include "standard_streams.h"
#include "window.h"

namespace {

int Fail(const char* reason) {
    std::fprintf(stderr, "tessera-viewer: %s\n", reason);
    return 1;
}

// "WIDTHxHEIGHT". Throws CLI::ValidationError.
void ParseSize(const std::string& size, tessera::viewer::WindowOptions& options) {
    char end = 0;
    const bool numbers = std::sscanf(size.c_str(), "%dx%d%c", &options.width, &options.height, &end) == 2;
    if (numbers && options.width >= 640 && options.height >= 400 && options.width <= 8192 && options.height <= 8192)
        return;
    throw CLI::ValidationError("--size", "not from 640x400 to 8192x8192: " + size);
}

int Run(int argc, char** argv) {
    tessera::viewer::WindowOptions options;
    std::string output, size = "1280x800";
    std::vector<std::string> steps;
    CLI::App app(
        "Shows models in a window: turns, cuts, takes apart and measures them. Press ? there for mouse and keys.");
    app.set_version_flag("--version", std::string("tessera-viewer ") + TESSERA_VERSION);
    app.add_option("MODEL", options.models, "Model files: 3DG, U3D, STL, OBJ, PLY, OFF, glTF, GLB, 3DS or DAE");
    app.add_option("--size", size, "Size of the window, WIDTHxHEIGHT")->capture_default_str();
    app.add_option("--screenshot", output, "Needs no display: writes what the window would show as a PNG, and ends");
    app.add_option("--do", steps,
                   "With --screenshot, first does this, as a hand would: \"key S\", \"click 640,400\", "
                   "\"ctrl+click X,Y\", \"double X,Y\", \"drag X,Y X,Y\", \"right X,Y X,Y\", \"wheel N X,Y\", "
                   "\"move X,Y\", \"type TEXT\", \"shot FILE\". Prints what was measured. May be given several times")
        ->allow_extra_args(false);
    app.footer("Exit status: 0 done, 1 failed, 2 wrong usage.");
    try {
        app.parse(argc, argv);
        ParseSize(size, options);
        if (!steps.empty() && output.empty()) throw CLI::ValidationError("--do", "needs --screenshot");
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : 2;
    }
    if (output.empty()) {
        tessera::viewer::RunWindow(options);
        return 0;
    }
    for (const std::string& line : tessera::viewer::Rehearse(options, steps, output)) std::puts(line.c_str());
    return tessera::host::IsOutputWritten() ? 0 : Fail("standard output cannot be written");
}

}  // namespace

int main(int argc, char** argv) {
    tessera::host::HoldStandardStreams();
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    } catch (const std::exception& error) {
        return Fail(error.what());
    }
}
