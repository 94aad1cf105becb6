// The geometry of the scene for a host's collector, as runs of points in the world.
#include <GL/gl.h>

#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "scene/assembly.h"
#include "scene/part.h"
#include "scene/part_instance.h"
#include "tessera/igraphic_collector.h"

namespace tessera {
namespace {

// Dark channels count as none.
struct RunColor {
    explicit RunColor(const Color& color) : channels{Kept(color.red), Kept(color.green), Kept(color.blue)} {}
    static double Kept(float channel) { return channel < 0.15f ? 0.0 : channel; }
    double channels[3];
};

// The points of a run.
class PointRun {
public:
    PointRun(IGraphicDataCollector& collector, const CMatrix& matrix, const Color& color)
        : collector_(collector), matrix_(matrix), color_(color) {}

    void Add(const Vec3& local) {
        const Vec3 p = TransformPoint(local, matrix_);
        points_.insert(points_.end(), {p.x, p.y, p.z});
    }
    // Hands the run over and begins another.
    void HandOver(int kind) {
        collector_.AddPointRun(static_cast<ULONG>(points_.size() / 3), points_.data(), color_.channels, kind, 1);
        points_.clear();
    }

private:
    IGraphicDataCollector& collector_;
    const CMatrix& matrix_;
    RunColor color_;
    std::vector<double> points_;
};

// Points whose code says that no stretch leads to them.
bool IsGap(std::uint8_t stipple) { return stipple == 2 || stipple == 15; }

}  // namespace

// The pop has no push before it; hosts count on it.
void CAssembly::ScanGraphicData(const CMatrix& M, const CMatrix& E, IGraphicDataCollector& collector) {
    if (drawingEnabled == 0) return;
    const CMatrix T = transform * M, X = explodeTransform * E;
    for (CNode* child : children_) child->ScanGraphicData(T, X, collector);
    glPopMatrix();
}

void CPartInstance::ScanGraphicData(const CMatrix& M, const CMatrix& E, IGraphicDataCollector& collector) {
    if (!part_ || drawingEnabled == 0) return;
    const CMatrix T = Placement(M, E);
    for (const auto& element : part_->Elements()) element->ScanGraphicData(T, collector);
}

void CTriMesh::ScanGraphicData(const CMatrix& matrix, IGraphicDataCollector& collector) {
    const ReadLock lock(*this);
    if (vertices_.size() < 2) return;
    PointRun run(collector, matrix, externalColor);
    const float* next = stripVertices_.data();
    for (const int length : stripLengths_) {
        if (length <= 0) break;  // the end of the list
        for (int i = 0; i < length; ++i, next += 6) run.Add({next[3], next[4], next[5]});
        run.HandOver(0);
    }
}

// A run ends where the code changes, and the next begins with its last point, or behind a gap with the next.
void CPolyLine::ScanGraphicData(const CMatrix& matrix, IGraphicDataCollector& collector) {
    if (Count() < 2 || building_) return;
    PointRun run(collector, matrix, externalColor);
    const int last = Count() - 1;
    std::uint8_t kind = CodeAt(1);
    for (int i = 0; i < last; ++i) {
        run.Add(At(i));
        if (CodeAt(i) == CodeAt(i + 1)) continue;
        run.HandOver(kind);
        if (IsGap(CodeAt(i + 1))) ++i;
        kind = CodeAt(i < last ? i + 1 : last);
        run.Add(At(i));
    }
    run.Add(At(last));
    run.HandOver(kind);
}

}  // namespace tessera
