#pragma once

#include <stdexcept>
#include <string>

namespace tessera::host {

// What went wrong, as one line for a person to read. Every failure of this library arrives as this exception.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string& reason) : std::runtime_error(reason) {}
    // A failure that concerns one file reads "FILE: reason".
    Failure(const std::string& file, const std::string& reason) : std::runtime_error(file + ": " + reason) {}
};

}  // namespace tessera::host
