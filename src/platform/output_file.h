// Files that are complete or absent.
#pragma once

#include <cstdio>
#include <filesystem>

#include "platform/text.h"

namespace tessera {

// The file system's name for a text, which ends at its first zero.
std::filesystem::path PathOf(const String& text);
std::FILE* OpenFile(const std::filesystem::path& path, const char* mode);

// A file that stands beside the wanted one while it is written, and takes its place at the end. What is no regular
// file, a device or a pipe, is written directly.
class OutputFile {
public:
    enum class Kind { Binary, Text };  // the same but for line ends, on systems that know two of them

    // Opens at once; IsOpen tells. A file that is there and may not be written is left alone.
    explicit OutputFile(const String& path, Kind kind = Kind::Binary);
    // Leaves nothing behind but what Commit has put in place.
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    bool IsOpen() const { return file_ != nullptr; }
    // After a short write all that follow are dropped, and Commit fails.
    void Write(const void* data, std::size_t bytes);
    // Closes the file and puts it in place. False, with nothing changed, unless all of it has been written.
    bool Commit();

private:
    void OpenBeside(Kind kind);
    bool Close();

    std::filesystem::path target_, beside_;  // no beside_ for what is written directly
    std::FILE* file_ = nullptr;
    bool failed_ = false;
};

}  // namespace tessera
