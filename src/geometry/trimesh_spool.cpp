// The lock that keeps the memory watcher off a mesh in use, and the mesh's record in a spool file.
//
// Record: u32 vertex count, the vertices as three f32, u32 triangle count, for each triangle three u32 normal
// indices, three u32 vertex indices, three u32 neighbours and its flags, u32 count of strip floats and the floats, u32
// count of strip lengths and the lengths; the uses of the vertices follow in the same way, unless the mesh is to be
// linked anew. All stand as in memory, so that they can be used where they are. Normals and counters stay in memory.
#include <algorithm>

#include "geometry/trimesh.h"
#include "platform/spool_file.h"

namespace tessera {
namespace {

template <class T>
bool WriteArray(SpoolFile& file, const MeshArray<T>& array) {
    const auto count = static_cast<std::uint32_t>(array.size());
    return file.Write(&count, sizeof count) && file.Write(array.data(), sizeof(T) * array.size());
}

}  // namespace

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
        saved = file->Flush(offset, WriteRecord(*file));
        if (saved) {
            spoolFile_ = file;
            spoolOffset_ = offset;
            spoolBytes_ = static_cast<std::size_t>(file->Offset() - offset);
            spoolStale_ = false;
        }
    }
    if (saved) {  // a mesh that could not be written stays in memory
        spooledVertices_ = static_cast<std::uint32_t>(vertices_.size());
        ReleaseArrays();
        spooled_ = true;
    }
}

bool CTriMesh::WriteRecord(SpoolFile& file) const {
    const auto count = static_cast<std::uint32_t>(triangles_.size());
    if (!WriteArray(file, vertices_) || !file.Write(&count, sizeof count)) return false;
    std::vector<TriMeshTriangle> block;
    for (std::size_t first = 0; first < triangles_.size(); first += kTrianglesAtOnce) {
        const std::size_t last = std::min(first + kTrianglesAtOnce, triangles_.size());
        block.assign(triangles_.begin() + first, triangles_.begin() + last);
        for (TriMeshTriangle& t : block) {
            t.flags = linksAnew_ ? TriMeshTriangle::kLinked : 0;
            t.flags2 = TriMeshTriangle::kGivenNormals;
            if (!linksAnew_) std::fill_n(t.neighbour, 3, kNoTriangle);
        }
        if (!file.Write(block.data(), sizeof(TriMeshTriangle) * block.size())) return false;
    }
    if (!WriteArray(file, stripVertices_) || !WriteArray(file, stripLengths_)) return false;
    return !linksAnew_ || (WriteArray(file, incidentStart_) && WriteArray(file, incident_));
}

void CTriMesh::ReleaseArrays() {
    vertices_.Free();
    triangles_.Free();
    incidentStart_.Free();
    incident_.Free();
    stripVertices_.Free();
    stripLengths_.Free();
    spoolView_.reset();
}

void CTriMesh::Reload() {
    if (!spooled_ || spoolStale_ || writers_ > 0 || !triangles_.empty()) return;
    ++writers_;
    const WriteMark mark(writers_);
    ReadRecord();
}

// The edges come back unclassified: they draw as hard ones until the next classification.
void CTriMesh::ReadRecord() {
    spoolView_ = spoolFile_->View(spoolOffset_, spoolBytes_);
    if (!spoolView_) return;
    const std::byte* next = spoolView_->Data();
    vertices_.StandAt(next);
    triangles_.StandAt(next);
    stripVertices_.StandAt(next);
    stripLengths_.StandAt(next);
    if (next < spoolView_->Data() + spoolBytes_) {
        incidentStart_.StandAt(next);
        incident_.StandAt(next);
        return;
    }
    try {
        CountIncident();
        LinkAll();
    } catch (...) {  // still on disk, then
        ReleaseArrays();
        throw;
    }
}

}  // namespace tessera
