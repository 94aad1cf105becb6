#include <cstdio>
#include <nlohmann/json.hpp>
#include <vector>

#include "commands.h"
#include "model_source.h"
#include "scene_report.h"

namespace tessera::cli {

void Info(const std::string& model, bool json, const Talk& talk) {
    host::Progress progress(!talk.quiet);
    const std::unique_ptr<host::ModelSource> source = host::ModelSource::Open(model, {true});
    source->Finish(progress);
    const host::Scene scene = host::CreateScene();
    const std::vector<host::LoadedModel> models{source->AddTo(*scene, progress)};
    const host::SceneReport report(*scene, models);
    progress.Clear();
    const std::string text =
        json ? report.Json().dump(2, ' ', false, nlohmann::json::error_handler_t::replace) + "\n" : report.Text();
    std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tessera::cli
