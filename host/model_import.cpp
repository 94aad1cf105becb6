#include "model_import.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <new>
#include <nlohmann/json.hpp>
#include <utility>

#include "assimp_reader.h"
#include "failure.h"
#include "file_format.h"
#include "u3d_reader.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TESSERA_SHADOW_MEMORY 1
#else
#define TESSERA_SHADOW_MEMORY 0
#endif

namespace tessera::host {

namespace {

// Readers recurse by the levels of a hierarchy. Only what is touched counts as memory.
constexpr std::size_t kReaderStack = std::size_t{512} << 20;
constexpr std::uint64_t kMebibyte = std::uint64_t{1} << 20;

// Bytes of memory that the machine can still give.
std::uint64_t AvailableMemory() {
    std::ifstream file("/proc/meminfo");
    std::string word;
    while (file >> word) {
        std::uint64_t kilobytes = 0;
        if (word == "MemAvailable:" && file >> kilobytes) return kilobytes * 1024;
    }
    return 2048 * kMebibyte;
}

std::uint64_t AddressSpaceInUse() {
    std::ifstream file("/proc/self/statm");
    std::uint64_t pages = 0;
    file >> pages;
    return pages * static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
}

// Far more than any honest file of this size needs, and never all that the machine has.
void LimitReader(std::uint64_t fileSize) {
    const std::uint64_t wanted = 512 * kMebibyte + 100 * fileSize;
    const std::uint64_t memory = std::min(wanted, AvailableMemory() / 5 * 4);
    rlimit limit{};
    if (!TESSERA_SHADOW_MEMORY) {
        limit.rlim_cur = limit.rlim_max = AddressSpaceInUse() + kReaderStack + memory;
        ::setrlimit(RLIMIT_AS, &limit);
    }
    limit.rlim_cur = limit.rlim_max = memory;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = limit.rlim_max = 10 + fileSize / kMebibyte;
    ::setrlimit(RLIMIT_CPU, &limit);
    limit.rlim_cur = limit.rlim_max = 0;
    ::setrlimit(RLIMIT_CORE, &limit);
    ::signal(SIGXFSZ, SIG_IGN);
}

// What third-party code prints is not for the user.
void Silence() {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0) return;
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
}

}  // namespace

struct ModelImport::Shared {
    std::atomic<float> fraction{-1};
    std::uint64_t descriptionAt = 0;
    std::uint64_t descriptionBytes = 0;
    char failure[512] = {};

    void Fail(const char* reason) { std::strncpy(failure, reason, sizeof failure - 1); }
};

struct ReaderTask {
    std::string path;
    FileFormat format{};
    ImportOptions options;
    int arrays = -1;
    std::atomic<float>* fraction = nullptr;
    std::uint64_t descriptionAt = 0;
    std::uint64_t descriptionBytes = 0;
    std::string failure;
};

namespace {

void RunTask(ReaderTask& task) {
    try {
        ModelWriter writer(task.arrays);
        const nlohmann::json description =
            task.format == FileFormat::kU3d
                ? ReadU3d(task.path, task.options.countPoints, writer)
                : ReadWithAssimp(task.path, task.format, task.options.countPoints, writer, *task.fraction);
        const std::string text = description.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
        task.descriptionAt = writer.Begin(text.size());
        task.descriptionBytes = text.size();
        writer.Write(text.data(), text.size());
    } catch (const std::bad_alloc&) {
        task.failure = "needs more memory than a file of its size should";
    } catch (const std::exception& error) {
        task.failure = error.what();
    }
}

void* RunTaskInThread(void* task) {
    RunTask(*static_cast<ReaderTask*>(task));
    return nullptr;
}

// Runs on a thread of the reader, for the sake of its stack.
void RunOnLargeStack(ReaderTask& task) {
    pthread_attr_t attributes;
    pthread_t thread{};
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, kReaderStack);
    if (pthread_create(&thread, &attributes, RunTaskInThread, &task) == 0) {
        pthread_join(thread, nullptr);
    } else {
        task.failure = "no memory to read it";
    }
}

}  // namespace

ModelImport::ModelImport(std::string path, ImportOptions options) : path_(std::move(path)) {
    const ReaderTask task{path_, IdentifyFile(path_), options, -1, nullptr, 0, 0, {}};
    try {
        Start(task);
    } catch (...) {
        Close();
        throw;
    }
}

ModelImport::~ModelImport() { Close(); }

void ModelImport::Start(ReaderTask task) {
    int ends[2] = {-1, -1};
    void* page = ::mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (page != MAP_FAILED) shared_ = new (page) Shared;
    arrays_ = ::memfd_create("tessera-model", MFD_CLOEXEC);
    if (shared_ == nullptr || arrays_ < 0 || ::pipe2(ends, O_CLOEXEC) != 0) throw Failure(path_, std::strerror(errno));
    ended_ = ends[0];
    const pid_t parent = ::getpid();
    reader_ = ::fork();
    if (reader_ == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) ::_exit(1);
        Silence();
        LimitReader(FileSize(path_));
        task.arrays = arrays_;
        task.fraction = &shared_->fraction;
        RunOnLargeStack(task);
        shared_->descriptionAt = task.descriptionAt;
        shared_->descriptionBytes = task.descriptionBytes;
        shared_->Fail(task.failure.c_str());
        ::_exit(task.failure.empty() ? 0 : 1);
    }
    const int error = errno;
    ::close(ends[1]);
    if (reader_ < 0) throw Failure(path_, std::string("no process to read it: ") + std::strerror(error));
}

void ModelImport::Close() {
    if (reader_ > 0) {
        ::kill(reader_, SIGKILL);
        ::waitpid(reader_, nullptr, 0);
    }
    if (ended_ >= 0) ::close(ended_);
    if (arrays_ >= 0) ::close(arrays_);
    if (shared_ != nullptr) ::munmap(shared_, sizeof(Shared));
}

bool ModelImport::WaitFor(int milliseconds) {
    pollfd pipe{ended_, POLLIN, 0};
    return ::poll(&pipe, 1, milliseconds) > 0;
}

double ModelImport::Fraction() const { return static_cast<double>(shared_->fraction.load()); }

std::string ModelImport::ReasonOfEnd(int status) const {
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    if (signal == SIGXCPU || signal == SIGKILL) return "reading it was given up: it takes too long or too much memory";
    if (WIFEXITED(status) && shared_->failure[0] != '\0') return shared_->failure;
    return "damaged: its reader broke down on it";
}

void ModelImport::Finish() {
    int status = 0;
    while (::waitpid(reader_, &status, 0) < 0 && errno == EINTR) {
    }
    reader_ = 0;
    if (status != 0) throw Failure(path_, ReasonOfEnd(status));
    memory_ = ModelMemory(arrays_, shared_->descriptionAt + shared_->descriptionBytes);
    const std::string_view text = memory_.Text(shared_->descriptionAt, shared_->descriptionBytes);
    try {
        model_ = ModelFromJson(nlohmann::json::parse(text), memory_);
    } catch (const nlohmann::json::exception&) {
        throw Failure(path_, "damaged: its reader broke down on it");
    }
    model_.file = path_;
}

void ModelImport::Discard(const ModelMesh& mesh) {
    memory_.Discard(mesh.points, mesh.vertices * 3 * sizeof(double));
    memory_.Discard(mesh.corners, mesh.triangles * 3 * sizeof(std::uint32_t));
    if (mesh.normals != nullptr) memory_.Discard(mesh.normals, mesh.vertices * 3 * sizeof(double));
}

}  // namespace tessera::host
