#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "png_file.h"
#include "program.h"

namespace {

using tessera::host::Image;
using tessera::host::ReadPng;

using Pixel = std::array<int, 3>;

constexpr Pixel kMagenta = {255, 0, 255};

// Rows count from the bottom.
Pixel At(const Image& image, int x, int y) {
    const std::size_t at =
        (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) + static_cast<std::size_t>(x)) * 4;
    return {image.rgba[at], image.rgba[at + 1], image.rgba[at + 2]};
}

int Difference(const Pixel& a, const Pixel& b) {
    return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

// Pixels that are not magenta.
int Covered(const Image& image) {
    int covered = 0;
    for (int y = 0; y < image.height; ++y) {
        for (int x = 0; x < image.width; ++x) covered += Difference(At(image, x, y), kMagenta) > 2 ? 1 : 0;
    }
    return covered;
}

class RenderTest : public ProgramTest {
protected:
    // Draws on magenta, which no model here has.
    Image Render(std::vector<std::string> arguments, const std::string& output = "out.png") const {
        arguments.insert(arguments.begin(), "render");
        arguments.insert(arguments.end(), {"-o", Path(output)});
        if (std::find(arguments.begin(), arguments.end(), "--background") == arguments.end()) {
            arguments.insert(arguments.end(), {"--background", "1,0,1"});
        }
        const Outcome drawn = Tessera(arguments);
        EXPECT_EQ(drawn.status, 0) << drawn.err;
        EXPECT_EQ(drawn.out, "");
        return drawn.status == 0 ? ReadPng(Path(output)) : Image{1, 1, {0, 0, 0, 0}};
    }

    std::string Cube() const {
        std::string materials;
        const char* colors[] = {"1 0 0", "0 1 0", "0 0 1", "1 1 0", "0 1 1", "1 1 1"};
        for (int side = 0; side < 6; ++side) {
            materials += "newmtl side" + std::to_string(side) + "\nKd " + colors[side] + "\n";
        }
        Write("cube.mtl", materials);
        return Write("cube.obj", CubeObj("cube.mtl"));
    }
};

TEST_F(RenderTest, DrawsEveryMode) {
    const std::string gearbox = Gearbox();
    const auto draw = [&](const std::string& mode) {
        return Render({gearbox, "--size", "200x150", "--mode", mode}, mode + ".png");
    };
    const int solid = Covered(draw("smooth"));
    EXPECT_GT(solid, 200 * 150 * 4 / 10);
    for (const char* mode : {"flat", "smooth-edges", "highlight", "env-map"}) {
        EXPECT_NEAR(Covered(draw(mode)), solid, solid * 0.02) << mode;
    }
    // Lines and points leave the ground visible between them; hidden-line fills with the ground's own colour.
    const std::map<std::string, double> least = {{"wire", 0.1},         {"hidden-line", 0.1}, {"wire-all", 0.25},
                                                 {"points", 0.02},      {"section", 0.01},    {"silhouette", 0.1},
                                                 {"strip-points", 0.02}};
    for (const auto& [mode, part] : least) {
        const int covered = Covered(draw(mode));
        EXPECT_GT(covered, solid * part) << mode;
        EXPECT_LT(covered, solid * 0.99) << mode;
    }
}

TEST_F(RenderTest, ShowsTheNamedSideUprightAndFillsThePicture) {
    const std::string cube = Cube();
    // The channels that stand out where the view faces one side.
    const struct {
        const char* view;
        std::array<bool, 3> bright;
    } cases[] = {{"left", {true, false, false}}, {"right", {false, true, false}}, {"front", {false, false, true}},
                 {"back", {true, true, false}},  {"bottom", {false, true, true}}, {"top", {true, true, true}}};
    for (const auto& [view, bright] : cases) {
        const Image image = Render({cube, "--size", "100x100", "--view", view, "--parallel"});
        EXPECT_NEAR(Covered(image), 92 * 92, 2 * 92) << view;
        const Pixel middle = At(image, 50, 50);
        for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(middle[i] > 120, bright[i]) << view << " channel " << i;
        EXPECT_EQ(At(image, 2, 2), kMagenta) << view;
    }
    // Seen askew: the top side above, the front to the left, the right side to the right.
    const Image iso = Render({cube, "--size", "100x100"});
    EXPECT_GT(At(iso, 50, 75)[0], 120);
    EXPECT_GT(At(iso, 35, 40)[2], 2 * At(iso, 35, 40)[0]);
    EXPECT_GT(At(iso, 75, 40)[1], 2 * At(iso, 75, 40)[0]);
}

TEST_F(RenderTest, TakesTheCameraColourAndOpacityAskedFor) {
    const std::string cube = Cube();
    const Image behind =
        Render({cube, "--size", "100x100", "--eye", "0.5,6,0.5", "--target", "0.5,0,0.5", "--up", "1,0,0"});
    EXPECT_GT(At(behind, 50, 50)[0], 120);  // the yellow back
    EXPECT_LT(At(behind, 50, 50)[2], 80);

    const Image green = Render({cube, "--size", "100x100", "--view", "left", "--color", "0.2,0.9,0.2"});
    EXPECT_GT(At(green, 50, 50)[1], 2 * At(green, 50, 50)[0]);

    // Half of what stands behind shines through.
    const Image clear = Render({cube, "--size", "100x100", "--view", "front", "--alpha", "0.01"});
    EXPECT_LT(Difference(At(clear, 50, 50), kMagenta), 12);
    const Image gone = Render({cube, "--size", "100x100", "--view", "front", "--alpha", "0"});
    EXPECT_EQ(Covered(gone), 0);
}

TEST_F(RenderTest, LightsMirroredPartsLikeTheOthers) {
    const nlohmann::json nodes = {{{"children", {1, 2}}},
                                  {{"mesh", 0}, {"translation", {0.1, 0, 0}}},
                                  {{"mesh", 0}, {"translation", {-0.1, 0, 0}}, {"scale", {-1, 1, 1}}}};
    const std::string pair = Write("pair.glb", TriangleGlb({{"nodes", nodes}}));
    const Image image = Render({pair, "--size", "100x60", "--view", "front", "--parallel"});
    const Pixel plain = At(image, 60, 20);
    const Pixel mirrored = At(image, 39, 20);
    EXPECT_GT(plain[0], 100);
    EXPECT_LE(Difference(plain, mirrored), 2);
}

TEST_F(RenderTest, DrawsOpenEdgesAndVerticesOverTheSurface) {
    const std::string sheet = Write("sheet.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3\nf 1 3 4\n");
    const auto reddish = [&](const std::vector<std::string>& more) {
        std::vector<std::string> arguments = {sheet, "--size", "100x100", "--view", "top", "--background", "0,0,0"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Image image = Render(arguments);
        int count = 0;
        for (int y = 0; y < 100; ++y) {
            for (int x = 0; x < 100; ++x) count += At(image, x, y)[0] > 2 * At(image, x, y)[1] + 40 ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(reddish({}), 0);
    EXPECT_NEAR(reddish({"--option", "edges"}), 4 * 92, 92);  // one pixel wide around it, none along the diagonal
    EXPECT_NEAR(reddish({"--option", "vertices"}), 4 * 4, 8);
}

TEST_F(RenderTest, PutsSeveralModelsIntoOnePicture) {
    const std::string left = Write("left.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
    const std::string right = Write("right.obj", "v 3 0 0\nv 4 0 0\nv 4 1 0\nv 3 1 0\nf 1 2 3 4\n");
    const Image image = Render({left, right, "--size", "200x50", "--view", "top", "--parallel"});
    const int unit = 46;  // pixels: four units fill 92 % of the width
    EXPECT_NEAR(Covered(image), 2 * unit * unit, 4 * unit);
    EXPECT_NE(At(image, 30, 25), kMagenta);
    EXPECT_EQ(At(image, 100, 25), kMagenta);
    EXPECT_NE(At(image, 170, 25), kMagenta);
}

}  // namespace
