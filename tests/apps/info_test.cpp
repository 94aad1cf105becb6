#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>

#include "program.h"

namespace {

using nlohmann::json;

class InfoTest : public ProgramTest {};

const json& Named(const json& list, const std::string& name) {
    for (const json& item : list)
        if (item.at("name") == name) return item;
    throw std::runtime_error("no " + name);
}

TEST_F(InfoTest, TellsTheGearboxWhole) {
    const json info = Info(Gearbox());
    const json &totals = info.at("totals"), &nodes = info.at("nodes"), &parts = info.at("parts");
    const json expected = {{"instances", 130}, {"assemblies", 30}, {"parts", 22}, {"mirrored", 1}};
    for (const auto& [key, value] : expected.items()) EXPECT_EQ(totals.at(key), value) << key;
    EXPECT_EQ(Named(parts, "ball").at("instances"), 54);
    EXPECT_EQ(Named(parts, "bolt M8").at("instances"), 8);
    EXPECT_NEAR(Named(parts, "cover").at("opacity").get<double>(), 0.2, 1e-6);

    std::map<int, json> byId;
    for (const json& node : nodes) byId[node.at("id").get<int>()] = node;
    std::string upwards;
    for (int id = Named(nodes, "ball (8)").at("id"); id >= 0; id = byId.at(id).at("parent"))
        upwards += byId.at(id).at("name").get<std::string>() + ", ";
    EXPECT_EQ(upwards, "ball (8), bearing (1), output shaft, gear train, gearbox, /, ");

    // Sums over the tree agree with the totals, and no two siblings share a name.
    std::uint64_t placed = 0;
    std::set<std::pair<int, std::string>> names;
    for (const json& node : nodes) {
        placed += node.value("triangles", std::uint64_t{0});
        EXPECT_TRUE(names.emplace(node.at("parent"), node.at("name")).second) << node.dump();
    }
    EXPECT_EQ(totals.at("trianglesPlaced"), placed);

    // The right rail is the left one mirrored in the middle of the housing, 20 mm across, which is -Z in the file.
    const json &left = Named(nodes, "left rail"), &right = Named(nodes, "right rail");
    for (const auto& [one, other] : {std::pair("min", "max"), {"max", "min"}})
        EXPECT_NEAR(left.at(one)[2].get<double>() + right.at(other)[2].get<double>(), -0.04, 1e-6);
}

TEST_F(InfoTest, TakesNamesAsUtf8AndTellsSiblingsApart) {
    const std::string name = "Zahnr\xC3\xA4\x64\x65r \xF0\x9F\x98\x80";
    const json nodes = {
        {{"children", {1, 2}}, {"name", "top"}}, {{"mesh", 0}, {"name", name}}, {{"mesh", 0}, {"name", name}}};
    const json info = Info(Write("names.glb", TriangleGlb({{"nodes", nodes}})));
    EXPECT_EQ(Named(info.at("nodes"), name).at("kind"), "instance");
    EXPECT_EQ(Named(info.at("nodes"), name + " (1)").at("part"), Named(info.at("nodes"), name).at("part"));
    EXPECT_EQ(info.at("parts").size(), 1U);
}

TEST_F(InfoTest, ReadsAFileByItsContentWhateverItsName) {
    const std::string obj = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";
    const std::string off = "OFF\n4 1 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n";
    const std::string ply =
        "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
        "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n";
    const std::string stl = BinaryStl(2, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0});
    const std::array<std::string, 3> cases[] = {
        {"a.obj", obj, "OBJ"}, {"b.stl", obj, "OBJ"}, {"c.off", off, "OFF"},        {"d.ply", ply, "PLY"},
        {"e.stl", ply, "PLY"}, {"f", off, "OFF"},     {"g.obj", stl, "binary STL"}, {"h.STL", stl, "binary STL"}};
    for (const auto& [name, content, format] : cases) {
        const json info = Info(Write(name, content)), &totals = info.at("totals");
        const json told = {info.at("files")[0].at("format"), totals.at("trianglesPlaced"), totals.at("vertices"),
                           totals.at("max")};
        EXPECT_EQ(told, (json{format, 2, 4, {1.0, 1.0, 0.0}})) << name;
    }
}

TEST_F(InfoTest, AgreesWithReferenceModels) {
    const char* chosen = std::getenv("TESSERA_MODELS");
    const std::string folder = chosen != nullptr ? chosen : MODELS_FOLDER;
    std::ifstream file(folder + "/references.json");
    if (!file) GTEST_SKIP() << "no reference models in " << folder;
    for (const json& reference : json::parse(file)) {
        const std::string name = reference.at("file");
        SCOPED_TRACE(name);
        if (name.ends_with(".stp") || reference.at("triangles") == 0) continue;
        const json totals = Info(folder + "/" + name).at("totals");
        EXPECT_EQ(totals.at("trianglesPlaced"), reference.at("triangles"));
        for (const auto& [theirs, ours] : {std::pair("unique_tris", "trianglesStored"),
                                           {"mesh_instances", "instances"},
                                           {"meshes", "parts"},
                                           {"objects", "parts"}})
            EXPECT_EQ(totals.at(ours), reference.value(theirs, totals.at(ours))) << ours;
        // Positions arrive in single precision.
        double largest = 0;
        for (const char* end : {"bbmin", "bbmax"})
            for (const json& value : reference.at(end)) largest = std::max(largest, std::abs(value.get<double>()));
        for (const auto& [theirs, ours] : {std::pair("bbmin", "min"), {"bbmax", "max"}})
            for (std::size_t i = 0; i < 3; ++i)
                EXPECT_NEAR(totals.at(ours)[i].get<double>(), reference.at(theirs)[i].get<double>(), largest * 1.2e-7);
        const bool single = totals.at("instances") == 1;
        EXPECT_EQ(totals.at("vertices"), single ? reference.at("welded_vertices") : totals.at("vertices"));
    }
}

}  // namespace
