// What a host does with a scene, in one go.
#pragma once

#include <vector>

namespace tessera::test {

// Loads a 3DG file of these bytes, if it is not refused, and measures, picks, cuts and writes all of it, drawing aside.
void LoadAndUseAll(std::vector<unsigned char> bytes);

}  // namespace tessera::test
