// The lock that keeps the memory watcher off a mesh in use, and the mesh's record in a spool file.
//
// Record: u32 vertex count, the vertices as three f32, u32 triangle count, for each triangle three u32 normal
// indices and three u32 vertex indices, u32 count of strip floats and the floats, u32 count of strip lengths and the
// lengths. Normals and counters stay in memory.
#include <algorithm>

#include "geometry/trimesh.h"
#include "platform/spool_file.h"

namespace tessera {

// Readers do not exclude each other and never hold the mutex while they work: it only makes their
// appearance atomic against the watcher's.
void CTriMesh::LockShared() {
    {
        const std::lock_guard<std::mutex> hold(lock_);
        ++readers_;
    }
    for (int writers = writers_; writers > 0; writers = writers_) writers_.wait(writers);
    try {
        Reload();
    } catch (...) {
        UnlockShared();
        throw;
    }
}

void CTriMesh::UnlockShared() { --readers_; }

void CTriMesh::PackCorners(std::size_t first, std::vector<std::uint32_t>& corners) const {
    const std::size_t last = std::min(first + kTrianglesAtOnce, triangles_.size());
    corners.resize(6 * (last - first));
    std::uint32_t* next = corners.data();
    for (std::size_t i = first; i < last; ++i, next += 6) {
        const TriMeshTriangle& t = triangles_[i];
        next[0] = t.normal[0], next[1] = t.normal[1], next[2] = t.normal[2];
        next[3] = t.vertex[0], next[4] = t.vertex[1], next[5] = t.vertex[2];
    }
}

// Ends the exclusive side however its work ends: without memory too.
class CTriMesh::WriteMark {
public:
    explicit WriteMark(std::atomic<int>& writers) : writers_(writers) {}
    ~WriteMark() {
        --writers_;
        writers_.notify_all();
    }
    WriteMark(const WriteMark&) = delete;
    WriteMark& operator=(const WriteMark&) = delete;

private:
    std::atomic<int>& writers_;
};

void CTriMesh::SpoolOut(const std::shared_ptr<SpoolFile>& file) {
    {
        // A mesh that is busy, or has nothing to write, is left for another pass.
        const std::lock_guard<std::mutex> hold(lock_);
        if (building_ || writers_ >= 1 || readers_ >= 1 || triangles_.empty()) return;
        ++writers_;
    }
    const WriteMark mark(writers_);
    bool saved = spooled_ && !spoolStale_;
    if (!saved) {
        const std::int64_t offset = file->Offset();
        const auto vertexCount = static_cast<std::uint32_t>(vertices_.size());
        const auto triangleCount = static_cast<std::uint32_t>(triangles_.size());
        saved = file->Write(&vertexCount, sizeof vertexCount) &&
                file->Write(vertices_.data(), sizeof(Vec3) * vertices_.size()) &&
                file->Write(&triangleCount, sizeof triangleCount);
        std::vector<std::uint32_t> corners;
        for (std::size_t first = 0; saved && first < triangles_.size(); first += kTrianglesAtOnce) {
            PackCorners(first, corners);
            saved = file->Write(corners.data(), sizeof(std::uint32_t) * corners.size());
        }
        const auto floatCount = static_cast<std::uint32_t>(stripVertices_.size());
        const auto lengthCount = static_cast<std::uint32_t>(stripLengths_.size());
        saved = saved && file->Write(&floatCount, sizeof floatCount) &&
                file->Write(stripVertices_.data(), sizeof(float) * stripVertices_.size()) &&
                file->Write(&lengthCount, sizeof lengthCount) &&
                file->Write(stripLengths_.data(), sizeof(int) * stripLengths_.size());
        saved = file->Flush(offset) && saved;
        if (saved) {
            spoolFile_ = file;
            spoolOffset_ = offset;
            spoolStale_ = false;
        }
    }
    if (saved) {  // a mesh that could not be written stays in memory
        spooledVertices_ = static_cast<std::uint32_t>(vertices_.size());
        ReleaseSpooled();
        spooled_ = true;
    }
}

void CTriMesh::ReleaseSpooled() {
    std::vector<std::uint32_t>().swap(incidentStart_);
    std::vector<TriangleIndex>().swap(incident_);
    std::vector<TriMeshTriangle>().swap(triangles_);
    std::vector<Vec3>().swap(vertices_);
    std::vector<float>().swap(stripVertices_);
    std::vector<int>().swap(stripLengths_);
}

void CTriMesh::Reload() {
    if (!spooled_ || writers_ > 0 || !triangles_.empty()) return;
    ++writers_;
    const WriteMark mark(writers_);
    ReadRecord();
}

// The edges come back unclassified: they draw as hard ones until the next classification.
void CTriMesh::ReadRecord() {
    std::int64_t offset = spoolOffset_;
    const auto read = [&](void* data, std::size_t bytes) {
        const bool done = spoolFile_->Read(offset, data, bytes);
        offset += static_cast<std::int64_t>(bytes);
        return done;
    };
    std::uint32_t vertexCount = 0, triangleCount = 0;
    if (!read(&vertexCount, sizeof vertexCount)) return;
    std::vector<Vec3> vertices(vertexCount);
    if (!read(vertices.data(), sizeof(Vec3) * vertices.size()) || !read(&triangleCount, sizeof triangleCount)) return;
    std::vector<TriMeshTriangle> triangles(triangleCount);
    std::vector<std::uint32_t> corners;
    for (std::size_t first = 0; first < triangles.size(); first += kTrianglesAtOnce) {
        const std::size_t last = std::min(first + kTrianglesAtOnce, triangles.size());
        corners.resize(6 * (last - first));
        if (!read(corners.data(), sizeof(std::uint32_t) * corners.size())) return;
        const std::uint32_t* next = corners.data();
        for (std::size_t i = first; i < last; ++i) {
            for (std::uint32_t& n : triangles[i].normal) n = *next++;
            for (std::uint32_t& v : triangles[i].vertex) v = *next++;
            triangles[i].flags2 = TriMeshTriangle::kGivenNormals;
        }
    }
    std::uint32_t floatCount = 0, lengthCount = 0;
    if (!read(&floatCount, sizeof floatCount)) return;
    std::vector<float> floats(floatCount);
    if (!read(floats.data(), sizeof(float) * floats.size()) || !read(&lengthCount, sizeof lengthCount)) return;
    std::vector<int> lengths(lengthCount);
    if (!read(lengths.data(), sizeof(int) * lengths.size())) return;
    stripVertices_ = std::move(floats);
    stripLengths_ = std::move(lengths);
    vertices_ = std::move(vertices);
    triangles_ = std::move(triangles);
    try {
        CountIncident();
        LinkAll();
    } catch (...) {  // still on disk, then
        ReleaseSpooled();
        throw;
    }
}

}  // namespace tessera
