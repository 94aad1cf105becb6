// The way of a pick from a part to its elements.
#include <algorithm>
#include <cmath>

#include "query/pick_frame.h"
#include "scene/part.h"

namespace tessera {
namespace {

bool PickElement(CElement& element, PickKind kind, const PickView& view, const CMatrix& matrix, const BBox& box,
                 PickHit& hit) {
    switch (kind) {
        case PickKind::Point: return element.PickPoint(view, matrix, hit);
        case PickKind::Edge: return element.PickEdge(view, matrix, hit);
        case PickKind::Surface: return element.IntersectLine(view, matrix, box, hit);
        case PickKind::Ray: return element.IntersectRay(view, matrix, box, hit);
        case PickKind::SectionPoint: return element.PickCrossSectionPoint(view, matrix, hit);
        case PickKind::SectionEdge: return element.PickCrossSectionEdge(view, matrix, hit);
        case PickKind::Segment: return element.PickSegment(view, matrix, hit);
        case PickKind::Arc: return element.PickArc(view, matrix, hit);
    }
    return false;
}

// Whether a line surely misses the box of an element in the world, judged by its box in its own frame. That costs eight
// points where the true box costs them all.
bool SurelyMisses(const PickView& view, const BBox& own, const CMatrix& matrix) {
    if (own.valid == 0) return false;
    BBox around;
    for (int corner = 0; corner < 8; ++corner)
        around.Add(TransformPoint({(corner & 1) != 0 ? own.xmax : own.xmin, (corner & 2) != 0 ? own.ymax : own.ymin,
                                   (corner & 4) != 0 ? own.zmax : own.zmin},
                                  matrix));
    float reach = 0;
    for (const float side : {around.xmin, around.xmax, around.ymin, around.ymax, around.zmin, around.zmax})
        reach = std::max(reach, std::fabs(side));
    // More than the margin of the exact test and the rounding of the corners.
    const float more = 0.001f + 1e-5f * reach;
    around.xmin -= more, around.ymin -= more, around.zmin -= more;
    around.xmax += more, around.ymax += more, around.zmax += more;
    // The exact test overlooks the faces that a direction hardly leads to, which a larger box may turn it to.
    for (std::size_t axis = 0; axis < 3; ++axis)
        if (view.view[axis] != 0 && std::fabs(view.view[axis]) < kShortestVector) return false;
    return !LineHitsBox(view.eye, view.view, around);
}

}  // namespace

bool CPart::Pick(PickKind kind, const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (kind == PickKind::SectionPoint && (crossSectionEnabled == 0 || sectionPlaneOn == 0)) return false;
    // A box costs a pass over the vertices: each is made once here, for instance, part and element alike.
    std::vector<BBox> boxes(elements_.size());
    if (kind == PickKind::Surface || kind == PickKind::Ray) {
        if (std::all_of(elements_.begin(), elements_.end(), [&](const std::unique_ptr<CElement>& element) {
                return SurelyMisses(view, element->Bounds(), matrix);
            }))
            return false;
        boundBox = BBox();
        for (std::size_t i = 0; i < elements_.size(); ++i) {
            boxes[i] = elements_[i]->GetBoundBox(matrix, true, CMatrix());
            boundBox.Union(boxes[i]);
        }
        if (!LineHitsBox(view.eye, view.view, boundBox)) return false;
    }
    NearestOfLevel best(view.eye);
    for (std::size_t i = 0; i < elements_.size(); ++i)
        if (PickElement(*elements_[i], kind, view, matrix, boxes[i], hit)) best.Offer(hit);
    return best.Give(hit);
}

float CPart::GetSectionLength(const CMatrix& matrix) {
    float length = 0;
    for (const auto& element : elements_) length += element->GetSectionLength(matrix);
    return length;
}

}  // namespace tessera
