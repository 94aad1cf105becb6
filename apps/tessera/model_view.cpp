#include "model_view.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <numbers>

#include "failure.h"
#include "mesh_decimator.h"
#include "scene_walk.h"
#include "text.h"

namespace tessera::cli {

ModelView::ModelView(const RenderOptions& options)
    : options_(options),
      lens_{static_cast<double>(options.width) / options.height, options.parallel},
      progress_(!options.talk.quiet),
      source_(host::ModelSource::Open(options.models[0])),
      scene_(host::CreateScene()) {}

void ModelView::Say(const char* stage) const {
    if (!options_.talk.verbose) return;
    const std::chrono::duration<double> since = std::chrono::steady_clock::now() - started_;
    std::fprintf(stderr, "%-9s %.3f s\n", stage, since.count());
}

// Each further file is read while the one before it is put into the scene.
void ModelView::Read() {
    for (std::size_t i = 0; i < options_.models.size(); ++i) {
        source_->Finish(progress_);
        Say("read");
        std::unique_ptr<host::ModelSource> next;
        if (i + 1 < options_.models.size()) next = host::ModelSource::Open(options_.models[i + 1]);
        if (!camera_) camera_ = host::Camera::Named(options_.view, Vertical(source_->Up()), lens_);
        if (!options_.eye && options_.explode == 0 && options_.turntable == 0) source_->Include(*camera_);
        models_.push_back(source_->AddTo(*scene_, progress_));
        source_ = std::move(next);
        const host::LoadedModel& model = models_.back();
        if (!options_.talk.quiet && model.lines + model.points > 0) {
            progress_.Clear();
            std::fprintf(stderr, "tessera: %s: %llu line segments and %llu points not shown\n", model.file.c_str(),
                         static_cast<unsigned long long>(model.lines), static_cast<unsigned long long>(model.points));
        }
    }
    Say("built");
}

namespace {

// The box of all that a box passes through as it turns about its vertical.
host::Box Swept(host::Box box, host::UpAxis up) {
    const std::size_t b = up == host::UpAxis::kY ? 2 : 1;
    const double radius = std::hypot(box.max[0] - box.min[0], box.max[b] - box.min[b]) / 2;
    for (const std::size_t axis : {std::size_t{0}, b}) {
        const double middle = (box.min[axis] + box.max[axis]) / 2;
        box.min[axis] = middle - radius;
        box.max[axis] = middle + radius;
    }
    return box;
}

// Counts the rims of what a box passes through as it turns about its vertical among what a camera must show.
void IncludeSwept(const host::Box& box, host::UpAxis up, host::Camera& camera) {
    constexpr int kRimPoints = 64;
    const std::size_t b = up == host::UpAxis::kY ? 2 : 1, vertical = 3 - b;
    const double radius = std::hypot(box.max[0] - box.min[0], box.max[b] - box.min[b]) / 2;
    std::vector<double> rims;
    for (const double height : {box.min[vertical], box.max[vertical]}) {
        for (int i = 0; i < kRimPoints; ++i) {
            const double angle = 2 * std::numbers::pi * i / kRimPoints;
            host::Vec3 p;
            p[0] = (box.min[0] + box.max[0]) / 2 + radius * std::cos(angle);
            p[b] = (box.min[b] + box.max[b]) / 2 + radius * std::sin(angle);
            p[vertical] = height;
            rims.insert(rims.end(), p.begin(), p.end());
        }
    }
    camera.Include(rims.data(), rims.size() / 3, {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
}

}  // namespace

void ModelView::Load() {
    Read();
    host::Box box;
    host::BoxOf(*scene_, 0, box);
    if (options_.explode > 0) Explode(box);
    if (options_.eye) camera_ = PlacedCamera(box);
    box_ = box;
    if (options_.turntable > 0) IncludeSwept(box, Vertical(models_[0].up), *camera_);
    camera_->Fit(options_.turntable > 0 ? Swept(box, Vertical(models_[0].up)) : box);
    SetLook(box);
    Select();
    if (!options_.lod) return;
    progress_.Show("reducing", -1);
    auto* const decimator = new host::MeshDecimator;
    int err = 0;
    scene_->SetDecimator(decimator);
    decimator->Release();
    scene_->ComputeLODs(0, 2, 0, 0, 0, 0, 0, &err);
    Say("reduced");
}

// The axis that stands upright, from the first model's unless it was asked for.
host::UpAxis ModelView::Vertical(host::UpAxis ofModel) const {
    if (!options_.up) return ofModel;
    return std::abs((*options_.up)[1]) > std::abs((*options_.up)[2]) ? host::UpAxis::kY : host::UpAxis::kZ;
}

host::Camera ModelView::PlacedCamera(const host::Box& box) const {
    host::Vec3 middle{};
    for (std::size_t i = 0; i < 3; ++i) middle[i] = (box.min[i] + box.max[i]) / 2;
    const host::Vec3 up = Vertical(models_[0].up) == host::UpAxis::kY ? host::Vec3{0, 1, 0} : host::Vec3{0, 0, 1};
    return host::Camera::Placed(*options_.eye, options_.target.value_or(middle), options_.up.value_or(up), lens_);
}

// Moves the children of the first assembly that has several, and widens the box to what the view then shows.
void ModelView::Explode(host::Box& box) const {
    std::vector<int> children{0};
    while (children.size() == 1) {
        const int node = children[0];
        int type = 0;
        int err = 0;
        if (scene_->GetNodeType(node, &type, &err) < 0 || type != 0) return;
        children = host::ChildrenOf(*scene_, node);
    }
    const auto middle = [](const host::Box& b, std::size_t i) { return (b.min[i] + b.max[i]) / 2; };
    const host::Box whole = box;
    for (const int child : children) {
        host::Box own;
        if (!host::BoxOf(*scene_, child, own)) continue;
        double move[3];
        for (std::size_t i = 0; i < 3; ++i) {
            move[i] = options_.explode * (middle(own, i) - middle(whole, i));
            box.min[i] = std::min(box.min[i], own.min[i] + move[i]);
            box.max[i] = std::max(box.max[i], own.max[i] + move[i]);
        }
        int err = 0;
        scene_->TranslateExplode(child, static_cast<float>(move[0]), static_cast<float>(move[1]),
                                 static_cast<float>(move[2]), &err);
    }
}

// The plane that was asked for, or, to show the mode that draws nothing else, the one through the middle of the model
// that faces the camera most.
void ModelView::SetSection(const host::Box& box) const {
    float point[3];
    float normal[3] = {0, 0, 0};
    if (options_.section) {
        std::copy(options_.section->point.begin(), options_.section->point.end(), point);
        std::copy(options_.section->normal.begin(), options_.section->normal.end(), normal);
    } else {
        std::size_t facing = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            // Off the very middle, where symmetrical models tend to have faces in the plane.
            point[i] = static_cast<float>(box.min[i] + 0.4871 * (box.max[i] - box.min[i]));
            if (std::abs(camera_->Backward()[i]) > std::abs(camera_->Backward()[facing])) facing = i;
        }
        normal[facing] = 1;
    }
    int err = 0;
    scene_->EnableCrossSection(0, 1, &err);
    const bool clips = options_.section && options_.mode != ShadeSection && !options_.sectionLines;
    scene_->SwitchCrossSectionPlane(0, clips ? 1 : 0, &err);
    scene_->EnableCrossSectionCapping(0, options_.cap && clips ? 1 : 0, &err);
    if (scene_->SetCrossSectionPlane(0, point, normal, &err) < 0) throw host::Failure("the engine cuts no sections");
}

void ModelView::TellCamera() const {
    int err = 0;
    float eye[3];
    float target[3];
    std::copy(camera_->Eye().begin(), camera_->Eye().end(), eye);
    std::copy(camera_->Target().begin(), camera_->Target().end(), target);
    scene_->SetCamera(eye, target, &err);
}

void ModelView::Turn(double radians) {
    host::Vec3 middle;
    for (std::size_t i = 0; i < 3; ++i) middle[i] = (box_.min[i] + box_.max[i]) / 2;
    camera_->Turn(middle, Vertical(models_[0].up) == host::UpAxis::kY ? host::Vec3{0, 1, 0} : host::Vec3{0, 0, 1},
                  radians);
    TellCamera();
}

void ModelView::Select() const {
    for (const std::string& path : options_.selected) {
        const int node = host::NodeAt(*scene_, path);
        if (node < 0) throw host::Failure("no node at " + path);
        int err = 0;
        scene_->SetSelected(node, 1, &err);
    }
}

void ModelView::SetLook(const host::Box& box) const {
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
    if (options_.mode == ShadeEnvMap || !options_.texture.empty()) {
        const bool isFile = !options_.texture.empty() && options_.texture.rfind("KM", 0) != 0;
        if (isFile && !std::ifstream(options_.texture)) {
            throw host::Failure("cannot read the texture " + options_.texture + ": " + std::strerror(errno));
        }
        const host::EngineText name(options_.texture.empty() ? "KMDefault" : options_.texture);
        for (const int instance : host::InstancesOf(*scene_, 0)) scene_->SetEnvtexture(instance, name.Get(), &err);
    }
    scene_->SetOptionsShadeMode(0, options_.overlay == Overlay::kVertices ? 2 : 0, &err);
    TellCamera();
    if (options_.section || options_.mode == ShadeSection) SetSection(box);
}

}  // namespace tessera::cli
