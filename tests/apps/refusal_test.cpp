#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include "program.h"

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

    void ExpectRefused(const std::string& name, const std::string& content, const std::string& reason) const {
        ExpectRefusal(Write(name, content), reason);
    }
};

const std::vector<float> kTriangle = {0, 0, 0, 1, 0, 0, 0, 1, 0};

std::string Ply(const std::string& counts, const std::string& rows) {
    const std::size_t bar = counts.find('/');
    return "ply\nformat ascii 1.0\nelement vertex " + counts.substr(0, bar) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + counts.substr(bar + 1) +
           "\nproperty list uchar int vertex_indices\nend_header\n" + rows;
}

TEST_F(RefusalTest, OfWhatIsNoModelFile) {
    ExpectRefusal(Path("missing.stl"), "No such file");
    std::filesystem::create_directory(Path("folder.stl"));
    ExpectRefusal(Path("folder.stl"), "directory");
    ExpectRefused("empty.obj", "", "empty");
    ExpectRefused("notes.txt", "nothing of the kind", "not a model file");
    ExpectRefused("notes.stl", std::string(500, 'x'), "neither a text nor a binary STL");
    ExpectRefused("notes.obj", "nothing of the kind", "no triangles");
    ExpectRefused("noise.glb", std::string(300, '\x7F'), "not a GLB file");
    ExpectRefused("noise.3ds", std::string("MM\x10\0\0\0", 6) + std::string(10, '\x7F'), "not readable as 3DS");
    ExpectRefused("half.dae", "<?xml version=\"1.0\"?><COLLADA version=\"1.4.1\"><asset>", "not readable as COLLADA");
}

TEST_F(RefusalTest, OfTruncatedFiles) {
    const std::string glb = TriangleGlb();
    ExpectRefused("half.glb", glb.substr(0, glb.size() / 2), "truncated");
    const std::string stl = BinaryStl(2, {0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1});
    ExpectRefused("half.stl", stl.substr(0, 150), "truncated");
    ExpectRefused("head.stl", stl.substr(0, 60), "truncated");
    ExpectRefused("text.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n", "truncated");
    const std::string points = "0 0 0\n1 0 0\n0 1 0\n";
    ExpectRefused("faces.ply", Ply("3/2", points + "3 0 1 2\n"), "truncated");
    ExpectRefused("header.ply", "ply\nformat ascii 1.0\nelement vertex 3\n", "truncated");
    ExpectRefused("faces.off", "OFF\n3 2 0\n" + points + "3 0 1 2\n", "truncated");
}

TEST_F(RefusalTest, OfHugeCountsWithoutTheMemory) {
    ExpectRefused("count.stl", BinaryStl(0xFFFFFFFF, kTriangle), "4294967295 triangles");
    ExpectRefused("count.ply", Ply("4000000000/1", "0 0 0\n"), "4000000000 vertex");
    ExpectRefused("digits.ply", Ply("99999999999999999999999999/1", "0 0 0\n"), "truncated");
    ExpectRefused("minus.ply", Ply("-3/1", "0 0 0\n"), "bad count");
    ExpectRefused("count.off", "OFF\n4000000000 1 0\n0 0 0\n", "4000000000 vertices");
    ExpectRefused(
        "accessor.glb",
        TriangleGlb(
            {{"accessors", {{{"bufferView", 0}, {"componentType", 5126}, {"count", 4000000000U}, {"type", "VEC3"}}}}}),
        "out of");
}

TEST_F(RefusalTest, OfNumbersThatAreNone) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float inf = std::numeric_limits<float>::infinity();
    ExpectRefused("nan.stl", BinaryStl(1, {0, 0, 0, nan, 0, 0, 0, 1, 0}), "not a number");
    ExpectRefused("inf.stl", BinaryStl(1, {0, 0, 0, 0, inf, 0, 0, 1, 0}), "not a number or too large");
    ExpectRefused("large.stl", BinaryStl(1, {0, 0, 0, 2e20F, 0, 0, 0, 1, 0}), "too large");
    ExpectRefused("nan.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "not a number");
    ExpectRefused("nan.ply", Ply("3/1", "nan 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"), "not a number");
    ExpectRefused("nan.glb", TriangleGlb({}, {nan, 0, 0, 1, 0, 0, 0, 1, 0}), "not a number");
    ExpectRefused("place.glb", TriangleGlb({{"nodes", {{{"mesh", 0}, {"scale", {1e39, 1, 1}}}}}}), "not a number");
}

TEST_F(RefusalTest, OfIndicesOutOfRange) {
    const std::string points = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    ExpectRefused("index.obj", points + "f 1 2 9\n", "out of range");
    ExpectRefused("back.obj", points + "f -1 -2 -9\n", "out of range");
    ExpectRefused("index.ply", Ply("3/1", "0 0 0\n1 0 0\n0 1 0\n3 0 1 77\n"), "names vertex 77 of 3");
    ExpectRefused("index.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 7\n", "out of range");
    ExpectRefused("index.glb", TriangleGlb({}, kTriangle, {0, 1, 2, 0, 1, 999}), "out-of-range");
    ExpectRefused("mesh.glb", TriangleGlb({{"nodes", {{{"mesh", 7}}}}}), "out of bounds");
    ExpectRefused("child.glb", TriangleGlb({{"nodes", {{{"children", {9}}}}}}), "out of bounds");
}

