#include "platform/output_file.h"

#include <cstring>
#include <random>
#include <string_view>

namespace tessera {
namespace {

namespace fs = std::filesystem;

}  // namespace

fs::path PathOf(const String& text) {
    const String name = text.substr(0, text.find(OLECHAR(0)));
#ifdef _WIN32
    return fs::path(name);
#else
    return fs::path(ToUtf8(name));
#endif
}

std::FILE* OpenFile(const fs::path& path, const char* mode) {
#ifdef _WIN32
    const std::string_view narrow(mode);
    return _wfopen(path.c_str(), std::wstring(narrow.begin(), narrow.end()).c_str());
#else
    return std::fopen(path.c_str(), mode);
#endif
}

namespace {

// Longer chains of links are taken for rings.
constexpr int kMostLinks = 40;

// Whether the system lets this process write to a file, without touching it.
bool MayWrite(const fs::path& path) {
    std::FILE* const file = OpenFile(path, "r+b");
    return file && std::fclose(file) == 0;
}

}  // namespace

OutputFile::OutputFile(const String& path, Kind kind) : target_(PathOf(path)) {
    std::error_code error;
    const fs::file_status status = fs::status(target_, error);
    if (fs::exists(status) && !fs::is_regular_file(status)) {
        if (!fs::is_directory(status)) file_ = OpenFile(target_, kind == Kind::Text ? "w" : "wb");
        return;
    }
    if (fs::exists(status) && !MayWrite(target_)) return;
    // A link stays: what it points at is written, be it there or not yet.
    for (int links = 0; fs::is_symlink(fs::symlink_status(target_, error)); ++links) {
        if (links == kMostLinks) return;
        target_ = target_.parent_path() / fs::read_symlink(target_, error);
    }
    OpenBeside(kind);
    if (file_ && fs::exists(status)) fs::permissions(beside_, status.permissions(), error);
}

void OutputFile::OpenBeside(Kind kind) {
    constexpr int kTries = 16;
    if (!target_.has_filename()) return;
    std::random_device random;
    for (int i = 0; i < kTries && !file_; ++i) {
        beside_ = target_.parent_path() / (".tessera-" + std::to_string(random()) + ".tmp");
        file_ = OpenFile(beside_, kind == Kind::Text ? "wx" : "wbx");  // never what somebody has put there
    }
}

OutputFile::~OutputFile() {
    Close();
    std::error_code error;
    if (!beside_.empty()) fs::remove(beside_, error);
}

void OutputFile::Write(const void* data, std::size_t bytes) {
    if (bytes == 0 || failed_ || !file_) return;
    failed_ = std::fwrite(data, 1, bytes, file_) != bytes;
}

bool OutputFile::Close() {
    if (!file_) return false;
    const bool closed = std::fclose(file_) == 0;
    file_ = nullptr;
    return closed;
}

bool OutputFile::Commit() {
    if (!Close() || failed_) return false;
    if (beside_.empty()) return true;
    std::error_code error;
    fs::rename(beside_, target_, error);
    if (error) return false;
    beside_.clear();
    return true;
}

}  // namespace tessera
