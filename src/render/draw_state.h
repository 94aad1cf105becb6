// What the draw calls of the interface share: globals, and the care for the host's OpenGL state.
#pragma once

#include "component/matrix.h"

namespace tessera {

// Process-wide flags of the drawing.
extern bool gForceHiddenLine;  // every element draws as hidden line, black on white
extern bool gSelectedSeen;     // the exploded draw has met a selected node
extern bool gTransparentSeen;  // the exploded draw has met a part that is not opaque
extern bool gReducedDrawn;     // this frame something was drawn reduced

// What the draw call under way has told OpenGL last: instances of one part follow each other as a rule, and their
// meshes need not tell it again.
struct ToldState {
    const void* arrays = nullptr;     // the strips that the client arrays point at
    const void* materials = nullptr;  // the mesh whose materials are set
};
extern thread_local ToldState gTold;

// Puts back, when a draw call returns, what its sequences change: culling, polygon mode, blending, depth writes,
// current colour, line and point sizes, clip plane, texture, matrix mode and the client's arrays. What a host
// may find changed stays: GL_NORMALIZE, the face that is culled, the front face, polygon offset, shade model
// and material.
class HostState {
public:
    HostState();
    ~HostState();
    HostState(const HostState&) = delete;
    HostState& operator=(const HostState&) = delete;
};

// Multiplies a matrix into the modelview matrix for as long as it lives. Below the bottom of OpenGL's matrix
// stack, which need not be deeper than 32, it keeps the former matrix itself.
class ModelviewScope {
public:
    explicit ModelviewScope(const CMatrix& matrix);
    ~ModelviewScope();
    ModelviewScope(const ModelviewScope&) = delete;
    ModelviewScope& operator=(const ModelviewScope&) = delete;

private:
    bool pushed_;
    float former_[16];
};

}  // namespace tessera
