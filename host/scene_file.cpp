#include "scene_file.h"

#include <filesystem>

#include "failure.h"
#include "replacement.h"
#include "text.h"

namespace tessera::host {

namespace {

void WriteU3d(ITessera& scene, BSTR name, const U3dOptions& options) {
    std::vector<U3dView> views;
    std::vector<std::u16string> names;
    for (const NamedView& view : options.views) names.push_back(ToUtf16(view.name));
    for (std::size_t i = 0; i < names.size(); ++i) {
        const Camera& camera = options.views[i].camera;
        U3dView view{};
        for (std::size_t k = 0; k < 3; ++k) {
            view.eye[k] = static_cast<float>(camera.Eye()[k]);
            view.target[k] = static_cast<float>(camera.Target()[k]);
            view.up[k] = static_cast<float>(camera.Up()[k]);
        }
        view.perspective = VARIANT_TRUE;
        view.name = names[i].c_str();
        views.push_back(view);
    }
    scene.ExportU3D(name, reinterpret_cast<float*>(views.data()), static_cast<ULONG>(views.size()),
                    options.compress ? VARIANT_TRUE : VARIANT_FALSE);
}

}  // namespace

// The engine does not always tell whether it could write: what it leaves under a name that was empty does.
void WriteScene(ITessera& scene, SceneFormat format, const std::string& path, const U3dOptions& u3d) {
    Replacement file(path);
    const EngineText name(file.DescriptorName());
    int err = ErrDone;
    switch (format) {
        case SceneFormat::kTdpm: scene.WriteTDPM(name.Get(), &err); break;
        case SceneFormat::kVrml1: scene.WriteVRML(name.Get()); break;
        case SceneFormat::kVrml2: scene.WriteVRML_2(name.Get()); break;
        case SceneFormat::kSectionXml: scene.SaveCrossSection(name.Get(), &err); break;
        case SceneFormat::kU3d: WriteU3d(scene, name.Get(), u3d); break;
    }
    std::error_code error;
    if (err != ErrDone || std::filesystem::file_size(file.Temporary(), error) == 0 || error) {
        throw Failure(path, "cannot be written whole; is the disk full?");
    }
    file.Finish();
}

}  // namespace tessera::host
