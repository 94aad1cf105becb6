// Files by name.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <vector>

#include "platform/text.h"

namespace tessera {

// A file that is read in pieces. What is no regular file does not open: a pipe could keep its reader waiting.
class InputFile {
public:
    explicit InputFile(const String& path);

    bool IsOpen() const { return file_ != nullptr; }
    std::uint64_t Size() const { return size_; }
    // As many bytes from a place as there are, up to a number. Raises std::bad_alloc where they do not fit memory.
    std::vector<std::uint8_t> Read(std::uint64_t place, std::size_t most);

private:
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_{nullptr, std::fclose};
    std::uint64_t size_ = 0;
};

}  // namespace tessera
