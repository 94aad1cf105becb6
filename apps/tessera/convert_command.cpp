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
    if (extension == "3dg") return host::SceneFormat::kTdpm;
    if (extension == "wrl") return options.vrml == 1 ? host::SceneFormat::kVrml1 : host::SceneFormat::kVrml2;
    if (extension != "xml") throw CLI::ValidationError("--output", "must end in .3dg, .wrl or .xml");
    if (!options.section) throw CLI::ValidationError("--plane", "is needed for the lines of a section");
    return host::SceneFormat::kSectionXml;
}

// Each further file is read while the one before it is put into the scene.
void Convert(const ConvertOptions& options) {
    host::Progress progress(!options.talk.quiet);
    const host::Scene scene = host::CreateScene();
    std::unique_ptr<host::ModelSource> source = host::ModelSource::Open(options.models[0]);
    for (std::size_t i = 0; i < options.models.size(); ++i) {
        source->Finish(progress);
        std::unique_ptr<host::ModelSource> next;
        if (i + 1 < options.models.size()) next = host::ModelSource::Open(options.models[i + 1]);
        source->AddTo(*scene, progress);
        source = std::move(next);
    }
    if (options.section) SetPlane(*scene, *options.section);
    progress.Show("writing " + options.output, -1);
    host::WriteScene(*scene, OutputFormat(options), options.output);
}

}  // namespace tessera::cli
