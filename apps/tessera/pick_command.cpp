#include <cstdio>
#include <nlohmann/json.hpp>

#include "commands.h"
#include "pick_options.h"
#include "picture.h"

namespace tessera::cli {

namespace {

std::string PointText(const host::Vec3& p) {
    char text[80];
    std::snprintf(text, sizeof text, "%.7g,%.7g,%.7g", p[0], p[1], p[2]);
    return text;
}

std::string Text(const std::string& name, const std::optional<Found>& found) {
    if (!found) return name + ": nothing\n";
    std::string text = name + ": " + PointText(found->point) + " on " + found->path + "\n";
    const auto line = [&](const char* label, const std::string& value) {
        text.append("    ").append(label).append(" ").append(value).append("\n");
    };
    if (found->normal) line("normal", PointText(*found->normal));
    if (found->ends) {
        line("from", PointText((*found->ends)[0]));
        line("to", PointText((*found->ends)[1]));
    }
    if (found->center) {
        char radius[32];
        std::snprintf(radius, sizeof radius, "%.7g", found->Radius());
        line("centre", PointText(*found->center));
        line("radius", radius);
        line("points", std::to_string(found->arc.size()));
    }
    return text;
}

nlohmann::json Json(const std::string& name, const std::optional<Found>& found) {
    nlohmann::json json = {{"what", name}, {"picked", found.has_value()}};
    if (!found) return json;
    json["path"] = found->path;
    json["node"] = found->node;
    json["point"] = found->point;
    if (found->normal) json["normal"] = *found->normal;
    if (found->ends) {
        json["start"] = (*found->ends)[0];
        json["end"] = (*found->ends)[1];
    }
    if (found->center) {
        json["center"] = *found->center;
        json["radius"] = found->Radius();
        json["arcPoints"] = found->arc.size();
    }
    return json;
}

void Mark(const Found& found, host::Marks& marks) {
    marks.points.push_back(found.point);
    if (found.ends) marks.lines.push_back({(*found.ends)[0], (*found.ends)[1]});
    if (found.center) {
        marks.points.push_back(*found.center);
        marks.lines.push_back(found.arc);
    }
}

}  // namespace

void Pick(const PickOptions& options) {
    ModelView view(options.picture);
    std::optional<Picture> picture;
    if (!options.picture.output.empty()) picture.emplace(options.picture);
    view.Load();
    host::Cursor cursor(view.Camera(), options.picture.width, options.picture.height, options.at[0], options.at[1],
                        options.reach);
    host::Marks marks;
    std::string text;
    nlohmann::json answers = nlohmann::json::array();
    for (const auto& [name, what] : kPickNames) {
        if (!options.all && what != options.what) continue;
        const std::optional<Found> found = cursor.Pick(view.Scene(), what);
        if (found) Mark(*found, marks);
        text += Text(name, found);
        answers.push_back(Json(name, found));
    }
    view.Progress().Clear();
    if (picture) picture->Write(view, marks);
    if (options.json) text = (options.all ? answers : answers.at(0)).dump(2) + "\n";
    std::fwrite(text.data(), 1, text.size(), stdout);
}

}  // namespace tessera::cli
