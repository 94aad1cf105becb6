// Reads U3D files back with none of the engine's own code, so that writer and decoder can't share a mistake. It
// knows what the engine writes: triangle meshes with diffuse colours, materials, shaders, model and view nodes.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tessera::test {

struct U3dContent {
    using Vec3 = std::array<float, 3>;
    using Vec4 = std::array<float, 4>;
    using Matrix = std::array<float, 16>;  // for row vectors, row by row
    using Corners = std::array<std::uint32_t, 3>;

    struct Node {
        std::string name, parent;  // the parent "" is the world
        Matrix matrix{};
        std::string resource;
        std::uint32_t visibility = 0;
        std::vector<std::string> shaders;  // of a shading modifier in the node's chain
    };
    struct View {
        std::string name, parent;
        Matrix matrix{};
        std::string resource;
        bool perspective = true;
        float nearClip = 0, farClip = 0;
        float projection = 0;  // vertical field of view in degrees, or height in world units
        Vec4 viewport{};       // width, height, x, y
    };
    struct Face {
        std::uint32_t shading = 0;
        Corners positions{}, normals{}, colors{};
    };
    struct Block {  // one continuation of a mesh; a base mesh starts at 0
        std::uint32_t priority = 0, start = 0, end = 0;
    };
    struct Mesh {
        std::string name;
        bool normalsExcluded = false;
        std::uint32_t faceCount = 0, positionCount = 0, normalCount = 0, colorCount = 0;  // as declared
        std::vector<bool> colored;  // for each shading description: its faces have diffuse colour indices
        std::uint32_t minimum = 0, maximum = 0;
        std::array<std::uint32_t, 3> quality{};
        float positionQuant = 0, normalQuant = 0, colorQuant = 0;
        float crease = 0, update = 0, tolerance = 0;
        std::vector<std::string> shaders;  // of a shading modifier in the mesh's chain
        std::vector<Block> blocks;
        std::vector<Vec3> positions, normals;
        std::vector<Vec4> colors;  // red, green, blue, alpha
        std::vector<Face> faces;
    };
    struct Material {
        std::string name;
        std::uint32_t attributes = 0;
        Vec3 ambient{}, diffuse{}, specular{}, emissive{};
        float reflectivity = 0, opacity = 0;
    };
    struct Shader {
        std::string name;
        std::uint32_t attributes = 0;
        std::string material;
    };
    struct ViewResource {
        std::string name, root;
    };

    // In the order of the file.
    std::vector<Node> nodes;
    std::vector<View> views;
    std::vector<Mesh> meshes;
    std::vector<Shader> shaders;
    std::vector<Material> materials;
    std::vector<ViewResource> viewResources;
};

// Throws std::runtime_error that names the byte, for a breach of the format and for what the engine never writes.
U3dContent DecodeU3d(const std::vector<unsigned char>& bytes);

// The values of one block's data, bytes [begin, end) of a file, which must outlive the reader.
class U3dBitReader {
public:
    U3dBitReader(const std::vector<unsigned char>& file, std::size_t begin, std::size_t end);

    std::uint32_t U8() { return Plain(1); }
    std::uint32_t U16() { return Plain(2); }
    std::uint32_t U32() { return Plain(4); }
    float F32();
    std::string String();
    std::uint32_t Compressed8(std::uint32_t context) { return Compressed(context, 1); }
    std::uint32_t Compressed16(std::uint32_t context) { return Compressed(context, 2); }
    std::uint32_t Compressed32(std::uint32_t context) { return Compressed(context, 4); }

    // The offset in the file; exact while nothing compressed has been read.
    std::size_t Offset() const { return begin_ + Bits() / 8; }
    // The closing word, where there must be one, and the exact end of the data.
    void End();
    void Require(bool holds, const std::string& otherwise) const;
    std::uint32_t Below(std::uint32_t value, std::size_t limit, const std::string& what) const;

private:
    // The counts of one context, and their sums as a binary indexed tree.
    struct Counts {
        std::vector<std::uint16_t> count = std::vector<std::uint16_t>(0x10000), sums = count;
        std::uint32_t total = 0;
        void Raise(std::uint32_t symbol, std::uint32_t by);
        void Learn(std::uint32_t symbol);
        std::uint32_t Find(std::uint32_t& place) const;
    };

    std::size_t Bits() const { return shifts_ - pending_; }
    std::uint32_t NextBit();
    std::uint32_t Target(std::uint32_t total) const;
    void Narrow(std::uint32_t below, std::uint32_t frequency, std::uint32_t total);
    std::uint32_t Plain(int bytes);
    std::uint32_t Compressed(std::uint32_t context, int bytes);

    const std::vector<unsigned char>& file_;
    std::size_t begin_, end_, valueAt_;
    std::size_t next_ = 0, shifts_ = 0, pending_ = 0;  // in bits
    std::uint32_t low_ = 0, high_ = 0xFFFF, value_ = 0;
    bool compressed_ = false;
    std::map<std::uint32_t, Counts> contexts_;
};

}  // namespace tessera::test
