#include <cstdio>
#include <vector>

#include "commands.h"
#include "model_loader.h"
#include "progress.h"
#include "scene_report.h"

namespace tessera::cli {

void Info(const std::string& model, bool json, const Talk& talk) {
    host::Progress progress(!talk.quiet);
    host::ModelImport import(model, {true});
    while (!import.WaitFor(100)) progress.Show("reading " + model, import.Fraction());
    import.Finish();
    const host::Scene scene = host::CreateScene();
    progress.Show("building " + model, -1);
    const std::vector<host::LoadedModel> models{host::ModelLoader(*scene).Add(import)};
    const host::SceneReport report(*scene, models);
    progress.Clear();
    const std::string text = json ? report.Json().dump(2) + "\n" : report.Text();
    std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tessera::cli
