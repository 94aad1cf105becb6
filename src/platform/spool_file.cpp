#include "platform/spool_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace tessera {

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

bool SpoolFile::Flush(std::int64_t good) {
    if (!closed_ && std::fflush(file_) == 0) return true;
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
