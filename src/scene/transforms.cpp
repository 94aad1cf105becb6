// The way of matrices through the tree, and the folding of an exploded view into the placements.
#include <vector>

#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

// The inverse of a placement as a matrix of its own. Its own inverse goes through single precision.
CMatrix InverseOf(const CMatrix& matrix) {
    double values[16];
    matrix.GetArray(values, true);
    CMatrix out;
    out.SetFromArray(values, true);
    return out;
}

}  // namespace

// From the root down, without a call for each level: trees may be deeper than the stack.
CMatrix CNode::WorldInverse() const {
    std::vector<const CNode*> path;
    for (const CNode* n = this; n; n = n->parent) path.push_back(n);
    CMatrix inverse;
    for (std::size_t i = path.size(); i-- > 0;) inverse.Multiply(InverseOf(path[i]->transform));
    return inverse;
}

CMatrix CNode::World() const {
    CMatrix product;
    for (const CNode* n = this; n; n = n->parent) product.Multiply(n->transform);
    return product;
}

void CAssembly::Scale(float x, float y, float z) {
    for (CNode* child : children_) child->Scale(x, y, z);
    InvalidateBoundBox();
}

// The scale goes into the part's geometry, once for each instance that is reached.
void CPartInstance::Scale(float x, float y, float z) {
    if (part_) part_->Scale(x, y, z);
}

void CAssembly::ApplyExplodeToNodeMatrix() {
    for (CNode* child : children_) child->PushExplodeToNodeMatrix(id, explodeTransform, CMatrix());
    explodeTransform.SetIdentity();
}

// The descendants keep their explode transforms, which are then in their placements too: only the
// assembly that was named is cleared.
void CAssembly::PushExplodeToNodeMatrix(int nodeId, const CMatrix& A, const CMatrix& N) {
    const CMatrix below = explodeTransform * A, undo = N * InverseOf(explodeTransform);
    for (CNode* child : children_) child->PushExplodeToNodeMatrix(nodeId, below, undo);
}

void CPartInstance::ApplyExplodeToNodeMatrix() {
    const CMatrix world = World() * explodeTransform;
    explodeTransform.SetIdentity();
    transform = parent ? world * parent->WorldInverse() : world;
}

void CPartInstance::PushExplodeToNodeMatrix(int, const CMatrix& A, const CMatrix& N) {
    const CMatrix world = World() * (explodeTransform * A) * N;
    transform = parent ? world * parent->WorldInverse() : world;
}

}  // namespace tessera
