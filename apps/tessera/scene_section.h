#pragma once

#include <tessera/tessera.h>

#include <vector>

#include "progress.h"

namespace tessera::cli {

// The length of the lines in which the section plane cuts each of these instances where it stands, in the world's
// units.
std::vector<double> SectionLengths(ITessera& scene, const std::vector<int>& instances, host::Progress& progress);

}  // namespace tessera::cli
