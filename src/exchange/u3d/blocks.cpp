#include "exchange/u3d/blocks.h"

namespace tessera {

U3dBytes U3dBlockHead(U3dBlockType type, std::size_t dataSize) {
    U3dBitStream head;
    head.U32(type);
    head.U32(static_cast<std::uint32_t>(dataSize));
    head.U32(0);
    return head.Finish();
}

void AppendU3dBlock(U3dBytes& out, U3dBlockType type, const U3dBytes& data) {
    const U3dBytes head = U3dBlockHead(type, data.size());
    out.insert(out.end(), head.begin(), head.end());
    out.insert(out.end(), data.begin(), data.end());
    out.resize(out.size() + U3dPadding(data.size()));
}

void AppendU3dChain(U3dBytes& out, const std::string& name, U3dChainType type, std::uint32_t count,
                    const U3dBytes& blocks) {
    U3dBitStream chain;
    chain.Text(name);
    chain.U32(static_cast<std::uint32_t>(type));
    chain.U32(0);  // neither sphere nor box
    const std::uint32_t zeros = 0;
    chain.Raw(&zeros, U3dPadding(sizeof(std::uint16_t) + name.size()));
    chain.U32(count);
    chain.Raw(blocks.data(), blocks.size());
    AppendU3dBlock(out, U3dModifierChain, chain.Finish());
}

}  // namespace tessera
