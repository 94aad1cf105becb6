// Ear clipping with holes bridged to the outline.
// D. Eberly, "Triangulation by Ear Clipping", 2002.
#include <algorithm>
#include <limits>
#include <numeric>
#include <stdexcept>

#include "solid.h"

namespace gearbox {

namespace {

double Cross(const Point2& o, const Point2& a, const Point2& b) {
    return (a[0] - o[0]) * (b[1] - o[1]) - (a[1] - o[1]) * (b[0] - o[0]);
}

bool Inside(const Point2& p, const Point2& a, const Point2& b, const Point2& c) {
    return Cross(a, b, p) >= 0 && Cross(b, c, p) >= 0 && Cross(c, a, p) >= 0;
}

class EarClipper {
public:
    EarClipper(const Loop& outline, const std::vector<Loop>& holes) : points_(outline) {
        ring_.resize(outline.size());
        std::iota(ring_.begin(), ring_.end(), 0);
        for (const Loop& hole : holes) {
            std::vector<std::size_t> ring(hole.size());
            std::iota(ring.begin(), ring.end(), points_.size());
            points_.insert(points_.end(), hole.begin(), hole.end());
            holes_.push_back(std::move(ring));
        }
        // From the right, so that a bridge never has to cross a hole that is still open.
        const auto rightmost = [this](const std::vector<std::size_t>& ring) { return points_[Rightmost(ring)][0]; };
        std::sort(holes_.begin(), holes_.end(),
                  [&](const auto& a, const auto& b) { return rightmost(a) > rightmost(b); });
        for (const auto& hole : holes_) Bridge(hole);
    }

    std::vector<std::array<std::size_t, 3>> Run() {
        std::vector<std::array<std::size_t, 3>> triangles;
        while (ring_.size() > 3) {
            const std::size_t ear = FindEar();
            triangles.push_back({At(ear + ring_.size() - 1), At(ear), At(ear + 1)});
            ring_.erase(ring_.begin() + static_cast<std::ptrdiff_t>(ear));
        }
        triangles.push_back({ring_[0], ring_[1], ring_[2]});
        return triangles;
    }

private:
    std::size_t At(std::size_t position) const { return ring_[position % ring_.size()]; }

    std::size_t Rightmost(const std::vector<std::size_t>& ring) const {
        return *std::max_element(ring.begin(), ring.end(),
                                 [this](std::size_t a, std::size_t b) { return points_[a][0] < points_[b][0]; });
    }

    // Joins a hole to the ring by two edges in one place: from its rightmost point to a corner that it can see.
    void Bridge(const std::vector<std::size_t>& hole) {
        const std::size_t start = Rightmost(hole);
        const std::size_t corner = VisibleCorner(points_[start]);
        const auto begin = std::find(hole.begin(), hole.end(), start);
        std::vector<std::size_t> inserted(begin, hole.end());
        inserted.insert(inserted.end(), hole.begin(), begin);
        inserted.push_back(start);
        inserted.push_back(ring_[corner]);
        ring_.insert(ring_.begin() + static_cast<std::ptrdiff_t>(corner) + 1, inserted.begin(), inserted.end());
    }

    std::size_t VisibleCorner(const Point2& from) const {
        double nearest = std::numeric_limits<double>::max();
        std::size_t corner = ring_.size();
        Point2 hit{};
        for (std::size_t i = 0; i < ring_.size(); ++i) {
            const Point2& a = points_[ring_[i]];
            const Point2& b = points_[At(i + 1)];
            // Edges that run upwards bound the inside on their left, where a ray to the right comes from.
            if (!(a[1] <= from[1] && from[1] <= b[1] && a[1] < b[1])) continue;
            const double x = a[0] + (from[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0]);
            if (x < from[0] || x - from[0] >= nearest) continue;
            nearest = x - from[0];
            hit = {x, from[1]};
            corner = a[0] > b[0] ? i : (i + 1) % ring_.size();
        }
        if (corner == ring_.size()) throw std::logic_error("a hole lies outside of its outline");
        return UnlessHidden(from, hit, corner);
    }

    // A reflex corner inside of the triangle from the point over the hit to the corner hides the corner; then the one
    // that is seen at the smallest angle to the ray is taken.
    std::size_t UnlessHidden(const Point2& from, const Point2& hit, std::size_t corner) const {
        const Point2 end = points_[ring_[corner]];
        const bool up = end[1] > hit[1];
        double flattest = std::numeric_limits<double>::max();
        std::size_t best = corner;
        for (std::size_t i = 0; i < ring_.size(); ++i) {
            const Point2& p = points_[ring_[i]];
            const bool reflex = Cross(points_[At(i + ring_.size() - 1)], p, points_[At(i + 1)]) < 0;
            const bool inside = up ? Inside(p, from, hit, end) : Inside(p, from, end, hit);
            if (!reflex || !inside || p == end) continue;
            const double slope = std::abs(p[1] - from[1]) / (p[0] - from[0]);
            if (slope < flattest) {
                flattest = slope;
                best = i;
            }
        }
        return best;
    }

    std::size_t FindEar() const {
        std::size_t best = ring_.size();
        double largest = -1;
        for (std::size_t i = 0; i < ring_.size(); ++i) {
            const Point2& a = points_[At(i + ring_.size() - 1)];
            const Point2& b = points_[ring_[i]];
            const Point2& c = points_[At(i + 1)];
            if (Cross(a, b, c) <= 0 || !IsEar(a, b, c)) continue;
            // Slim ears first would leave slivers; the best shaped one is cut.
            const double longest = std::max({Distance2(a, b), Distance2(b, c), Distance2(c, a)});
            const double shape = Cross(a, b, c) / longest;
            if (shape > largest) {
                largest = shape;
                best = i;
            }
        }
        if (best == ring_.size()) throw std::logic_error("an outline crosses itself");
        return best;
    }

    static double Distance2(const Point2& a, const Point2& b) {
        return (a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]);
    }

    bool IsEar(const Point2& a, const Point2& b, const Point2& c) const {
        return std::none_of(ring_.begin(), ring_.end(), [&](std::size_t index) {
            const Point2& p = points_[index];
            return p != a && p != b && p != c && Inside(p, a, b, c);
        });
    }

    Loop points_;
    std::vector<std::size_t> ring_;
    std::vector<std::vector<std::size_t>> holes_;
};

}  // namespace

std::vector<std::array<std::size_t, 3>> Triangulate(const Loop& outline, const std::vector<Loop>& holes) {
    return EarClipper(outline, holes).Run();
}

}  // namespace gearbox
