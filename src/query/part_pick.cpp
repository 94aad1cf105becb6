// The way of a pick from a part to its elements.
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

}  // namespace

bool CPart::Pick(PickKind kind, const PickView& view, const CMatrix& matrix, PickHit& hit) {
    if (kind == PickKind::SectionPoint && (crossSectionEnabled == 0 || sectionPlaneOn == 0)) return false;
    // A box costs a pass over the vertices: each is made once here, for instance, part and element alike.
    std::vector<BBox> boxes(elements_.size());
    if (kind == PickKind::Surface || kind == PickKind::Ray) {
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
