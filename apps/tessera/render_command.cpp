#include "commands.h"
#include "picture.h"

namespace tessera::cli {

// The context is made while the first file is read.
void Render(const RenderOptions& options) {
    ModelView view(options);
    Picture picture(options);
    view.Say("context");
    view.Load();
    if (options.turntable > 0)
        picture.WriteTurn(view);
    else
        picture.Write(view);
}

}  // namespace tessera::cli
