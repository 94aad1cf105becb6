#include "picture.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstdio>
#include <numbers>

#include "failure.h"
#include "png_file.h"
#include "stage.h"

namespace tessera::cli {

namespace {

// A code above the modes draws no surface, only overlays.
constexpr short kNoSurface = 12;

// Pictures of surfaces alone are drawn larger and reduced; lines and points would lose their width by that.
host::Smoothing SmoothingFor(const RenderOptions& options) {
    const bool surfaces = options.mode == ShadeSmooth || options.mode == ShadeFlat || options.mode == ShadeEnvMap ||
                          options.mode == ShadeHighlight;
    const bool lines = options.overlay != Overlay::kNone || options.section || options.markLines;
    return surfaces && !lines ? host::Smoothing::kSupersample : host::Smoothing::kMultisample;
}

// The square is lit from both sides like a surface.
void ShowPlane(const Section& section, ITessera& scene) {
    float point[3];
    float normal[3];
    std::copy(section.point.begin(), section.point.end(), point);
    std::copy(section.normal.begin(), section.normal.end(), normal);
    int err = 0;
    scene.DrawClipPlane(0, point, normal, &err);
}

// Red with a white rim, seen through everything.
void DrawMarks(const Marks& marks) {
    const auto emit = [](const host::Vec3& p) { glVertex3d(p[0], p[1], p[2]); };
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LINE_STIPPLE);
    for (const bool rim : {true, false}) {
        glColor3f(rim ? 1.0F : 0.86F, rim ? 1.0F : 0.05F, rim ? 1.0F : 0.1F);
        glLineWidth(rim ? 5.0F : 2.5F);
        glPointSize(rim ? 11.0F : 7.0F);
        for (const auto& line : marks.lines) {
            glBegin(GL_LINE_STRIP);
            for (const host::Vec3& p : line) emit(p);
            glEnd();
        }
        glBegin(GL_POINTS);
        for (const host::Vec3& p : marks.points) emit(p);
        glEnd();
    }
}

}  // namespace

Picture::Picture(const RenderOptions& options) : options_(options), context_(options.device) {
    context_.CreateFramebuffer(options.width, options.height, SmoothingFor(options));
    if (options.talk.verbose) std::fprintf(stderr, "%s\n", context_.Describe().c_str());
}

HRESULT Picture::DrawKind(ITessera& scene, int kind) const {
    int err = 0;
    if (options_.lod) return scene.DrawLOD(0, kind, *options_.lod, &err);
    return options_.explode > 0 ? scene.DrawExplode(0, kind, &err) : scene.Draw(0, kind, &err);
}

void Picture::Draw(const ModelView& view) const {
    ITessera& scene = view.Scene();
    host::PaintBackground(options_.top, options_.bottom);
    host::LightFromBehind(view.Camera());
    // These modes colour without materials and leave the lighting to the host.
    if (options_.mode == ShadeVertexCloud || options_.mode == ShadeSection || options_.mode == ShadeSilhouetteDashed) {
        glDisable(GL_LIGHTING);
    }
    glEnable(GL_LINE_STIPPLE);
    if (options_.overlay != Overlay::kNone) {
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(1, 1);
    }
    int err = 0;
    const HRESULT drawn = DrawKind(scene, DrawKindNormal);
    if (!options_.selected.empty()) DrawKind(scene, DrawKindHighlight);
    if (options_.clipPlane) ShowPlane(*options_.section, scene);
    if (drawn < 0) throw host::Failure("the engine does not draw");
    if (options_.sectionLines) {
        glDisable(GL_LIGHTING);
        glDisable(GL_DEPTH_TEST);
        scene.SetExternalColor(0, 0.86F, 0.05F, 0.1F, &err);
        scene.Draw(0, DrawKindSection, &err);
    }
    if (options_.overlay == Overlay::kEdges) {
        glDisable(GL_LIGHTING);
        glDepthFunc(GL_LEQUAL);
        scene.SetShadeMode(0, kNoSurface, &err);
        scene.SetOptionsShadeMode(0, 1, &err);
        scene.Draw(0, DrawKindNormal, &err);
    }
}

void Picture::Write(ModelView& view, const Marks& marks) {
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

void Picture::WriteOne(ModelView& view, const Marks& marks, const std::string& path) {
    Draw(view);
    DrawMarks(marks);
    const host::Image image = context_.Read();
    view.Say("drawn");
    const unsigned error = glGetError();
    if (options_.turntable == 0 || error != GL_NO_ERROR) view.Progress().Clear();
    if (error != GL_NO_ERROR) std::fprintf(stderr, "tessera: OpenGL reports error 0x%x\n", error);
    host::WritePng(path, image);
    view.Say("written");
}

}  // namespace tessera::cli
