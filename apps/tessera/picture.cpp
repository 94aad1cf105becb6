#include "picture.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
#include <numbers>

#include "failure.h"
#include "png_file.h"

namespace tessera::cli {

namespace {

// Pictures of surfaces alone are drawn larger and reduced; lines and points would lose their width by that.
host::Smoothing SmoothingFor(const RenderOptions& options) {
    const bool surfaces = options.mode == ShadeSmooth || options.mode == ShadeFlat || options.mode == ShadeEnvMap ||
                          options.mode == ShadeHighlight;
    const bool lines = options.overlay != Overlay::kNone || options.section || options.markLines;
    return surfaces && !lines ? host::Smoothing::kSupersample : host::Smoothing::kMultisample;
}

}  // namespace

Picture::Picture(const RenderOptions& options) : options_(options), context_(options.device) {
    context_.CreateFramebuffer(options.width, options.height, SmoothingFor(options));
    if (options.talk.verbose) std::fprintf(stderr, "%s\n", context_.Describe().c_str());
}

void Picture::Draw(const ModelView& view) const {
    host::Drawing drawing;
    drawing.mode = options_.mode;
    drawing.overlay = options_.overlay;
    drawing.highlight = !options_.selected.empty();
    drawing.exploded = options_.explode > 0;
    drawing.acceleration = options_.lod;
    if (options_.clipPlane) drawing.plane = options_.section;
    drawing.sectionLines = options_.sectionLines;
    drawing.top = options_.top;
    drawing.bottom = options_.bottom;
    host::DrawScene(view.Scene(), view.Camera(), drawing);
}

void Picture::Write(ModelView& view, const host::Marks& marks) {
    view.Progress().Show("drawing", -1);
    WriteOne(view, marks, options_.output);
}

void Picture::WriteTurn(ModelView& view) {
    const std::size_t dot = options_.output.find_last_of("./");
    const bool extended = dot != std::string::npos && options_.output[dot] == '.';
    const std::string stem = extended ? options_.output.substr(0, dot) : options_.output;
    for (int i = 0; i < options_.turntable; ++i) {
        char number[16];
        std::snprintf(number, sizeof number, "-%03d", i);
        view.Progress().Show("drawing", static_cast<double>(i) / options_.turntable);
        WriteOne(view, {}, stem + number + (extended ? options_.output.substr(dot) : ""));
        view.Turn(2 * std::numbers::pi / options_.turntable);
    }
    view.Progress().Clear();
}

void Picture::WriteOne(ModelView& view, const host::Marks& marks, const std::string& path) {
    Draw(view);
    host::DrawMarks(marks);
    const host::Image image = context_.Read();
    view.Say("drawn");
    const unsigned error = glGetError();
    if (options_.turntable == 0 || error != GL_NO_ERROR) view.Progress().Clear();
    if (error != GL_NO_ERROR) std::fprintf(stderr, "tessera: OpenGL reports error 0x%x\n", error);
    host::WritePng(path, image);
    view.Say("written");
}

}  // namespace tessera::cli
