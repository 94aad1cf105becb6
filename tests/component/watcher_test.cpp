// The memory watcher: when it acts, and that nobody notices.
#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "component/memory_watcher.h"
#include "component/spool_schedule.h"
#include "host.h"
#include "platform/process_memory.h"
#include "platform/spool_file.h"

namespace tessera::test {
namespace {

TEST(SpoolSchedule, FollowsUseAndYield) {
    constexpr std::uint64_t kStep = 0x3200000, kGiB = std::uint64_t{1} << 30;
    const struct {
        bool narrow;
        std::uint64_t physical, limit;
    } limits[] = {
        {false, 1000, 1400},
        {false, 16 * kGiB, static_cast<std::uint64_t>(16 * 1.4 * kGiB)},
        {true, kGiB, 1503238553},
        {true, 4 * kGiB, 1717986918},  // 1.4 times as much, in 32 bits
    };
    for (const auto& l : limits) EXPECT_EQ(SpoolSchedule(l.physical, l.narrow).Limit(), l.limit);

    SpoolSchedule wide(1000, false);
    EXPECT_FALSE(wide.IsDue(1399));
    EXPECT_TRUE(wide.IsDue(1400));
    EXPECT_EQ(wide.Pause(), 30000);
    wide.Passed(1400, 0x2800);  // freed something, not enough
    EXPECT_EQ(wide.Pause(), 10);
    wide.Passed(1400, 0x27ff);  // nothing left
    EXPECT_EQ(wide.Limit(), 1400 + kStep);
    EXPECT_EQ(wide.Pause(), 10);
    wide.Passed(1400, 0);  // enough
    EXPECT_EQ(wide.Pause(), 30000);
    EXPECT_EQ(wide.Limit(), 1400 + kStep);
    for (int i = 0; i < 200; ++i) wide.Passed(1ull << 40, 0);
    EXPECT_EQ(wide.Limit(), 1400 + 201 * kStep) << "no bound";

    SpoolSchedule narrow(3 * kGiB / 2, true);
    EXPECT_FALSE(narrow.IsDue(2000000000));
    EXPECT_TRUE(narrow.IsDue(2100000001)) << "whatever the limit";
    EXPECT_FALSE(narrow.IsDue((std::uint64_t{1} << 32) + 5)) << "of 32 bits";
    SpoolSchedule low(1000, true);
    for (int i = 0; i < 200; ++i) low.Passed(0xffffffff, 0);
    EXPECT_GE(low.Limit(), 0x73333333U);
    EXPECT_LT(low.Limit(), 0x73333333U + kStep);
}

class FakeMemory final : public ProcessMemory {
public:
    std::uint64_t Physical() const override { return 1000; }
    bool ReadUsed(std::uint64_t& bytes) const override {
        ++looks;
        bytes = used;
        return true;
    }
    void Await(int more) const {
        for (const int until = looks + more; looks < until;) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    mutable std::atomic<int> looks{0};
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
    Scene scene;
    Placed balls[3];
    for (Placed& ball : balls) ball = scene.AddMesh(Sphere());
    const auto area = [&] {
        double sum = 0;
        scene->GetSurfaceArea(0, &sum, &error);
        return sum;
    };
    const double whole = area();
    int remaining = 200;
    for (; remaining > 0 && area() == whole; --remaining) memory.Await(1);
    EXPECT_EQ(remaining, 0);
    EXPECT_GT(SpoolFilesOpen(), 0);
    EXPECT_EQ(area(), whole);
    // Moving, linking, removing and emptying while passes run.
    for (int i = 0; i < 300; ++i) {
        const int frame = scene.AddAssembly();
        scene->SetParent(balls[1].instance, frame, &error);
        scene->SetPart(balls[2].instance, balls[i % 2].part, &error);
        scene->SetParent(balls[1].instance, 0, &error);
        scene->Remove(frame, &error);
    }
    scene->ResetSceneGraph();
    memory.Await(3);
    EXPECT_EQ(SpoolFilesOpen(), 0);
    scene.AddMesh(Cube());
    EXPECT_DOUBLE_EQ(area(), 24);
}

TEST_F(Watcher, EndsAtOnceWithAnyComponent) {
    MemoryWatcher::g_settings.pace = 1;  // a first pause of half a minute
    const auto start = std::chrono::steady_clock::now();
    {
        const Scene first, second;
        const Scene third;
    }
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
    EXPECT_TRUE(file->Write(&value, sizeof value) && file->Flush(0));
    file->Close();
    EXPECT_FALSE(file->Write(&value, sizeof value));
    EXPECT_FALSE(file->Flush(4));
    EXPECT_EQ(file->Offset(), 4);
    EXPECT_TRUE(file->Read(0, &value, sizeof value));
    EXPECT_FALSE(file->Read(1, &value, sizeof value));
    std::uint64_t used = 0;
    const ProcessMemory system;
    EXPECT_TRUE(system.ReadUsed(used));
    EXPECT_GT(used, 1u << 20);
    EXPECT_GT(system.Physical(), used / 2);
}

}  // namespace
}  // namespace tessera::test
