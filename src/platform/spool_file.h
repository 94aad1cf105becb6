// A temporary file that meshes are spooled to.
#pragma once

#include <cstdio>
#include <memory>
#include <string>

namespace tessera {

// Shared by the component and by each mesh that has data in it: the data stay reachable through the
// open descriptor for as long as a mesh needs them, even if somebody deletes the file.
class SpoolFile {
public:
    // A new file, readable by this user alone; null if it cannot be made. folder is UTF-8, empty for the
    // system's temporary folder.
    static std::shared_ptr<SpoolFile> Create(const std::string& folder = {});
    ~SpoolFile();
    SpoolFile(const SpoolFile&) = delete;
    SpoolFile& operator=(const SpoolFile&) = delete;

    long Offset() const { return offset_; }
    // Appends; false on a short write.
    bool Write(const void* data, std::size_t bytes);
    // Hands what was written to the system.
    bool Flush();
    // Reads at an offset, without disturbing a writer; false if the bytes are not all there.
    bool Read(long offset, void* data, std::size_t bytes) const;
    // Takes the file out of its folder; its data stay readable here.
    void Unlink();
    const std::string& Path() const { return path_; }

private:
    SpoolFile(std::FILE* file, std::string path) : file_(file), path_(std::move(path)) {}

    std::FILE* file_;
    std::string path_;
    long offset_ = 0;
};

}  // namespace tessera
