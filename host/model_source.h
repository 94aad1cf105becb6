#pragma once

#include <memory>
#include <string>

#include "model_loader.h"
#include "progress.h"

namespace tessera::host {

// A model file of any known format on its way into a scene.
class ModelSource {
public:
    virtual ~ModelSource() = default;

    // Begins to read a file; where a process of its own does so, beside the caller. Throws Failure for what a look at
    // the file already shows.
    static std::unique_ptr<ModelSource> Open(const std::string& path, const ImportOptions& options = {});

    // True once Finish would not wait; waits for that at most so long.
    virtual bool WaitFor(int milliseconds) = 0;
    // How much is read, below 0 where that isn't known.
    virtual double Fraction() const = 0;
    // Waits for the end of reading. Throws Failure.
    virtual void Finish(Progress& progress) = 0;

    // After Finish:
    virtual UpAxis Up() const = 0;
    // Tells a camera what it must show. To be called before AddTo.
    virtual void Include(Camera& camera) const = 0;
    // Once. Throws Failure.
    virtual LoadedModel AddTo(ITessera& scene, Progress& progress) = 0;
};

}  // namespace tessera::host
