#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "model.h"

namespace tessera::host {

// A record of the tree of a 3DG file. Text is UTF-8.
struct TdpmNode {
    std::size_t at = 0;  // byte where the record begins
    int parent = -1;     // index of a node before this one; -1 for those that stand at the top
    int part = -1;       // index of the part that an instance shows; -1 for an assembly
    std::string name;
    std::string userName;
    std::string properties;
    std::uint32_t mirrored = 0;
    Placement transform{};  // in the parent
};

// Points as they lie in the file, packed: three floats each, at every `stride` bytes.
struct TdpmPoints {
    std::size_t at = 0;
    std::size_t count = 0;
    std::size_t stride = 12;
};

struct TdpmPart {
    std::uint32_t id = 0;  // that instances name it by
    std::string name;
    std::array<float, 3> externalColor{}, internalColor{}, borderColor{}, edgeColor{};
    float alpha = 1;
    std::uint32_t sectionPlaneOn = 0, cappingEnabled = 0;
    std::size_t elementsAt = 0;  // where the engine's import of the elements begins
    std::size_t elementsEnd = 0;
    std::uint64_t meshes = 0, triangles = 0, vertices = 0;
    std::vector<TdpmPoints> points;  // of all elements
};

// A 3DG file of version 719 that has been read and checked whole: every count fits what follows it, every index and
// tag names something, so that the engine, which trusts what it is given, can be given its parts.
class TdpmFile {
public:
    // `name` is what failures call the file. Throws Failure, which tells the byte that is wrong.
    TdpmFile(std::string name, std::vector<unsigned char> bytes);
    // Reads a file. Throws Failure.
    static TdpmFile Read(const std::string& path);

    const std::string& Name() const { return name_; }
    const unsigned char* At(std::size_t place) const { return bytes_.data() + place; }
    // In the order of the file: parents before children.
    const std::vector<TdpmNode>& Nodes() const { return nodes_; }
    // All that instances name, and perhaps more.
    const std::vector<TdpmPart>& Parts() const { return parts_; }
    // Where the table of normals begins, and how many there are.
    std::size_t NormalsAt() const { return normalsAt_; }
    std::uint32_t NormalCount() const { return normalCount_; }

private:
    class Cursor;

    void ReadHead(Cursor& in);
    void ReadTree(Cursor& in);
    void ReadNode(Cursor& in, std::size_t at, int parent);
    void ReadParts(Cursor& in);
    void ReadPart(Cursor& in);
    void CheckElements(Cursor& in, TdpmPart& part) const;
    void CheckMesh(Cursor& in, TdpmPart& part) const;
    void CheckPoints(Cursor& in, TdpmPart& part, std::size_t stride) const;
    void CheckLevels(Cursor& in) const;
    void FindParts();

    std::string name_;
    std::vector<unsigned char> bytes_;
    std::vector<TdpmNode> nodes_;
    std::vector<std::uint32_t> partIds_;  // per node, of those that name a part
    std::vector<TdpmPart> parts_;
    std::size_t normalsAt_ = 0;
    std::uint32_t normalCount_ = 0;
};

}  // namespace tessera::host
