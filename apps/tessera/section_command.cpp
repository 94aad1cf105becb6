#include <algorithm>
#include <cmath>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "failure.h"
#include "model_view.h"
#include "text.h"

namespace tessera::cli {

namespace {

float LengthOf(ITessera& scene, int node) {
    float length = 0;
    int err = 0;
    if (scene.GetCrossSectionLength(node, &length, &err) < 0) throw host::Failure("the engine measures no sections");
    return length;
}

std::string PathOf(ITessera& scene, int node) {
    BSTR path = nullptr;
    int err = 0;
    return scene.GetFullNodeName(node, &path, &err) < 0 ? std::string() : host::TakeText(path);
}

// How much longer a line of a part is in the world; for scales that differ from axis to axis, a mean.
double ScaleOf(ITessera& scene, int node) {
    double scale = 1;
    while (node != 0) {
        double m[16];
        int err = 0;
        if (scene.GetTransform(node, m, &err) < 0 || scene.GetParent(node, &node) < 0) break;
        scale *= std::cbrt(std::abs(m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
                                    m[2] * (m[4] * m[9] - m[5] * m[8])));
    }
    return scale;
}

// All part instances below a node, in the order of the tree. The engine keeps one position per assembly.
std::vector<int> Instances(ITessera& scene, int root) {
    std::vector<int> waiting{root}, instances;
    while (!waiting.empty()) {
        const int node = waiting.back();
        waiting.pop_back();
        int type = 0, err = 0, child = 0;
        scene.GetNodeType(node, &type, &err);
        if (type != 0) {
            instances.push_back(node);
            continue;
        }
        const std::size_t first = waiting.size();
        for (HRESULT status = scene.GetFirstChild(node, &child, &err); status >= 0 && err == ErrDone;
             status = scene.GetNextChild(node, &child, &err)) {
            waiting.push_back(child);
        }
        std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(first), waiting.end());
    }
    return instances;
}

}  // namespace

// The engine measures in a part's own units, and from the node that it is asked for: all instances but one are hidden
// in turn, so that each is measured where it stands.
void MeasureSection(const RenderOptions& options, bool json) {
    ModelView view(options);
    view.Load();
    ITessera& scene = view.Scene();
    const std::vector<int> instances = Instances(scene, 0);
    double total = 0;
    int err = 0;
    for (const int node : instances) scene.EnableDrawing(node, 0, &err);
    nlohmann::json parts = nlohmann::json::array();
    std::string text;
    for (std::size_t i = 0; i < instances.size(); ++i) {
        view.Progress().Show("measuring", static_cast<double>(i) / static_cast<double>(instances.size()));
        scene.EnableDrawing(instances[i], 1, &err);
        const double length = LengthOf(scene, 0) * ScaleOf(scene, instances[i]);
        total += length;
        scene.EnableDrawing(instances[i], 0, &err);
        const std::string path = PathOf(scene, instances[i]);
        parts.push_back({{"node", instances[i]}, {"path", path}, {"length", length}});
        char number[32];
        std::snprintf(number, sizeof number, "%14.7g  ", length);
        text.append(number).append(path).append("\n");
    }
    view.Progress().Clear();
    char number[32];
    std::snprintf(number, sizeof number, "%14.7g  ", total);
    text.append(number).append("in all\n");
    if (json) text = nlohmann::json({{"instances", parts}, {"length", total}}).dump(2) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tessera::cli
