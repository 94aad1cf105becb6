#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sstream>

#include "failure.h"
#include "program.h"
#include "tdpm_loader.h"
#include "u3d_file.h"

namespace {

using nlohmann::json;
using tessera::host::Failure;
using tessera::host::TdpmFile;

class ConvertCommand : public ProgramTest {
protected:
    std::string Convert(const std::string& model, const std::string& name,
                        std::vector<std::string> options = {}) const {
        options.insert(options.begin(), {"convert", model, "-o", Path(name)});
        const Outcome outcome = Tessera(options);
        EXPECT_EQ(outcome.status, 0) << model << outcome.err;
        return Path(name);
    }
    static std::string Content(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
};

TEST_F(ConvertCommand, ComesBackFromTdpmAsItWas) {
    const std::string gearbox = Gearbox(), first = Convert(gearbox, "1.3dg");
    json before = Info(gearbox), after = Info(first);
    EXPECT_EQ(after.at("files")[0].at("format"), "3DG");
    const auto shown = [](const json& info) {
        json nodes = json::array();
        for (json node : info.at("nodes")) {
            for (const char* ofTheSession : {"id", "parent", "part"}) node.erase(ofTheSession);
            nodes.push_back(node);
        }
        return nodes;
    };
    EXPECT_EQ(shown(before), shown(after));
    EXPECT_EQ(before.at("totals"), after.at("totals"));
    for (const std::string& model : {gearbox, first})
        EXPECT_EQ(Tessera({"render", model, "-o", model + ".png", "--size", "320x240"}).status, 0);
    EXPECT_TRUE(Content(gearbox + ".png") == Content(first + ".png"));

    const std::string two = Convert(first, "two.3dg", {gearbox});
    EXPECT_EQ(Info(two).at("totals").at("instances"), 260);
}

// The models at hand; where sanitizers make all slow, the small ones.
std::vector<std::string> Models() {
#ifdef __SANITIZE_ADDRESS__
    constexpr std::uintmax_t kLargest = 1000000;
#else
    constexpr std::uintmax_t kLargest = 5000000;
#endif
    std::vector<std::string> models;
    if (!std::filesystem::is_directory(MODELS_FOLDER)) return models;
    for (const auto& entry : std::filesystem::directory_iterator(MODELS_FOLDER)) {
        const std::string kind = entry.path().extension().string();
        const bool mesh = kind == ".glb" || kind == ".stl" || kind == ".obj" || kind == ".ply";
        if (!mesh || entry.path().filename() == "mountain_points.ply" || entry.file_size() > kLargest) continue;
        models.push_back(entry.path());
    }
    return models;
}

TEST_F(ConvertCommand, BringsModelsBack) {
    std::vector<std::string> models = Models();
    models.push_back(Gearbox());
    for (const std::string& model : models) {
        SCOPED_TRACE(model);
        const std::string second = Convert(Convert(model, "a.3dg"), "b.3dg"), third = Convert(second, "c.3dg");
        EXPECT_TRUE(Content(second) == Content(third));
        // Every block of both U3D forms is read back, node by node and face by face.
        const json totals = Info(model).at("totals");
        for (const bool compress : {false, true}) {
            const std::string path = compress ? Convert(model, "c.u3d", {"--compress"}) : Convert(model, "u.u3d");
            const std::string content = Content(path);
            const auto file = tessera::host::DecodeU3d({content.begin(), content.end()});
            std::size_t faces = 0;
            for (const auto& mesh : file.meshes) faces += mesh.faces.size();
            EXPECT_EQ(file.nodes.size(), totals.at("instances"));
            EXPECT_EQ(file.views.size(), 1U);
            EXPECT_LE(faces, totals.at("trianglesPlaced"));
            EXPECT_GE(faces + 400, totals.at("trianglesPlaced")) << "but for those without an area";
            const json again = Info(path).at("totals");
            EXPECT_EQ(again.at("instances"), totals.at("instances"));
            EXPECT_EQ(again.at("trianglesPlaced"), faces);
        }
    }
}

// Writers differ: in the size that they declare, in metadata, and in blocks that say what nobody here asks for.
TEST_F(ConvertCommand, TakesU3dOfOthers) {
    const std::string cube = Write("cube.obj", CubeObj("none.mtl")), own = Content(Convert(cube, "a.u3d"));
    const auto put = [](std::string& text, std::size_t at, std::size_t value) {
        for (std::size_t i = 0; i < 4; ++i) text[at + i] = static_cast<char>(value >> 8 * i);
    };
    std::string other = own;
    other.insert(36, std::string("\x99\xFF\xFF\xFF\2\0\0\0\4\0\0\0ab\0\0meta", 20));
    put(other, 20, 36);
    put(other, 24, other.size());
    const json told = Info(Write("b.u3d", other));
    EXPECT_EQ(told.at("totals"), Info(Path("a.u3d")).at("totals"));
    EXPECT_EQ(told.at("totals").at("trianglesPlaced"), 12);
    EXPECT_EQ(told.at("files")[0].at("format"), "U3D");
    for (const std::string& damaged : {other.substr(0, 30), own.substr(0, own.size() - 8), own + "more"}) {
        const Outcome refused = Tessera({"info", Write("c.u3d", damaged)});
        EXPECT_EQ(refused.status, 1);
        EXPECT_EQ(refused.err.rfind("tessera: " + Path("c.u3d") + ": byte ", 0), 0U) << refused.err;
    }
}

TEST_F(ConvertCommand, WritesWhatTheNameSays) {
    const std::string cube = Write("cube.obj", CubeObj("none.mtl"));
    EXPECT_EQ(Content(Convert(cube, "a.wrl")).substr(0, 10), "#VRML V2.0");
    EXPECT_EQ(Content(Convert(cube, "a.WRL", {"--vrml", "1"})).substr(0, 10), "#VRML V1.0");
    EXPECT_EQ(Content(Convert(cube, "a.u3d", {"--views", "iso,top", "--compress"})).substr(0, 4),
              std::string("U3D\0", 4));
    const std::string lines = Content(Convert(cube, "a.xml", {"--plane", "0.5,0.5,0.5:1,0,0"}));
    EXPECT_NE(lines.find("<P>0.500,1.000,1.000</P>"), std::string::npos) << lines;
    // A name of any bytes and of any length that the system allows; a link stays.
    for (const std::string& name : {std::string("\xff\xfe.3dg"), std::string(251, 'n') + ".3dg"})
        EXPECT_GT(Content(Convert(cube, name)).size(), 100U);
    std::filesystem::create_symlink(Path("a.xml"), Path("link.3dg"));
    Convert(cube, "link.3dg");
    EXPECT_EQ(Content(Path("a.xml")).substr(0, 3), "3DG");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link.3dg")));
    std::filesystem::create_symlink("coming.3dg", Path("early.3dg"));
    Convert(cube, "early.3dg");
    EXPECT_EQ(Content(Path("coming.3dg")).substr(0, 3), "3DG");
    const std::vector<std::string> before = FilesLeft();
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* reason;
    } cases[] = {
        {{Path("a.png")}, 2, ".u3d or .xml"},
        {{Path("b.wrl"), "--compress"}, 2, "--compress"},
        {{Path("b.u3d"), "--views", "under"}, 2, "under"},
        {{Path("b.xml")}, 2, "--plane"},
        {{Path("b.3dg"), "--vrml", "1"}, 2, "--vrml"},
        {{Path("b.wrl"), "--plane", "0,0,0:1,0,0"}, 2, "--plane"},
        {{Path("none/b.3dg")}, 1, "No such file"},
        {{Path("."), "--vrml", "3"}, 2, "--vrml"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> command = {"convert", cube, "-o"};
        command.insert(command.end(), c.arguments.begin(), c.arguments.end());
        const Outcome outcome = Tessera(command);
        EXPECT_EQ(outcome.status, c.status) << c.arguments[0];
        EXPECT_NE(outcome.err.find(c.reason), std::string::npos) << outcome.err;
    }
    EXPECT_EQ(FilesLeft(), before);
}

// Files as programs that nobody here wrote see them.
TEST_F(ConvertCommand, IsReadByOutsiders) {
    // A cube with sides of a hundred, of which six decimals in thousandths keep all.
    std::string text = CubeObj("none.mtl"), scaled;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line); scaled += line + "\n") {
        if (line.rfind("v ", 0) != 0) continue;
        for (char& c : line)
            if (c == '1') c = '9';
    }
    std::vector<std::string> models = {Write("cube.obj", scaled)};
    const std::string real = std::string(MODELS_FOLDER) + "/prusa_extruder_body.stl";
    if (std::filesystem::exists(real)) models.push_back(real);
    for (const std::string& model : models) {
        const json info = Info(model).at("totals");
        const json measured = json::parse(Tessera({"measure", model, "--precision", "0.01", "--json"}).out);
        static_cast<void>(info), static_cast<void>(measured);
#ifdef VRML_READER
        for (const char* version : {"1", "2"}) {
            const Outcome read = Run({VRML_READER, Convert(model, "a.wrl", {"--vrml", version})});
            ASSERT_EQ(read.status, 0) << read.err;
            const json seen = json::parse(read.out);
            EXPECT_EQ(seen.at("triangles"), info.at("trianglesPlaced")) << model << version;
            EXPECT_EQ(seen.at("backward"), 0);
            const double area = measured.at("surfaceArea").get<double>() * 1e-6;
            EXPECT_NEAR(seen.at("area").get<double>(), area, 1e-3 * area);
            for (std::size_t i = 0; i < 3; ++i) {
                EXPECT_NEAR(seen.at("box")[0][i].get<double>(), info.at("min")[i].get<double>() * 1e-3, 1e-6);
                EXPECT_NEAR(seen.at("box")[1][i].get<double>(), info.at("max")[i].get<double>() * 1e-3, 1e-6);
            }
        }
#endif
#ifdef XML_READER
        const Outcome read = Run({XML_READER, "--noout", Convert(model, "a.xml", {"--plane", "1,1,1:1,2,3"})});
        EXPECT_EQ(read.status, 0) << read.err;
#endif
    }
}

