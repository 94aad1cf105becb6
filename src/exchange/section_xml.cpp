// The curves of a section as XML. Each part is cut in its own frame, whatever the matrices of the tree are.
#include <cmath>

#include "exchange/text_output.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "query/section_loop.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"

namespace tessera {
namespace {

// Cuts meet within this part of the diagonal, up to a limit.
float ChainTolerance(const BBox& box) {
    constexpr double kPerDiagonal = 0.002;
    constexpr float kMost = 0.1f;
    const double wanted = kPerDiagonal * box.Diagonal();
    return wanted <= kMost ? static_cast<float>(wanted) : kMost;
}

}  // namespace

void SaveSectionFile(const String& path, CNode& root) {
    OutputFile file(path, OutputFile::Kind::Text);
    if (!file.IsOpen()) return;
    TextOutput out(file);
    out.Text("<?xml version=\"1.0\" ?>\n<CrossSection>\n");
    root.SaveCrossSection(out);
    out.Text("</CrossSection>\n");
    out.Flush();
    file.Commit();
}

void CAssembly::SaveCrossSection(TextOutput& out) {
    if (drawingEnabled == 0) return;
    for (CNode* child : children_) child->SaveCrossSection(out);
}

void CPartInstance::SaveCrossSection(TextOutput& out) {
    if (part_) part_->SaveCrossSection(out);
}

void CPart::SaveCrossSection(TextOutput& out) {
    const CMatrix identity;
    const ToleranceScope tolerance(ChainTolerance(GetBoundBox(identity, false, identity)));
    SectionTables tables(kChainDivisor);
    for (const auto& element : elements_) element->CutByPlane(tables, identity);
    tables.Index();
    CPolyLine curve;
    SectionCut first;
    for (bool found = tables.TakeOldest(first); found; found = tables.TakeNext(first)) {
        ChainCurve(tables, first, curve);
        curve.AppendToXml(out);
        curve.Clear();
    }
}

void CTriMesh::CutByPlane(SectionTables& tables, const CMatrix& matrix) {
    if (!IsClipping()) return;
    const ReadLock lock(*this);
    for (const SectionCut& cut : CutTriangles(ClipPlaneIn(matrix))) tables.Append(cut);
}

void CPolyLine::AppendToXml(TextOutput& out) const {
    constexpr int kDecimals = 3;
    out.Text("\t<PolyLine>\n");
    for (const PolyLinePoint& p : points_) {
        out.Text("\t\t<P>").Fixed(p.position.x, kDecimals).Text(",").Fixed(p.position.y, kDecimals);
        out.Text(",").Fixed(p.position.z, kDecimals).Text("</P>\n");
    }
    out.Text("\t</PolyLine>\n");
}

}  // namespace tessera
