// The viewer as a hand works it, off screen, and the ways to move its eye.
#include <algorithm>
#include <cmath>
#include <numbers>
#include <sstream>
#include <tuple>

#include "navigation.h"
#include "png_file.h"
#include "program.h"

namespace {

using tessera::host::Image;
using tessera::host::Vec3;
using Steps = std::vector<std::string>;

// The picture between the panels of a window of 900 x 500.
constexpr int kLeft = 292, kRight = 608, kTop = 24, kBottom = 468;
constexpr const char* kMiddle = "450,246";

class Viewer : public ProgramTest {
protected:
    Outcome Run(const std::vector<std::string>& models, const Steps& steps) const {
        std::vector<std::string> command = {VIEWER_PROGRAM, "--size", "900x500", "--screenshot", Path("v.png")};
        for (const std::string& step : steps) command.insert(command.end(), {"--do", step});
        command.insert(command.end(), models.begin(), models.end());
        return ProgramTest::Run(command);
    }
    Image Show(const std::string& model, const Steps& steps) const {
        const Outcome done = Run({model}, steps);
        EXPECT_EQ(done.status, 0) << done.err;
        return tessera::host::ReadPng(Path("v.png"));
    }
    // What is neither ground, which has more blue than red, nor a panel: how much, and within which pixels.
    struct Seen {
        int pixels = 0, yellow = 0, left = kRight, right = kLeft, top = kBottom, bottom = kTop;
    };
    static Seen Look(const Image& image, const Image& ground) {
        Seen seen;
        for (int y = kTop; y < kBottom; ++y) {
            for (int x = kLeft; x < kRight; ++x) {
                const std::size_t at = 4 * (static_cast<std::size_t>(image.height - 1 - y) * image.width + x);
                const std::uint8_t *p = &image.rgba[at], *g = &ground.rgba[at];
                if (std::abs(p[0] - g[0]) + std::abs(p[1] - g[1]) + std::abs(p[2] - g[2]) < 12) continue;
                ++seen.pixels;
                if (p[0] > p[2] + 100 && p[1] > p[2] + 100) ++seen.yellow;
                seen.left = std::min(seen.left, x), seen.right = std::max(seen.right, x);
                seen.top = std::min(seen.top, y), seen.bottom = std::max(seen.bottom, y);
            }
        }
        return seen;
    }
    Image Ground() const {
        EXPECT_EQ(Run({}, {}).status, 0);
        return tessera::host::ReadPng(Path("v.png"));
    }
};

TEST_F(Viewer, SelectsHidesCutsAndMoves) {
    const std::string cube = Write("cube.obj", CubeObj("none.mtl")), at = kMiddle;
    const Image ground = Ground();
    const Seen all = Look(Show(cube, {"move 1,1"}), ground);
    EXPECT_GT(all.pixels, 30000);
    EXPECT_EQ(all.yellow, 0);
    // One after the other; each leaves the model as the next expects it.
    const struct {
        Steps steps;
        double least, most;  // pixels, in those of the first picture
        bool selected;
    } cases[] = {
        {{"wheel 300 " + at, "wheel -300 " + at, "key 0", "click " + at}, 1, 1, true},
        {{"key escape"}, 1, 1, false},
        {{"click " + at, "ctrl+click " + at}, 1, 1, false},
        {{"click " + at, "click 300,40"}, 1, 1, false},
        {{"click " + at, "key I"}, 1, 1, true},
        {{"key H"}, 0, 0, false},
        {{"key shift+H"}, 1, 1, false},
        {{"key S"}, 0.5, 0.95, false},
        {{"key S"}, 1, 1, false},
        {{"wheel 2 " + at}, 1.2, 1.9, false},
        {{"wheel -6 " + at}, 0.25, 0.45, false},
        {{"key F"}, 0.9, 1.1, false},
        {{"right 450,246 450,450"}, 0.3, 0.8, false},
        {{"drag 450,200 500,230", "key 0"}, 1, 1, false},
        {{"key O", "type " + cube, "key enter", "key 0", "move 1,1"}, 1, 1, false},
    };
    Steps steps;
    for (const auto& c : cases) {
        steps.insert(steps.end(), c.steps.begin(), c.steps.end());
        steps.push_back("shot " + Path(std::to_string(&c - cases) + ".png"));
    }
    Show(cube, steps);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.steps.back());
        const Seen seen = Look(tessera::host::ReadPng(Path(std::to_string(&c - cases) + ".png")), ground);
        EXPECT_GE(seen.pixels, c.least * all.pixels);
        EXPECT_LE(seen.pixels, c.most * all.pixels);
        EXPECT_EQ(seen.yellow > 500, c.selected);
    }
}

