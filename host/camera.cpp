#include "camera.h"

#include <algorithm>
#include <cmath>

#include "failure.h"

namespace tessera::host {

namespace {

constexpr double kFieldOfViewDegrees = 25;  // vertical
constexpr double kFilled = 0.92;            // of the picture's width or height

Vec3 Minus(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double Dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Length(const Vec3& a) { return std::sqrt(Dot(a, a)); }
Vec3 Unit(const Vec3& a) {
    const double length = Length(a);
    return {a[0] / length, a[1] / length, a[2] / length};
}

Vec3 Centre(const Box& box) {
    return {(box.min[0] + box.max[0]) / 2, (box.min[1] + box.max[1]) / 2, (box.min[2] + box.max[2]) / 2};
}

std::array<Vec3, 8> Corners(const Box& box) {
    std::array<Vec3, 8> corners;
    for (unsigned i = 0; i < 8; ++i) {
        corners[i] = {(i & 1) ? box.max[0] : box.min[0], (i & 2) ? box.max[1] : box.min[1],
                      (i & 4) ? box.max[2] : box.min[2]};
    }
    return corners;
}

// Half the diagonal. A point, or a box too small for its place in single precision, is given some size, so that there
// is a camera for it too.
double Radius(const Box& box) {
    const Vec3 centre = Centre(box);
    const double place = std::max({std::abs(centre[0]), std::abs(centre[1]), std::abs(centre[2])});
    const double radius = Length(Minus(box.max, box.min)) / 2;
    return std::max({radius, place * 1e-7, 1e-12});
}

}  // namespace

Camera Camera::Named(View view, UpAxis up, const Lens& lens) {
    Vec3 backward{0, -1, 0};
    Vec3 upward{0, 0, 1};
    switch (view) {
        case View::kIso: backward = {0.62, -1, 0.66}; break;
        case View::kFront: break;
        case View::kBack: backward = {0, 1, 0}; break;
        case View::kLeft: backward = {-1, 0, 0}; break;
        case View::kRight: backward = {1, 0, 0}; break;
        case View::kTop: backward = {0, 0, 1}, upward = {0, 1, 0}; break;
        case View::kBottom: backward = {0, 0, -1}, upward = {0, -1, 0}; break;
    }
    if (up == UpAxis::kY) {
        backward = {backward[0], backward[2], -backward[1]};
        upward = {upward[0], upward[2], -upward[1]};
    }
    return Directed(backward, upward, lens);
}

Camera Camera::Directed(const Vec3& backward, const Vec3& up, const Lens& lens) {
    Camera camera;
    camera.lens_ = lens;
    camera.SetDirection(backward, up);
    return camera;
}

double Camera::TangentOfHalfView() { return std::tan(kFieldOfViewDegrees / 2 * 3.14159265358979323846 / 180); }

Camera Camera::Placed(const Vec3& eye, const Vec3& target, const Vec3& up, const Lens& lens) {
    if (Length(Minus(eye, target)) == 0) throw Failure("the eye and the target of the camera are one point");
    Camera camera;
    camera.lens_ = lens;
    camera.placed_ = true;
    camera.eye_ = eye;
    camera.target_ = target;
    camera.SetDirection(Minus(eye, target), up);
    return camera;
}

void Camera::SetDirection(const Vec3& backward, const Vec3& up) {
    backward_ = Unit(backward);
    Vec3 right = Cross(up, backward_);
    if (Length(right) < 1e-9 * Length(up) || Length(up) == 0) {
        right = Cross(std::abs(backward_[2]) < 0.9 ? Vec3{0, 0, 1} : Vec3{0, 1, 0}, backward_);
    }
    right_ = Unit(right);
    up_ = Cross(backward_, right_);
}

// The four sides of the picture as directions in the world: what reaches farthest along one of them sets that side.
// In perspective a side leans outward, so a point counts the more the nearer it is to the eye.
std::array<Vec3, 4> Camera::Bounds() const {
    const double forward = lens_.parallel ? 0 : 1;
    const double toRight = lens_.parallel ? 1 : 1 / (kFilled * lens_.aspect * TangentOfHalfView());
    const double toTop = lens_.parallel ? 1 : 1 / (kFilled * TangentOfHalfView());
    std::array<Vec3, 4> bounds;
    for (std::size_t i = 0; i < 3; ++i) {
        bounds[0][i] = right_[i] * toRight + backward_[i] * forward;
        bounds[1][i] = -right_[i] * toRight + backward_[i] * forward;
        bounds[2][i] = up_[i] * toTop + backward_[i] * forward;
        bounds[3][i] = -up_[i] * toTop + backward_[i] * forward;
    }
    return bounds;
}

void Camera::Include(const double* points, std::size_t count, const std::array<double, 16>& transform) {
    if (placed_ || count == 0) return;
    // The directions as they stand in the frame of the points.
    const std::array<Vec3, 4> bounds = Bounds();
    std::array<Vec3, 4> local;
    for (std::size_t side = 0; side < 4; ++side) {
        for (std::size_t row = 0; row < 3; ++row) {
            local[side][row] = Dot({transform[row * 4], transform[row * 4 + 1], transform[row * 4 + 2]}, bounds[side]);
        }
    }
    std::array<double, 4> reach;
    reach.fill(-1e300);
    for (const double* p = points; p != points + count * 3; p += 3) {
        for (std::size_t side = 0; side < 4; ++side) {
            const Vec3& direction = local[side];
            reach[side] = std::max(reach[side], p[0] * direction[0] + p[1] * direction[1] + p[2] * direction[2]);
        }
    }
    for (std::size_t side = 0; side < 4; ++side) {
        reach[side] += Dot({transform[12], transform[13], transform[14]}, bounds[side]);
        reach_[side] = included_ ? std::max(reach_[side], reach[side]) : reach[side];
    }
    included_ = true;
}

void Camera::Fit(const Box& box) {
    if (placed_) {
        halfHeight_ = Length(Minus(eye_, target_)) * TangentOfHalfView();
    } else {
        MoveToFit(box);
    }
    FitDepth(box);
}

void Camera::MoveToFit(const Box& box) {
    if (!included_) {
        constexpr std::array<double, 16> kUnmoved = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
        const std::array<Vec3, 8> corners = Corners(box);
        Include(corners[0].data(), corners.size(), kUnmoved);
    }
    const double radius = Radius(box);
    const double least = 0.01 * radius;
    const double tangent = TangentOfHalfView();
    double x = (reach_[0] - reach_[1]) / 2;
    double y = (reach_[2] - reach_[3]) / 2;
    const double middle = Dot(Centre(box), backward_);
    double depth = middle;
    if (lens_.parallel) {
        const double halfWidth = (reach_[0] + reach_[1]) / 2;
        const double halfHeight = (reach_[2] + reach_[3]) / 2;
        halfHeight_ = std::max({halfWidth / lens_.aspect, halfHeight, least}) / kFilled;
        depth += std::max(2 * radius, halfHeight_ / tangent);
    } else {
        x *= kFilled * lens_.aspect * tangent;
        y *= kFilled * tangent;
        // Not nearer to a thin or tiny box than where its front would fill the picture were it a hundredth as wide.
        double front = middle;
        for (const Vec3& corner : Corners(box)) front = std::max(front, Dot(corner, backward_));
        depth = std::max({(reach_[0] + reach_[1]) / 2, (reach_[2] + reach_[3]) / 2, front + least / tangent});
    }
    for (std::size_t i = 0; i < 3; ++i) {
        eye_[i] = right_[i] * x + up_[i] * y + backward_[i] * depth;
        target_[i] = right_[i] * x + up_[i] * y + backward_[i] * middle;
    }
}

void Camera::FitDepth(const Box& box) {
    const double margin = 0.02 * Radius(box);
    near_ = 1e300;
    far_ = -1e300;
    for (const Vec3& corner : Corners(box)) {
        const double depth = Dot(Minus(eye_, corner), backward_);
        near_ = std::min(near_, depth - margin);
        far_ = std::max(far_, depth + margin);
    }
    if (lens_.parallel) return;
    // A camera inside the box, or one that looks away from it.
    if (far_ <= 0) far_ = Radius(box);
    near_ = std::max(near_, far_ * 1e-4);
}

void Camera::Turn(const Vec3& point, const Vec3& axis, double angle) {
    const Vec3 k = Unit(axis);
    // Rodrigues' formula.
    const auto turned = [&](const Vec3& v) {
        const Vec3 side = Cross(k, v);
        const double along = Dot(k, v) * (1 - std::cos(angle));
        Vec3 w;
        for (std::size_t i = 0; i < 3; ++i) w[i] = v[i] * std::cos(angle) + side[i] * std::sin(angle) + k[i] * along;
        return w;
    };
    for (Vec3* direction : {&right_, &up_, &backward_}) *direction = turned(*direction);
    for (Vec3* place : {&eye_, &target_}) {
        *place = turned(Minus(*place, point));
        for (std::size_t i = 0; i < 3; ++i) (*place)[i] += point[i];
    }
}

Mat4 Camera::Projection() const {
    Mat4 m{};
    if (lens_.parallel) {
        m[0] = 1 / (halfHeight_ * lens_.aspect);
        m[5] = 1 / halfHeight_;
        m[10] = -2 / (far_ - near_);
        m[14] = -(far_ + near_) / (far_ - near_);
        m[15] = 1;
    } else {
        m[5] = 1 / TangentOfHalfView();
        m[0] = m[5] / lens_.aspect;
        m[10] = -(far_ + near_) / (far_ - near_);
        m[11] = -1;
        m[14] = -2 * far_ * near_ / (far_ - near_);
    }
    return m;
}

Mat4 Camera::ModelView() const {
    return {right_[0], up_[0], backward_[0], 0, right_[1],          up_[1],          backward_[1],          0,
            right_[2], up_[2], backward_[2], 0, -Dot(right_, eye_), -Dot(up_, eye_), -Dot(backward_, eye_), 1};
}

}  // namespace tessera::host
