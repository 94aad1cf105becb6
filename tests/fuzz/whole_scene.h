// What a host does with a scene, in one go.
#pragma once

#include <tessera/tessera.h>

namespace tessera::test {

// Measures, picks, cuts and writes all of it, drawing aside.
void UseAll(ITessera& scene);

}  // namespace tessera::test
