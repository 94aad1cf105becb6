// The elements of a part from a graphic stream.
#include "exchange/graphic_stream.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "scene/part.h"

namespace tessera {

bool g_lodsPresent = false;

namespace {

// Ends the list where a strip would reach beyond the vertices.
void CutStrips(MeshBlock& block) {
    std::size_t left = block.vertices.size() / 6, kept = 0;
    for (const std::int32_t length : block.strips) {
        if (length <= 0 || static_cast<std::size_t>(length) > left) break;
        left -= static_cast<std::size_t>(length);
        ++kept;
    }
    block.strips.resize(kept);
    block.strips.push_back(0);
}

MeshBlock ReadBlock(GraphicStream& stream) {
    MeshBlock block;
    stream.Read(block.color, sizeof block.color);
    block.useVertexArray = stream.ReadByte() != 0;
    block.vertices.resize(stream.ReadCount());
    stream.Read(block.vertices.data(), sizeof(float) * block.vertices.size());
    block.strips.resize(stream.ReadCount());
    stream.Read(block.strips.data(), sizeof(std::int32_t) * block.strips.size());
    CutStrips(block);
    return block;
}

}  // namespace

// Gives false where a tag names nothing; the stream then stands on it.
bool CPart::ReadStream(GraphicStream& stream) {
    const std::lock_guard<std::mutex> hold(lock_);
    cachedVolume = 0;
    const std::size_t tagSize = g_tdgImportVer < kByteTags ? 4 : 1;
    for (bool first = true;; first = false) {
        switch (const std::uint8_t tag = stream.Peek()) {
            case TagTriMesh:
            case TagPolyLine:
            case TagPointSet:
                stream.Skip(tagSize);
                ReadElement(tag, stream);
                break;
            case TagLodGroup:
                if (g_tdgImportVer < kLevels) return !first;
                stream.Skip(1);
                ReadLodGroups(stream);
                break;
            case TagEndOfPart:
                if (g_tdgImportVer < kLevels) return !first;
                stream.Skip(1);
                return true;
            // Before there was a closing tag the first byte that opens no element closed the list.
            default: return g_tdgImportVer < kLevels && !first;
        }
    }
}

// The simple shade mode is not handed on before its next change.
void CPart::ReadElement(std::uint8_t tag, GraphicStream& stream) {
    std::unique_ptr<CElement> element;
    if (tag == TagTriMesh)
        element = std::make_unique<CTriMesh>(triNormals_);
    else if (tag == TagPolyLine)
        element = std::make_unique<CPolyLine>();
    else
        element = std::make_unique<CPointSet>();
    GiveColors(*element);
    element->SetThresholdAngle(thresholdAngle);
    element->SetPointTolerance(pointTolerance);
    if (alpha < kAlphaLimit) element->alpha = alpha;
    element->shadeMode = shadeMode;
    element->optionsShadeMode = optionsShadeMode;
    element->viewingType = viewingType;
    element->ReadStream(stream);
    elements_.push_back(std::move(element));
}

// One group after the other, up to the tag that closes the part.
void CPart::ReadLodGroups(GraphicStream& stream) {
    for (;;) {
        LodGroup group;
        while (stream.ReadByte() != TagEndOfLodGroup) {
            g_lodsPresent = true;
            group.blocks.push_back(ReadBlock(stream));
        }
        lodGroups.push_back(std::move(group));
        if (stream.Peek() == TagEndOfPart) return;
        stream.Skip(1);
    }
}

}  // namespace tessera
