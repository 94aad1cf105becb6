#include "scene_report.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>

#include "scene_walk.h"
#include "text.h"

namespace tessera::host {

namespace {

// Shortest form that reads back as the same single-precision number.
std::string Number(double value) {
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, static_cast<float>(value)).ptr;
    return {text, end};
}

std::string PointText(const Vec3& p) {
    std::string text = "(";
    text.append(Number(p[0])).append(", ").append(Number(p[1])).append(", ").append(Number(p[2])).append(")");
    return text;
}

nlohmann::json PointJson(const Vec3& p) { return {p[0], p[1], p[2]}; }

void AppendColumn(std::string& line, const std::string& text, std::size_t width) {
    if (text.size() < width) line.append(width - text.size(), ' ');
    line.append(text).append("  ");
}

}  // namespace

SceneReport::SceneReport(ITessera& scene, const std::vector<LoadedModel>& models) : scene_(scene), models_(models) {
    ReadTree();
}

void SceneReport::ReadTree() {
    struct Visit {
        int id;
        int parent;
        int level;
    };
    int root = 0;
    scene_.GetIdRoot(&root);
    std::vector<Visit> waiting{{root, -1, 0}};
    while (!waiting.empty()) {
        const Visit visit = waiting.back();
        waiting.pop_back();
        entries_.push_back(ReadNode(visit.id, visit.parent, visit.level));
        if (!entries_.back().assembly) continue;
        const std::vector<int> children = ChildrenOf(scene_, visit.id);
        for (auto child = children.rbegin(); child != children.rend(); ++child) {
            waiting.push_back({*child, visit.id, visit.level + 1});
        }
    }
}

SceneReport::Entry SceneReport::ReadNode(int id, int parent, int level) {
    Entry entry;
    entry.id = id;
    entry.parent = parent;
    entry.level = level;
    int err = 0;
    int type = 0;
    entry.assembly = scene_.GetNodeType(id, &type, &err) >= 0 && type == 0;
    BSTR name = nullptr;
    if (scene_.GetNodeName(id, &name, &err) >= 0) entry.name = TakeText(name);
    int part = 0;
    if (!entry.assembly) scene_.GetPartID(id, &part, &err);
    for (const LoadedModel& model : models_) {
        if (part != 0 && entry.part == nullptr) entry.part = model.FindPart(part);
        entry.mirrored = entry.mirrored || model.mirrored.count(id) > 0;
    }
    BoxOf(scene_, id, entry.box);
    return entry;
}

nlohmann::json SceneReport::Totals() const {
    int assemblies = 0;
    int mirrored = 0;
    int instances = 0;
    std::size_t parts = 0;
    std::uint64_t stored = 0;
    std::uint64_t vertices = 0;
    std::uint64_t placed = 0;
    std::uint64_t lines = 0;
    std::uint64_t points = 0;
    for (const Entry& entry : entries_) {
        assemblies += entry.assembly && entry.parent >= 0 ? 1 : 0;
        instances += entry.assembly ? 0 : 1;
        mirrored += entry.mirrored ? 1 : 0;
    }
    for (const LoadedModel& model : models_) {
        parts += model.parts.size();
        placed += model.TrianglesPlaced();
        lines += model.lines;
        points += model.points;
        for (const LoadedPart& part : model.parts) {
            stored += part.triangles;
            vertices += part.distinctPoints;
        }
    }
    const Box& box = entries_.front().box;
    return {
        {"assemblies", assemblies},  {"instances", instances},    {"mirrored", mirrored},     {"parts", parts},
        {"trianglesStored", stored}, {"trianglesPlaced", placed}, {"vertices", vertices},     {"linesNotShown", lines},
        {"pointsNotShown", points},  {"min", PointJson(box.min)}, {"max", PointJson(box.max)}};
}

nlohmann::json SceneReport::Json() const {
    nlohmann::json files = nlohmann::json::array();
    nlohmann::json parts = nlohmann::json::array();
    nlohmann::json nodes = nlohmann::json::array();
    for (const LoadedModel& model : models_) {
        files.push_back({{"file", model.file}, {"format", model.format}, {"node", model.id}});
        for (const LoadedPart& part : model.parts) {
            parts.push_back({{"id", part.id},
                             {"name", part.name},
                             {"meshes", part.meshes},
                             {"triangles", part.triangles},
                             {"vertices", part.distinctPoints},
                             {"instances", part.instances},
                             {"opacity", part.opacity}});
        }
    }
    for (const Entry& entry : entries_) {
        nlohmann::json node = {{"id", entry.id},
                               {"parent", entry.parent},
                               {"kind", entry.assembly ? "assembly" : "instance"},
                               {"name", entry.name},
                               {"mirrored", entry.mirrored},
                               {"min", PointJson(entry.box.min)},
                               {"max", PointJson(entry.box.max)}};
        if (entry.part != nullptr) {
            node["part"] = entry.part->id;
            node["triangles"] = entry.part->triangles;
            node["vertices"] = entry.part->distinctPoints;
        }
        nodes.push_back(std::move(node));
    }
    return {{"files", files}, {"nodes", nodes}, {"parts", parts}, {"totals", Totals()}};
}

std::string SceneReport::Text() const {
    std::string text;
    for (const LoadedModel& model : models_) text += model.file + ": " + model.format + "\n\n";
    text += "   id  kind        part  triangles   vertices  name and box\n";
    for (const Entry& entry : entries_) {
        std::string line;
        AppendColumn(line, std::to_string(entry.id), 5);
        line += entry.assembly ? "assembly  " : "instance  ";
        AppendColumn(line, entry.part == nullptr ? "" : std::to_string(entry.part->id), 6);
        AppendColumn(line, entry.part == nullptr ? "" : std::to_string(entry.part->triangles), 9);
        AppendColumn(line, entry.part == nullptr ? "" : std::to_string(entry.part->distinctPoints), 9);
        line.append(static_cast<std::size_t>(std::min(entry.level, 40)) * 2, ' ').append(entry.name);
        line.append(entry.mirrored ? " (mirrored)  " : "  ");
        line.append(PointText(entry.box.min)).append(" ").append(PointText(entry.box.max));
        text.append(line).append("\n");
    }
    const nlohmann::json t = Totals();
    const auto say = [&](const char* key, const char* what) { text.append(t.at(key).dump()).append(what); };
    text += "\n";
    say("assemblies", " assemblies, ");
    say("instances", " part instances (");
    say("mirrored", " mirrored nodes), ");
    say("parts", " parts\n");
    say("trianglesStored", " triangles stored, ");
    say("trianglesPlaced", " placed, ");
    say("vertices", " vertices\nbox ");
    text.append(PointText(entries_.front().box.min)).append(" to ").append(PointText(entries_.front().box.max));
    text += "\n";
    if (t.at("linesNotShown") != 0) say("linesNotShown", " line segments not shown\n");
    if (t.at("pointsNotShown") != 0) say("pointsNotShown", " points not shown\n");
    return text;
}

}  // namespace tessera::host
