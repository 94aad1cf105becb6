#include "navigation.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tessera::host {

namespace {

double Dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec3 Sum(const Vec3& a, double factor, const Vec3& b) {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}
Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Length(const Vec3& a) { return std::sqrt(Dot(a, a)); }

// Rodrigues' formula, about a unit vector.
Vec3 Turned(const Vec3& v, const Vec3& axis, double angle) {
    const double cosine = std::cos(angle);
    const Vec3 across = Sum({}, std::sin(angle), Cross(axis, v));
    return Sum(Sum(across, cosine, v), Dot(axis, v) * (1 - cosine), axis);
}

}  // namespace

Vec3 Navigation::Upright() const { return up_ == UpAxis::kY ? Vec3{0, 1, 0} : Vec3{0, 0, 1}; }

void Navigation::LookFrom(View view, const Box& box, double aspect) {
    const Camera camera = Camera::Named(view, up_, {aspect, false});
    backward_ = camera.Backward();
    upward_ = camera.Up();
    Show(box, aspect);
}

void Navigation::Show(const Box& box, double aspect) {
    Camera camera = Camera::Directed(backward_, upward_, {aspect, false});
    camera.Fit(box);
    eye_ = camera.Eye();
    distance_ = shown_ = Length(Sum(eye_, -1, camera.Target()));
    for (std::size_t i = 0; i < 3; ++i) pivot_[i] = (box.min[i] + box.max[i]) / 2;
}

void Navigation::Turn(const Vec3& axis, double angle) {
    backward_ = Turned(backward_, axis, angle);
    upward_ = Turned(upward_, axis, angle);
    eye_ = Sum(pivot_, 1, Turned(Sum(eye_, -1, pivot_), axis, angle));
    // Kept exact over any number of turns.
    backward_ = Sum({}, 1 / Length(backward_), backward_);
    upward_ = Sum(upward_, -Dot(upward_, backward_), backward_);
    upward_ = Sum({}, 1 / Length(upward_), upward_);
}

void Navigation::Orbit(double right, double up) {
    // How far the eye stands above the horizon; a picture that stands on its head counts beyond the pole.
    const double height = std::asin(std::clamp(Dot(backward_, Upright()), -1.0, 1.0));
    const bool overhead = Dot(upward_, Upright()) < -1e-9;
    Turn(Upright(), overhead ? right : -right);
    const double limit = std::numbers::pi / 2;
    const double reached = overhead ? height + up : std::clamp(height - up, -limit, limit);
    Turn(Cross(upward_, backward_), overhead ? up : height - reached);
}

void Navigation::Roll(double angle) { Turn(backward_, -angle); }

double Navigation::Depth() const {
    // With the eye at the pivot or beyond it the hand still moves something.
    return parallel_ ? distance_ : std::max(Dot(Sum(eye_, -1, pivot_), backward_), 0.05 * distance_);
}

void Navigation::Pan(double right, double up) {
    const double size = Depth() * Camera::TangentOfHalfView();
    eye_ = Sum(Sum(eye_, -right * size, Cross(upward_, backward_)), -up * size, upward_);
}

void Navigation::Zoom(double factor, double right, double up) {
    // Nearer, eye and target would become one point; farther, the model would be lost.
    const double least = std::max(1e-5 * shown_, 1e-9 * Length(eye_));
    factor = distance_ / std::clamp(distance_ / factor, std::min(least, distance_), std::max(1e4 * shown_, distance_));
    const double nearer = 1 - 1 / factor, size = Depth() * Camera::TangentOfHalfView();
    const double depth = Depth();
    eye_ = Sum(Sum(eye_, nearer * right * size, Cross(upward_, backward_)), nearer * up * size, upward_);
    eye_ = Sum(eye_, -nearer * depth, backward_);
    distance_ /= factor;
}

Camera Navigation::At(double aspect, const Box& box) const {
    Camera camera = Camera::Placed(eye_, Sum(eye_, -distance_, backward_), upward_, {aspect, parallel_});
    camera.Fit(box);
    return camera;
}

}  // namespace tessera::host
