// The bits of one block: plain values, and values that an arithmetic coder packs.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tessera {

using U3dBytes = std::vector<std::uint8_t>;

// Contexts up to this one learn how often each value occurs; the numbers above it stand for a fixed count of values.
constexpr std::uint32_t kU3dFixedContext = 0x400;

// How often each symbol of one context has been met: symbol 0 announces a value that is not known yet, and s > 0 is
// the value s - 1. Sums over all smaller symbols take logarithmic time, since there may be 65,536 symbols.
class U3dFrequencies {
public:
    static constexpr std::uint32_t kLastSymbol = 0xffff;

    U3dFrequencies();
    std::uint32_t Total() const { return total_; }
    std::uint32_t Of(std::uint32_t symbol) const { return symbol < counts_.size() ? counts_[symbol] : 0; }
    // Only for symbols that have been met.
    std::uint32_t Below(std::uint32_t symbol) const;
    void Add(std::uint32_t symbol);

private:
    void Halve();
    void Rebuild();

    std::vector<std::uint16_t> counts_, sums_;  // sums_ is a binary indexed tree over counts_
    std::uint32_t total_ = 1;
};

class U3dBitStream {
public:
    void Reserve(std::size_t bytes) { bytes_.reserve(bytes); }
    void U8(std::uint8_t value) { Raw(&value, 1); }
    void U16(std::uint16_t value) { Raw(&value, sizeof value); }
    void U32(std::uint32_t value) { Raw(&value, sizeof value); }
    void F32(float value) { Raw(&value, sizeof value); }
    // At most 65,535 bytes.
    void Text(const std::string& text);
    // Values of the same layout as in the file.
    void Raw(const void* data, std::size_t bytes);
    void Packed8(std::uint32_t context, std::uint8_t value) { Packed(context, value, 1); }
    void Packed16(std::uint32_t context, std::uint16_t value) { Packed(context, value, 2); }
    // Not for 0xffffffff in a context that learns.
    void Packed32(std::uint32_t context, std::uint32_t value) { Packed(context, value, 4); }
    // Closes the block; the stream is then as new.
    U3dBytes Finish();

private:
    void Packed(std::uint32_t context, std::uint32_t value, std::size_t bytes);
    void Learned(U3dFrequencies& frequencies, std::uint32_t value, std::size_t bytes);
    bool AtStart() const { return low_ == 0 && high_ == 0xffff && pending_ == 0; }
    void Encode(std::uint32_t below, std::uint32_t frequency, std::uint32_t total);
    void Narrow(std::uint32_t low, std::uint32_t high);
    void EmitTop(std::uint32_t count);
    void Emit(std::uint32_t bits, std::uint32_t count);

    U3dBytes bytes_;
    std::uint64_t word_ = 0;  // bits that fill no 32 yet, the first one lowest
    std::uint32_t filled_ = 0;
    std::uint32_t low_ = 0, high_ = 0xffff, pending_ = 0;
    bool packed_ = false;
    std::vector<std::unique_ptr<U3dFrequencies>> learned_;  // by context
};

}  // namespace tessera
