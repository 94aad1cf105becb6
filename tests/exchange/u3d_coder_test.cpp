// The coder and the blocks of U3D, down to the byte.
#include <cmath>

#include "exchange/u3d/bit_stream.h"
#include "exchange/u3d/u3d_scene.h"
#include "folder.h"

namespace tessera::test {
namespace {

std::string Hex(const U3dBytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) (text += "0123456789abcdef"[byte >> 4]) += "0123456789abcdef"[byte & 15];
    return text;
}

template <class Bytes>
std::uint32_t Crc32(const Bytes& bytes) {
    std::uint32_t crc = ~0u;
    for (const auto byte : bytes) {
        crc ^= static_cast<std::uint8_t>(byte);
        for (int k = 0; k < 8; ++k) crc = crc >> 1 ^ (0xedb88320u & (0 - (crc & 1)));
    }
    return ~crc;
}

std::uint32_t NextRandom(std::uint32_t& state) { return (state = (1103515245u * state + 12345u) & 0x7fffffff) >> 16; }

void PutAll(U3dBitStream& block, std::uint32_t context, std::initializer_list<std::uint32_t> values) {
    for (const std::uint32_t value : values) block.Packed32(context, value);
}

TEST(U3dCoder, WritesContextsThatLearnOrAreFixedOrPlain) {
    U3dBitStream block;
    block.Packed32(1, 0);
    EXPECT_EQ(Hex(block.Finish()), "0000000000000000");
    PutAll(block, 1, {0, 0, 0, 1, 0, 2, 1});
    EXPECT_EQ(Hex(block.Finish()), "00000000bbbb0100e0ef1f00403433000000");
    PutAll(block, 0x403, {0, 1, 2});
    block.Packed32(0x407, 6), block.Packed32(0x401, 0);
    block.Packed32(0x43fe, 16381);
    EXPECT_EQ(Hex(block.Finish()), "1c475f00000000");
    PutAll(block, 0x43ff, {0, 1, 70000});
    EXPECT_EQ(Hex(block.Finish()), "00000000010000007011010000000000");
}

TEST(U3dCoder, MixesPlainValuesWithPackedOnes) {
    U3dBitStream block;
    block.Text("AB");
    block.U32(0x01020304);
    PutAll(block, 0x403, {1});
    block.U8(0x41);
    block.U16(0x1234);
    block.F32(1.5f);
    block.Packed8(20, 5);
    block.Packed16(99, 65535);
    PutAll(block, 21, {65534, 65535, 65535});
    EXPECT_EQ(Hex(block.Finish()), "0200414204030201011dcd1700804a872effabfed5001c55e20054fdab020000000000");
}

TEST(U3dCoder, HalvesWhatItHasLearned) {
    U3dBitStream block;
    std::uint32_t state = 1;
    for (int i = 0; i < 30000; ++i) block.Packed32(21, NextRandom(state) % 300);
    EXPECT_EQ(Crc32(block.Finish()), 0xeeb72ed8u);
    state = 1;
    for (int i = 0; i < 20000; ++i) {
        const std::uint32_t v = NextRandom(state);
        if (i % 4 == 0) block.Packed32(0x400 + 5000, v % 5000);
        if (i % 4 == 1) block.Packed8(15 + v % 5, v >> 8 & 1);
        if (i % 4 == 2) block.U8(v & 255);
        if (i % 4 == 3) block.Packed32(1, v % 3);
    }
    EXPECT_EQ(Crc32(block.Finish()), 0x696648e6u);
}

class U3dFileTest : public FolderTest {
protected:
    U3dFileTest() {
        mesh.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
        mesh.normals.assign(3, {0, 0, 1});
        mesh.colors = {{1, 0.5f, 0.25f, 1}};
        mesh.positionFaces = mesh.normalFaces = {0, 1, 2};
        mesh.colorFaces = {0, 0, 0};
    }
    U3dMesh mesh;
    const U3dMatrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    std::unique_ptr<IU3dScene> file = CreateU3dFile();
};

TEST_F(U3dFileTest, WritesOneTriangleAndAView) {
    const U3dMatrix camera{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0.5f, 0.5f, 5, 1};
    file->CreateViewResource("VR_V", "");
    file->CreateViewNode("V", "", camera, "VR_V", U3dProjection());
    file->CreateMeshResource("T", mesh, 3);
    file->CreateMaterial("T_material", U3dMaterial());
    file->CreateShader("T_shader", "T_material");
    file->AttachShader("T", "T_shader");
    file->CreateModelNode("T_0", "", identity, "T", 3);
    EXPECT_EQ(file->Write(Full("t.u3d")), STATUS_OK);
    EXPECT_EQ(Crc32(Content("t.u3d")), 0xf06ab292u);
}

TEST_F(U3dFileTest, RefusesWhatAFileCannotHold) {
    EXPECT_EQ(file->CreateMeshResource("T", mesh, 0), STATUS_OK);
    EXPECT_EQ(file->CreateMeshResource("T", mesh, 0), STATUS_FAIL);
    for (auto* const faces : {&mesh.positionFaces, &mesh.normalFaces, &mesh.colorFaces}) {
        (*faces)[1] += 3;
        EXPECT_EQ(file->CreateMeshResource("U", mesh, 0), STATUS_FAIL);
        (*faces)[1] -= 3;
    }
    mesh.positions[2].y = NAN;
    EXPECT_EQ(file->CreateMeshResource("U", mesh, 3), STATUS_FAIL);
    EXPECT_EQ(file->CreateModelNode("N", "", U3dMatrix{INFINITY}, "T", 3), STATUS_FAIL);
    EXPECT_EQ(file->CreateModelNode("N", "", identity, "T", 3), STATUS_OK);
    EXPECT_EQ(file->CreateViewNode("N", "", identity, "R", U3dProjection()), STATUS_FAIL);
}

}  // namespace
}  // namespace tessera::test
