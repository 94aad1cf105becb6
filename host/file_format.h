#pragma once

#include <cstdint>
#include <string>

namespace tessera::host {

enum class FileFormat { kStlBinary, kStlText, kObj, kPly, kOff, kGlb, kGltf, k3ds, kCollada, kTdpm, kU3d };

// "binary STL" and the like.
const char* FormatName(FileFormat format);
// The file name extension that the format's reader goes by, without the dot.
const char* FormatExtension(FileFormat format);

// Tells the format of a model file from its content, or from its name where the content has no mark of its own, and
// refuses a file whose own header tells that it cannot be whole: readers allocate by such counts. Throws Failure.
FileFormat IdentifyFile(const std::string& path);

// Bytes of a file that IdentifyFile accepted.
std::uint64_t FileSize(const std::string& path);

}  // namespace tessera::host
