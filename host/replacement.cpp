#include "replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "failure.h"

namespace tessera::host {

Replacement::Replacement(const std::string& path) : path_(path), temporary_(path + ".XXXXXX") {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) throw Failure(path, "not a file to write");
    const int descriptor = ::mkostemp(temporary_.data(), O_CLOEXEC);
    if (descriptor < 0) throw Failure(path, std::string("cannot be written: ") + std::strerror(errno));
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(descriptor, 0666 & ~mask);
    stream_ = ::fdopen(descriptor, "wb");
}

Replacement::~Replacement() {
    if (stream_ != nullptr) std::fclose(stream_);
    if (!done_) ::unlink(temporary_.c_str());
}

void Replacement::Finish() {
    const bool written = std::fclose(stream_) == 0;
    stream_ = nullptr;
    done_ = written && std::rename(temporary_.c_str(), path_.c_str()) == 0;
    if (!done_) throw Failure(path_, std::string("cannot be written: ") + std::strerror(errno));
}

}  // namespace tessera::host
