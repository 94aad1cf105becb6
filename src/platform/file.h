// Files by name.
#pragma once

#include <cstdint>
#include <vector>

#include "platform/text.h"

namespace tessera {

// False if the file cannot be opened or read to its end. Raises std::bad_alloc where it does not fit memory.
bool ReadWholeFile(const String& path, std::vector<std::uint8_t>& data);

}  // namespace tessera
