#pragma once

#include <cstdio>
#include <string>

namespace tessera::host {

// A file that takes the place of another once it is written whole, and else leaves no trace.
class Replacement {
public:
    // Makes an empty file beside `path`. Throws Failure.
    explicit Replacement(const std::string& path);
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    std::FILE* Stream() const { return stream_; }
    // The name that the file has until Finish.
    const std::string& Temporary() const { return temporary_; }
    // Another name of it until Finish, of plain letters whatever the folder is called.
    std::string DescriptorName() const;
    // Throws Failure, and then nothing has changed.
    void Finish();

private:
    std::string path_;    // as it was given
    std::string target_;  // that the file is to get
    std::string temporary_;
    std::FILE* stream_ = nullptr;
    bool done_ = false;
};

}  // namespace tessera::host
