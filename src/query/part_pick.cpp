// The way of a pick from a part to its elements.
#include <cmath>

#include "query/line_filter.h"
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

// Judged by the boxes of the elements in their own frame, where the true boxes cost a pass over all points.
bool CPart::SurelyMisses(const LineFilter& line, const double world[16]) const {
    // More than the margin of the exact test and what rounding can add.
    constexpr double kMargin = 0.001, kRounding = 1e-5;
    for (const auto& element : elements_) {
        const BBox& own = element->Bounds();
        if (own.valid == 0) return false;
        const double middle[3] = {(double{own.xmin} + own.xmax) / 2, (double{own.ymin} + own.ymax) / 2,
                                  (double{own.zmin} + own.zmax) / 2};
        const double half[3] = {own.xmax - middle[0], own.ymax - middle[1], own.zmax - middle[2]};
        double low[3], high[3];
        for (int axis = 0; axis < 3; ++axis) {
            const double* m = world + axis;
            const double center = middle[0] * m[0] + middle[1] * m[4] + middle[2] * m[8] + m[12];
            const double reach = half[0] * std::fabs(m[0]) + half[1] * std::fabs(m[4]) + half[2] * std::fabs(m[8]);
            const double more = reach + kMargin + kRounding * (std::fabs(center) + reach);
            low[axis] = center - more;
            high[axis] = center + more;
        }
        if (!line.Misses(low, high)) return false;
    }
    return true;
}

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
