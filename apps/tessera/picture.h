#pragma once

#include "model_view.h"
#include "offscreen_context.h"

namespace tessera::cli {

// A picture of a view, drawn off screen.
class Picture {
public:
    explicit Picture(const RenderOptions& options);

    // Draws the view, and marks over it, and writes the file. Throws Failure.
    void Write(ModelView& view, const host::Marks& marks = {});
    // Draws and writes the pictures of a turn, OUT-000.png and on. Throws Failure.
    void WriteTurn(ModelView& view);

private:
    void WriteOne(ModelView& view, const host::Marks& marks, const std::string& path);
    void Draw(const ModelView& view) const;

    const RenderOptions& options_;
    host::OffscreenContext context_;
};

}  // namespace tessera::cli
