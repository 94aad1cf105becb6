// Grows an edge of a mesh into the circular arc of the solid that was tessellated.
#include <algorithm>

#include "geometry/trimesh.h"
#include "query/pick_frame.h"

namespace tessera {
namespace {

// Turns at the picked edge that open an arc, degrees. A twelfth of a circle is too much, however its corners are
// rounded.
constexpr double kLeastOpening = 0.3, kMostOpening = 30 - 1e-4;
constexpr double kMostTurn = 45;   // between later edges
constexpr double kOffPlane = 0.1;  // of the arc's plane, in the mesh's units
constexpr double kShortest = 3;    // the picked edge is shorter than this times its neighbour
constexpr double kFirstTolerance = 0.25, kTolerance = 0.1, kFilter = 0.25;
constexpr int kMostSteps = 5000;

class ArcWalk {
public:
    ArcWalk(const CTriMesh& mesh, TriangleIndex t, int edge) : mesh_(mesh), start_(t), edge_(edge) {}

    bool Trace(std::vector<Vec3>& points, Vec3& center);

private:
    // An edge of a triangle towards the vertex at its other end.
    struct Step {
        TriangleIndex t;
        int edge;
        std::uint32_t to;
    };

    const Vec3& PointAt(std::uint32_t vertex) const { return mesh_.Vertices()[vertex]; }
    bool OpenAt(std::uint32_t w, bool forward);
    bool TakeThirdCorner();
    bool Walk(std::uint32_t w, const Vec3& from, std::vector<Vec3>& points, int& count, bool& closed);
    bool TakeStep(std::uint32_t& w, TriangleIndex& t, std::vector<Vec3>& points, int& count, bool& closed);
    bool Accepts(std::uint32_t w, TriangleIndex from, const Step& step) const;
    void Take(std::uint32_t w, const Step& step, std::vector<Vec3>& points, int& count, bool& closed);
    void Refit(const std::vector<Vec3>& points, std::size_t span);
    void Filter(std::vector<Vec3>& points) const;

