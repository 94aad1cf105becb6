#include "program.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string Word(std::uint32_t value) { return {reinterpret_cast<const char*>(&value), 4}; }

template <class Value>
std::string Bytes(const std::vector<Value>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(Value)};
}

}  // namespace

void ProgramTest::SetUp() {
    std::string pattern = (std::filesystem::temp_directory_path() / "tessera-test-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
}

void ProgramTest::TearDown() { std::filesystem::remove_all(folder_); }

std::string ProgramTest::Write(const std::string& name, const std::string& content) const {
    std::ofstream(Path(name), std::ios::binary) << content;
    return Path(name);
}

std::vector<std::string> ProgramTest::FilesLeft() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

Outcome ProgramTest::Run(const std::vector<std::string>& command) const {
    const std::string streams = folder_ + ".streams";
    std::filesystem::create_directory(streams);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const auto& [descriptor, name] : {std::pair(1, "/out"), std::pair(2, "/err")}) {
        posix_spawn_file_actions_addopen(&actions, descriptor, (streams + name).c_str(), O_CREAT | O_TRUNC | O_WRONLY,
                                         0600);
    }
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    pid_t process = 0;
    int status = -1;
    EXPECT_EQ(::posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ), 0) << command[0];
    // One that hangs is ended before the test is, so that the failure tells which it was.
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(300);
    for (auto wait = std::chrono::microseconds(200); ::waitpid(process, &status, WNOHANG) == 0;) {
        std::this_thread::sleep_for(wait);
        wait = std::min(wait * 2, std::chrono::microseconds(20000));
        if (std::chrono::steady_clock::now() > deadline) ::kill(process, SIGABRT);
    }
    posix_spawn_file_actions_destroy(&actions);
    Outcome outcome{WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), ReadAll(streams + "/out"),
                    ReadAll(streams + "/err")};
    std::filesystem::remove_all(streams);
    return outcome;
}

Outcome ProgramTest::Tessera(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), TESSERA_PROGRAM);
    return Run(arguments);
}

std::string ProgramTest::Gearbox() const {
    const Outcome made = Run({GEARBOX_PROGRAM, Path("gearbox.glb"), "--segments", "16"});
    EXPECT_EQ(made.status, 0) << made.err;
    return Path("gearbox.glb");
}

nlohmann::json ProgramTest::Info(const std::string& model) const {
    const Outcome told = Tessera({"info", model, "--json"});
    EXPECT_EQ(told.status, 0) << told.err;
    return nlohmann::json::parse(told.out, nullptr, false);
}

std::string TriangleGlb() { return TriangleGlb(nlohmann::json::object()); }

std::string TriangleGlb(const nlohmann::json& patch, const std::vector<float>& points,
                        const std::vector<unsigned short>& corners) {
    std::string arrays = Bytes(points) + Bytes(corners);
    nlohmann::json document = {
        {"asset", {{"version", "2.0"}}},
        {"scene", 0},
        {"scenes", {{{"nodes", {0}}}}},
        {"nodes", {{{"mesh", 0}}}},
        {"meshes", {{{"name", "triangle"}, {"primitives", {{{"attributes", {{"POSITION", 0}}}, {"indices", 1}}}}}}},
        {"accessors",
         {{{"bufferView", 0}, {"componentType", 5126}, {"count", points.size() / 3}, {"type", "VEC3"}},
          {{"bufferView", 1}, {"componentType", 5123}, {"count", corners.size()}, {"type", "SCALAR"}}}},
        {"bufferViews",
         {{{"buffer", 0}, {"byteOffset", 0}, {"byteLength", points.size() * 4}},
          {{"buffer", 0}, {"byteOffset", points.size() * 4}, {"byteLength", corners.size() * 2}}}},
        {"buffers", {{{"byteLength", arrays.size()}}}}};
    if (patch.is_object()) document.merge_patch(patch);
    std::string text = document.dump();
    text.append((4 - text.size() % 4) % 4, ' ');
    arrays.append((4 - arrays.size() % 4) % 4, '\0');
    const std::string chunks = Word(static_cast<std::uint32_t>(text.size())) + "JSON" + text +
                               Word(static_cast<std::uint32_t>(arrays.size())) + std::string("BIN\0", 4) + arrays;
    return "glTF" + Word(2) + Word(static_cast<std::uint32_t>(chunks.size() + 12)) + chunks;
}

std::string BinaryStl(std::uint32_t count, const std::vector<float>& points) {
    std::string file(80, '\0');
    file += Word(count);
    for (std::size_t i = 0; i + 9 <= points.size(); i += 9) {
        file += std::string(12, '\0') + Bytes(std::vector<float>(&points[i], &points[i] + 9)) + std::string(2, '\0');
    }
    return file;
}

std::string CubeObj(const std::string& materialFile) {
    std::string text = "mtllib " + materialFile + "\n";
    for (const char* corner : {"0 0 0", "1 0 0", "0 1 0", "1 1 0", "0 0 1", "1 0 1", "0 1 1", "1 1 1"}) {
        text += std::string("v ") + corner + "\n";
    }
    const char* sides[] = {"1 5 7 3", "2 4 8 6", "1 2 6 5", "3 7 8 4", "1 3 4 2", "5 6 8 7"};
    for (int side = 0; side < 6; ++side) {
        text += "usemtl side" + std::to_string(side) + "\nf " + sides[side] + "\n";
    }
    return text;
}
