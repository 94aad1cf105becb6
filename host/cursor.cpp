#include "cursor.h"

#include <algorithm>
#include <cmath>

#include "scene_walk.h"

namespace tessera::host {

namespace {

// The engine's reach is this over the diagonal that it is told.
constexpr double kReach = 9;

Vec3 Widened(const float* p) { return {p[0], p[1], p[2]}; }

// Projection times model view, both by columns.
Mat4 Product(const Mat4& a, const Mat4& b) {
    Mat4 m{};
    for (std::size_t column = 0; column < 4; ++column) {
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t k = 0; k < 4; ++k) m[4 * column + row] += a[4 * k + row] * b[4 * column + k];
        }
    }
    return m;
}

}  // namespace

double Found::Radius() const {
    if (!center || arc.empty()) return 0;
    return std::hypot(arc[0][0] - (*center)[0], arc[0][1] - (*center)[1], arc[0][2] - (*center)[2]);
}

// The screen is a window from -1 to 1 upwards and as many of these units wide as its shape makes it: a reach in pixels
// is then the same both ways.
Cursor::Cursor(const Camera& camera, int width, int height, double x, double y, double reach) {
    const double aspect = static_cast<double>(width) / height;
    const Mat4 projection = camera.Projection(), view = camera.ModelView();
    Mat4 toScreen = Product(projection, view);
    for (std::size_t column = 0; column < 4; ++column) toScreen[4 * column] *= aspect;
    std::copy(toScreen.begin(), toScreen.end(), screen_);
    const double right = (2 * (x + 0.5) / width - 1) * aspect, up = 1 - 2 * (y + 0.5) / height;
    x_ = static_cast<float>(right);
    y_ = static_cast<float>(up);
    diagonal_ = static_cast<float>(kReach / (reach * 2 / height));
    // The rows of the model view are the camera's axes. In parallel the eye moves and the line of sight stays.
    const bool parallel = projection[15] == 1;
    const double pixels = reach * 2 / (height * projection[5]);
    slope_ = parallel ? 0 : pixels;
    offset_ = parallel ? pixels : 0;
    const double across = right / (projection[0] * aspect), above = up / projection[5];
    for (std::size_t i = 0; i < 3; ++i) {
        const double aside = across * view[4 * i] + above * view[4 * i + 1];
        eye_[i] = static_cast<float>(camera.Eye()[i] + (parallel ? aside : 0));
        sight_[i] = static_cast<float>((parallel ? 0 : aside) - camera.Backward()[i]);
    }
}

double Cursor::DepthOf(const Vec3& point) const {
    double along = 0;
    for (std::size_t i = 0; i < 3; ++i) along += (point[i] - eye_[i]) * sight_[i];
    return along / std::hypot(sight_[0], sight_[1], sight_[2]);
}

double Cursor::ReachAt(double depth) const { return slope_ * depth + offset_; }

Cursor Cursor::Narrowed(double factor) const {
    Cursor narrow = *this;
    narrow.diagonal_ = static_cast<float>(diagonal_ / factor);
    narrow.slope_ *= factor;
    narrow.offset_ *= factor;
    return narrow;
}

bool Cursor::AskArc(ITessera& scene, Found& found) {
    LONG picked = 0;
    float point[3], center[3];
    float* block = nullptr;
    int err = 0;
    scene.PickArc(eye_, sight_, screen_, x_, y_, diagonal_, &picked, point, center, &block, &found.node, &err);
    if (picked == 0 || block == nullptr) return false;
    found.point = Widened(point);
    found.center = Widened(center);
    const auto count = static_cast<std::size_t>(std::ceil(block[0]));
    for (std::size_t i = 0; i < count; ++i) found.arc.push_back(Widened(block + 1 + 3 * i));
    CoTaskMemFree(block);
    return true;
}

bool Cursor::Ask(ITessera& scene, What what, Found& found) {
    LONG picked = 0;
    float point[3], first[3], second[3];
    int err = 0;
    switch (what) {
        case What::kArc: return AskArc(scene, found);
        case What::kPoint: scene.PickPoint(eye_, screen_, x_, y_, diagonal_, &picked, point, &found.node, &err); break;
        case What::kEdge:
            scene.PickEdge(eye_, sight_, screen_, x_, y_, diagonal_, &picked, point, &found.node, &err);
            break;
        case What::kSectionPoint:
            scene.PickCrossSectionPoint(eye_, sight_, screen_, x_, y_, diagonal_, &picked, point, &found.node, &err);
            break;
        case What::kSectionEdge:
            scene.PickCrossSectionEdge(eye_, sight_, screen_, x_, y_, diagonal_, &picked, point, &found.node, &err);
            break;
        case What::kSegment:
            scene.PickSegment(eye_, sight_, screen_, x_, y_, diagonal_, &picked, point, first, second, &found.node,
                              &err);
            if (picked != 0) found.ends = {Widened(first), Widened(second)};
            break;
        case What::kInstance:
            scene.PickPartInstance2(eye_, sight_, screen_, x_, y_, diagonal_, &picked, point, first, &found.node, &err);
            if (picked != 0) found.normal = Widened(first);
            break;
    }
    if (picked != 0) found.point = Widened(point);
    return picked != 0;
}

std::optional<Found> Cursor::Pick(ITessera& scene, What what) {
    Found found;
    if (!Ask(scene, what, found)) return std::nullopt;
    found.path = PathOf(scene, found.node);
    return found;
}

}  // namespace tessera::host
