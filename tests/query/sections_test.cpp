// Section state and lengths.
#include <numbers>

#include "lens.h"

namespace tessera::test {
namespace {

class Sections : public PickTest {
protected:
    float LengthOf(int node) {
        float length = -1;
        EXPECT_EQ(host->GetCrossSectionLength(node, &length, &error), STATUS_OK);
        return length;
    }
};

TEST_F(Sections, HaveTheLengthOfTheOutline) {
    constexpr double kPi = std::numbers::pi, kRoot2 = std::numbers::sqrt2;
    const struct {
        TestMesh mesh;
        Point point, normal;
        double length, tolerance;
    } cases[] = {
        {Cube(2), {0.1F, 0, 0}, {1, 0, 0}, 8, 1e-5},
        {Cube(2), {0, 0, 0}, {1, 1, 0}, 4 + 4 * kRoot2, 1e-5},
        {Cube(2), {0, 0, 0}, {1, 1, 1}, 6 * kRoot2, 1e-5},  // a hexagon
        {Cube(2), {1, 0, 0}, {1, 0, 0}, 8, 1e-5},           // a face in the plane counts as above it
        {Cube(2), {-1, 0, 0}, {1, 0, 0}, 0, 1e-6},
        {Cube(2), {1.01F, 0, 0}, {1, 0, 0}, 0, 1e-6},
        {Sphere(400, 200), {0.12F, 0.48F, 0.36F}, {0.1F, 0.4F, 0.3F}, 2 * kPi * std::sqrt(1 - 0.3744), 1e-3},
        {Cylinder(720), {0, 0, 0.3F}, {0, 0, 1}, 2 * kPi, 1e-4},
        {Cylinder(720), {0.001F, 0, 0.3F}, {1, 0, 0}, 8, 1e-4},
        {OpenBox(), {0.1F, 0, 0}, {1, 0, 0}, 6, 1e-5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mesh.name);
        const int node = scene.AddMesh(c.mesh).instance;
        scene.SetSectionPlane(node, c.point, c.normal);
        scene->EnableCrossSection(node, 1, &error);
        EXPECT_NEAR(LengthOf(node), c.length, c.tolerance * std::max(1.0, c.length));
        scene->EnableDrawing(node, 0, &error);
    }
}

TEST_F(Sections, CountWhatIsShownBelowTheNode) {
    const int frame = scene.AddAssembly();
    const Placed a = scene.AddMesh(Cube(), frame);
    const int b = scene.AddInstance(a.part, frame);
    scene.Translate(frame, 0.5F, 0, 0);
    scene.SetSectionPlane(a.instance, {0, 0, 0}, {1, 0, 0});
    EXPECT_NEAR(LengthOf(frame), 16, 1e-4) << "a new mesh counts";
    scene->EnableCrossSection(b, 0, &error);
    EXPECT_EQ(LengthOf(frame), 0);
    scene->EnableCrossSection(a.instance, 1, &error);
    // One plane for all instances of a part, clipping or not.
    for (const int node : {frame, 0}) EXPECT_NEAR(LengthOf(node), 16, 1e-4);
    scene.Translate(b, 0.6F, 0, 0);
    EXPECT_NEAR(LengthOf(frame), 8, 1e-4) << "moved out of the plane";
    EXPECT_NEAR(LengthOf(b), 8, 1e-4) << "matrices count from the node on";
    scene->EnableDrawing(a.instance, 0, &error);
    EXPECT_EQ(LengthOf(frame), 0);
    // In the units of the part.
    const int large = scene.AddMesh(Cube()).instance;
    double ten[16] = {10, 0, 0, 0, 0, 10, 0, 0, 0, 0, 10, 0, 0, 0, 0, 1};
    scene->SetTransform(large, ten, &error);
    scene->EnableCrossSection(large, 1, &error);
    EXPECT_NEAR(LengthOf(large), 8, 1e-4);
    float length = 7;
    EXPECT_LT(host->GetCrossSectionLength(999, &length, &error), 0);
    EXPECT_EQ(error, 0);
}

}  // namespace
}  // namespace tessera::test
