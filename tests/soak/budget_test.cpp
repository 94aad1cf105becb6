// A model of three times the memory that its process may have is built part by part, drawn and written; the file must
// be that of a process with memory to spare. budget_test FOLDER
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "component/memory_watcher.h"
#include "gl_context.h"
#include "platform/process_memory.h"
#include "scene.h"

namespace tessera::test {
namespace {

constexpr int kParts = 40;
constexpr std::uint64_t kMegabyte = 1 << 20;

// As if the machine had little; what is used is the truth, less what the process had at its start.
class LittleMemory final : public ProcessMemory {
public:
    explicit LittleMemory(std::uint64_t bytes) : bytes_(bytes) { ProcessMemory::ReadUsed(atStart_); }
    std::uint64_t Physical() const override { return bytes_; }
    bool ReadUsed(std::uint64_t& used) const override {
        if (!ProcessMemory::ReadUsed(used)) return false;
        used -= std::min(used, atStart_);
        return true;
    }

private:
    std::uint64_t bytes_, atStart_ = 0;
};

std::uint64_t Used(const ProcessMemory& memory) {
    std::uint64_t used = 0;
    memory.ReadUsed(used);
    return used;
}

// Gives the most that was used at once, by the engine's own reckoning.
std::uint64_t BuildAndWrite(const std::string& path, const ProcessMemory* budget, std::uint64_t limit) {
    const LittleMemory reading(0);
    Scene scene;
    int error = 0;
    std::uint64_t most = 0;
    for (int i = 0; i < kParts; ++i) {
        scene.Translate(scene.AddMesh(Sphere(240 + i, 160)).instance, 3.0F * static_cast<float>(i), 0, 0);
        // A host with patience: the watcher needs a moment, not help.
        for (int wait = 0; budget && wait < 2000 && Used(*budget) > limit; ++wait)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        most = std::max(most, Used(reading));
    }
    scene.Draw();
    most = std::max(most, Used(reading));
    BSTR name = SysAllocString(std::filesystem::path(path).u16string().c_str());
    scene->WriteTDPM(name, &error);
    SysFreeString(name);
    if (error != 1) std::abort();
    return most;
}

// Runs in a process of its own; gives what it printed there as a number.
template <class Work>
std::uint64_t InProcess(const Work& work) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    if (child == 0) {
        const std::uint64_t answer = work();
        _exit(write(ends[1], &answer, sizeof answer) == sizeof answer ? 0 : 1);
    }
    close(ends[1]);
    std::uint64_t answer = 0;
    const bool got = read(ends[0], &answer, sizeof answer) == sizeof answer;
    int status = 0;
    waitpid(child, &status, 0);
    if (got && status == 0) return answer;
    std::fprintf(stderr, "the process under test failed with status %d\n", status);
    std::exit(1);
}

std::string Content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

int Run(const std::string& folder) {
    const std::string free = folder + "/budget-free.3dg", tight = folder + "/budget-tight.3dg";
    const std::uint64_t whole = InProcess([&] { return BuildAndWrite(free, nullptr, 0) / 2; });
    const std::uint64_t allowed = whole / 3;
    const std::uint64_t most = InProcess([&] {
        // Memory beyond the budget is refused; the watcher is to act at three fifths of it.
        const std::uint64_t limit = allowed * 3 / 5 * 2;
        const LittleMemory little(static_cast<std::uint64_t>(static_cast<double>(limit) / 1.4));
        MemoryWatcher::g_settings = {&little, 1e-4};
        std::ifstream status("/proc/self/statm");
        std::uint64_t pages[6] = {};
        for (std::uint64_t& p : pages) status >> p;
        const rlim_t bytes = pages[5] * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE)) + allowed + 12 * kMegabyte;
        const rlimit data = {bytes, bytes};
        if (setrlimit(RLIMIT_DATA, &data) != 0) std::abort();
        return BuildAndWrite(tight, &little, limit) / 2;
    });
    const bool same = Content(free) == Content(tight);
    std::printf("%llu MB in all, %llu allowed, %llu at most; the files are %s\n",
                static_cast<unsigned long long>(whole / kMegabyte),
                static_cast<unsigned long long>(allowed / kMegabyte), static_cast<unsigned long long>(most / kMegabyte),
                same ? "the same" : "different");
    std::filesystem::remove(free);
    std::filesystem::remove(tight);
    return same && most < whole / 2 ? 0 : 1;
}

}  // namespace
}  // namespace tessera::test

int main(int argc, char** argv) { return tessera::test::Run(argc > 1 ? argv[1] : "."); }