TEST_F(Viewer, Measures) {
    const std::string cube = Write("cube.obj", CubeObj("none.mtl"));
    // A rod of radius 2 along z.
    std::string rod;
    constexpr int kSides = 48;
    for (int i = 0; i < 2 * kSides; ++i) {
        const double angle = 2 * std::numbers::pi * (i % kSides) / kSides;
        rod += "v " + std::to_string(2 * std::cos(angle)) + " " + std::to_string(2 * std::sin(angle)) + " " +
               std::to_string(i / kSides) + "\n";
    }
    for (int i = 0; i < kSides; ++i) {
        const int a = i + 1, b = (i + 1) % kSides + 1;
        rod += "f " + std::to_string(a) + " " + std::to_string(b) + " " + std::to_string(b + kSides) + " " +
               std::to_string(a + kSides) + "\n";
        if (i < 2) continue;
        rod += "f " + std::to_string(kSides + 1) + " " + std::to_string(kSides + i) + " " + std::to_string(kSides + a) +
               "\n";
        rod += "f 1 " + std::to_string(a) + " " + std::to_string(i) + "\n";
    }
    const Image ground = Ground();
    const Seen front = Look(Show(cube, {"key 1"}), ground);
    const Seen round = Look(Show(Write("rod.obj", rod), {"key 5"}), ground);
    const auto at = [](const char* verb, int x, int y) {
        return std::string(verb) + " " + std::to_string(x) + "," + std::to_string(y);
    };
    const std::string middle = std::string("click ") + kMiddle;
    const struct {
        const char* model;
        Steps steps;
        const char* said;
    } cases[] = {
        {"cube.obj",
         {"key 1", "key D", at("click", front.left, front.top), at("click", front.right, front.bottom)},
         "distance 1.41421\ndx 1  dy 0  dz -1\n"},
        {"cube.obj", {"key 1", "key L", at("click", front.left, 246)}, "length 1\n"},
        {"cube.obj", {"key 1", "key A", middle, "key 5", middle}, "angle of faces 90.0000 deg\n"},
        {"cube.obj", {"key 1", "key A", middle, "key 2", middle}, "angle of faces 180.0000 deg  1 apart\n"},
        {"rod.obj", {"key 5", "key R", at("click", round.right - 3, 246)}, "radius 2  diameter 4\n"},
        // No straight edge in the middle of a face, and none behind it.
        {"cube.obj", {"key 0", "key L", middle}, ""},
    };
    for (const auto& c : cases) {
        const Outcome done = Run({Path(c.model)}, c.steps);
        EXPECT_EQ(done.out, c.said) << done.err << c.steps.back();
    }
}

// Parts that stand apart are found where they are seen, stand as far apart as the slider says however it got there, and
// what is hidden counts for nothing.
TEST_F(Viewer, TakesApart) {
    const std::string cube = CubeObj("none.mtl");
    std::string two = "o near\n" + cube.substr(cube.find("v ")) + "o far\n";
    std::istringstream lines(cube.substr(cube.find("v ")));
    for (std::string kind, line; lines >> kind && std::getline(lines, line);) {
        std::istringstream numbers(line);
        int x = 0, y = 0, z = 0, w = 0;
        if (kind == "v" && numbers >> x >> y >> z)
            two += "v " + std::to_string(x + 4) + " " + std::to_string(y) + " " + std::to_string(z) + "\n";
        if (kind == "f" && numbers >> x >> y >> z >> w)
            two += "f " + std::to_string(x + 8) + " " + std::to_string(y + 8) + " " + std::to_string(z + 8) + " " +
                   std::to_string(w + 8) + "\n";
    }
    const std::string model = Write("two.obj", two);
    const Image ground = Ground();
    const auto seen = [&](Steps steps) {
        steps.insert(steps.begin(), {"key P", "key 1"});
        return Look(Show(model, steps), ground);
    };
    // The slider at one place, and there again after another place and after a part was hidden and shown.
    const std::string slide = "click 740,196", more = "click 780,196";
    const Seen apart = seen({slide, "key F", "move 1,1"});
    const Seen again = seen({slide, more, slide, "click 39,91", "click 39,91", "key F", "move 1,1"});
    EXPECT_EQ(std::tuple(apart.pixels, apart.left, apart.right), std::tuple(again.pixels, again.left, again.right));
    const std::string edge = std::to_string(apart.left + 1) + ",246", face = std::to_string(apart.left + 6) + ",246";
    EXPECT_NEAR(seen({slide, "key F", "click " + face}).yellow, apart.pixels / 2, apart.pixels / 8);
    const Outcome measured = Run({model}, {"key P", "key 1", slide, "key F", "key L", "click " + edge});
    EXPECT_EQ(measured.out, "length 1\n") << measured.err;
    // What is left when one is hidden fills the picture.
    EXPECT_GT(seen({"click 39,91", "key F", "move 1,1"}).pixels, 5 * apart.pixels);
}

