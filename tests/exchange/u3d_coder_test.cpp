// The coder and the blocks of U3D, down to the byte.
#include <gtest/gtest.h>

#include <cmath>

#include "exchange/u3d/bit_stream.h"
#include "exchange/u3d/u3d_scene.h"

namespace tessera::test {
namespace {

std::string Hex(const U3dBytes& bytes) {
    std::string text;
    for (const std::uint8_t byte : bytes) (text += "0123456789abcdef"[byte >> 4]) += "0123456789abcdef"[byte & 15];
    return text;
}

void PutAll(U3dBitStream& block, std::uint32_t context, std::initializer_list<std::uint32_t> values) {
    for (const std::uint32_t value : values) block.Packed32(context, value);
}

TEST(U3dCoder, WritesContextsThatLearnOrAreFixedOrPlain) {
    U3dBitStream block;
    PutAll(block, 1, {0});
    EXPECT_EQ(Hex(block.Finish()), "0000000000000000");
    PutAll(block, 1, {0, 0, 0, 1, 0, 2, 1});
    EXPECT_EQ(Hex(block.Finish()), "00000000bbbb0100e0ef1f00403433000000");
    PutAll(block, 0x403, {0, 1, 2});
    PutAll(block, 0x407, {6}), PutAll(block, 0x401, {0}), PutAll(block, 0x43fe, {16381});
    EXPECT_EQ(Hex(block.Finish()), "1c475f00000000");
    PutAll(block, 0x43ff, {0, 1, 70000});
    EXPECT_EQ(Hex(block.Finish()), "00000000010000007011010000000000");
    // Plain values between packed ones.
    block.Text("AB"), block.U32(0x01020304);
    PutAll(block, 0x403, {1});
    block.U8(0x41), block.U16(0x1234), block.F32(1.5f);
    block.Packed8(20, 5), block.Packed16(99, 65535);
    PutAll(block, 21, {65534, 65535, 65535});
    EXPECT_EQ(Hex(block.Finish()), "0200414204030201011dcd1700804a872effabfed5001c55e20054fdab020000000000");
}

TEST(U3dFile, RefusesWhatAFileCannotHold) {
    U3dMesh mesh;
    mesh.positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
    mesh.normals.assign(3, {0, 0, 1});
    mesh.colors = {{1, 0.5f, 0.25f, 1}};
    mesh.positionFaces = mesh.normalFaces = {0, 1, 2};
    mesh.colorFaces = {0, 0, 0};
    const U3dMatrix identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    const std::unique_ptr<IU3dScene> file = CreateU3dFile();
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
