#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>

#include "program.h"
#include "words.h"

namespace {

using nlohmann::json;

class RefusalTest : public ProgramTest {
protected:
    // Both commands must refuse a model in one line that names it and holds `reason`, and leave nothing behind.
    void ExpectRefusal(const std::string& model, const std::string& reason) const {
        SCOPED_TRACE(model);
        const std::vector<std::string> before = FilesLeft();
        for (const Outcome& outcome :
             {Tessera({"info", model}), Tessera({"render", model, "-o", Path("out.png"), "-q"})}) {
            EXPECT_EQ(outcome.status, 1);
            EXPECT_EQ(outcome.out, "");
            EXPECT_EQ(std::count(outcome.err.begin(), outcome.err.end(), '\n'), 1) << outcome.err;
            EXPECT_EQ(outcome.err.rfind("tessera: " + model + ": ", 0), 0U) << outcome.err;
            EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
        }
        EXPECT_EQ(FilesLeft(), before);
    }
    void ExpectRefusals(const std::vector<std::array<std::string, 3>>& files) const {
        for (const auto& [name, content, reason] : files) ExpectRefusal(Write(name, content), reason);
    }
};

const std::vector<float> kTriangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};
constexpr float kNan = std::numeric_limits<float>::quiet_NaN(), kInf = std::numeric_limits<float>::infinity();
const std::string kRows = "0 0 0\n1 0 0\n0 1 0\n", kPoints = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
const std::string kGlb = TriangleGlb(), kStl = BinaryStl(2, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1});

std::string Ply(const std::string& vertices, const std::string& faces, const std::string& rows) {
    return "ply\nformat ascii 1.0\nelement vertex " + vertices +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + faces +
           "\nproperty list uchar int vertex_indices\nend_header\n" + rows;
}

std::string Nodes(const json& nodes) { return TriangleGlb({{"nodes", nodes}}); }

std::string Chain(int levels) {
    json nodes = json::array();
    for (int i = 0; i + 1 < levels; ++i) nodes.push_back({{"children", {i + 1}}});
    nodes.push_back({{"mesh", 0}});
    return Nodes(nodes);
}

TEST_F(RefusalTest, OfFilesThatAreNotWhole) {
    ExpectRefusal(Path("missing.stl"), "No such file");
    std::filesystem::create_directory(Path("folder.stl"));
    ExpectRefusal(Path("folder.stl"), "directory");
    ExpectRefusals({
        {"empty.obj", "", "empty"},
        {"notes.txt", "nothing of the kind", "not a model file"},
        {"notes.stl", std::string(500, 'x'), "neither a text nor a binary STL"},
        {"notes.obj", "nothing of the kind", "no triangles"},
        {"noise.glb", std::string(300, '\x7F'), "not a GLB file"},
        {"noise.3ds", std::string("MM\x10\0\0\0", 6) + std::string(10, '\x7F'), "not readable as 3DS"},
        {"half.dae", "<?xml version=\"1.0\"?><COLLADA version=\"1.4.1\"><asset>", "not readable as COLLADA"},
        {"half.glb", kGlb.substr(0, kGlb.size() / 2), "truncated"},
        {"half.stl", kStl.substr(0, 150), "truncated"},
        {"head.stl", kStl.substr(0, 60), "truncated"},
        {"text.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n", "truncated"},
        {"faces.ply", Ply("3", "2", kRows + "3 0 1 2\n"), "truncated"},
        {"header.ply", "ply\nformat ascii 1.0\nelement vertex 3\n", "truncated"},
        {"faces.off", "OFF\n3 2 0\n" + kRows + "3 0 1 2\n", "truncated"},
    });
}

