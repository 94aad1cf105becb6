// Arithmetic coding with 16-bit ends. The rounding of every division is part of the format.
#include "exchange/u3d/bit_stream.h"

#include <algorithm>
#include <array>
#include <bit>

namespace tessera {
namespace {

constexpr std::uint32_t kPlainContext = 0x43ff;  // from here on a value has too many symbols for the coder
constexpr std::uint32_t kLargestTotal = 0x1fff;
constexpr std::size_t kFirstSymbols = 16;

constexpr std::array<std::uint8_t, 256> kReversed = [] {
    std::array<std::uint8_t, 256> table{};
    for (unsigned i = 0; i < 256; ++i)
        for (unsigned bit = 0; bit < 8; ++bit)
            if ((i >> bit & 1) != 0) table[i] = static_cast<std::uint8_t>(table[i] | 0x80u >> bit);
    return table;
}();

}  // namespace

U3dFrequencies::U3dFrequencies() : counts_(kFirstSymbols) {
    counts_[0] = 1;
    Rebuild();
}

void U3dFrequencies::Rebuild() {
    sums_.assign(counts_.size() + 1, 0);
    for (std::size_t i = 1; i < sums_.size(); ++i) {
        sums_[i] = static_cast<std::uint16_t>(sums_[i] + counts_[i - 1]);
        const std::size_t next = i + (i & (0 - i));
        if (next < sums_.size()) sums_[next] = static_cast<std::uint16_t>(sums_[next] + sums_[i]);
    }
}

std::uint32_t U3dFrequencies::Below(std::uint32_t symbol) const {
    std::uint32_t sum = 0;
    for (; symbol != 0; symbol &= symbol - 1) sum += sums_[symbol];
    return sum;
}

void U3dFrequencies::Halve() {
    total_ = 1;
    for (std::uint16_t& count : counts_) {
        count = static_cast<std::uint16_t>(count / 2);
        total_ += count;
    }
    ++counts_[0];
    Rebuild();
}

void U3dFrequencies::Add(std::uint32_t symbol) {
    if (symbol > kLastSymbol) return;
    if (total_ >= kLargestTotal) Halve();
    if (symbol >= counts_.size()) {
        counts_.resize(std::bit_ceil(static_cast<std::size_t>(symbol) + 1));
        Rebuild();
    }
    ++counts_[symbol];
    ++total_;
    for (std::size_t i = std::size_t{symbol} + 1; i < sums_.size(); i += i & (0 - i)) ++sums_[i];
}

void U3dBitStream::Emit(std::uint32_t bits, std::uint32_t count) {
    word_ |= std::uint64_t{bits} << filled_;
    filled_ += count;
    if (filled_ < 32) return;
    const auto whole = static_cast<std::uint32_t>(word_);
    const auto* const first = reinterpret_cast<const std::uint8_t*>(&whole);
    bytes_.insert(bytes_.end(), first, first + sizeof whole);
    word_ >>= 32;
    filled_ -= 32;
}

// The upper bits of low, the highest first; the postponed ones follow the first.
void U3dBitStream::EmitTop(std::uint32_t count) {
    const std::uint32_t bits = std::uint32_t{kReversed[low_ >> 8]} | std::uint32_t{kReversed[low_ & 0xff]} << 8;
    if (pending_ == 0) return Emit(bits & ((1u << count) - 1), count);
    Emit(bits & 1, 1);
    const std::uint32_t opposite = (bits & 1) != 0 ? 0 : 0xffff;
    for (; pending_ > 16; pending_ -= 16) Emit(opposite, 16);
    Emit(opposite & ((1u << pending_) - 1), pending_);
    pending_ = 0;
    Emit(bits >> 1 & ((1u << (count - 1)) - 1), count - 1);
}

// Takes the new ends, and shifts out the bits in which they agree. Where they differ as 0111... and 1000... bits are
// only counted: what they are shows later.
void U3dBitStream::Narrow(std::uint32_t low, std::uint32_t high) {
    low_ = low;
    high_ = high;
    const auto same = static_cast<std::uint32_t>(std::countl_zero(static_cast<std::uint16_t>(low ^ high)));
    if (same != 0) {
        EmitTop(same);
        low_ = low_ << same & 0xffff;
        high_ = (high_ << same & 0xffff) | ((1u << same) - 1);
    }
    const auto close = static_cast<std::uint32_t>(std::countl_one(static_cast<std::uint16_t>((low_ & ~high_) << 1)));
    if (close == 0) return;
    pending_ += close;
    low_ = low_ << close & 0x7fff;
    high_ = (high_ << close & 0x7fff) | 0x8000 | ((1u << close) - 1);
}

void U3dBitStream::Encode(std::uint32_t below, std::uint32_t frequency, std::uint32_t total) {
    const std::uint32_t range = high_ - low_ + 1;
    Narrow(low_ + range * below / total, low_ + range * (below + frequency) / total - 1);
}

// Bytes count as symbols too, with their bits reversed; that leaves them as they are as long as nothing is packed.
void U3dBitStream::Raw(const void* data, std::size_t bytes) {
    const auto* const first = static_cast<const std::uint8_t*>(data);
    if (AtStart() && filled_ == 0) {
        bytes_.insert(bytes_.end(), first, first + bytes);
        return;
    }
    for (const std::uint8_t* byte = first; byte != first + bytes; ++byte) {
        const std::uint32_t symbol = kReversed[*byte], range = high_ - low_ + 1;
        Narrow(low_ + (range * symbol >> 8), low_ + (range * (symbol + 1) >> 8) - 1);
    }
}

void U3dBitStream::Text(const std::string& text) {
    U16(static_cast<std::uint16_t>(text.size()));
    Raw(text.data(), text.size());
}

void U3dBitStream::Packed(std::uint32_t context, std::uint32_t value, std::size_t bytes) {
    packed_ = true;
    if (context == 0 || context >= kPlainContext) return Raw(&value, bytes);
    if (context > kU3dFixedContext) return Encode(value, 1, context - kU3dFixedContext);
    if (learned_.empty()) learned_.resize(kU3dFixedContext + 1);
    std::unique_ptr<U3dFrequencies>& frequencies = learned_[context];
    if (!frequencies) frequencies = std::make_unique<U3dFrequencies>();
    Learned(*frequencies, value, bytes);
}

void U3dBitStream::Learned(U3dFrequencies& frequencies, std::uint32_t value, std::size_t bytes) {
    const std::uint32_t symbol = value + 1, count = frequencies.Of(symbol);
    if (count != 0) {
        Encode(frequencies.Below(symbol), count, frequencies.Total());
    } else {
        Encode(0, frequencies.Of(0), frequencies.Total());
        frequencies.Add(0);
        Raw(&value, bytes);
    }
    frequencies.Add(symbol);
}

U3dBytes U3dBitStream::Finish() {
    if (packed_) U32(0);  // lets a reader settle the last symbols
    for (; filled_ > 0; filled_ -= std::min(filled_, 8u), word_ >>= 8)
        bytes_.push_back(static_cast<std::uint8_t>(word_));
    U3dBytes result = std::move(bytes_);
    *this = U3dBitStream();
    return result;
}

}  // namespace tessera
