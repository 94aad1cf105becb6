// Grows an edge of a mesh into the straight edge of the solid that was tessellated.
#include "geometry/trimesh.h"
#include "query/pick_frame.h"

namespace tessera {
namespace {

// Turns between the edges of a run, degrees.
constexpr double kStraight = 0.01;       // below this the run goes on
constexpr double kCorner = 30;           // from here on it ends; below, on a soft bend, only before a short edge
constexpr double kBackwardCorner = 40;   // the same at the backward end, with kCorner for a second choice
constexpr double kReversal = 179.2;      // no edge goes on
constexpr double kNothing = 179;         // the least turn before a candidate is seen
constexpr double kShortAfterBend = 0.2;  // of the run's length

// Walks over the edges of a mesh. Forward goes from the end of an edge, backward from its start; which of the two ends
// of the run a walk writes changes whenever it meets an edge that runs the other way.
class RunWalk {
public:
    enum class Way { Backward, Forward, Both };

    RunWalk(const CTriMesh& mesh, TriangleIndex t, int edge) : mesh_(mesh), entry_{t, edge} {}

    // False where the edge is no part of a straight run: on a wall of facets, say.
    bool Trace(std::uint32_t& first, std::uint32_t& last) {
        return mesh_.IsSharp(entry_.t, entry_.edge) && Walk(entry_, &first, &last, Way::Both);
    }

private:
    struct Edge {
        TriangleIndex t = kNoTriangle;
        int edge = 0;
    };
    struct Scan {
        double least = kNothing, most = 0;
        Edge best;
        bool reversed = false;  // the best edge runs towards the vertex
    };
    enum class Verdict { Straight, Bend, End, None };

    const TriMeshTriangle& TriangleOf(Edge e) const { return mesh_.Triangles()[e.t]; }
    std::uint32_t StartOf(Edge e) const { return TriangleOf(e).vertex[e.edge]; }
    std::uint32_t EndOf(Edge e) const { return TriangleOf(e).vertex[NextCorner(e.edge)]; }
    const Vec3& PointAt(std::uint32_t vertex) const { return mesh_.Vertices()[vertex]; }
    double LengthOf(Edge e) const { return Length(PointAt(EndOf(e)) - PointAt(StartOf(e))); }

    Scan ScanAround(Edge from, bool forward) const;
    static Verdict Judge(const Scan& scan, bool forward);
    bool Walk(Edge e, std::uint32_t* first, std::uint32_t* last, Way way);
    bool WalkOn(Edge e, std::uint32_t* first, std::uint32_t* last, bool forward);
    bool EndForwardAtBend(Edge e, const Scan& scan, std::uint32_t* first, std::uint32_t* last);
    bool EndsShort(const Scan& scan) const { return LengthOf(scan.best) < kShortAfterBend * length_; }