    const CTriMesh& mesh_;
    TriangleIndex start_;
    int edge_;
    std::uint32_t a_ = 0, b_ = 0;  // the ends of the picked edge
    ArcFit fit_;
    double tolerance_ = 0;
    Direction direction_{1, 0, 0};  // of the walk's last chord
    Vec3 remembered_;               // the walk's first point
};

// Takes the edge that turns least, or else most, for the arc's next, if it turns by as much as a facet does.
bool ArcWalk::OpenAt(std::uint32_t w, bool forward) {
    const Vec3 &a = PointAt(a_), &b = PointAt(b_);
    const Direction along = DirectionFrom(a, b);
    const double length = Length(b - a);
    double least = 180, most = 0;
    std::uint32_t leastFar = w, mostFar = w;
    for (const TriangleIndex r : mesh_.Incident(w)) {
        if (r == start_) continue;
        const TriMeshTriangle& t = mesh_.Triangles()[r];
        const int corner = t.CornerAt(w);
        for (const bool reversed : {false, true}) {
            const int edge = reversed ? PreviousCorner(corner) : corner;
            if (t.neighbour[edge] != kNoTriangle && (t.IsSmooth(edge) || t.neighbour[edge] == start_)) continue;
            const std::uint32_t far = t.vertex[reversed ? PreviousCorner(corner) : NextCorner(corner)];
            if (!(length < kShortest * Length(PointAt(far) - PointAt(w)))) continue;
            const double turn = TurnBetween(
                along, forward ? DirectionFrom(PointAt(w), PointAt(far)) : DirectionFrom(PointAt(far), PointAt(w)));
            if (turn < least) least = turn, leastFar = far;
            if (turn > most) most = turn, mostFar = far;
        }
    }
    const auto opens = [](double turn) { return turn > kLeastOpening && turn < kMostOpening; };
    if (!opens(least) && !opens(most)) return false;
    const Vec3& c = PointAt(opens(least) ? leastFar : mostFar);
    fit_.center = forward ? Circle3(a, b, c) : Circle3(c, a, b);
    const Vec3 chord = Normalized(b - a), other = Normalized(forward ? c - b : a - c);
    fit_.plane = PlaneThrough(a, Cross(other, chord));
    return true;
}

bool ArcWalk::Accepts(std::uint32_t w, TriangleIndex from, const Step& step) const {
    const TriMeshTriangle& t = mesh_.Triangles()[step.t];
    if (t.neighbour[step.edge] == from || !mesh_.IsSharp(step.t, step.edge)) return false;
    const Vec3& p = PointAt(step.to);
    return fit_.PlaneDistance(p) < kOffPlane && fit_.RadialDeviation(p) < tolerance_ &&
           TurnBetween(direction_, DirectionFrom(PointAt(w), p)) < kMostTurn;
}

// The third point of a walk tells the circle better than the opening did.
void ArcWalk::Take(std::uint32_t w, const Step& step, std::vector<Vec3>& points, int& count, bool& closed) {
    const Vec3& p = PointAt(step.to);
    points.push_back(p);
    direction_ = DirectionFrom(PointAt(w), p);
    ++count;
    if (count == 1) remembered_ = p;
    if (count == 3) {
        fit_.center = Circle3(PointAt(a_), remembered_, p);
        fit_.radius = Length(p - fit_.center);
        tolerance_ = kTolerance * fit_.radius;
    }
    closed = step.to == a_;
}

// From w, in triangle t, along one edge or two of the first triangle that offers any.
bool ArcWalk::TakeStep(std::uint32_t& w, TriangleIndex& t, std::vector<Vec3>& points, int& count, bool& closed) {
    for (const TriangleIndex r : mesh_.Incident(w)) {
        if (r == t) continue;
        const TriMeshTriangle& triangle = mesh_.Triangles()[r];
        const int j = triangle.CornerAt(w), next = NextCorner(j), previous = PreviousCorner(j);
        Step step{r, j, triangle.vertex[next]};
        std::uint32_t third = triangle.vertex[previous];
        if (!Accepts(w, t, step)) {
            if (triangle.neighbour[previous] == t) continue;
            step = {r, previous, third};
            third = triangle.vertex[next];
            if (!Accepts(w, t, step)) continue;
        }
        Take(w, step, points, count, closed);
        w = step.to;
        const Step second{r, next, third};
        if (!closed && Accepts(w, t, second)) {
            Take(w, second, points, count, closed);
            w = third;
        }
        t = r;
        return true;
    }
    return false;
}

// True where the walk did not end by itself: it came back to its start, or is endless.
bool ArcWalk::Walk(std::uint32_t w, const Vec3& from, std::vector<Vec3>& points, int& count, bool& closed) {
    direction_ = DirectionFrom(from, PointAt(w));
    TriangleIndex t = start_;
    for (int step = 0; step < kMostSteps; ++step) {
        if (!TakeStep(w, t, points, count, closed)) return false;
        if (closed) return true;
    }
    return true;
}

// Three points far apart give the centre its last digits.
void ArcWalk::Refit(const std::vector<Vec3>& points, std::size_t span) {
    const Vec3 &first = points[0], &middle = points[span / 2];
    if (TurnBetween(DirectionFrom(first, points[1]), DirectionFrom(first, middle)) < kMostTurn)
        fit_.center = Circle3(first, middle, points.back());
    else
        fit_.center = Circle3(first, points[span / 3],
                              points[static_cast<std::size_t>(static_cast<double>(span) * 0.6666666666666666)]);
}

// Leaves the first stretch of points that lie on the circle.
void ArcWalk::Filter(std::vector<Vec3>& points) const {
    const auto isGood = [&](const Vec3& p) { return !(fit_.RadialDeviation(p) > kFilter * tolerance_); };
    const auto first = std::find_if(points.begin(), points.end(), isGood);
    points.erase(std::find_if_not(first, points.end(), isGood), points.end());
    points.erase(points.begin(), std::find_if(points.begin(), points.end(), isGood));
}

bool ArcWalk::TakeThirdCorner() {
    const int edge = PreviousCorner(edge_);  // from the third corner to a
    const Vec3& o = PointAt(mesh_.Triangles()[start_].vertex[edge]);
    return mesh_.IsSharp(start_, edge) && fit_.PlaneDistance(o) < kOffPlane && fit_.RadialDeviation(o) < tolerance_;
}

bool ArcWalk::Trace(std::vector<Vec3>& points, Vec3& center) {
    if (!mesh_.IsSharp(start_, edge_)) return false;
    const TriMeshTriangle& t = mesh_.Triangles()[start_];
    a_ = t.vertex[edge_];
    b_ = t.vertex[NextCorner(edge_)];
    if (!OpenAt(b_, true) && !OpenAt(a_, false)) return false;
    fit_.radius = Length(PointAt(a_) - fit_.center);
    tolerance_ = kFirstTolerance * fit_.radius;

    std::vector<Vec3> ahead{PointAt(a_), PointAt(b_)}, behind;
    int count = 0;
    bool closed = false;
    std::uint32_t w = b_;
    Vec3 from = PointAt(a_);
    if (TakeThirdCorner()) {
        from = PointAt(b_);
        w = t.vertex[PreviousCorner(edge_)];
        ahead.push_back(PointAt(w));
    }
    if (Walk(w, from, ahead, count, closed)) {
        if (ahead.size() > 5) Refit(ahead, ahead.size());
        center = fit_.center;
        points = std::move(ahead);
        return true;
    }
    if (count < 3) count = 0;
    Walk(a_, PointAt(b_), behind, count, closed);
    points.assign(behind.rbegin(), behind.rend());
    points.insert(points.end(), ahead.begin(), ahead.end());
    if (points.size() <= 5) return false;
    if (points.size() > 8) Refit(points, points.size() - 1);
    center = fit_.center;
    Filter(points);
    return points.size() > 4;
}

}  // namespace

bool CTriMesh::TraceArc(TriangleIndex t, int edge, std::vector<Vec3>& points, Vec3& center) const {
    return ArcWalk(*this, t, edge).Trace(points, center);
}

}  // namespace tessera
