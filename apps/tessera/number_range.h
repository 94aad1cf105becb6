#pragma once

#include <CLI/CLI.hpp>
#include <sstream>
#include <string>

namespace tessera::cli {

// Lets numbers from low to high pass, and no NaN.
inline CLI::Validator Between(double low, double high) {
    return CLI::Validator(
        [low, high](const std::string& text) {
            double value = 0;
            const bool fits = CLI::detail::lexical_cast(text, value) && value >= low && value <= high;
            std::ostringstream wanted;
            wanted << "wants a number from " << low << " to " << high << ", not \"" << text << "\"";
            return fits ? std::string() : wanted.str();
        },
        "");
}

}  // namespace tessera::cli
