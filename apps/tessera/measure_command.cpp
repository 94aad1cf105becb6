#include <cmath>
#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "failure.h"
#include "model_view.h"
#include "scene_section.h"
#include "scene_walk.h"

namespace tessera::cli {

namespace {

struct Measures {
    double volume = 0, area = 0, projected = 0;
    host::Vec3 center{};
    host::Box box;
    std::optional<double> section;
};

// The engine takes surfaces of a column for one where they lie within a fixed distance of each other, which swallows
// parts in metres. Small parts grow by a power of two, and their instances shrink by the same: what stands in the world
// is as before, to the bit.
void EnlargeSmallParts(ITessera& scene) {
    constexpr double kLargeEnough = 25;
    std::map<int, double> factors;
    for (const int instance : host::InstancesOf(scene, 0)) {
        int part = 0;
        int err = 0;
        if (scene.GetPartID(instance, &part, &err) < 0 || part == 0) continue;
        const auto [entry, isNew] = factors.emplace(part, 1);
        host::Box box;
        if (isNew && host::BoxOf(scene, instance, box)) {
            const double size = std::hypot(box.max[0] - box.min[0], box.max[1] - box.min[1], box.max[2] - box.min[2]) /
                                host::ScaleOf(scene, instance);
            if (size > 0 && size < kLargeEnough) entry->second = std::exp2(std::ceil(std::log2(kLargeEnough / size)));
            const auto factor = static_cast<float>(entry->second);
            if (factor > 1) scene.Scale(instance, factor, factor, factor, &err);
        }
        double m[16];
        scene.GetTransform(instance, m, &err);
        for (int i = 0; i < 12; ++i) m[i] /= entry->second;
        scene.SetTransform(instance, m, &err);
    }
}

// Part by part, as each stands in the world: the engine measures parts in their own units.
Measures Measure(ModelView& view, int node, bool withSection) {
    ITessera& scene = view.Scene();
    const std::vector<int> instances = host::InstancesOf(scene, node);
    Measures sum;
    host::Vec3 moment{};
    std::size_t done = 0;
    for (const int instance : instances) {
        view.Progress().Show("measuring", static_cast<double>(done++) / static_cast<double>(instances.size()));
        double volume = 0, area = 0;
        float projected = 0;
        float center[3] = {0, 0, 0};
        int err = 0;
        int part = 0;
        if (scene.GetPartID(instance, &part, &err) < 0 || part == 0) continue;
        // Those of the part alone, before the placements above the instance count.
        const double own = host::ScaleOf(scene, instance);
        int parent = 0;
        scene.GetParent(instance, &parent);
        const double above = host::ScaleOf(scene, parent);
        scene.GetVolume(instance, &volume, &err);
        scene.GetSurfaceArea(instance, &area, &err);
        scene.GetProjectedSurfaceXY(instance, &projected, &err);
        scene.GetCenterOfMass(instance, center, center + 1, center + 2, &err);
        volume *= std::pow(own / above, 3);
        sum.volume += volume;
        sum.area += area * own * own;
        sum.projected += projected * own * own;
        if (volume != 0) {
            for (std::size_t i = 0; i < 3; ++i) moment[i] += volume * center[i];
        }
    }
    for (std::size_t i = 0; i < 3; ++i) sum.center[i] = moment[i] / sum.volume;
    host::BoxOf(scene, node, sum.box);
    if (withSection) {
        sum.section = 0;
        for (const double length : SectionLengths(scene, instances, view.Progress())) *sum.section += length;
    }
    view.Progress().Clear();
    return sum;
}

std::string PointText(const host::Vec3& p) {
    char text[80];
    std::snprintf(text, sizeof text, "%.7g, %.7g, %.7g", p[0], p[1], p[2]);
    return text;
}

std::string Text(const Measures& m) {
    std::string text;
    const auto line = [&](const char* what, const std::string& value, const char* unit) {
        char start[32];
        std::snprintf(start, sizeof start, "%-18s", what);
        text.append(start).append(value).append(unit).append("\n");
    };
    const auto number = [](double value) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%.7g", value);
        return std::string(digits);
    };
    line("volume", number(m.volume), " cubic units");
    line("surface area", number(m.area), " square units");
    line("projected area", number(m.projected), " square units, each part on its own xy plane");
    line("centre of mass", m.volume == 0 ? "none, as nothing is closed" : PointText(m.center), "");
    line("box", PointText(m.box.min) + " to " + PointText(m.box.max), "");
    if (m.section) line("section length", number(*m.section), " units");
    return text + "Units are those of the file.\n";
}

}  // namespace

void MeasureModel(const MeasureOptions& options) {
    ModelView view(options.picture);
    view.Load();
    const int node = options.path.empty() ? 0 : host::NodeAt(view.Scene(), options.path);
    if (node < 0) throw host::Failure("no node at " + options.path);
    EnlargeSmallParts(view.Scene());
    int err = 0;
    if (options.precision) view.Scene().SetVolumePrecision(0, *options.precision, &err);
    const Measures m = Measure(view, node, options.picture.section.has_value());
    nlohmann::json json = {{"volume", m.volume},       {"surfaceArea", m.area}, {"projectedAreaXY", m.projected},
                           {"centerOfMass", m.center}, {"min", m.box.min},      {"max", m.box.max},
                           {"units", "the file's"}};
    if (m.section) json["sectionLength"] = *m.section;
    const std::string text = options.json ? json.dump(2) + "\n" : Text(m);
    std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tessera::cli
