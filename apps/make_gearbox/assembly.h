#pragma once

#include "glb_writer.h"

namespace gearbox {

// Builds the whole gearbox into `writer`; circles get `segments` sides.
void BuildGearbox(GlbWriter& writer, int segments);

}  // namespace gearbox
