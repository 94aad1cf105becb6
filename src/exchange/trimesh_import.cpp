// A mesh from a graphic stream.
#include <bit>

#include "exchange/graphic_stream.h"
#include "geometry/lod_group.h"
#include "geometry/trimesh.h"

namespace tessera {
namespace {

constexpr std::size_t kTriangleRecord = 24;

}  // namespace

// The colours are stored as they come, however dark.
void CTriMesh::ReadStream(GraphicStream& stream) {
    const ReadLock lock(*this);
    externalColor = internalColor = borderColor = edgeColor = stream.ReadColor();
    if (g_tdgImportVer >= kTwoColors) internalColor = stream.ReadColor();
    ReadVertices(stream);
    // Records of reduced meshes: nothing uses them but the answer to whether there are any.
    while (g_tdgImportVer >= kNormalIndices && stream.ReadByte() != TagEndOfRecords) {
        g_lodsPresent = true;
        stream.Skip(8);
        const std::size_t triangles = stream.ReadCount();
        stream.Skip(kTriangleRecord * triangles);
    }
    ReadTriangles(stream);
    CountIncident();
    LinkAll();
    BuildStrips();
}

// The frame that the box grows from is lower for the greatest z than for the others.
void CTriMesh::ReadVertices(GraphicStream& stream) {
    constexpr auto kHuge = std::bit_cast<float>(0x7f7fc99eu), kLowest = std::bit_cast<float>(0xff7fc99eu),
                   kLowestZ = std::bit_cast<float>(0xfdf0bdc2u);
    vertices_.resize(stream.ReadCount());
    stream.Read(vertices_.ToWrite().data(), sizeof(Vec3) * vertices_.size());
    bounds_ = {kHuge, kLowest, kHuge, kLowest, kHuge, kLowestZ, vertices_.empty() ? 0 : 1};
    for (const Vec3& v : vertices_) bounds_.Add(v);
}

// A triangle that names what is not there is left out.
void CTriMesh::ReadTriangles(GraphicStream& stream) {
    const std::uint32_t count = stream.ReadCount();
    const bool givesVectors = g_tdgImportVer < kNormalIndices;
    if (givesVectors) normals_->BuildGrid();
    const ToleranceScope tolerance(pointTolerance_);
    triangles_.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        TriMeshTriangle t;
        bool known = true;
        if (givesVectors) {
            for (std::uint32_t& n : t.normal) n = normals_->LookUpOrAdd(Normalized(stream.ReadVec3()));
        } else {
            stream.Read(t.normal, sizeof t.normal);
            for (std::uint32_t& n : t.normal) {
                known = known && std::uint64_t{g_triNormalBase} + n < normals_->Count();
                n += g_triNormalBase;
            }
        }
        stream.Read(t.vertex, sizeof t.vertex);
        for (const std::uint32_t v : t.vertex) known = known && v < vertices_.size();
        t.flags2 = TriMeshTriangle::kGivenNormals;
        if (known) triangles_.push_back(t);
    }
    triangleCount_ = static_cast<int>(triangles_.size());
}

}  // namespace tessera
