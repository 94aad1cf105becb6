#include "scene_file.h"

#include <filesystem>

#include "failure.h"
#include "replacement.h"
#include "text.h"

namespace tessera::host {

// The engine does not always tell whether it could write: what it leaves under a name that was empty does.
void WriteScene(ITessera& scene, SceneFormat format, const std::string& path) {
    Replacement file(path);
    const EngineText name(file.DescriptorName());
    int err = ErrDone;
    switch (format) {
        case SceneFormat::kTdpm: scene.WriteTDPM(name.Get(), &err); break;
        case SceneFormat::kVrml1: scene.WriteVRML(name.Get()); break;
        case SceneFormat::kVrml2: scene.WriteVRML_2(name.Get()); break;
        case SceneFormat::kSectionXml: scene.SaveCrossSection(name.Get(), &err); break;
    }
    std::error_code error;
    if (err != ErrDone || std::filesystem::file_size(file.Temporary(), error) == 0 || error) {
        throw Failure(path, "cannot be written whole; is the disk full?");
    }
    file.Finish();
}

}  // namespace tessera::host
