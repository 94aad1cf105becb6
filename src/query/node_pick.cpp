// The way of a pick, and of the section length, down the tree.
#include "query/line_filter.h"
#include "query/pick_frame.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

// The forward half of a product.
const double* ForwardProduct(const CMatrix& a, const CMatrix& b, double product[16]) {
    const double *x = a.Forward(), *y = b.Forward();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c)
            product[4 * r + c] =
                x[4 * r] * y[c] + x[4 * r + 1] * y[4 + c] + x[4 * r + 2] * y[8 + c] + x[4 * r + 3] * y[12 + c];
    return product;
}

}  // namespace

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

// A scene has many instances, of which a line meets a few: most go without an inverse and without a true box.
bool CPartInstance::Pick(PickKind kind, const PickView& view, const CMatrix& M, const CMatrix& E, PickHit& hit) {
    if (drawingEnabled == 0 || (kind == PickKind::SectionPoint && crossSectionEnabled == 0) || !part_) return false;
    if (kind == PickKind::Surface || kind == PickKind::Ray) {
        hit.nodeId = -1;
        double world[16];
        if (!exploded && part_->SurelyMisses(LineFilter(view.eye, view.view), ForwardProduct(transform, M, world)))
            return false;
    }
    const bool found = part_->Pick(kind, view, Placement(M, E), hit);
    if (found) hit.nodeId = id;
    return found;
}

float CPartInstance::GetCrossSectionLength(const CMatrix& M) {
    if (drawingEnabled == 0 || !part_) return 0;
    return part_->GetSectionLength(transform * M);
}

}  // namespace tessera
