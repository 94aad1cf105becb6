#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <vector>

#include "model_source.h"
#include "render_options.h"

namespace tessera::cli {

// Models in a scene, seen by a camera as the options ask. Needs no OpenGL.
class ModelView {
public:
    // Begins to read the first file, beside the caller.
    explicit ModelView(const RenderOptions& options);

    // Reads and builds the rest, and sets camera, shade modes, colours and section plane. Throws Failure.
    void Load();

    // Turns the camera about the middle of the models' box, around the vertical. For a view that was set up for it.
    void Turn(double radians);

    ITessera& Scene() const { return *scene_; }
    const host::Camera& Camera() const { return *camera_; }
    const std::vector<host::LoadedModel>& Models() const { return models_; }
    host::Progress& Progress() { return progress_; }
    // Tells on standard error when a stage was reached, where that was asked for.
    void Say(const char* stage) const;

private:
    void Read();
    host::UpAxis Vertical(host::UpAxis ofModel) const;
    host::Camera PlacedCamera(const host::Box& box) const;
    void SetLook(const host::Box& box) const;
    void TellCamera() const;
    void Select() const;
    void SetSection(const host::Box& box) const;
    void Explode(host::Box& box) const;

    const RenderOptions& options_;
    const host::Lens lens_;
    const std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
    host::Progress progress_;
    // Under way. Ahead of the scene: the process that reads is best split off while this one has no other thread.
    std::unique_ptr<host::ModelSource> source_;
    host::Scene scene_;
    std::vector<host::LoadedModel> models_;
    std::optional<host::Camera> camera_;
    host::Box box_;  // of all models
};

}  // namespace tessera::cli
