// The memory watcher: when it acts, and that nobody notices.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "component/host.h"
#include "component/memory_watcher.h"
#include "component/spool_schedule.h"
#include "platform/process_memory.h"
#include "platform/spool_file.h"

namespace tessera::test {
namespace {

TEST(SpoolSchedule, FollowsUseAndYield) {
    constexpr std::uint64_t kStep = 0x3200000, kGiB = std::uint64_t{1} << 30, kWide = kGiB << 10;
    EXPECT_EQ(SpoolSchedule(16 * kGiB, false).Limit(), static_cast<std::uint64_t>(16 * 1.4 * kGiB));
    EXPECT_EQ(SpoolSchedule(kGiB, true).Limit(), 1503238553U);
    EXPECT_EQ(SpoolSchedule(4 * kGiB, true).Limit(), 1717986918U);  // 1.4 times as much, in 32 bits

    SpoolSchedule wide(1000, false), narrow(3 * kGiB / 2, true), low(1000, true);
    EXPECT_TRUE(!wide.IsDue(1399) && wide.IsDue(1400));
    EXPECT_EQ(wide.Pause(), 30000);
    const std::uint64_t passes[][4] = {                                   // used, freed, then the limit and the pause
                                       {1400, 0x2800, 1400, 10},          // freed something, not enough
                                       {1400, 0x27ff, 1400 + kStep, 10},  // nothing left
                                       {1400, 0, 1400 + kStep, 30000}};   // enough
    for (const auto& [used, freed, limit, pause] : passes) {
        wide.Passed(used, freed);
        EXPECT_TRUE(wide.Limit() == limit && static_cast<std::uint64_t>(wide.Pause()) == pause) << freed;
    }
    for (int i = 0; i < 200; ++i) wide.Passed(kWide, 0), low.Passed(0xffffffff, 0);
    EXPECT_EQ(wide.Limit(), 1400 + 201 * kStep) << "no bound";
    EXPECT_TRUE(low.Limit() >= 0x73333333U && low.Limit() < 0x73333333U + kStep);
    EXPECT_FALSE(narrow.IsDue(2000000000));
    EXPECT_TRUE(narrow.IsDue(2100000001)) << "whatever the limit";
    EXPECT_FALSE(narrow.IsDue((std::uint64_t{1} << 32) + 5)) << "of 32 bits";
}

class FakeMemory final : public ProcessMemory {
public:
    std::uint64_t Physical() const override { return Fail(), 1000; }
    bool ReadUsed(std::uint64_t& bytes) const override { return ++looks, Fail(), bytes = used, true; }
    void Await(int more) const {
        for (const int until = looks + more; looks < until;) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    void Fail() const {
        if (failures > 0 && failures-- > 0) throw std::bad_alloc();
    }
    mutable std::atomic<int> looks{0}, failures{0};
    std::atomic<std::uint64_t> used{0};
};

// Those that this process has open, deleted as they are.
int SpoolFilesOpen() {
    int count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        const std::string name = std::filesystem::read_symlink(entry.path(), gone).string();
        count += name.find("/TriMesh") != std::string::npos && name.find("(deleted)") != std::string::npos ? 1 : 0;
    }
    return count;
}

class Watcher : public testing::Test {
protected:
    Watcher() { MemoryWatcher::g_settings = {&memory, 1e-4}; }
    ~Watcher() override { MemoryWatcher::g_settings = {}; }

    FakeMemory memory;
    int error = 0;
};

TEST_F(Watcher, SpoolsUnnoticed) {
    memory.used = 1ull << 62;
    memory.failures = 3;  // a look that cannot be taken is left out
    Scene scene;
    for (int i = 0; i < 3; ++i) scene.AddMesh(Sphere(16 << i, 8 << i));
    const auto area = [&] {
        double sum = 0;
        scene->GetSurfaceArea(0, &sum, &error);
        return sum;
    };
    const double whole = area();
    for (int i = 0; i < 200; ++i, memory.Await(1)) ASSERT_EQ(area(), whole) << i;
    EXPECT_GT(SpoolFilesOpen(), 0);
    // What changed is written anew.
    scene->Scale(0, 2, 2, 2, &error);
    for (int i = 0; i < 20; ++i, memory.Await(1)) ASSERT_NEAR(area(), 4 * whole, 1e-3 * whole) << i;
    scene->SetPointTolerance(0, 10, &error);
    for (int i = 0; i < 3; ++i, memory.Await(1)) EXPECT_EQ(area(), 0) << "what has collapsed does not come back";
    scene->ResetSceneGraph();
    memory.Await(3);
    EXPECT_EQ(SpoolFilesOpen(), 0);
    scene.AddMesh(Cube());
    EXPECT_DOUBLE_EQ(area(), 24);
}

TEST_F(Watcher, EndsAtOnceWithAnyComponent) {
    MemoryWatcher::g_settings.pace = 1;  // a first pause of half a minute
    const auto start = std::chrono::steady_clock::now();
    { const Scene first, second, third; }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
    MemoryWatcher::g_settings.pace = 1e-4;
    const int before = memory.looks;
    const Scene next;
    memory.Await(1);
    EXPECT_GT(memory.looks, before) << "a later component has a watcher again";
}

TEST(SpoolFiles, AreNamelessAndCheckTheirWrites) {
    EXPECT_EQ(SpoolFile::Create("/nowhere"), nullptr);
    const auto file = SpoolFile::Create();
    ASSERT_NE(file, nullptr);
    int value = 7;
    EXPECT_TRUE(file->Write(&value, sizeof value) && file->Flush(0, true));
    std::vector<char> block(1 << 20, 'x');
    ASSERT_TRUE(file->Write(block.data(), block.size()) && file->Flush(4, true));
    for (const std::size_t bytes : {block.size() / 8, block.size() - 3}) {  // read and mapped
        const auto view = file->View(7, bytes);
        ASSERT_TRUE(view && view->Data()[0] == std::byte{'x'} && view->Data()[bytes - 1] == std::byte{'x'});
        EXPECT_EQ(file->View(static_cast<std::int64_t>(block.size() - bytes) + 5, bytes), nullptr);
    }
    file->Close();
    EXPECT_FALSE(file->Write(&value, sizeof value) || file->Flush(4, true));
    EXPECT_EQ(file->Offset(), 4);
    EXPECT_TRUE(file->Read(0, &value, sizeof value) && !file->Read(1, &value, sizeof value));
    std::uint64_t used = 0;
    const ProcessMemory system;
    EXPECT_TRUE(system.ReadUsed(used) && used > 1u << 20 && system.Physical() > used / 2);
}

}  // namespace
}  // namespace tessera::test
