// A folder of its own for what a test writes.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>

#include "component/tessera.h"
#include "scene.h"

namespace tessera::test {

class FolderTest : public testing::Test {
protected:
    FolderTest() { std::filesystem::create_directories(folder_); }
    ~FolderTest() override {
        SysFreeString(text_);
        std::filesystem::remove_all(folder_);
    }

    std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    // Valid until the next call.
    BSTR Text(const std::u16string& text) {
        SysFreeString(text_);
        return text_ = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    }
    std::u16string Full(const std::string& name) const { return (folder_ / name).u16string(); }
    BSTR Name(const std::string& name) { return Text(Full(name)); }
    static std::string ContentOf(const std::string& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    std::string Content(const std::string& name) const { return ContentOf(Path(name)); }
    std::size_t FilesLeft() const {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_), {}));
    }

    Scene scene;
    int error = 0;

private:
    std::filesystem::path folder_ =
        std::filesystem::temp_directory_path() / ("tessera-" + std::to_string(std::random_device()()));
    BSTR text_ = nullptr;
};

}  // namespace tessera::test
