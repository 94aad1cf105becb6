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
        const bool read = ProcessMemory::ReadUsed(used);
        return used -= std::min(used, atStart_), read;
    }

private:
    std::uint64_t bytes_, atStart_ = 0;
};

std::uint64_t Used(const ProcessMemory& memory) {
    std::uint64_t used = 0;
    memory.ReadUsed(used);
    return used;
}

// What the system could not take back: neither code nor what stands in files.
std::uint64_t HeldNow() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;)
        if (std::uint64_t kilobytes = 0; word == "RssAnon:" && status >> kilobytes) return kilobytes * 1024;
    std::abort();
}

// Gives the most that was held at once.
std::uint64_t BuildAndWrite(const std::string& path, const ProcessMemory* budget, std::uint64_t limit) {
    const std::uint64_t before = HeldNow();
    Scene scene;
    int error = 0;
    std::uint64_t most = 0;
    for (int i = 0; i < kParts; ++i) {
        scene.Translate(scene.AddMesh(Sphere(240 + i, 160)).instance, 3.0F * static_cast<float>(i), 0, 0);
        // A host with patience: the watcher needs a moment, not help.
        for (int wait = 0; budget && wait < 2000 && Used(*budget) > limit; ++wait)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        most = std::max(most, HeldNow());
    }
    scene.Draw();
    most = std::max(most, HeldNow());
    BSTR name = SysAllocString(std::filesystem::path(path).u16string().c_str());
    scene->WriteTDPM(name, &error);
    most = std::max(most, HeldNow());
    SysFreeString(name);
    if (error != 1) std::abort();
    return most - before;
}

// Runs BuildAndWrite in a process of its own; beyond `allowed`, if not 0, it gets no memory.
std::uint64_t InProcess(const std::string& path, std::uint64_t allowed) {
    int ends[2];
    if (pipe(ends) != 0) std::abort();
    const pid_t child = fork();
    std::uint64_t answer = 0;
    if (child == 0) {
        // The watcher is to act at three fifths of the budget.
        const std::uint64_t limit = allowed * 3 / 5 * 2;
        const LittleMemory little(static_cast<std::uint64_t>(static_cast<double>(limit) / 1.4));
        if (allowed > 0) {
            MemoryWatcher::g_settings = {&little, 1e-4};
            std::ifstream status("/proc/self/statm");
            rlim_t pages[6] = {};
            for (rlim_t& p : pages) status >> p;
            const rlim_t bytes = pages[5] * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + allowed + 12 * kMegabyte;
            const rlimit data = {bytes, bytes};
            if (setrlimit(RLIMIT_DATA, &data) != 0) std::abort();
        }
        answer = BuildAndWrite(path, allowed > 0 ? &little : nullptr, limit);
        _exit(write(ends[1], &answer, sizeof answer) == sizeof answer ? 0 : 1);
    }
    close(ends[1]);
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
    const std::uint64_t whole = InProcess(free, 0), most = InProcess(tight, whole / 3);
    const bool same = Content(free) == Content(tight);
    std::printf("%zu MB in all, a third of it allowed, %zu at most; the files are %s\n", std::size_t(whole / kMegabyte),
                std::size_t(most / kMegabyte), same ? "the same" : "different");
    for (const std::string& path : {free, tight}) std::filesystem::remove(path);
    return same && most < whole / 2 ? 0 : 1;
}

}  // namespace
}  // namespace tessera::test

int main(int argc, char** argv) { return tessera::test::Run(argc > 1 ? argv[1] : "."); }
