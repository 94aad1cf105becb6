#include "platform/spool_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <utility>
#include <vector>

namespace tessera {

std::shared_ptr<SpoolFile> SpoolFile::Create(const std::string& folder) {
    std::string place = folder;
    if (place.empty()) {
        const char* wanted = std::getenv("TMPDIR");
        place = wanted && *wanted ? wanted : "/tmp";
    }
    const std::string pattern = place + "/TriMeshXXXXXX";
    std::vector<char> path(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
    const int descriptor = mkostemp(path.data(), O_CLOEXEC);  // mode 0600, never through a link
    if (descriptor < 0) return nullptr;
    std::FILE* file = fdopen(descriptor, "w+b");
    if (!file) {
        close(descriptor);
        unlink(path.data());
        return nullptr;
    }
    return std::shared_ptr<SpoolFile>(new SpoolFile(file, path.data()));
}

SpoolFile::~SpoolFile() {
    Unlink();
    std::fclose(file_);
}

bool SpoolFile::Write(const void* data, std::size_t bytes) {
    if (std::fwrite(data, 1, bytes, file_) != bytes) return false;
    offset_ += static_cast<long>(bytes);
    return true;
}

bool SpoolFile::Flush() { return std::fflush(file_) == 0; }

bool SpoolFile::Read(long offset, void* data, std::size_t bytes) const {
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

void SpoolFile::Unlink() {
    if (!path_.empty()) unlink(path_.c_str());
    path_.clear();
}

}  // namespace tessera
