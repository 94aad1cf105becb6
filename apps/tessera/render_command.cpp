#include <GL/gl.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include "commands.h"
#include "failure.h"
#include "model_loader.h"
#include "offscreen_context.h"
#include "png_file.h"
#include "progress.h"

namespace tessera::cli {

namespace {

// A code above the modes draws no surface, only overlays.
constexpr short kNoSurface = 12;

// Pictures of surfaces alone are drawn larger and reduced; lines and points would lose their width by that.
host::Smoothing SmoothingFor(const RenderOptions& options) {
    const bool surfaces = options.mode == ShadeSmooth || options.mode == ShadeFlat || options.mode == ShadeEnvMap ||
                          options.mode == ShadeHighlight;
    return surfaces && options.overlay == Overlay::kNone ? host::Smoothing::kSupersample
                                                         : host::Smoothing::kMultisample;
}

class Stopwatch {
public:
    double Seconds() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
    }

private:
    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

class Renderer {
public:
    explicit Renderer(const RenderOptions& options)
        : options_(options),
          lens_{static_cast<double>(options.width) / options.height, options.parallel},
          progress_(!options.talk.quiet),
          scene_(host::CreateScene()) {}

    void Run();

private:
    void Load();
    void Wait(host::ModelImport& import);
    host::UpAxis Vertical(host::UpAxis ofModel) const;
    host::Camera PlacedCamera(const host::Box& box) const;
    void SetLook(const host::Camera& camera, const host::Box& box) const;
    void CutThrough(const host::Camera& camera, const host::Box& box) const;
    void Draw(const host::Camera& camera) const;
    void Say(const char* what, double seconds) const;

