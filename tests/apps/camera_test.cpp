#include "camera.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using tessera::host::Box;
using tessera::host::Camera;
using tessera::host::Lens;
using tessera::host::Mat4;
using tessera::host::UpAxis;
using tessera::host::Vec3;
using tessera::host::View;

std::array<double, 4> Times(const Mat4& m, const std::array<double, 4>& v) {
    std::array<double, 4> result{};
    for (std::size_t i = 0; i < 16; ++i) result[i % 4] += m[i] * v[i / 4];
    return result;
}

// Where a point lands in a picture that reaches from -1 to 1 each way.
Vec3 Project(const Camera& camera, const Vec3& p) {
    const auto clip = Times(camera.Projection(), Times(camera.ModelView(), {p[0], p[1], p[2], 1}));
    return {clip[0] / clip[3], clip[1] / clip[3], clip[2] / clip[3]};
}

TEST(Camera, ShowsTheWholeOfAnyBoxAndFillsThePicture) {
    const struct {
        const char* name;
        Box box;
    } cases[] = {{"cube", {{-1, -1, -1}, {1, 1, 1}}},
                 {"flat", {{0, 0, 2}, {30, 20, 2}}},
                 {"rod", {{0, 0, 0}, {0, 0, 1000}}},
                 {"tiny", {{0, 0, 0}, {1e-7, 2e-7, 1e-7}}},
                 {"far away", {{2678219, 1243490, 402}, {2686115, 1253037, 557}}}};
    for (const auto& [name, box] : cases) {
        for (const View view :
             {View::kIso, View::kFront, View::kBack, View::kLeft, View::kRight, View::kTop, View::kBottom}) {
            for (const UpAxis up : {UpAxis::kY, UpAxis::kZ}) {
                for (const bool parallel : {false, true}) {
                    SCOPED_TRACE(std::string(name) + " view " + std::to_string(static_cast<int>(view)) +
                                 (parallel ? " parallel" : " perspective"));
                    Camera camera = Camera::Named(view, up, {4.0 / 3, parallel});
                    camera.Fit(box);
                    double widest = 0;
                    for (unsigned i = 0; i < 8; ++i) {
                        const Vec3 at =
                            Project(camera, {i & 1 ? box.max[0] : box.min[0], i & 2 ? box.max[1] : box.min[1],
                                             i & 4 ? box.max[2] : box.min[2]});
                        for (const double c : at) EXPECT_LE(std::abs(c), 1);
                        widest = std::max({widest, std::abs(at[0]), std::abs(at[1])});
                    }
                    // A flat box seen edge on and a rod seen from its end have nothing to fill a picture with.
                    const bool solid = std::string(name) != "flat" && std::string(name) != "rod";
                    if (solid || view == View::kIso) {
                        EXPECT_NEAR(widest, 0.92, 0.005);
                    }
                }
            }
        }
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