TEST_F(RefusalTest, OfHierarchiesThatNobodyBuilds) {
    const auto chain = [](int levels) {
        json nodes = json::array();
        for (int i = 0; i + 1 < levels; ++i) nodes.push_back({{"children", {i + 1}}});
        nodes.push_back({{"mesh", 0}});
        return TriangleGlb({{"nodes", nodes}});
    };
    ExpectRefused("deep.glb", chain(10000), "nested deeper than 1000 levels");
    ExpectRefused("ring.glb", TriangleGlb({{"nodes", {{{"children", {1}}}, {{"children", {0}}, {"mesh", 0}}}}}),
                  "recursive");
    EXPECT_EQ(Tessera({"info", Write("fine.glb", chain(900))}).status, 0);
}

TEST_F(RefusalTest, OfModelsWithNothingToShow) {
    ExpectRefused("points.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\n", "no triangles");
    ExpectRefused("lines.obj", "v 0 0 0\nv 1 0 0\nl 1 2\n", "no triangles");
    ExpectRefused("none.stl", "solid a\nendsolid a\n", "no triangles");
    ExpectRefused("flat.stl", BinaryStl(1, {1, 1, 1, 1, 1, 1, 1, 1, 1}), "none of its triangles has an area");
}

TEST_F(RefusalTest, OfPlacesThatCannotBeWritten) {
    const std::string model = Write("ok.stl", BinaryStl(1, kTriangle));
    std::filesystem::create_directory(Path("folder.png"));
    for (const std::string& output : {Path("nowhere/out.png"), Path("folder.png")}) {
        const std::vector<std::string> before = FilesLeft();
        const Outcome outcome = Tessera({"render", model, "-o", output, "--size", "16x16"});
        EXPECT_EQ(outcome.status, 1);
        EXPECT_EQ(outcome.err.rfind("tessera: " + output + ": ", 0), 0U) << outcome.err;
        EXPECT_EQ(FilesLeft(), before);
    }
    const Outcome gearbox = Run({GEARBOX_PROGRAM, Path("nowhere/out.glb")});
    EXPECT_EQ(gearbox.status, 1);
    EXPECT_NE(gearbox.err.find("nowhere/out.glb: "), std::string::npos);
}

TEST_F(RefusalTest, KeepsThePictureThatWasThere) {
    const std::string picture = Write("out.png", "an older picture");
    EXPECT_EQ(Tessera({"render", Path("missing.stl"), "-o", picture}).status, 1);
    EXPECT_EQ(std::filesystem::file_size(picture), 16U);
}

TEST_F(RefusalTest, OfWrongUsage) {
    const std::string model = Write("ok.stl", BinaryStl(1, kTriangle));
    const std::vector<std::vector<std::string>> cases = {
        {},
        {"draw"},
        {"render"},
        {"render", model},
        {"render", "-o", "x.png"},
        {"info"},
        {"info", model, model},
        {"info", model, "--yaml"},
        {"render", model, "-o", "x.png", "--mode", "shiny"},
        {"render", model, "-o", "x.png", "--view", "inside"},
        {"render", model, "-o", "x.png", "--option", "faces"},
        {"render", model, "-o", "x.png", "--size", "100"},
        {"render", model, "-o", "x.png", "--size", "0x100"},
        {"render", model, "-o", "x.png", "--size", "100x20000"},
        {"render", model, "-o", "x.png", "--eye", "1,2"},
        {"render", model, "-o", "x.png", "--eye", "1,2,nan"},
        {"render", model, "-o", "x.png", "--eye", "1,2,3", "--view", "top"},
        {"render", model, "-o", "x.png", "--target", "1,2,3"},
        {"render", model, "-o", "x.png", "--parallel", "--perspective"},
        {"render", model, "-o", "x.png", "--color", "1,2,3"},
        {"render", model, "-o", "x.png", "--alpha", "1.5"},
        {"render", model, "-o", "x.png", "--background", "0,0,0:1"},
    };
    for (const auto& arguments : cases) {
        const Outcome outcome = Tessera(arguments);
        EXPECT_EQ(outcome.status, 2) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
    EXPECT_EQ(Run({GEARBOX_PROGRAM}).status, 2);
    EXPECT_EQ(Run({GEARBOX_PROGRAM, Path("g.glb"), "--segments", "50"}).status, 2);
}

TEST_F(RefusalTest, ButHelpsOnEveryLevel) {
    const struct {
        std::vector<std::string> arguments;
        const char* word;
    } cases[] = {{{"--help"}, "render"},
                 {{"render", "--help"}, "--background"},
                 {{"info", "--help"}, "--json"},
                 {{"--version"}, "tessera 0."}};
    for (const auto& [arguments, word] : cases) {
        const Outcome outcome = Tessera(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_NE(outcome.out.find(word), std::string::npos) << outcome.out;
        EXPECT_EQ(outcome.err, "");
    }
    EXPECT_NE(Run({GEARBOX_PROGRAM, "--help"}).out.find("OUT.glb"), std::string::npos);
}

}  // namespace
