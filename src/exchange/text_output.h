// Text with numbers, as C's printf writes them in its own locale.
#pragma once

#include <cstdint>
#include <string_view>

#include "platform/output_file.h"

namespace tessera {

// Gathers text and hands it on in large pieces. The file must outlive it.
class TextOutput {
public:
    explicit TextOutput(OutputFile& file) : file_(file) {}
    ~TextOutput() { Flush(); }
    TextOutput(const TextOutput&) = delete;
    TextOutput& operator=(const TextOutput&) = delete;

    TextOutput& Text(std::string_view text);
    // "%d" of what is not negative.
    TextOutput& Integer(std::uint32_t value);
    // "%.Df" of a number, with D decimals from 1 to 6.
    TextOutput& Fixed(float value, int decimals);
    TextOutput& Fixed(double value, int decimals);
    void Flush();

private:
    static constexpr std::size_t kSize = 1 << 16;

    // At least so many free bytes.
    char* Room(std::size_t bytes);

    OutputFile& file_;
    char buffer_[kSize];
    std::size_t used_ = 0;
};

}  // namespace tessera
