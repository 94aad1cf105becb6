// The 3DG file: the tree, the table of normals, and every part once. All numbers are little-endian and packed. The
// elements and levels of a part are what Import3DGPartElements reads at the same version, and the table is what
// ImportTriNormals reads; the tree is for the host to read.
#include <cstdio>
#include <cstring>

#include "exchange/graphic_stream.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "platform/output_file.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

constexpr std::uint16_t kFileVersion = 719;
constexpr std::size_t kPolyLinePointRecord = 13;

template <class T>
void Put(OutputFile& file, const T& value) {
    file.Write(&value, sizeof value);
}

void PutTag(OutputFile& file, StreamTag tag) { Put(file, static_cast<std::uint8_t>(tag)); }
void PutCount(OutputFile& file, std::size_t count) { Put(file, static_cast<std::uint32_t>(count)); }

void PutText(OutputFile& file, const String& text) {
    const std::string bytes = ToCodePage(text);
    PutCount(file, bytes.size());
    file.Write(bytes.data(), bytes.size());
}

void PutMatrix(OutputFile& file, const CMatrix& matrix) { file.Write(matrix.Forward(), 16 * sizeof(double)); }

void PutBlock(OutputFile& file, const MeshBlock& block) {
    std::size_t strips = 0, vertices = 0;
    for (; strips < block.strips.size() && block.strips[strips] > 0; ++strips)
        vertices += static_cast<std::size_t>(block.strips[strips]);
    PutTag(file, TagMeshBlock);
    Put(file, block.color);
    Put(file, static_cast<std::uint8_t>(block.useVertexArray ? 1 : 0));
    PutCount(file, 6 * vertices);
    file.Write(block.vertices.data(), 6 * vertices * sizeof(float));
    PutCount(file, strips + 1);
    file.Write(block.strips.data(), strips * sizeof(std::int32_t));
    Put(file, std::int32_t{0});
}

}  // namespace

bool WriteTDPMFile(const String& path, CNode& root, const TriNormalTable& normals) {
    OutputFile file(path);
    if (!file.IsOpen()) return false;
    char head[9];
    std::snprintf(head, sizeof head, "3DG%05d", kFileVersion);
    file.Write(head, 8);
    Put(file, kFileVersion);
    root.WriteTDPMTree(file);
    PutTag(file, TagEndOfTree);
    PutCount(file, normals.Count());
    file.Write(normals.Data(), sizeof(Vec3) * normals.Count());
    root.ClearWrittenMark();
    root.WriteTDPMParts(file);
    root.ClearWrittenMark();
    PutTag(file, TagEndOfFile);
    return file.Commit();
}

// Explode transforms are not kept: the second matrix is the identity.
void CNode::WriteTDPMTree(OutputFile& file) const {
    PutText(file, name_);
    PutText(file, userName);
    PutText(file, propertyString);
    Put(file, static_cast<std::uint32_t>(mirrored));
    PutMatrix(file, transform);
    PutMatrix(file, CMatrix());
}

// The root has no record of its own.
void CAssembly::WriteTDPMTree(OutputFile& file) const {
    if (parent) {
        PutTag(file, TagAssembly);
        CNode::WriteTDPMTree(file);
    }
    for (const CNode* child : children_) child->WriteTDPMTree(file);
    if (parent) PutTag(file, TagEndOfAssembly);
}

void CPartInstance::WriteTDPMTree(OutputFile& file) const {
    if (!part_) return;
    PutTag(file, TagPartInstance);
    CNode::WriteTDPMTree(file);
    PutCount(file, static_cast<std::uint32_t>(part_->id));
    PutTag(file, TagEndOfPartInstance);
}

void CAssembly::WriteTDPMParts(OutputFile& file) {
    for (CNode* child : children_) child->WriteTDPMParts(file);
}

void CPartInstance::WriteTDPMParts(OutputFile& file) {
    if (!part_ || part_->writtenMark) return;
    part_->writtenMark = true;
    PutTag(file, TagPart);
    part_->WriteTDPM(file);
    PutTag(file, TagEndOfPartRecord);
}

void CAssembly::ClearWrittenMark() {
    for (CNode* child : children_) child->ClearWrittenMark();
}

void CPartInstance::ClearWrittenMark() {
    if (part_) part_->writtenMark = false;
}

void CPart::WriteTDPM(OutputFile& file) const {
    Put(file, static_cast<std::uint32_t>(id));
    PutText(file, name);
    for (const Color& color : {externalColor, internalColor, borderColor, edgeColor}) Put(file, color);
    Put(file, alpha);
    Put(file, static_cast<std::uint32_t>(sectionPlaneOn));
    Put(file, static_cast<std::uint32_t>(cappingEnabled));
    for (const auto& element : elements_) element->WriteTDPM(file);
    for (const LodGroup& group : lodGroups) {
        PutTag(file, TagLodGroup);
        for (const MeshBlock& block : group.blocks) PutBlock(file, block);
        PutTag(file, TagEndOfLodGroup);
    }
    PutTag(file, TagEndOfPart);
}

// A spooled mesh is back in memory from then on.
void CTriMesh::WriteTDPM(OutputFile& file) {
    const ReadLock lock(*this);
    PutTag(file, TagTriMesh);
    Put(file, externalColor);
    Put(file, internalColor);
    PutCount(file, vertices_.size());
    file.Write(vertices_.data(), sizeof(Vec3) * vertices_.size());
    PutTag(file, TagEndOfRecords);
    PutCount(file, triangles_.size());
    std::vector<std::uint32_t> corners;
    for (std::size_t first = 0; first < triangles_.size(); first += kTrianglesAtOnce) {
        PackCorners(first, corners);
        file.Write(corners.data(), sizeof(std::uint32_t) * corners.size());
    }
}

void CPolyLine::WriteTDPM(OutputFile& file) {
    PutTag(file, TagPolyLine);
    Put(file, externalColor);
    PutCount(file, points_.size());
    std::vector<unsigned char> packed(kPolyLinePointRecord * points_.size());
    unsigned char* next = packed.data();
    for (const PolyLinePoint& p : points_) {
        std::memcpy(next, &p.position, sizeof p.position);
        next[sizeof p.position] = p.stipple;
        next += kPolyLinePointRecord;
    }
    file.Write(packed.data(), packed.size());
}

void CPointSet::WriteTDPM(OutputFile& file) {
    PutTag(file, TagPointSet);
    Put(file, externalColor);
    PutCount(file, points_.size());
    file.Write(points_.data(), sizeof(Vec3) * points_.size());
}

}  // namespace tessera
