// What the coder of U3D files writes, a decoder that shares nothing with it reads back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "exchange/u3d/bit_stream.h"
#include "u3d_bit_reader.h"

using tessera::U3dBitStream;
using tessera::host::U3dBitReader;

namespace {

// Six bytes each: how to write, the context, and the value.
struct Step {
    int kind;
    std::uint32_t context, value;
};

Step StepFrom(const std::uint8_t* data) {
    Step step{data[0] % 4, (data[1] | std::uint32_t{data[2]} << 8) % 0x4410,
              data[3] | std::uint32_t{data[4]} << 8 | std::uint32_t{data[5]} << 24};
    if (step.context <= tessera::kU3dFixedContext) step.context %= 24;  // few that learn, and those much
    if (step.context > 0x400 && step.context < 0x43ff) step.value %= step.context - 0x400;
    if (step.kind < 2) step.value &= step.kind == 0 ? 0xff : 0xffff;
    if (step.value == 0xffffffff) step.value = 0;
    return step;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::vector<Step> steps;
    for (; size >= 6; data += 6, size -= 6) steps.push_back(StepFrom(data));
    U3dBitStream out;
    for (const auto& [kind, context, value] : steps) {
        if (kind == 0) out.Packed8(context, static_cast<std::uint8_t>(value));
        if (kind == 1) out.Packed16(context, static_cast<std::uint16_t>(value));
        if (kind == 2) out.Packed32(context, value);
        if (kind == 3) out.U32(value);
    }
    const auto bytes = out.Finish();
    const std::vector<unsigned char> file(bytes.begin(), bytes.end());
    U3dBitReader in(file, 0, file.size());
    for (const auto& [kind, context, value] : steps) {
        const std::uint32_t got = kind == 0   ? in.Compressed8(context)
                                  : kind == 1 ? in.Compressed16(context)
                                  : kind == 2 ? in.Compressed32(context)
                                              : in.U32();
        if (got != value) std::abort();
    }
    in.End();
    return 0;
}
