#include <algorithm>
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

#include "meshes.h"
#include "png_file.h"
#include "program.h"
#include "words.h"

namespace {

using tessera::host::Image;
using Pixel = std::array<int, 3>;

constexpr Pixel kMagenta = {255, 0, 255};

// Rows count from the bottom.
Pixel At(const Image& image, int x, int y) {
    const std::uint8_t* rgba = &image.rgba[static_cast<std::size_t>(y * image.width + x) * 4];
    return {rgba[0], rgba[1], rgba[2]};
}

int Difference(const Pixel& a, const Pixel& b) {
    return std::max({std::abs(a[0] - b[0]), std::abs(a[1] - b[1]), std::abs(a[2] - b[2])});
}

// Pixels that are not the magenta of the ground, or those that are rather red.
int Count(const Image& image, bool red = false) {
    int count = 0;
    for (int i = 0; i < image.width * image.height; ++i) {
        const Pixel p = At(image, i % image.width, i / image.width);
        count += red ? p[0] > 2 * p[1] + 40 : Difference(p, kMagenta) > 2;
    }
    return count;
}

class RenderTest : public ProgramTest {
protected:
    // Draws on magenta, which no model here has.
    Image Render(const std::string& models, const std::string& options, const std::string& ground = "1,0,1") const {
        const std::string command = "render " + models + " -o " + Path("out.png --background ") + ground + " --size ";
        const Outcome drawn = Tessera(Words(command + options));
        EXPECT_TRUE(drawn.status == 0 && drawn.out.empty()) << drawn.err;
        return drawn.status == 0 ? tessera::host::ReadPng(Path("out.png")) : Image{1, 1, {0, 0, 0, 0}};
    }
    std::string Cube() const {
        Write("cube.mtl",
              "newmtl side0\nKd 1 0 0\nnewmtl side1\nKd 0 1 0\nnewmtl side2\nKd 0 0 1\n"
              "newmtl side3\nKd 1 1 0\nnewmtl side4\nKd 0 1 1\nnewmtl side5\nKd 1 1 1\n");
        return Write("cube.obj", CubeObj("cube.mtl"));
    }
};

TEST_F(RenderTest, DrawsEveryMode) {
    const std::string gearbox = Gearbox();
    const int solid = Count(Render(gearbox, "200x150"));
    EXPECT_GT(solid, 200 * 150 * 4 / 10);
    // Lines and points leave the ground visible between them; hidden-line fills with the ground's own colour.
    const struct {
        const char* mode;
        double least, most;
    } cases[] = {{"smooth", 1, 1},           {"flat", 0.98, 1.02},      {"smooth-edges", 0.98, 1.02},
                 {"highlight", 0.98, 1.02},  {"env-map", 0.98, 1.02},   {"wire", 0.1, 0.99},
                 {"hidden-line", 0.1, 0.99}, {"wire-all", 0.25, 0.99},  {"points", 0.02, 0.99},
                 {"section", 0.01, 0.99},    {"silhouette", 0.1, 0.99}, {"strip-points", 0.02, 0.99}};
    for (const auto& [mode, least, most] : cases) {
        const int covered = Count(Render(gearbox, std::string("200x150 --mode ") + mode));
        EXPECT_TRUE(covered >= solid * least && covered <= solid * most) << mode << " " << covered << " of " << solid;
    }
}

TEST_F(RenderTest, ShowsTheNamedSideUprightAndFillsThePicture) {
    const std::string cube = Cube();
    // The channels that stand out where the view faces one side.
    const std::pair<const char*, std::array<bool, 3>> cases[] = {
        {"left", {true, false, false}}, {"right", {false, true, false}}, {"front", {false, false, true}},
        {"back", {true, true, false}},  {"bottom", {false, true, true}}, {"top", {true, true, true}}};
    for (const auto& [view, bright] : cases) {
        const Image image = Render(cube, std::string("100x100 --parallel --view ") + view);
        EXPECT_NEAR(Count(image), 92 * 92, 2 * 92) << view;
        for (std::size_t i = 0; i < 3; ++i)
            EXPECT_EQ(At(image, 50, 50)[i] > 120, bright[i]) << view << " channel " << i;
        EXPECT_EQ(At(image, 2, 2), kMagenta) << view;
    }
    // Seen askew: the top side above, the front to the left, the right side to the right.
    const Image iso = Render(cube, "100x100");
    EXPECT_GT(At(iso, 50, 75)[0], 120);
    EXPECT_GT(At(iso, 35, 40)[2], 2 * At(iso, 35, 40)[0]);
    EXPECT_GT(At(iso, 75, 40)[1], 2 * At(iso, 75, 40)[0]);
}

TEST_F(RenderTest, TakesTheCameraColourAndOpacityAskedFor) {
    const std::string cube = Cube();
    const Pixel behind = At(Render(cube, "100x100 --eye 0.5,6,0.5 --target 0.5,0,0.5 --up 1,0,0"), 50, 50);
    EXPECT_TRUE(behind[0] > 120 && behind[2] < 80) << "the yellow back";
    const Pixel green = At(Render(cube, "100x100 --view left --color 0.2,0.9,0.2"), 50, 50);
    EXPECT_GT(green[1], 2 * green[0]);
    // What stands behind shines through.
    EXPECT_LT(Difference(At(Render(cube, "100x100 --view front --alpha 0.01"), 50, 50), kMagenta), 12);
    EXPECT_EQ(Count(Render(cube, "100x100 --view front --alpha 0")), 0);
}

TEST_F(RenderTest, LightsMirroredPartsLikeTheOthers) {
    const nlohmann::json nodes = {{{"children", {1, 2}}},
                                  {{"mesh", 0}, {"translation", {0.1, 0, 0}}},
                                  {{"mesh", 0}, {"translation", {-0.1, 0, 0}}, {"scale", {-1, 1, 1}}}};
    const Image image = Render(Write("pair.glb", TriangleGlb({{"nodes", nodes}})), "100x60 --view front --parallel");
    EXPECT_GT(At(image, 60, 20)[0], 100);
    EXPECT_LE(Difference(At(image, 60, 20), At(image, 39, 20)), 2);
}

TEST_F(RenderTest, DrawsOpenEdgesAndVerticesOverTheSurface) {
    const std::string sheet = Write("sheet.obj", tessera::test::ToObj(tessera::test::Sheet(1, 1).soup));
    const auto reddish = [&](const char* more) {
        return Count(Render(sheet, std::string("100x100 --view top ") + more, "0,0,0"), true);
    };
    EXPECT_EQ(reddish(""), 0);
    EXPECT_NEAR(reddish("--option edges"), 4 * 92, 92);  // one pixel wide around it, none along the diagonal
    EXPECT_NEAR(reddish("--option vertices"), 4 * 4, 8);
}

TEST_F(RenderTest, PutsSeveralModelsIntoOnePicture) {
    const std::string left = Write("left.obj", "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nf 1 2 3 4\n");
    const std::string right = Write("right.obj", "v 3 0 0\nv 4 0 0\nv 4 1 0\nv 3 1 0\nf 1 2 3 4\n");
    const Image image = Render(left + " " + right, "200x50 --view top --parallel");
    const int unit = 46;  // pixels: four units fill 92 % of the width
    EXPECT_NEAR(Count(image), 2 * unit * unit, 4 * unit);
    for (const int x : {30, 100, 170}) EXPECT_EQ(At(image, x, 25) == kMagenta, x == 100);
}

}  // namespace