    const RenderOptions& options_;
    const host::Lens lens_;
    Stopwatch total_;
    host::Progress progress_;
    host::Scene scene_;
    std::unique_ptr<host::OffscreenContext> context_;
    std::vector<host::LoadedModel> models_;
    std::optional<host::Camera> camera_;
};

void Renderer::Say(const char* what, double seconds) const {
    if (options_.talk.verbose) std::fprintf(stderr, "%-9s %.3f s\n", what, seconds);
}

void Renderer::Wait(host::ModelImport& import) {
    while (!import.WaitFor(100)) progress_.Show("reading " + import.Path(), import.Fraction());
    import.Finish();
}

// The first file is read while the context is made, each further one while the one before it is put into the scene.
void Renderer::Load() {
    auto import = std::make_unique<host::ModelImport>(options_.models[0]);
    context_ = std::make_unique<host::OffscreenContext>(options_.device);
    context_->CreateFramebuffer(options_.width, options_.height, SmoothingFor(options_));
    if (options_.talk.verbose) std::fprintf(stderr, "%s\n", context_->Describe().c_str());
    Say("context", total_.Seconds());
    host::ModelLoader loader(*scene_);
    for (std::size_t i = 0; i < options_.models.size(); ++i) {
        Wait(*import);
        Say("read", total_.Seconds());
        std::unique_ptr<host::ModelImport> next;
        if (i + 1 < options_.models.size()) next = std::make_unique<host::ModelImport>(options_.models[i + 1]);
        progress_.Show("building " + import->Path(), -1);
        if (!camera_) camera_ = host::Camera::Named(options_.view, Vertical(import->Result().up), lens_);
        if (!options_.eye) host::IncludeModel(import->Result(), *camera_);
        models_.push_back(loader.Add(*import));
        import = std::move(next);
        const host::LoadedModel& model = models_.back();
        if (!options_.talk.quiet && model.lines + model.points > 0) {
            progress_.Clear();
            std::fprintf(stderr, "tessera: %s: %llu line segments and %llu points not shown\n", model.file.c_str(),
                         static_cast<unsigned long long>(model.lines), static_cast<unsigned long long>(model.points));
        }
    }
    Say("built", total_.Seconds());
}

// The axis that stands upright, from the first model's unless it was asked for.
host::UpAxis Renderer::Vertical(host::UpAxis ofModel) const {
    if (!options_.up) return ofModel;
    return std::abs((*options_.up)[1]) > std::abs((*options_.up)[2]) ? host::UpAxis::kY : host::UpAxis::kZ;
}

host::Camera Renderer::PlacedCamera(const host::Box& box) const {
    host::Vec3 middle{};
    for (std::size_t i = 0; i < 3; ++i) middle[i] = (box.min[i] + box.max[i]) / 2;
    const host::Vec3 up = Vertical(models_[0].up) == host::UpAxis::kY ? host::Vec3{0, 1, 0} : host::Vec3{0, 0, 1};
    return host::Camera::Placed(*options_.eye, options_.target.value_or(middle), options_.up.value_or(up), lens_);
}

// The plane through the middle of the model that faces the camera most.
void Renderer::CutThrough(const host::Camera& camera, const host::Box& box) const {
    float point[3];
    float normal[3] = {0, 0, 0};
    std::size_t facing = 0;
    for (std::size_t i = 0; i < 3; ++i) {
        // Off the very middle, where symmetrical models tend to have faces in the plane.
        point[i] = static_cast<float>(box.min[i] + 0.4871 * (box.max[i] - box.min[i]));
        if (std::abs(camera.Backward()[i]) > std::abs(camera.Backward()[facing])) facing = i;
    }
    normal[facing] = 1;
    int err = 0;
    scene_->EnableCrossSection(0, 1, &err);
    if (scene_->SetCrossSectionPlane(0, point, normal, &err) < 0) throw host::Failure("the engine cuts no sections");
}

void Renderer::SetLook(const host::Camera& camera, const host::Box& box) const {
    int err = 0;
    const auto mean = [&](std::size_t i) { return (options_.top[i] + options_.bottom[i]) / 2; };
    scene_->SetEdgeColor(0, 0.10F, 0.12F, 0.15F, &err);
    scene_->SetBorderColor(0, 0.80F, 0.12F, 0.08F, &err);
    scene_->SetBackgroundColor(0, mean(0), mean(1), mean(2), &err);
    if (options_.color) {
        const auto [red, green, blue] = *options_.color;
        scene_->SetExternalColor(0, red, green, blue, &err);
        scene_->SetInternalColor(0, red, green, blue, &err);
    }
    if (options_.alpha) scene_->SetTransparency(0, *options_.alpha, &err);
    scene_->UseVertexArray(options_.immediate ? 0 : 1);
    scene_->SetViewingType(0, options_.parallel ? 1 : 0, &err);
    scene_->SetShadeMode(0, options_.mode, &err);
    scene_->SetOptionsShadeMode(0, options_.overlay == Overlay::kVertices ? 2 : 0, &err);
    float eye[3];
    float target[3];
    std::copy(camera.Eye().begin(), camera.Eye().end(), eye);
    std::copy(camera.Target().begin(), camera.Target().end(), target);
    scene_->SetCamera(eye, target, &err);
    if (options_.mode == ShadeSection) CutThrough(camera, box);
}

void Renderer::Draw(const host::Camera& camera) const {
    host::PaintBackground(options_.top, options_.bottom);
    host::LightFromBehind(camera);
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
    if (scene_->Draw(0, DrawKindNormal, &err) < 0) throw host::Failure("the engine does not draw");
    if (options_.overlay == Overlay::kEdges) {
        glDisable(GL_LIGHTING);
        glDepthFunc(GL_LEQUAL);
        scene_->SetShadeMode(0, kNoSurface, &err);
        scene_->SetOptionsShadeMode(0, 1, &err);
        scene_->Draw(0, DrawKindNormal, &err);
    }
}

void Renderer::Run() {
    Load();
    host::Box box;
    host::BoxOf(*scene_, 0, box);
    if (options_.eye) camera_ = PlacedCamera(box);
    camera_->Fit(box);
    SetLook(*camera_, box);
    progress_.Show("drawing", -1);
    Draw(*camera_);
    const host::Image image = context_->Read();
    Say("drawn", total_.Seconds());
    const unsigned error = glGetError();
    progress_.Clear();
    if (error != GL_NO_ERROR) std::fprintf(stderr, "tessera: OpenGL reports error 0x%x\n", error);
    host::WritePng(options_.output, image);
    Say("written", total_.Seconds());
}

}  // namespace

void Render(const RenderOptions& options) { Renderer(options).Run(); }

}  // namespace tessera::cli
