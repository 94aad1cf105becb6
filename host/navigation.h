#pragma once

#include "camera.h"

namespace tessera::host {

// The place that a person looks at a model from, and the ways to move it. Places on the picture are given in halves of
// its height from its middle, to the right and up; angles in radians.
class Navigation {
public:
    // The axis that stands upright while the model is turned.
    void SetUp(UpAxis up) { up_ = up; }
    void SetParallel(bool parallel) { parallel_ = parallel; }
    bool Parallel() const { return parallel_; }

    // Shows the whole of a box from a direction, and as it is looked at now. What turns, turns about its middle.
    void LookFrom(View view, const Box& box, double aspect);
    void Show(const Box& box, double aspect);
    // What turns, turns about this point; the picture stays.
    void SetPivot(const Vec3& pivot) { pivot_ = pivot; }
    const Vec3& Pivot() const { return pivot_; }

    // Turns the model as if it were pushed to the right and up: about the upright, and about the picture's horizontal,
    // as far as to where the upright points at the eye.
    void Orbit(double right, double up);
    // Turns the picture about its middle, against the clock.
    void Roll(double angle);
    // Moves the model. What lies as deep as the pivot follows the hand exactly.
    void Pan(double right, double up);
    // Makes the model larger by a factor, within what numbers allow. What lies under the place stays there.
    void Zoom(double factor, double right, double up);

    // The camera for a picture, with a depth range that holds the box.
    Camera At(double aspect, const Box& box) const;

private:
    Vec3 Upright() const;
    double Depth() const;
    void Turn(const Vec3& axis, double angle);

    UpAxis up_ = UpAxis::kZ;
    bool parallel_ = false;
    Vec3 eye_{0, -4, 0};
    Vec3 pivot_{};
    // Unit vectors at right angles.
    Vec3 backward_{0, -1, 0};
    Vec3 upward_{0, 0, 1};
    double distance_ = 4;  // from the eye to where the two ways to project show the same size
    double shown_ = 4;     // what that was when a whole box was shown
};

}  // namespace tessera::host
