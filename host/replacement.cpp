#include "replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "failure.h"

namespace tessera::host {

namespace {

std::string CannotBeWritten() { return std::string("cannot be written: ") + std::strerror(errno); }

}  // namespace

Replacement::Replacement(const std::string& path) : path_(path), target_(path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode)) throw Failure(path, "not a file to write");
        if (::access(path.c_str(), W_OK) != 0) throw Failure(path, CannotBeWritten());
    }
    // A link stays, and what it points at is replaced, or comes to be.
    std::error_code error;
    for (int links = 0; std::filesystem::is_symlink(std::filesystem::symlink_status(target_, error)); ++links) {
        constexpr int kMostLinks = 40;
        if (links == kMostLinks) throw Failure(path, "a link that leads nowhere");
        const std::filesystem::path link(target_);
        target_ = (link.parent_path() / std::filesystem::read_symlink(link, error)).string();
    }
    const std::size_t slash = target_.rfind('/');
    temporary_ = (slash == std::string::npos ? "" : target_.substr(0, slash + 1)) + ".tessera-XXXXXX";
    const int descriptor = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor < 0) throw Failure(path, CannotBeWritten());
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(descriptor, 0666 & ~mask);
    stream_ = ::fdopen(descriptor, "wb");
}

std::string Replacement::DescriptorName() const { return "/proc/self/fd/" + std::to_string(::fileno(stream_)); }

Replacement::~Replacement() {
    if (stream_ != nullptr) std::fclose(stream_);
    if (!done_) ::unlink(temporary_.c_str());
}

void Replacement::Finish() {
    const bool written = std::fclose(stream_) == 0;
    stream_ = nullptr;
    done_ = written && std::rename(temporary_.c_str(), target_.c_str()) == 0;
    if (!done_) throw Failure(path_, CannotBeWritten());
}

}  // namespace tessera::host
