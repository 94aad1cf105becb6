#include "platform/file.h"

#include <algorithm>
#include <filesystem>

#include "platform/output_file.h"

namespace tessera {

InputFile::InputFile(const String& path) {
    const std::filesystem::path name = PathOf(path);
    std::error_code error;
    if (!std::filesystem::is_regular_file(name, error)) return;
    size_ = std::filesystem::file_size(name, error);
    if (!error) file_.reset(OpenFile(name, "rb"));
}

std::vector<std::uint8_t> InputFile::Read(std::uint64_t place, std::size_t most) {
    std::vector<std::uint8_t> data;
    if (place >= size_ || std::fseek(file_.get(), static_cast<long>(place), SEEK_SET) != 0) return data;
    data.resize(static_cast<std::size_t>(std::min<std::uint64_t>(most, size_ - place)));
    data.resize(std::fread(data.data(), 1, data.size(), file_.get()));
    return data;
}

}  // namespace tessera
