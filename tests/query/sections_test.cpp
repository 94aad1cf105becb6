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
    const struct {
        TestMesh mesh;
        Point point, normal;
        double length, tolerance;
    } cases[] = {
        {Cube(2), {0.1F, 0, 0}, {1, 0, 0}, 8, 1e-5},
        {Cube(2), {0, 0, 0}, {1, 1, 0}, 4 + 4 * std::numbers::sqrt2, 1e-5},
        {Cube(2), {0, 0, 0}, {1, 1, 1}, 6 * std::numbers::sqrt2, 1e-5},  // a hexagon
        {Cube(2), {1, 0, 0}, {1, 0, 0}, 8, 1e-5},                        // a face in the plane counts as above it
        {Cube(2), {-1, 0, 0}, {1, 0, 0}, 0, 1e-6},
        {Cube(2), {1.01F, 0, 0}, {1, 0, 0}, 0, 1e-6},
        {Sphere(400, 200), {0.01F, 0.3F, 0.02F}, {0.1F, 1, 0.2F}, 0, 1e-3},
        {Cylinder(720), {0, 0, 0.3F}, {0, 0, 1}, 2 * std::numbers::pi, 1e-4},
        {Cylinder(720), {0.001F, 0, 0.3F}, {1, 0, 0}, 8, 1e-4},
        {OpenBox(), {0.1F, 0, 0}, {1, 0, 0}, 6, 1e-5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mesh.name);
        const int node = scene.AddMesh(c.mesh).instance;
        scene.SetSectionPlane(node, c.point, c.normal);
        scene->EnableCrossSection(node, 1, &error);
        double expected = c.length;
        if (c.mesh.name == Sphere().name) {
            const double size = std::sqrt(Dot3(c.normal, c.normal)), d = Dot3(c.point, c.normal) / size;
            expected = 2 * std::numbers::pi * std::sqrt(1 - d * d);
        }
        EXPECT_NEAR(LengthOf(node), expected, c.tolerance * std::max(1.0, expected));
        scene->EnableDrawing(node, 0, &error);
    }
}

TEST_F(Sections, CountWhatIsShownBelowTheNode) {
    const int frame = scene.AddAssembly();
    const Placed a = scene.AddMesh(Cube(), frame);
    const int b = scene.AddInstance(a.part, frame);
    scene->Scale(b, 1, 1, 1, &error);
    scene.Translate(frame, 0.5F, 0, 0);
    scene.SetSectionPlane(a.instance, {0, 0, 0}, {1, 0, 0});
    EXPECT_NEAR(LengthOf(frame), 16, 1e-4) << "a new mesh counts";
    scene->EnableCrossSection(b, 0, &error);
    EXPECT_EQ(LengthOf(frame), 0);
    scene->EnableCrossSection(a.instance, 1, &error);
    // One plane for all instances of a part, clipping or not.
    EXPECT_NEAR(LengthOf(frame), 16, 1e-4);
    EXPECT_NEAR(LengthOf(0), 16, 1e-4);
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
