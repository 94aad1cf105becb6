#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include "program.h"

namespace {

using nlohmann::json;

class InfoTest : public ProgramTest {};

const json& NodeNamed(const json& info, const std::string& name) {
    for (const json& node : info.at("nodes")) {
        if (node.at("name") == name) return node;
    }
    throw std::runtime_error("no node " + name);
}

const json& PartNamed(const json& info, const std::string& name) {
    for (const json& part : info.at("parts")) {
        if (part.at("name") == name) return part;
    }
    throw std::runtime_error("no part " + name);
}

// The names from a node up to the root.
std::vector<std::string> NamesUpwards(const json& info, const json& start) {
    std::map<int, json> nodes;
    for (const json& node : info.at("nodes")) nodes[node.at("id").get<int>()] = node;
    std::vector<std::string> names;
    for (int id = start.at("id"); id >= 0; id = nodes.at(id).at("parent")) names.push_back(nodes.at(id).at("name"));
    return names;
}

TEST_F(InfoTest, TellsTheGearboxWhole) {
    const json info = Info(Gearbox());
    const json& totals = info.at("totals");
    EXPECT_EQ(totals.at("instances"), 130);
    EXPECT_EQ(totals.at("assemblies"), 30);
    EXPECT_EQ(totals.at("parts"), 22);
    EXPECT_EQ(totals.at("mirrored"), 1);
    EXPECT_EQ(PartNamed(info, "ball").at("instances"), 54);
    EXPECT_EQ(PartNamed(info, "bolt M8").at("instances"), 8);
    EXPECT_NEAR(PartNamed(info, "cover").at("opacity").get<double>(), 0.2, 1e-6);
    EXPECT_EQ(NamesUpwards(info, NodeNamed(info, "ball (8)")),
              (std::vector<std::string>{"ball (8)", "bearing (1)", "output shaft", "gear train", "gearbox", "/"}));

    // Sums over the tree agree with the totals, and no two siblings share a name.
    std::uint64_t placed = 0;
    std::set<std::pair<int, std::string>> names;
    for (const json& node : info.at("nodes")) {
        placed += node.value("triangles", std::uint64_t{0});
        EXPECT_TRUE(names.emplace(node.at("parent"), node.at("name")).second) << node.dump();
    }
    EXPECT_EQ(totals.at("trianglesPlaced"), placed);

    // The right rail is the left one mirrored in the middle of the housing, 20 mm across, which is -Z in the file.
    const json& left = NodeNamed(info, "left rail");
    const json& right = NodeNamed(info, "right rail");
    EXPECT_NEAR(left.at("min")[2].get<double>() + right.at("max")[2].get<double>(), -0.04, 1e-6);
    EXPECT_NEAR(left.at("max")[2].get<double>() + right.at("min")[2].get<double>(), -0.04, 1e-6);
}

TEST_F(InfoTest, TakesNamesAsUtf8AndTellsSiblingsApart) {
    const std::string name =
        "Zahnr\xC3\xA4"
        "der \xF0\x9F\x98\x80";
    const json nodes = {
        {{"children", {1, 2}}, {"name", "top"}}, {{"mesh", 0}, {"name", name}}, {{"mesh", 0}, {"name", name}}};
    const json info = Info(Write("names.glb", TriangleGlb({{"nodes", nodes}})));
    EXPECT_EQ(NodeNamed(info, name).at("kind"), "instance");
    EXPECT_EQ(NodeNamed(info, name + " (1)").at("part"), NodeNamed(info, name).at("part"));
    EXPECT_EQ(info.at("parts").size(), 1U);
}

TEST_F(InfoTest, ReadsAFileByItsContentWhateverItsName) {
    const std::string obj = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n";
    const std::string off = "OFF\n4 1 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n";
    const std::string ply =
        "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\nproperty float z\n"
        "element face 1\nproperty list uchar int vertex_indices\nend_header\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n";
    const std::string stl = BinaryStl(2, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0});
    const struct {
        const char* name;
        std::string content;
        const char* format;
    } cases[] = {{"a.obj", obj, "OBJ"},        {"b.stl", obj, "OBJ"},       {"c.off", off, "OFF"},
                 {"d.ply", ply, "PLY"},        {"e.stl", ply, "PLY"},       {"f", off, "OFF"},
                 {"g.obj", stl, "binary STL"}, {"h.STL", stl, "binary STL"}};
    for (const auto& [name, content, format] : cases) {
        const json info = Info(Write(name, content));
        EXPECT_EQ(info.at("files")[0].at("format"), format) << name;
        EXPECT_EQ(info.at("totals").at("trianglesPlaced"), 2) << name;
        EXPECT_EQ(info.at("totals").at("vertices"), 4) << name;
        EXPECT_EQ(info.at("totals").at("max"), (json{1.0, 1.0, 0.0})) << name;
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
        const json info = Info(folder + "/" + name);
        const json& totals = info.at("totals");
        EXPECT_EQ(totals.at("trianglesPlaced"), reference.at("triangles"));
        for (const auto& [theirs, ours] : {std::pair("unique_tris", "trianglesStored"),
                                           {"mesh_instances", "instances"},
                                           {"meshes", "parts"},
                                           {"objects", "parts"}}) {
            if (reference.contains(theirs)) {
                EXPECT_EQ(totals.at(ours), reference.at(theirs)) << ours;
            }
        }
        // Positions arrive in single precision.
        double largest = 0;
        for (const char* end : {"bbmin", "bbmax"}) {
            for (const json& value : reference.at(end)) largest = std::max(largest, std::abs(value.get<double>()));
        }
        for (std::size_t i = 0; i < 3; ++i) {
            EXPECT_NEAR(totals.at("min")[i].get<double>(), reference.at("bbmin")[i].get<double>(), largest * 1.2e-7);
            EXPECT_NEAR(totals.at("max")[i].get<double>(), reference.at("bbmax")[i].get<double>(), largest * 1.2e-7);
        }
        if (totals.at("instances") == 1) {
            EXPECT_EQ(totals.at("vertices"), reference.at("welded_vertices"));
        }
    }
}

}  // namespace
