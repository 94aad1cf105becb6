// Reads U3D files back with none of the engine's own code, so that writer and decoder can't share a mistake. It
// knows what the engine writes: triangle meshes with diffuse colours, materials, shaders, model and view nodes.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
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
    U3dBitReader(const std::vector<unsigned char>& file, std::size_t begin, std::size_t end)
        : file_(file), begin_(begin), end_(std::min(end, file.size())), valueAt_(begin) {
        for (int i = 0; i < 16; ++i) value_ = value_ << 1 | NextBit();
    }

    std::uint32_t U8() { return Plain(1); }
    std::uint32_t U16() { return Plain(2); }
    std::uint32_t U32() { return Plain(4); }
    float F32() { return std::bit_cast<float>(U32()); }
    std::string String();
    std::uint32_t Compressed8(std::uint32_t context) { return Compressed(context, 1); }
    std::uint32_t Compressed16(std::uint32_t context) { return Compressed(context, 2); }
    std::uint32_t Compressed32(std::uint32_t context) { return Compressed(context, 4); }

    // The offset in the file; exact while nothing compressed has been read.
    std::size_t Offset() const { return begin_ + Bits() / 8; }

    // The closing word, where there must be one, and the exact end of the data.
    void End() {
        if (compressed_) Require(Plain(4) == 0, "the closing word is not 0");
        valueAt_ = Offset();
        Require((Bits() + 7) / 8 == end_ - begin_, "the block's data go on past their end");
        for (std::size_t bit = Bits(); bit % 8 != 0; ++bit) {
            Require((file_[begin_ + bit / 8] >> bit % 8 & 1) == 0, "the last byte is not filled with zero bits");
        }
    }

    void Require(bool holds, const std::string& otherwise) const {
        if (!holds) throw std::runtime_error("byte " + std::to_string(valueAt_) + ": " + otherwise);
    }
    std::uint32_t Below(std::uint32_t value, std::size_t limit, const std::string& what) const {
        Require(value < limit, what + " " + std::to_string(value) + ", not below " + std::to_string(limit));
        return value;
    }

private:
    // How often each symbol of a context has come, and the sums of 256 symbols each.
    struct Counts {
        std::vector<std::uint32_t> count = std::vector<std::uint32_t>(0x10000),
                                   sums = std::vector<std::uint32_t>(0x100);
        std::uint32_t total = 0;
        void Raise(std::uint32_t symbol, std::uint32_t by) {
            count[symbol] += by;
            sums[symbol / 256] += by;
            total += by;
        }
        void Learn(std::uint32_t symbol) {
            if (symbol > 0xFFFF) return;
            if (total >= 0x1FFF) {
                const std::vector<std::uint32_t> old = count;
                *this = Counts();
                for (std::uint32_t i = 0; i < old.size(); ++i) Raise(i, old[i] / 2);
                Raise(0, 1);
            }
            Raise(symbol, 1);
        }
    };

    // What the writer has emitted: it holds the pending ones back.
    std::size_t Bits() const { return shifts_ - pending_; }
    std::uint32_t NextBit() {
        const std::size_t byte = begin_ + next_ / 8, bit = next_ % 8;
        ++next_;
        return byte < end_ ? file_[byte] >> bit & 1u : 0u;
    }
    std::uint32_t Target(std::uint32_t total) const { return (total * (value_ - low_ + 1) - 1) / (high_ - low_ + 1); }

    void Narrow(std::uint32_t below, std::uint32_t frequency, std::uint32_t total) {
        const std::uint32_t range = high_ - low_ + 1;
        high_ = low_ + range * (below + frequency) / total - 1;
        low_ = low_ + range * below / total;
        for (; (low_ & 0x8000) == (high_ & 0x8000); ++shifts_, pending_ = 0) {
            low_ = low_ << 1 & 0xFFFF;
            high_ = (high_ << 1 & 0xFFFF) | 1;
            value_ = (value_ << 1 & 0xFFFF) | NextBit();
        }
        for (; (low_ & 0x4000) != 0 && (high_ & 0x4000) == 0; ++shifts_, ++pending_) {
            low_ = low_ << 1 & 0x7FFF;
            high_ = (high_ << 1 & 0xFFFF) | 0x8001;
            value_ = (value_ & 0x8000) | (value_ << 1 & 0x7FFE) | NextBit();
        }
        Require(Bits() <= (end_ - begin_) * 8, "the block's data end too early");
    }

    std::uint32_t Plain(int bytes) {
        valueAt_ = Offset();
        std::uint32_t value = 0;
        for (int i = 0; i < bytes; ++i) {
            const std::uint32_t symbol = Target(256);
            Narrow(symbol, 1, 256);
            for (int bit = 0; bit < 8; ++bit) value |= (symbol >> (7 - bit) & 1u) << (8 * i + bit);
        }
        return value;
    }

    std::uint32_t Compressed(std::uint32_t context, int bytes) {
        compressed_ = true;
        if (context == 0 || context >= 0x43FF) return Plain(bytes);
        valueAt_ = Offset();
        if (context > 0x400) {
            const std::uint32_t symbol = Target(context - 0x400);
            Narrow(symbol, 1, context - 0x400);
            return symbol;
        }
        Counts& counts = contexts_[context];
        if (counts.total == 0) counts.Raise(0, 1);
        const std::uint32_t target = Target(counts.total);
        std::uint32_t symbol = 0, below = 0;
        for (; below + counts.sums[symbol / 256] <= target; symbol += 256) below += counts.sums[symbol / 256];
        for (; below + counts.count[symbol] <= target; ++symbol) below += counts.count[symbol];
        Narrow(below, counts.count[symbol], counts.total);
        counts.Learn(symbol);
        if (symbol != 0) return symbol - 1;
        const std::uint32_t value = Plain(bytes);
        Require(value != 0xFFFFFFFF, "a value that has no symbol");
        Require(value >= 0xFFFF || counts.count[value + 1] == 0, "an escape before a value that has a symbol");
        counts.Learn(value + 1);
        return value;
    }

    const std::vector<unsigned char>& file_;
    std::size_t begin_, end_, valueAt_;
    std::size_t next_ = 0, shifts_ = 0, pending_ = 0;  // in bits
    std::uint32_t low_ = 0, high_ = 0xFFFF, value_ = 0;
    bool compressed_ = false;
    std::map<std::uint32_t, Counts> contexts_;
};

}  // namespace tessera::test
