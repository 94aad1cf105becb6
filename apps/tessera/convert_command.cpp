#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>

#include "commands.h"
#include "failure.h"
#include "model_source.h"
#include "scene_file.h"

namespace tessera::cli {

namespace {

std::string LowerExtension(const std::string& path) {
    const std::size_t dot = path.find_last_of("./");
    std::string extension = dot == std::string::npos || path[dot] == '/' ? "" : path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return extension;
}

void SetPlane(ITessera& scene, const Section& section) {
    float point[3];
    float normal[3];
    std::copy(section.point.begin(), section.point.end(), point);
    std::copy(section.normal.begin(), section.normal.end(), normal);
    int err = 0;
    scene.EnableCrossSection(0, 1, &err);
    scene.SwitchCrossSectionPlane(0, 1, &err);
    if (scene.SetCrossSectionPlane(0, point, normal, &err) < 0) throw host::Failure("the engine cuts no sections");
}

}  // namespace

host::SceneFormat OutputFormat(const ConvertOptions& options) {
    const std::string extension = LowerExtension(options.output);
    if (options.section && extension != "xml") throw CLI::ValidationError("--plane", "is for .xml files only");
    if (options.vrml && extension != "wrl") throw CLI::ValidationError("--vrml", "is for .wrl files only");
    if ((!options.views.empty() || options.compress) && extension != "u3d") {
        throw CLI::ValidationError(options.compress ? "--compress" : "--views", "is for .u3d files only");
    }
    if (extension == "u3d") return host::SceneFormat::kU3d;
    if (extension == "3dg") return host::SceneFormat::kTdpm;
    if (extension == "wrl") return options.vrml == 1 ? host::SceneFormat::kVrml1 : host::SceneFormat::kVrml2;
    if (extension != "xml") throw CLI::ValidationError("--output", "must end in .3dg, .wrl, .u3d or .xml");
    if (!options.section) throw CLI::ValidationError("--plane", "is needed for the lines of a section");
    return host::SceneFormat::kSectionXml;
}

// Each view that was asked for, or else the first of all, showing the whole of the models.
host::U3dOptions ViewsOf(ITessera& scene, const ConvertOptions& options, host::UpAxis up) {
    host::U3dOptions u3d;
    u3d.compress = options.compress;
    host::Box box;
    if (!host::BoxOf(scene, 0, box)) return u3d;
    std::vector<host::View> views = options.views;
    if (views.empty()) views.push_back(host::View::kIso);
    for (const host::View view : views) {
        const auto named =
            std::find_if(kViews.begin(), kViews.end(), [&](const auto& entry) { return entry.second == view; });
        host::Camera camera = host::Camera::Named(view, up, {4.0 / 3, false});
        camera.Fit(box);
        u3d.views.push_back({named->first, camera});
    }
    return u3d;
}

// Each further file is read while the one before it is put into the scene.
void Convert(const ConvertOptions& options) {
    host::Progress progress(!options.talk.quiet);
    std::unique_ptr<host::ModelSource> source = host::ModelSource::Open(options.models[0]);
    const host::Scene scene = host::CreateScene();
    host::UpAxis up = host::UpAxis::kZ;
    for (std::size_t i = 0; i < options.models.size(); ++i) {
        source->Finish(progress);
        if (i == 0) up = source->Up();
        std::unique_ptr<host::ModelSource> next;
        if (i + 1 < options.models.size()) next = host::ModelSource::Open(options.models[i + 1]);
        source->AddTo(*scene, progress);
        source = std::move(next);
    }
    if (options.section) SetPlane(*scene, *options.section);
    progress.Show("writing " + options.output, -1);
    const host::SceneFormat format = OutputFormat(options);
    host::WriteScene(*scene, format, options.output,
                     format == host::SceneFormat::kU3d ? ViewsOf(*scene, options, up) : host::U3dOptions());
}

}  // namespace tessera::cli