TEST_F(Viewer, RefusesWithAReason) {
    const std::string cube = Write("cube.obj", CubeObj("none.mtl")), broken = Write("broken.stl", "solid x\nfacet");
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* reason;
    } cases[] = {
        {{"--screenshot", Path("v.png"), broken}, 1, "broken.stl"},
        {{"--screenshot", Path("v.png"), Path("none.stl")}, 1, "No such file"},
        {{"--screenshot", Path("v.png"), "--do", "jump", cube}, 1, "jump"},
        {{"--screenshot", Path("v.png"), "--do", "click here", cube}, 1, "click here"},
        {{"--screenshot", Path("none/v.png"), cube}, 1, "none/v.png"},
        {{"--do", "key S", cube}, 2, "--screenshot"},
        {{"--size", "10x10", cube}, 2, "--size"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> command = {VIEWER_PROGRAM};
        command.insert(command.end(), c.arguments.begin(), c.arguments.end());
        const Outcome outcome = ProgramTest::Run(command);
        EXPECT_EQ(outcome.status, c.status) << c.reason;
        EXPECT_NE(outcome.err.find(c.reason), std::string::npos) << outcome.err;
    }
}

// Where a point stands on the picture, in halves of its height.
std::array<double, 2> Seen(const tessera::host::Navigation& eye, const Vec3& p, double aspect) {
    const tessera::host::Camera camera = eye.At(aspect, {{-1, -1, -1}, {1, 1, 1}});
    const auto m = camera.ModelView(), q = camera.Projection();
    double v[4], c[4];
    for (int r = 0; r < 4; ++r) v[r] = m[r] * p[0] + m[4 + r] * p[1] + m[8 + r] * p[2] + m[12 + r];
    for (int r = 0; r < 4; ++r) c[r] = q[r] * v[0] + q[4 + r] * v[1] + q[8 + r] * v[2] + q[12 + r] * v[3];
    return {c[0] / c[3] * aspect, c[1] / c[3]};
}

TEST(NavigationTest, TheModelFollowsTheHand) {
    constexpr double kAspect = 1.5;
    const Vec3 pivot{0.2, -0.3, 0.4};
    for (const bool parallel : {false, true}) {
        for (const auto up : {tessera::host::UpAxis::kY, tessera::host::UpAxis::kZ}) {
            tessera::host::Navigation eye;
            eye.SetUp(up);
            eye.SetParallel(parallel);
            eye.LookFrom(tessera::host::View::kIso, {{-1, -1, -1}, {1, 1, 1}}, kAspect);
            eye.SetPivot(pivot);
            const auto start = Seen(eye, pivot, kAspect);
            for (const auto& [right, upward] : {std::pair(0.3, -0.2), {1.0, 0.4}, {-2.0, 3.0}, {0.1, -9.0}}) {
                eye.Orbit(right, upward);
                const auto now = Seen(eye, pivot, kAspect);
                EXPECT_NEAR(now[0], start[0], 1e-9);
                EXPECT_NEAR(now[1], start[1], 1e-9);
                // The horizon stays level and the model on its feet.
                const std::size_t upright = up == tessera::host::UpAxis::kY ? 1 : 2;
                const auto view = eye.At(kAspect, {{-1, -1, -1}, {1, 1, 1}}).ModelView();
                EXPECT_NEAR(view[4 * upright], 0, 1e-12);
                EXPECT_GE(view[4 * upright + 1], -1e-12);
            }
            eye.Pan(0.25, -0.5);
            const auto panned = Seen(eye, pivot, kAspect);
            EXPECT_NEAR(panned[0], start[0] + 0.25, 1e-9);
            EXPECT_NEAR(panned[1], start[1] - 0.5, 1e-9);
            eye.Zoom(2.5, panned[0], panned[1]);
            const auto zoomed = Seen(eye, pivot, kAspect);
            EXPECT_NEAR(zoomed[0], panned[0], 1e-9);
            EXPECT_NEAR(zoomed[1], panned[1], 1e-9);
            eye.Roll(0.7);
            EXPECT_NEAR(std::hypot(Seen(eye, pivot, kAspect)[0], Seen(eye, pivot, kAspect)[1]),
                        std::hypot(zoomed[0], zoomed[1]), parallel ? 1e-9 : 1);
        }
    }
}

}  // namespace
