// The way of a pick, and of the section length, down the tree.
#include "query/pick_frame.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {

bool CAssembly::Pick(PickKind kind, const PickView& view, const CMatrix& M, const CMatrix& E, PickHit& hit) {
    if (drawingEnabled == 0 || (kind == PickKind::SectionPoint && crossSectionEnabled == 0)) return false;
    const CMatrix world = transform * M, explode = explodeTransform * E;
    NearestOfLevel best(view.eye);
    for (CNode* child : children_)
        if (child->Pick(kind, view, world, explode, hit)) best.Offer(hit);
    return best.Give(hit);
}

float CAssembly::GetCrossSectionLength(const CMatrix& M) {
    if (drawingEnabled == 0) return 0;
    const CMatrix world = transform * M;
    float length = 0;
    for (CNode* child : children_) length += child->GetCrossSectionLength(world);
    return length;
}

bool CPartInstance::Pick(PickKind kind, const PickView& view, const CMatrix& M, const CMatrix& E, PickHit& hit) {
    if (drawingEnabled == 0 || (kind == PickKind::SectionPoint && crossSectionEnabled == 0) || !part_) return false;
    const bool throughBox = kind == PickKind::Surface || kind == PickKind::Ray;
    if (throughBox) hit.nodeId = -1;
    const bool found = part_->Pick(kind, view, Placement(M, E), hit);
    if (throughBox) boundBox = part_->boundBox;
    if (found) hit.nodeId = id;
    return found;
}

float CPartInstance::GetCrossSectionLength(const CMatrix& M) {
    if (drawingEnabled == 0 || !part_) return 0;
    return part_->GetSectionLength(transform * M);
}

}  // namespace tessera
