#pragma once

#include <array>
#include <cstddef>

namespace tessera::host {

using Vec3 = std::array<double, 3>;
// Column-major, as OpenGL takes it.
using Mat4 = std::array<double, 16>;

struct Box {
    Vec3 min{};
    Vec3 max{};
};

// The directions that a model is looked at from by name. In a world with Z up, "front" looks along +Y, "right" along
// -X, "top" along -Z with +Y up on the picture, and "iso" from the front, right and above. In a world with Y up the
// same names hold after a quarter turn: "front" looks along -Z.
enum class View { kIso, kFront, kBack, kLeft, kRight, kTop, kBottom };

enum class UpAxis { kY, kZ };

// What part of the world a picture shows and how.
struct Lens {
    double aspect = 1;  // width of the picture by its height
    bool parallel = false;
};

// A camera that shows the whole of a model. World units are the model's.
class Camera {
public:
    // Looks from a direction; the place follows from what Include is given.
    static Camera Named(View view, UpAxis up, const Lens& lens);
    // `up` need not be perpendicular to the line of sight; one that is parallel to it is replaced. Throws Failure when
    // eye and target are one point.
    static Camera Placed(const Vec3& eye, const Vec3& target, const Vec3& up, const Lens& lens);

    // Looks against `backward`, at a place that Fit finds.
    static Camera Directed(const Vec3& backward, const Vec3& up, const Lens& lens);
    // Half the height of what a picture shows in perspective, at a distance of 1 from the eye.
    static double TangentOfHalfView();

    // Counts `points`, three coordinates each, among what a named camera must show. They are placed by `transform`,
    // which is by rows for points as row vectors.
    void Include(const double* points, std::size_t count, const std::array<double, 16>& transform);
    // Ends the set-up. A named camera moves to where what was included fills the picture but for a small margin, or
    // the corners of the box where nothing was. The depth range follows the box around the whole model, which may be
    // flat, tiny, a single point or far from the origin.
    void Fit(const Box& box);

    // Turns the camera about an axis through a point, after Fit; by the right hand, in radians.
    void Turn(const Vec3& point, const Vec3& axis, double angle);

    const Vec3& Eye() const { return eye_; }
    const Vec3& Target() const { return target_; }
    // Unit vector that points up on the picture.
    const Vec3& Up() const { return up_; }
    // Unit vector from the target to the eye.
    const Vec3& Backward() const { return backward_; }
    Mat4 Projection() const;
    Mat4 ModelView() const;

private:
    void SetDirection(const Vec3& backward, const Vec3& up);
    std::array<Vec3, 4> Bounds() const;
    void MoveToFit(const Box& box);
    void FitDepth(const Box& box);

    Lens lens_;
    bool placed_ = false;
    Vec3 eye_{};
    Vec3 target_{};
    Vec3 right_{};
    Vec3 up_{};
    Vec3 backward_{};
    // How far what is included reaches along each of Bounds().
    std::array<double, 4> reach_{};
    bool included_ = false;
    double halfHeight_ = 1;  // world units, parallel projection only
    double near_ = 0.1;
    double far_ = 10;
};

}  // namespace tessera::host
