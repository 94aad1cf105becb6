#pragma once

#include <vector>

#include "model_view.h"
#include "offscreen_context.h"

namespace tessera::cli {

// What is drawn over a picture, in the world.
struct Marks {
    std::vector<host::Vec3> points;
    std::vector<std::vector<host::Vec3>> lines;  // each through all its points
};

// A picture of a view, drawn off screen.
class Picture {
public:
    explicit Picture(const RenderOptions& options);

    // Draws the view, and marks over it, and writes the file. Throws Failure.
    void Write(ModelView& view, const Marks& marks = {});
    // Draws and writes the pictures of a turn, OUT-000.png and on. Throws Failure.
    void WriteTurn(ModelView& view);

private:
    void WriteOne(ModelView& view, const Marks& marks, const std::string& path);
    void Draw(const ModelView& view) const;
    HRESULT DrawKind(ITessera& scene, int kind) const;

    const RenderOptions& options_;
    host::OffscreenContext context_;
};

}  // namespace tessera::cli
