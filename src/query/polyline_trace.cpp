// Reads a curve's points as straight runs and circular arcs.
#include <algorithm>

#include "geometry/polyline.h"
#include "query/pick_frame.h"

namespace tessera {
namespace {

// Degrees between the directions of a straight run's segments, for curves of a section and for others.
constexpr double kRunTurn = 0.3, kSectionRunTurn = 0.25;
// A segment so many times shorter than the one before it ends a run that has met no other end.
constexpr double kMuchShorter = 3;

constexpr double kLeastOpening = 0.3, kMostOpening = 35.1;  // turns that open an arc, degrees
constexpr double kMostTurn = 35;                            // between later segments
constexpr double kOffPlane = 0.1;                           // of the arc's plane, in the curve's units
constexpr int kRefitAt = 4;                                 // points after which the circle is known well

// What points may be off a circle, in shares of its radius.
struct ArcLimits {
    double first;     // before the refit
    double refitted;  // after it
    double last;      // share of the tolerance then in force that all points keep
};
constexpr ArcLimits kCurveLimits{0.1, 0.01, 1}, kSectionLimits{0.5, 0.25, 0.5};

class ArcGrowth {
public:
    ArcGrowth(const std::vector<PolyLinePoint>& points, int segment)
        : points_(points), a_(segment), b_(segment + 1), count_(static_cast<int>(points.size())) {}

    bool Find(bool forSection, std::vector<Vec3>& arc, Vec3& center);

private:
    const Vec3& At(int i) const { return points_[static_cast<std::size_t>(i)].position; }
    bool Fits(int from, int to);
    bool Open(bool forSection);
    void OpenWith(int first, int second, int third);
    void Walk(int from, int step, double refitted, std::vector<Vec3>& arc);

    const std::vector<PolyLinePoint>& points_;
    int a_, b_;  // the picked segment
    int count_;
    ArcFit fit_;
    double tolerance_ = 0, turn_ = 0;
    int accepted_ = 0;
    Vec3 remembered_;
};

// Whether the curve turns at a step from the picked segment as a circle's would.
bool ArcGrowth::Fits(int from, int to) {
    if (from < 0 || to >= count_) return false;
    turn_ = TurnBetween(DirectionFrom(At(a_), At(b_)), DirectionFrom(At(from), At(to)));
    return kLeastOpening < turn_ && turn_ < kMostOpening &&
           Length(At(b_) - At(a_)) < kMuchShorter * Length(At(to) - At(from));
}

// The points of the circle in the order of the curve.
void ArcGrowth::OpenWith(int first, int second, int third) {
    fit_.FitThrough(At(first), At(second), At(third));
    fit_.radius = Length(At(first) - fit_.center);
    fit_.plane = PlaneThrough(At(a_), Cross(Normalized(At(third) - At(second)), Normalized(At(second) - At(first))));
}

// With the next point on either side, and for a section with the one behind it, where the next runs straight on.
bool ArcGrowth::Open(bool forSection) {
    for (int away = 1; away <= 2; ++away) {
        const bool ahead = Fits(b_ + away - 1, b_ + away);
        if (ahead || Fits(a_ - away, a_ - away + 1)) {
            ahead ? OpenWith(a_, b_, b_ + away) : OpenWith(a_ - away, a_, b_);
            return true;
        }
        if (!forSection || turn_ > kMostOpening) return false;
    }
    return false;
}

void ArcGrowth::Walk(int from, int step, double refitted, std::vector<Vec3>& arc) {
    Direction direction = DirectionFrom(At(from - step), At(from));
    for (int i = from + step; i >= 0 && i < count_; i += step) {
        const Vec3& p = At(i);
        const Direction next = DirectionFrom(At(i - step), p);
        const bool accepted = fit_.RadialDeviation(p) < tolerance_ && fit_.PlaneDistance(p) < kOffPlane &&
                              TurnBetween(direction, next) < kMostTurn;
        if (!accepted) return;
        arc.push_back(p);
        direction = next;
        ++accepted_;
        if (accepted_ == 1) remembered_ = p;
        if (accepted_ != kRefitAt) continue;
        fit_.FitThrough(remembered_, At(a_), p);
        fit_.radius = Length(p - fit_.center);
        tolerance_ = refitted * fit_.radius;
    }
}

bool ArcGrowth::Find(bool forSection, std::vector<Vec3>& arc, Vec3& center) {
    if (a_ < 0 || b_ >= count_ || !Open(forSection)) return false;
    const ArcLimits& limits = forSection ? kSectionLimits : kCurveLimits;
    tolerance_ = limits.first * fit_.radius;
    arc.clear();
    Walk(a_, -1, limits.refitted, arc);
    std::reverse(arc.begin(), arc.end());
    arc.push_back(At(a_));
    arc.push_back(At(b_));
    Walk(b_, 1, limits.refitted, arc);
    center = fit_.center;
    const double limit = limits.last * tolerance_;
    return std::all_of(arc.begin(), arc.end(), [&](const Vec3& p) { return fit_.RadialDeviation(p) <= limit; });
}

}  // namespace

bool CPolyLine::FindArc(int segment, std::vector<Vec3>& points, Vec3& center, bool forSection) const {
    return ArcGrowth(points_, segment).Find(forSection, points, center);
}

// A segment with a corner at both ends is no run, but for a curve of that segment alone. Every direction is compared
// with that of the segment picked, so that a run may not creep around a bend.
bool CPolyLine::FindStraightRun(int segment, int& first, int& last, bool forSection) const {
    const int n = Count();
    if (segment < 0 || segment + 1 >= n) return false;
    first = segment;
    last = segment + 1;
    if (n == 2) return true;
    const double limit = forSection ? kSectionRunTurn : kRunTurn;
    const Direction along = DirectionFrom(At(first), At(last));
    const auto turnAt = [&](int end) { return RunTurnBetween(DirectionFrom(At(end - 1), At(end)), along); };
    bool found = false;

    // Gives whether all segments from the one that ends at from down to the one that ends at to run on.
    const auto backward = [&](int from, int to) {
        for (int end = from; end >= to; --end) {
            if (!(turnAt(end) < limit)) return false;
            first = end - 1;
            found = true;
        }
        return true;
    };
    if (backward(segment, 1) && IsClosed()) backward(n - 1, segment + 2);

    double previous = Length(At(segment + 1) - At(first));
    const auto forward = [&](int from, int to) {
        for (int end = from; end <= to; ++end) {
            const double turn = turnAt(end), length = Length(At(end) - At(end - 1));
            if (!(turn < limit)) {
                if (turn > limit && previous > kMuchShorter * length) found = true;
                return false;
            }
            last = end;
            found = true;
            previous = length;
        }
        return true;
    };
    if (forward(segment + 2, n - 1) && IsClosed()) forward(1, segment);
    return found;
}

}  // namespace tessera
