#include "query/screen_filter.h"

#include <algorithm>
#include <limits>

namespace tessera {
namespace {

// Relative error of a world coordinate, which is a float.
constexpr double kRounding = 1.3e-7;
// Share of the tolerance by which the square is widened, once for each of two causes: the margin that segments have
// beyond their ends, and the place of the foot.
constexpr double kShare = 1.0 / 16;
// The margin beyond the ends, of the segment's length.
constexpr double kMargin = 1e-6;

double Linear(const double form[4], const Vec3& p) { return form[0] * p.x + form[1] * p.y + form[2] * p.z + form[3]; }

}  // namespace

ScreenFilter::ScreenFilter(const PickView& view, const CMatrix& world, const BBox& bounds, const Plane* clip)
    : clipping_(clip != nullptr) {
    const double *m = world.Forward(), *s = view.screen.Forward();
    const double reach[3] = {std::max(std::fabs(bounds.xmin), std::fabs(bounds.xmax)),
                             std::max(std::fabs(bounds.ymin), std::fabs(bounds.ymax)),
                             std::max(std::fabs(bounds.zmin), std::fabs(bounds.zmax))};
    // Forms of the world frame: w, and the offsets from the cursor times w.
    double ofWorld[4][4] = {};
    for (int i = 0; i < 4; ++i) {
        ofWorld[0][i] = s[4 * i] - view.x * s[4 * i + 3];
        ofWorld[1][i] = s[4 * i + 1] - view.y * s[4 * i + 3];
        ofWorld[2][i] = s[4 * i + 3];
    }
    if (clip) {
        const double plane[4] = {clip->normal.x, clip->normal.y, clip->normal.z, clip->distance};
        std::copy_n(plane, 4, ofWorld[3]);
    }
    double* const ofElement[4] = {x_, y_, w_, clip_};
    double error[4];
    for (int form = 0; form < 4; ++form) {
        const double* f = ofWorld[form];
        for (int r = 0; r < 4; ++r)
            ofElement[form][r] = m[4 * r] * f[0] + m[4 * r + 1] * f[1] + m[4 * r + 2] * f[2] + (r == 3 ? f[3] : 0);
        error[form] = 0;
        for (int i = 0; i < 3; ++i) {
            double size = std::fabs(m[12 + i]);
            for (int r = 0; r < 3; ++r) size += std::fabs(m[4 * r + i]) * reach[r];
            // The offsets are differences, whose terms round before they cancel.
            const double weight = form == 0   ? std::fabs(s[4 * i]) + std::fabs(view.x * s[4 * i + 3])
                                  : form == 1 ? std::fabs(s[4 * i + 1]) + std::fabs(view.y * s[4 * i + 3])
                                              : std::fabs(f[i]);
            error[form] += kRounding * size * weight;
        }
    }
    const double tolerance = view.tolerance;
    const double cursor = std::max({std::fabs(view.x), std::fabs(view.y), 1e-30F});
    half_ = tolerance * (1 + 2 * kShare) + 4 * kRounding * cursor;
    inX_ = error[0] + half_ * error[2];
    inY_ = error[1] + half_ * error[2];
    leastW_ = 16 * error[2];
    far_ = tolerance * kShare / kMargin / 2;
    nearClip_ = kShortestVector + 2 * error[3];
    // The foot's x is off by half a float's last place; along a segment that is as much of its height as of its width.
    steepest_ = tolerance * kShare / (kRounding * cursor);
    // Anything infinite or undefined leaves all to the exact tests.
    const double sum = inX_ + inY_ + leastW_ + half_ + nearClip_;
    if (!(sum < std::numeric_limits<double>::max() && tolerance > 0)) far_ = 0;
}

std::uint8_t ScreenFilter::SideOf(const Vec3& p) const {
    double w = Linear(w_, p), x = Linear(x_, p), y = Linear(y_, p);
    // What lies behind the eye appears all the same, the other way round. But an edge from there to the front does not
    // keep its cut between its ends.
    if (w < 0 && !clipping_) w = -w, x = -x, y = -y;
    if (!(w > leastW_)) return 0;
    if (clipping_ && !(std::fabs(Linear(clip_, p)) > nearClip_)) return 0;
    const double half = half_ * w, far = far_ * w, edgeX = half + inX_, edgeY = half + inY_;
    unsigned side = 0;
    side |= static_cast<unsigned>(x < -edgeX && x > -far) * Left;
    side |= static_cast<unsigned>(x > edgeX && x < far) * Right;
    side |= static_cast<unsigned>(y < -edgeY && y > -far) * Below;
    side |= static_cast<unsigned>(y > edgeY && y < far) * Above;
    return static_cast<std::uint8_t>(side);
}

std::vector<std::uint8_t> ScreenFilter::SidesOf(std::span<const Vec3> vertices) const {
    std::vector<std::uint8_t> sides(vertices.size());
    for (std::size_t i = 0; i < vertices.size(); ++i) sides[i] = SideOf(vertices[i]);
    return sides;
}

bool ScreenFilter::IsSteep(const Vec3& a, const Vec3& b) const {
    const double wa = Linear(w_, a), wb = Linear(w_, b);
    const double dx = Linear(x_, b) / wb - Linear(x_, a) / wa, dy = Linear(y_, b) / wb - Linear(y_, a) / wa;
    const double rounding = 2 * (inX_ / wa + inX_ / wb);
    return !(std::fabs(dy) < steepest_ * (std::fabs(dx) - rounding));
}

}  // namespace tessera
