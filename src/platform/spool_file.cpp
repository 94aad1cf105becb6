#include "platform/spool_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace tessera {
namespace {

// Less is read: mappings are whole pages, and a process may have only so many.
constexpr std::size_t kLeastMapped = 1 << 18;

}  // namespace

// Pages that the disk no longer gives are found here, not by a signal on first use.
bool SpoolView::Map(int descriptor, std::int64_t offset, std::size_t bytes) {
#if defined(MADV_POPULATE_READ)
    const std::int64_t within = offset % sysconf(_SC_PAGESIZE);
    const std::size_t all = bytes + static_cast<std::size_t>(within);
    void* const place = mmap(nullptr, all, PROT_READ, MAP_PRIVATE, descriptor, offset - within);
    if (place == MAP_FAILED) return false;
    if (madvise(place, all, MADV_POPULATE_READ) != 0) {
        munmap(place, all);
        return false;
    }
    mapped_ = place;
    mappedBytes_ = all;
    data_ = static_cast<const std::byte*>(place) + within;
    return true;
#else
    static_cast<void>(descriptor), static_cast<void>(offset), static_cast<void>(bytes);
    return false;
#endif
}

SpoolView::~SpoolView() {
    if (mapped_) munmap(mapped_, mappedBytes_);
}

std::unique_ptr<SpoolView> SpoolFile::View(std::int64_t offset, std::size_t bytes) const {
    struct stat status;
    if (fstat(fileno(file_), &status) != 0 || status.st_size < offset + static_cast<std::int64_t>(bytes))
        return nullptr;
    std::unique_ptr<SpoolView> view(new SpoolView);
    if (bytes >= kLeastMapped && view->Map(fileno(file_), offset, bytes)) return view;
    view->heap_ = std::make_unique_for_overwrite<std::byte[]>(bytes);
    view->data_ = view->heap_.get();
    return Read(offset, view->heap_.get(), bytes) ? std::move(view) : nullptr;
}

std::shared_ptr<SpoolFile> SpoolFile::Create(const std::string& folder) {
    std::string path = folder;
    if (path.empty()) {
        const char* wanted = std::getenv("TMPDIR");
        path = wanted && *wanted ? wanted : "/tmp";
    }
    path += "/TriMeshXXXXXX";
    const int descriptor = mkostemp(path.data(), O_CLOEXEC);  // mode 0600, never through a link
    if (descriptor < 0) return nullptr;
    unlink(path.c_str());
    std::FILE* const file = fdopen(descriptor, "w+b");
    if (!file) {
        close(descriptor);
        return nullptr;
    }
    return std::shared_ptr<SpoolFile>(new SpoolFile(file));
}

SpoolFile::~SpoolFile() { std::fclose(file_); }

bool SpoolFile::Write(const void* data, std::size_t bytes) {
    if (closed_ || std::fwrite(data, 1, bytes, file_) != bytes) {
        closed_ = true;
        return false;
    }
    offset_ += static_cast<std::int64_t>(bytes);
    return true;
}

bool SpoolFile::Flush(std::int64_t good, bool all) {
    if (all && !closed_ && std::fflush(file_) == 0) return true;
    closed_ = true;
    offset_ = good;
    std::fflush(file_);  // or the rest would follow when the file is closed
    static_cast<void>(ftruncate(fileno(file_), good) == 0);
    return false;
}

bool SpoolFile::Read(std::int64_t offset, void* data, std::size_t bytes) const {
    auto* out = static_cast<char*>(data);
    while (bytes > 0) {
        const ssize_t got = pread(fileno(file_), out, bytes, offset);
        if (got <= 0) return false;
        out += got;
        offset += got;
        bytes -= static_cast<std::size_t>(got);
    }
    return true;
}

}  // namespace tessera
