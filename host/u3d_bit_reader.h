#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace tessera::host {

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

}  // namespace tessera::host
