// What the coder of U3D files writes, a decoder that shares nothing with it reads back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "exchange/u3d/bit_stream.h"
#include "exchange/u3d_decoder.h"

namespace {

// Six bytes each: how to write, the context, and the value.
struct Step {
    int kind;
    std::uint32_t context, value;
};

std::vector<Step> StepsFrom(const std::uint8_t* data, std::size_t size) {
    std::vector<Step> steps;
    for (; size >= 6; data += 6, size -= 6) {
        Step step{data[0] % 4, data[1] | std::uint32_t{data[2]} << 8,
                  data[3] | std::uint32_t{data[4]} << 8 | std::uint32_t{data[5]} << 24};
        step.context %= 0x4410;
        if (step.context <= tessera::kU3dFixedContext) step.context %= 24;  // few that learn, and those much
        const std::uint32_t symbols = step.context > 0x400 && step.context < 0x43ff ? step.context - 0x400 : 0;
        if (symbols > 0) step.value %= symbols;
        if (step.kind == 0) step.value &= 0xff;
        if (step.kind == 1) step.value &= 0xffff;
        if (step.value == 0xffffffff) step.value = 0;
        steps.push_back(step);
    }
    return steps;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<Step> steps = StepsFrom(data, size);
    tessera::U3dBitStream out;
    for (const Step& s : steps) {
        switch (s.kind) {
            case 0: out.Packed8(s.context, static_cast<std::uint8_t>(s.value)); break;
            case 1: out.Packed16(s.context, static_cast<std::uint16_t>(s.value)); break;
            case 2: out.Packed32(s.context, s.value); break;
            default: out.U32(s.value); break;
        }
    }
    const auto bytes = out.Finish();
    const std::vector<unsigned char> file(bytes.begin(), bytes.end());
    tessera::test::U3dBitReader in(file, 0, file.size());
    for (const Step& s : steps) {
        const std::uint32_t got = s.kind == 0   ? in.Compressed8(s.context)
                                  : s.kind == 1 ? in.Compressed16(s.context)
                                  : s.kind == 2 ? in.Compressed32(s.context)
                                                : in.U32();
        if (got != s.value) std::abort();
    }
    in.End();
    return 0;
}
