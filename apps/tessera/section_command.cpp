#include <cstdio>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "model_view.h"
#include "scene_section.h"
#include "scene_walk.h"

namespace tessera::cli {

void MeasureSection(const RenderOptions& options, bool json) {
    ModelView view(options);
    view.Load();
    ITessera& scene = view.Scene();
    const std::vector<int> instances = host::InstancesOf(scene, 0);
    const std::vector<double> lengths = SectionLengths(scene, instances, view.Progress());
    double total = 0;
    nlohmann::json parts = nlohmann::json::array();
    std::string text;
    const auto line = [&](double length, const std::string& what) {
        char number[32];
        std::snprintf(number, sizeof number, "%14.7g  ", length);
        text.append(number).append(what).append("\n");
    };
    for (std::size_t i = 0; i < instances.size(); ++i) {
        total += lengths[i];
        const std::string path = host::PathOf(scene, instances[i]);
        parts.push_back({{"node", instances[i]}, {"path", path}, {"length", lengths[i]}});
        line(lengths[i], path);
    }
    line(total, "in all");
    if (json) text = nlohmann::json({{"instances", parts}, {"length", total}}).dump(2) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tessera::cli