// Every file that differs in one byte, or ends early, is read or refused, and then the scene is as it was.
TEST_F(ConvertCommand, RefusesDamagedTdpm) {
    tessera::ITessera* scene = nullptr;
    ASSERT_EQ(tessera::CreateTessera(&scene), 0);
    const std::string whole = [&] {
        const std::string name = Convert(Write("one.obj", "o a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n"), "one.3dg");
        return Content(name);
    }();
    // Behind the mesh, elements and a level that the program does not make.
    std::string bytes = whole.substr(0, whole.size() - 3);
    const auto put = [&](auto value) { bytes.append(reinterpret_cast<const char*>(&value), sizeof value); };
    const auto floats = [&](int count) {
        for (int i = 0; i < count; ++i) put(static_cast<float>(i));
    };
    put('\x07'), floats(3), put(2), floats(3), put('\0'), floats(3), put('\1');
    put('\x08'), floats(3), put(1), floats(3);
    put('\x10'), put('\x12'), floats(4), put('\0'), put(18), floats(18), put(2), put(3), put(0), put('\x13');
    put('\x11'), put('\2'), put('\6');

    int refused = 0;
    const auto load = [&](const std::string& content) {
        int nodes = 0, err = 0;
        try {
            const TdpmFile file("x.3dg", {content.begin(), content.end()});
            const tessera::host::LoadedModel model = tessera::host::LoadTdpm(*scene, file);
            scene->GetNumberOfPartInstance(model.id, &nodes, &err);
            EXPECT_EQ(nodes, 1);
            scene->Remove(model.id, &err);
        } catch (const Failure& failure) {
            ++refused;
            EXPECT_EQ(std::string(failure.what()).rfind("x.3dg: ", 0), 0U) << failure.what();
        }
        scene->GetNumberOfPartInstance(0, &nodes, &err);
        EXPECT_EQ(nodes, 0);
    };
    load(bytes);
    EXPECT_EQ(refused, 0);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        load(bytes.substr(0, i));
        EXPECT_EQ(refused, 1) << "cut to " << i;
        refused = 0;
    }
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::string changed = bytes;
        for (const char mask : {'\x01', '\x1f', '\xff'}) {
            changed[i] = static_cast<char>(bytes[i] ^ mask);
            load(changed);
        }
    }
    EXPECT_GT(refused, 300);
    const auto reason = [&](std::size_t at, char value) -> std::string {
        std::string changed = bytes;
        changed[at] = value;
        try {
            TdpmFile("x.3dg", {changed.begin(), changed.end()});
        } catch (const Failure& failure) {
            return failure.what();
        }
        return {};
    };
    EXPECT_EQ(reason(10, 5), "x.3dg: damaged at byte 10: tag 5 in the tree");
    EXPECT_EQ(reason(bytes.size() - 1, 9),
              "x.3dg: damaged at byte " + std::to_string(bytes.size() - 1) + ": tag 9 where a part should begin");
    scene->Release();
}

}  // namespace
