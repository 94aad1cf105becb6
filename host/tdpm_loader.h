#pragma once

#include "model_loader.h"
#include "progress.h"
#include "tdpm_file.h"

namespace tessera::host {

// Puts a 3DG file into a scene: under its own assembly if it has exactly one at the top, else under a new one with the
// file's name. Names, user names, property strings, mirror flags, matrices, colours, opacity and section flags are
// those of the file. `progress` may be null. Throws Failure, with the tree as it was.
LoadedModel LoadTdpm(ITessera& scene, const TdpmFile& file, Progress* progress = nullptr);

// Tells a camera what of a file it must show.
void IncludeTdpm(const TdpmFile& file, Camera& camera);
UpAxis UprightOf(const TdpmFile& file);

}  // namespace tessera::host