    const CTriMesh& mesh_;
    Edge entry_;
    double length_ = 0;  // of the run so far
    bool wentBack_ = false;
    std::size_t steps_ = 0;
};

// The straightest of the sharp edges at an end of an edge, and the greatest turn among those that were neither the
// straightest in their turn.
RunWalk::Scan RunWalk::ScanAround(Edge from, bool forward) const {
    Scan scan;
    const std::uint32_t w = forward ? EndOf(from) : StartOf(from);
    const Direction along = DirectionFrom(PointAt(StartOf(from)), PointAt(EndOf(from)));
    for (const TriangleIndex r : mesh_.Incident(w)) {
        if (r == from.t) continue;
        const TriMeshTriangle& t = mesh_.Triangles()[r];
        const int corner = t.CornerAt(w);
        for (const bool reversed : {false, true}) {
            const int edge = reversed ? PreviousCorner(corner) : corner;
            if (t.neighbour[edge] != kNoTriangle && (t.IsSmooth(edge) || t.neighbour[edge] == from.t)) continue;
            const Vec3& far = PointAt(t.vertex[reversed ? PreviousCorner(corner) : NextCorner(corner)]);
            const double turn =
                RunTurnBetween(forward ? DirectionFrom(PointAt(w), far) : DirectionFrom(far, PointAt(w)), along);
            if (turn < scan.least) {
                scan.least = turn;
                scan.best = {r, edge};
                scan.reversed = reversed;
            } else if (turn > scan.most) {
                scan.most = turn;
            }
        }
    }
    return scan;
}

RunWalk::Verdict RunWalk::Judge(const Scan& scan, bool forward) {
    if (scan.least < kStraight) return Verdict::Straight;
    if (scan.least < kCorner) return Verdict::Bend;
    if (scan.least >= (forward ? kCorner : kBackwardCorner) && scan.least < kReversal) return Verdict::End;
    return scan.most < kCorner ? Verdict::None : Verdict::End;
}

// From the entry, both ways.
bool RunWalk::Walk(Edge e, std::uint32_t* first, std::uint32_t* last, Way way) {
    if (way != Way::Both) return WalkOn(e, first, last, way == Way::Forward);
    length_ = LengthOf(e);
    const Scan ahead = ScanAround(e, true);
    switch (Judge(ahead, true)) {
        case Verdict::Straight:
            if (ahead.reversed ? !WalkOn(ahead.best, last, first, false) : !WalkOn(ahead.best, first, last, true))
                return false;
            break;
        case Verdict::Bend: return EndForwardAtBend(e, ahead, first, last);
        case Verdict::End: *last = EndOf(e); break;
        case Verdict::None: return false;
    }
    const Scan behind = ScanAround(e, false);
    switch (Judge(behind, false)) {
        case Verdict::Straight:
            return behind.reversed ? WalkOn(behind.best, first, last, false) : WalkOn(behind.best, last, first, true);
        case Verdict::Bend:
            if (!EndsShort(behind)) return false;
            break;
        case Verdict::End: break;
        case Verdict::None: return false;
    }
    *first = StartOf(e);
    return true;
}

// One way, from edge to edge. A run that comes round to itself never ends and is none.
bool RunWalk::WalkOn(Edge e, std::uint32_t* first, std::uint32_t* last, bool forward) {
    for (;;) {
        if (++steps_ > 6 * mesh_.Triangles().size()) return false;
        length_ += LengthOf(e);
        const Scan scan = ScanAround(e, forward);
        const Verdict verdict = Judge(scan, forward);
        if (verdict == Verdict::None) return false;
        if (verdict == Verdict::Bend && forward) return EndForwardAtBend(e, scan, first, last);
        if (verdict == Verdict::Bend && !EndsShort(scan)) return false;
        if (verdict != Verdict::Straight) {
            *(forward ? last : first) = forward ? EndOf(e) : StartOf(e);
            return true;
        }
        // Past the end of an edge the next runs on forward unless it is reversed; past the start the other way round.
        const bool onward = !scan.reversed;
        if (onward != forward) std::swap(first, last);
        forward = onward;
        e = scan.best;
    }
}

// A bend ends the run only before a short edge: a long one tells of a curve. How long the run is shows after the
// way back from the entry, which is gone once.
bool RunWalk::EndForwardAtBend(Edge e, const Scan& scan, std::uint32_t* first, std::uint32_t* last) {
    if (!wentBack_) {
        wentBack_ = true;
        if (!WalkOn(entry_, first, last, false)) return false;
        length_ -= Length(PointAt(EndOf(e)) - PointAt(StartOf(entry_)));
    }
    if (!EndsShort(scan)) return false;
    *last = EndOf(e);
    return true;
}

}  // namespace

bool CTriMesh::TraceStraightRun(TriangleIndex t, int edge, std::uint32_t& first, std::uint32_t& last) const {
    return RunWalk(*this, t, edge).Trace(first, last);
}

}  // namespace tessera