TEST_F(RefusalTest, OfWhatCannotBe) {
    const json huge = {{{"bufferView", 0}, {"componentType", 5126}, {"count", 4000000000U}, {"type", "VEC3"}}};
    const json ring = {{{"children", {1}}}, {{"children", {0}}, {"mesh", 0}}};
    ExpectRefusals({
        // counts, without taking the memory
        {"count.stl", BinaryStl(0xFFFFFFFF, kTriangle), "4294967295 triangles"},
        {"count.ply", Ply("4000000000", "1", "0 0 0\n"), "4000000000 vertex"},
        {"digits.ply", Ply("99999999999999999999999999", "1", "0 0 0\n"), "truncated"},
        {"minus.ply", Ply("-3", "1", "0 0 0\n"), "bad count"},
        {"count.off", "OFF\n4000000000 1 0\n0 0 0\n", "4000000000 vertices"},
        {"accessor.glb", TriangleGlb({{"accessors", huge}}), "out of"},
        // coordinates
        {"nan.stl", BinaryStl(1, {0, 0, 0, kNan, 0, 0, 0, 1, 0}), "not a number"},
        {"inf.stl", BinaryStl(1, {0, 0, 0, 0, kInf, 0, 0, 1, 0}), "not a number or too large"},
        {"large.stl", BinaryStl(1, {0, 0, 0, 2e20F, 0, 0, 0, 1, 0}), "too large"},
        {"nan.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "not a number"},
        {"nan.ply", Ply("3", "1", "nan 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"), "not a number"},
        {"nan.glb", TriangleGlb({}, {kNan, 0, 0, 1, 0, 0, 0, 1, 0}), "not a number"},
        {"place.glb", Nodes({{{"mesh", 0}, {"scale", {1e39, 1, 1}}}}), "not a number"},
        // indices
        {"index.obj", kPoints + "f 1 2 9\n", "out of range"},
        {"back.obj", kPoints + "f -1 -2 -9\n", "out of range"},
        {"index.ply", Ply("3", "1", kRows + "3 0 1 77\n"), "names vertex 77 of 3"},
        {"index.off", "OFF\n3 1 0\n" + kRows + "3 0 1 7\n", "out of range"},
        {"index.glb", TriangleGlb({}, kTriangle, {0, 1, 2, 0, 1, 999}), "out-of-range"},
        {"mesh.glb", Nodes({{{"mesh", 7}}}), "out of bounds"},
        {"child.glb", Nodes({{{"children", {9}}}}), "out of bounds"},
        // trees that nobody builds, and nothing to show
        {"deep.glb", Chain(10000), "nested deeper than 1000 levels"},
        {"ring.glb", Nodes(ring), "recursive"},
        {"points.obj", kPoints, "no triangles"},
        {"lines.obj", "v 0 0 0\nv 1 0 0\nl 1 2\n", "no triangles"},
        {"none.stl", "solid a\nendsolid a\n", "no triangles"},
        {"flat.stl", BinaryStl(1, {1, 1, 1, 1, 1, 1, 1, 1, 1}), "none of its triangles has an area"},
    });
    EXPECT_EQ(Tessera({"info", Write("fine.glb", Chain(900))}).status, 0);
}

TEST_F(RefusalTest, OfWrongUsage) {
    const std::string model = Write("ok.stl", BinaryStl(1, kTriangle));
    const std::pair<std::string, std::vector<std::string>> wrong[] = {
        {"",
         {"", "draw", "render", "render MODEL", "render -o x.png", "info", "info MODEL MODEL", "info MODEL --yaml"}},
        {"render MODEL -o x.png ",
         {"--mode shiny", "--view inside", "--option faces", "--size 100", "--size 0x100", "--size 100x20000",
          "--eye 1,2", "--eye 1,2,nan", "--eye 1,2,3 --view top", "--target 1,2,3", "--parallel --perspective",
          "--color 1,2,3", "--alpha 1.5", "--explode nan", "--up 0,0,0", "--background 0,0,0:1", "--cap",
          "--section-lines"}},
        {"pick MODEL ",
         {"", "--at 5", "--at 5,nan", "--at 5,5 --what face", "--at 5,5 --what arc --all", "--at 5,5 --reach 0"}},
        {"section MODEL ", {"", "--plane 0,0,0", "--plane 0,0,0:0,0,0"}},
        {"measure MODEL ", {"--precision 0", "--precision nan"}},
    };
    for (const auto& [command, lines] : wrong)
        for (const std::string& options : lines) {
            std::vector<std::string> arguments = Words(command + options);
            std::replace(arguments.begin(), arguments.end(), std::string("MODEL"), model);
            const Outcome outcome = Tessera(arguments);
            EXPECT_EQ(outcome.status, 2) << command << options << outcome.err;
            EXPECT_TRUE(outcome.out.empty() && !outcome.err.empty()) << command << options;
        }
    EXPECT_EQ(Run({GEARBOX_PROGRAM}).status, 2);
    EXPECT_EQ(Run({GEARBOX_PROGRAM, Path("g.glb"), "--segments", "50"}).status, 2);
}

// What only running shows: status 1, with what stands in the way, and nothing written.
TEST_F(RefusalTest, OfWhatIsNotThere) {
    const std::string model = Write("ok.stl", BinaryStl(1, kTriangle)), picture = Write("old.png", "an older picture");
    std::filesystem::create_directory(Path("folder.png"));
    const std::vector<std::string> before = FilesLeft();
    const std::string small = " --size 16x16 -o ";
    const std::pair<std::string, std::string> cases[] = {
        {"render " + model + small + Path("nowhere/out.png"), "tessera: " + Path("nowhere/out.png: ")},
        {"render " + model + small + Path("folder.png"), "tessera: " + Path("folder.png: ")},
        {"render " + Path("missing.stl") + small + picture, "missing.stl: "},
        {"render " + model + " --texture none.bmp" + small + picture, "none.bmp"},
        {"render " + model + " --select //none" + small + picture, "//none"},
        {"measure " + model + " --node //nowhere", "//nowhere"},
        {"pick none.stl --at 1,1", "none.stl: "},
    };
    for (const auto& [command, reason] : cases) {
        const Outcome outcome = Tessera(Words(command));
        EXPECT_EQ(outcome.status, 1) << command;
        EXPECT_NE(outcome.err.find(reason), std::string::npos) << outcome.err;
    }
    const Outcome gearbox = Run({GEARBOX_PROGRAM, Path("nowhere/out.glb")});
    EXPECT_EQ(gearbox.status, 1);
    EXPECT_NE(gearbox.err.find("nowhere/out.glb: "), std::string::npos);
    EXPECT_EQ(FilesLeft(), before);
    EXPECT_EQ(std::filesystem::file_size(picture), 16U);
}

TEST_F(RefusalTest, ButHelpsOnEveryLevel) {
    for (const auto& [command, word] : {std::pair("--help", "render"),
                                        {"render --help", "--background"},
                                        {"info --help", "--json"},
                                        {"--version", "tessera 0."}}) {
        const Outcome outcome = Tessera(Words(command));
        EXPECT_TRUE(outcome.status == 0 && outcome.err.empty()) << outcome.err;
        EXPECT_NE(outcome.out.find(word), std::string::npos) << outcome.out;
    }
    EXPECT_NE(Run({GEARBOX_PROGRAM, "--help"}).out.find("OUT.glb"), std::string::npos);
}

}  // namespace
