#pragma once

#include <string>

#include "offscreen_context.h"

namespace tessera::host {

// Writes beside `path` and renames, so that a picture is there whole or not at all. Throws Failure.
void WritePng(const std::string& path, const Image& image);

// Throws Failure.
Image ReadPng(const std::string& path);

}  // namespace tessera::host
