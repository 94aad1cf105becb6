#pragma once

#include <iterator>
#include <sstream>
#include <string>
#include <vector>

// The arguments of a command, told apart by blanks.
inline std::vector<std::string> Words(const std::string& text) {
    std::istringstream in(text);
    return {std::istream_iterator<std::string>(in), {}};
}
