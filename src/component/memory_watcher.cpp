#include "component/memory_watcher.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>

#include "component/spool_schedule.h"
#include "platform/process_memory.h"
#include "platform/spool_file.h"
#include "scene/assembly.h"

namespace tessera {
namespace {

class WatcherThread {
public:
    WatcherThread(CAssembly* root, SpoolFileList* files)
        : root_(root), files_(files), settings_(MemoryWatcher::g_settings), thread_([this] { Run(); }) {}

    ~WatcherThread() {
        {
            const std::lock_guard<std::mutex> hold(lock_);
            stopping_ = true;
            if (file_) file_->Close();
        }
        wake_.notify_all();
        thread_.join();
    }

    WatcherThread(const WatcherThread&) = delete;
    WatcherThread& operator=(const WatcherThread&) = delete;

private:
    // The first pause lets a model load undisturbed.
    void Run() {
        std::optional<SpoolSchedule> schedule;
        while (Sleep(schedule ? schedule->Pause() : SpoolSchedule::kSlow)) {
            try {
                if (!schedule) schedule.emplace(Memory().Physical());
                Look(*schedule);
            } catch (...) {  // whatever a look has met, the next one may not
            }
        }
    }

    const ProcessMemory& Memory() const { return settings_.memory ? *settings_.memory : system_; }

    // False when the watcher is to end.
    bool Sleep(int milliseconds) {
        std::unique_lock<std::mutex> hold(lock_);
        return !wake_.wait_for(hold, std::chrono::duration<double, std::milli>(milliseconds * settings_.pace),
                               [this] { return stopping_; });
    }

    void Look(SpoolSchedule& schedule) {
        std::uint64_t used = 0;
        if (!Memory().ReadUsed(used) || !root_->HasChildren() || !schedule.IsDue(used)) return;
        const std::uint64_t written = Pass();
        if (Memory().ReadUsed(used)) schedule.Passed(used, written);
    }

    // Gives the bytes written. A file with nothing in it goes at once, and so does one that is no longer needed
    // because the tree has been emptied meanwhile.
    std::uint64_t Pass() {
        const std::shared_ptr<SpoolFile> former = files_->ToGoOn();
        const std::shared_ptr<SpoolFile> file = former ? former : SpoolFile::Create();
        if (!file) throw std::system_error(std::make_error_code(std::errc::io_error));
        {
            const std::lock_guard<std::mutex> hold(lock_);
            if (stopping_) return 0;
            file_ = file;
        }
        const std::int64_t before = file->Offset();
        root_->SpoolToFile(file);
        {
            const std::lock_guard<std::mutex> hold(lock_);
            file_.reset();
        }
        const auto written = static_cast<std::uint64_t>(file->Offset() - before);
        if (!former && written >= 2 && root_->HasChildren()) files_->Add(file);
        ReturnFreedMemory();
        return written;
    }

    CAssembly* root_;
    SpoolFileList* files_;
    const MemoryWatcher::Settings settings_;
    const ProcessMemory system_;
    std::mutex lock_;
    std::condition_variable wake_;
    bool stopping_ = false;
    std::shared_ptr<SpoolFile> file_;  // of the pass under way
    std::thread thread_;               // last, as it uses the others
};

std::mutex g_watcherLock;
// Not owned by a static object: a process that ends with a component left must not wait for the thread.
WatcherThread* g_watcherThread = nullptr;

}  // namespace

MemoryWatcher::Settings MemoryWatcher::g_settings;

void MemoryWatcher::Start(CAssembly* root, SpoolFileList* files) {
    const std::lock_guard<std::mutex> hold(g_watcherLock);
    if (g_watcherThread) return;
    try {
        g_watcherThread = new WatcherThread(root, files);
    } catch (const std::system_error&) {
    }
}

void MemoryWatcher::Stop() {
    const std::lock_guard<std::mutex> hold(g_watcherLock);
    delete g_watcherThread;
    g_watcherThread = nullptr;
}

}  // namespace tessera
