// The draw traversal. Each node multiplies its transform into the modelview matrix and hands the product down
// in double precision for the calculations that need one.
#include "render/draw_state.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

// A selected instance shows only where highlights are asked for, and nothing else shows there.
bool IsWanted(const CNode& node, int kind) { return (node.selected != 0) == (kind == DrawKindHighlight); }

}  // namespace

void CPartInstance::DrawAt(const CMatrix& placement, int kind, int pass, int flip) {
    // Most draws need no box.
    const bool needsBox = part_->IsCapped() || part_->IsReduced();
    part_->DrawPart(placement, kind, pass, flip, needsBox ? BoxAt(placement, false, CMatrix::Identity()) : boundBox);
}

void CAssembly::DrawNode(const CMatrix& M, int kind, int pass, int flip) {
    if (drawingEnabled == 0) return;
    exploded = false;
    const CMatrix T = transform * M;
    const ModelviewScope scope(transform);
    for (CNode* child : children_) child->DrawNode(T, kind, pass, mirrored ? !flip : flip);
}

void CPartInstance::DrawNode(const CMatrix& M, int kind, int pass, int flip) {
    if (!part_ || drawingEnabled == 0) return;
    exploded = false;
    if (!IsWanted(*this, kind)) return;
    const ModelviewScope scope(transform);
    DrawAt(transform * M, kind, pass, mirrored ? !flip : flip);
}

// A subtree does not know the winding above it: the mirror flags of assemblies are left out.
void CAssembly::DrawSubtree(const CMatrix& M, int kind, int pass, int flip) {
    if (drawingEnabled == 0) return;
    exploded = false;
    const CMatrix T = transform * M;
    const ModelviewScope scope(transform);
    for (CNode* child : children_) child->DrawSubtree(T, kind, pass, flip);
}

void CPartInstance::DrawSubtree(const CMatrix& M, int kind, int pass, int) {
    if (!part_ || drawingEnabled == 0) return;
    exploded = false;
    if (kind == DrawKindHighlight && selected == 0) return;
    const ModelviewScope scope(transform);
    DrawAt(transform * M, kind, pass, mirrored);
}

// Explode displacements act in the world, behind all placements: the matrix that an instance draws under is no
// product of what its ancestors could have pushed.
void CAssembly::DrawNodeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) {
    exploded = true;
    if (drawingEnabled == 0) return;
    if (selected) gSelectedSeen = true;
    const CMatrix T = transform * M, X = explodeTransform * E;
    for (CNode* child : children_) child->DrawNodeExplode(T, kind, pass, mirrored ? !flip : flip, X);
}

void CPartInstance::DrawNodeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) {
    exploded = true;
    if (!part_ || drawingEnabled == 0) return;
    if (selected) gSelectedSeen = true;
    if (part_->alpha <= kOpaqueAlpha) gTransparentSeen = true;
    if (!IsWanted(*this, kind)) return;
    const CMatrix placement = Placement(M, E);
    const ModelviewScope scope(placement);
    DrawAt(placement, kind, pass, mirrored ? !flip : flip);
}

void CAssembly::DrawSubtreeExplode(const CMatrix& M, int kind, int pass, int flip, const CMatrix& E) {
    exploded = true;
    if (drawingEnabled == 0) return;
    const CMatrix T = transform * M, X = explodeTransform * E;
    for (CNode* child : children_) child->DrawNodeExplode(T, kind, pass, flip, X);
}

// An instance alone has nothing to explode from.
void CPartInstance::DrawSubtreeExplode(const CMatrix&, int, int, int, const CMatrix&) {}

void CAssembly::DrawNodeSimple(const CMatrix& M) {
    if (drawingEnabled == 0) return;
    const CMatrix T = transform * M;
    const ModelviewScope scope(transform);
    for (CNode* child : children_) child->DrawNodeSimple(T);
}

void CPartInstance::DrawNodeSimple(const CMatrix& M) {
    if (!part_ || drawingEnabled == 0) return;
    const ModelviewScope scope(transform);
    part_->DrawSimple(transform * M, drawBoundBox != 0);
}

}  // namespace tessera
