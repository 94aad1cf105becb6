// The graphic stream of a 3DG file, as the host holds it in memory.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "component/vector3.h"
#include "geometry/element.h"

namespace tessera {

// Version of the streams that hosts are about to import, for all components of the process.
extern int g_tdgImportVer;

// The first versions with one-byte tags, with triangles that hold indices into the table of normals, with levels of
// detail and a closing tag, and with a second colour of meshes.
constexpr int kByteTags = 423, kNormalIndices = 424, kLevels = 448, kTwoColors = 719;

enum StreamTag : std::uint8_t {
    TagPart = 1,
    TagEndOfPartRecord = 2,
    TagTriMesh = 3,
    TagEndOfFile = 6,
    TagPolyLine = 7,
    TagPointSet = 8,
    TagAssembly = 9,
    TagEndOfAssembly = 10,
    TagPartInstance = 11,
    TagEndOfPartInstance = 12,
    TagEndOfTree = 13,
    TagEndOfRecords = 15,
    TagLodGroup = 16,
    TagEndOfPart = 17,
    TagMeshBlock = 18,
    TagEndOfLodGroup = 19,
};

// A position in a packed, little-endian stream. The stream has no length but what its content tells, and is trusted.
class GraphicStream {
public:
    explicit GraphicStream(const unsigned char* position) : position_(position) {}

    const unsigned char* Position() const { return position_; }
    std::uint8_t Peek() const { return *position_; }
    void Skip(std::size_t bytes) { position_ += bytes; }
    void Read(void* out, std::size_t bytes) {
        if (bytes > 0) std::memcpy(out, position_, bytes);
        position_ += bytes;
    }
    std::uint8_t ReadByte() { return *position_++; }
    std::uint32_t ReadCount() {
        std::uint32_t count = 0;
        Read(&count, sizeof count);
        return count;
    }
    Vec3 ReadVec3() {
        Vec3 v;
        Read(&v, sizeof v);
        return v;
    }
    Color ReadColor() {
        const Vec3 v = ReadVec3();
        return {v.x, v.y, v.z};
    }

private:
    static_assert(std::endian::native == std::endian::little && sizeof(Vec3) == 12);

    const unsigned char* position_;
};

}  // namespace tessera
