#include "camera.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tessera::host;

// Where a point lands in a picture that reaches from -1 to 1 each way.
Vec3 Project(const Camera& camera, const Vec3& p) {
    std::array<double, 4> v{p[0], p[1], p[2], 1};
    for (const Mat4& m : {camera.ModelView(), camera.Projection()}) {
        std::array<double, 4> result{};
        for (std::size_t i = 0; i < 16; ++i) result[i % 4] += m[i] * v[i / 4];
        v = result;
    }
    return {v[0] / v[3], v[1] / v[3], v[2] / v[3]};
}

TEST(Camera, ShowsTheWholeOfAnyBoxAndFillsThePicture) {
    // A flat box seen edge on and a rod seen from its end have nothing to fill a picture with.
    const struct {
        Box box;
        bool solid;
    } cases[] = {{{{-1, -1, -1}, {1, 1, 1}}, true},
                 {{{0, 0, 2}, {30, 20, 2}}, false},
                 {{{0, 0, 0}, {0, 0, 1000}}, false},
                 {{{0, 0, 0}, {1e-7, 2e-7, 1e-7}}, true},
                 {{{2678219, 1243490, 402}, {2686115, 1253037, 557}}, true}};
    for (const auto& [box, solid] : cases)
        for (const View view :
             {View::kIso, View::kFront, View::kBack, View::kLeft, View::kRight, View::kTop, View::kBottom})
            for (const bool high : {false, true})
                for (const bool parallel : {false, true}) {
                    Camera camera = Camera::Named(view, high ? UpAxis::kZ : UpAxis::kY, {4.0 / 3, parallel});
                    camera.Fit(box);
                    double widest = 0, farthest = 0;
                    for (unsigned i = 0; i < 8; ++i) {
                        const Vec3 &x = i & 1 ? box.max : box.min, &y = i & 2 ? box.max : box.min;
                        const Vec3 at = Project(camera, {x[0], y[1], (i & 4 ? box.max : box.min)[2]});
                        widest = std::max({widest, std::abs(at[0]), std::abs(at[1])});
                        farthest = std::max(farthest, std::abs(at[2]));
                    }
                    EXPECT_TRUE(widest <= 1 && farthest <= 1) << box.max[0] << " view " << static_cast<int>(view);
                    EXPECT_TRUE((!solid && view != View::kIso) || std::abs(widest - 0.92) <= 0.005) << widest;
                }
}

TEST(Camera, FitsWhatIsIncludedRatherThanTheBox) {
    // A diamond in the XZ plane reaches only half as far as the corners of its box when its halves are turned by 45
    // degrees; the transform moves it on.
    const double diamond[] = {1, 0, 0, -1, 0, 0, 0, 0, 1, 0, 0, -1};
    const double half = std::sqrt(0.5);
    const std::array<double, 16> turned = {half, 0, half, 0, 0, 1, 0, 0, -half, 0, half, 0, 5, 0, 0, 1};
    Camera camera = Camera::Named(View::kFront, UpAxis::kZ, {1, true});
    camera.Include(diamond, 4, turned);
    camera.Fit({{4, 0, -1}, {6, 0, 1}});
    EXPECT_NEAR(Project(camera, {5 + half, 0, half})[0], 0.92, 1e-9);
    EXPECT_NEAR(Project(camera, {5 - half, 0, -half})[1], -0.92, 1e-9);
}

}  // namespace
