// Temporary files that meshes are spooled to.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tessera {

// A piece of a spool file in memory, to be read.
class SpoolView {
public:
    ~SpoolView();
    SpoolView(const SpoolView&) = delete;
    SpoolView& operator=(const SpoolView&) = delete;

    const std::byte* Data() const { return data_; }

private:
    friend class SpoolFile;
    SpoolView() = default;
    bool Map(int descriptor, std::int64_t offset, std::size_t bytes);

    const std::byte* data_ = nullptr;
    void* mapped_ = nullptr;  // whole pages around it, or null where it is on the heap
    std::size_t mappedBytes_ = 0;
    std::unique_ptr<std::byte[]> heap_;
};

// Shared by the component and by each mesh that has data in it. The file has no name from the start: nobody else can
// open or delete it, and nothing of it outlives the process.
class SpoolFile {
public:
    // A new file, readable by this user alone; null if it cannot be made. folder is UTF-8, empty for the
    // system's temporary folder.
    static std::shared_ptr<SpoolFile> Create(const std::string& folder = {});
    ~SpoolFile();
    SpoolFile(const SpoolFile&) = delete;
    SpoolFile& operator=(const SpoolFile&) = delete;

    std::int64_t Offset() const { return offset_; }
    // Appends; false on a short write, and from then on.
    bool Write(const void* data, std::size_t bytes);
    // Hands what was written to the system, if all of it was. Otherwise what it has left behind `good` is cut off.
    bool Flush(std::int64_t good, bool all);
    // Lets all writes from now on fail. From any thread.
    void Close() { closed_ = true; }
    bool IsClosed() const { return closed_; }
    // Reads at an offset, without disturbing a writer; false if the bytes are not all there.
    bool Read(std::int64_t offset, void* data, std::size_t bytes) const;
    // Null if the bytes are not all there.
    std::unique_ptr<SpoolView> View(std::int64_t offset, std::size_t bytes) const;

private:
    explicit SpoolFile(std::FILE* file) : file_(file) {}

    std::FILE* file_;
    std::int64_t offset_ = 0;
    std::atomic<bool> closed_{false};
};

// The files of a component. From any thread.
class SpoolFileList {
public:
    void Add(const std::shared_ptr<SpoolFile>& file) {
        const std::lock_guard<std::mutex> hold(lock_);
        files_.push_back(file);
    }
    // The file to go on with where there are enough of them: each keeps a descriptor open. Else null.
    std::shared_ptr<SpoolFile> ToGoOn() {
        constexpr std::size_t kMostFiles = 16;
        const std::lock_guard<std::mutex> hold(lock_);
        return files_.size() < kMostFiles || files_.back()->IsClosed() ? nullptr : files_.back();
    }
    void Clear() {
        const std::lock_guard<std::mutex> hold(lock_);
        files_.clear();
    }

private:
    std::mutex lock_;
    std::vector<std::shared_ptr<SpoolFile>> files_;
};

}  // namespace tessera
