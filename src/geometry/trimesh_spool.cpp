// The lock that keeps the memory watcher off a mesh in use, and the mesh's record in a spool file.
//
// Record: u32 vertex count, the vertices as three f32, u32 triangle count, and for each triangle three u32
// normal indices and three u32 vertex indices. Strips, normals and counters stay in memory.
#include <chrono>
#include <thread>

#include "geometry/trimesh.h"
#include "platform/spool_file.h"

namespace tessera {

// Readers do not exclude each other and never hold the mutex while they work: it only makes their
// appearance atomic against the watcher's. They wait for the watcher by polling.
void CTriMesh::LockShared(int pollMilliseconds) {
    {
        const std::lock_guard<std::mutex> hold(lock_);
        ++readers_;
    }
    while (writers_ > 0) std::this_thread::sleep_for(std::chrono::milliseconds(pollMilliseconds));
    Reload();
}

void CTriMesh::UnlockShared() { --readers_; }

void CTriMesh::SpoolOut(const std::shared_ptr<SpoolFile>& file) {
    {
        // A mesh that is busy, or has nothing to write, is left for another pass.
        const std::lock_guard<std::mutex> hold(lock_);
        if (building_ || writers_ >= 1 || readers_ >= 1 || triangles_.empty()) return;
        ++writers_;
    }
    bool saved = spooled_ && !spoolStale_;
    if (!saved) {
        const long offset = file->Offset();
        const auto vertexCount = static_cast<std::uint32_t>(vertices_.size());
        const auto triangleCount = static_cast<std::uint32_t>(triangles_.size());
        std::vector<std::uint32_t> corners;
        corners.reserve(6 * triangles_.size());
        for (const TriMeshTriangle& t : triangles_) {
            corners.insert(corners.end(), t.normal, t.normal + 3);
            corners.insert(corners.end(), t.vertex, t.vertex + 3);
        }
        saved = file->Write(&vertexCount, sizeof vertexCount) &&
                file->Write(vertices_.data(), sizeof(Vec3) * vertices_.size()) &&
                file->Write(&triangleCount, sizeof triangleCount) &&
                file->Write(corners.data(), sizeof(std::uint32_t) * corners.size()) && file->Flush();
        if (saved) {
            spoolFile_ = file;
            spoolOffset_ = offset;
            spoolStale_ = false;
        }
    }
    if (saved) {  // a mesh that could not be written stays in memory
        spooledVertices_ = static_cast<std::uint32_t>(vertices_.size());
        std::vector<std::uint32_t>().swap(incidentStart_);
        std::vector<TriangleIndex>().swap(incident_);
        std::vector<TriMeshTriangle>().swap(triangles_);
        std::vector<Vec3>().swap(vertices_);
        spooled_ = true;
    }
    --writers_;
}

void CTriMesh::Reload() {
    if (!spooled_ || writers_ > 0 || !triangles_.empty()) return;
    ++writers_;
    ReadRecord();
    --writers_;
}

// The edges come back unclassified: they draw as hard ones until the next classification.
void CTriMesh::ReadRecord() {
    long offset = spoolOffset_;
    const auto read = [&](void* data, std::size_t bytes) {
        const bool done = spoolFile_->Read(offset, data, bytes);
        offset += static_cast<long>(bytes);
        return done;
    };
    std::uint32_t vertexCount = 0, triangleCount = 0;
    std::vector<Vec3> vertices;
    std::vector<std::uint32_t> corners;
    if (!read(&vertexCount, sizeof vertexCount)) return;
    vertices.resize(vertexCount);
    if (!read(vertices.data(), sizeof(Vec3) * vertices.size()) || !read(&triangleCount, sizeof triangleCount)) return;
    corners.resize(6 * static_cast<std::size_t>(triangleCount));
    if (!read(corners.data(), sizeof(std::uint32_t) * corners.size())) return;
    vertices_ = std::move(vertices);
    triangles_.resize(triangleCount);
    const std::uint32_t* next = corners.data();
    for (TriMeshTriangle& t : triangles_) {
        for (std::uint32_t& n : t.normal) n = *next++;
        for (std::uint32_t& v : t.vertex) v = *next++;
        t.flags2 = TriMeshTriangle::kGivenNormals;
    }
    CountIncident();
    LinkAll();
}

}  // namespace tessera
