// How blocks are framed.
#pragma once

#include "exchange/u3d/bit_stream.h"

namespace tessera {

enum U3dBlockType : std::uint32_t {
    U3dFileHeader = 0x00443355,
    U3dModifierChain = 0xffffff14,
    U3dPriorityUpdate = 0xffffff15,
    U3dModelNode = 0xffffff22,
    U3dViewNode = 0xffffff24,
    U3dMeshDeclaration = 0xffffff31,
    U3dBaseMesh = 0xffffff3b,
    U3dProgressiveMesh = 0xffffff3c,
    U3dShadingModifier = 0xffffff45,
    U3dViewResource = 0xffffff52,
    U3dLitTextureShader = 0xffffff53,
    U3dMaterialResource = 0xffffff54,
};

enum class U3dChainType : std::uint32_t { Node = 0, ModelResource = 1 };

// Type, sizes (no metadata), the data, and zeros up to a multiple of four bytes.
void AppendU3dBlock(U3dBytes& out, U3dBlockType type, const U3dBytes& data);
// The same without the data and what follows them.
U3dBytes U3dBlockHead(U3dBlockType type, std::size_t dataSize);
constexpr std::size_t U3dPadding(std::size_t bytes) { return (4 - bytes % 4) % 4; }
// A chain of blocks that stand framed one after another; all of them bear its name.
void AppendU3dChain(U3dBytes& out, const std::string& name, U3dChainType type, std::uint32_t count,
                    const U3dBytes& blocks);

}  // namespace tessera
