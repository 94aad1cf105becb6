// Picks and sections from the command line, and picks on a real model.
#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

#include "model_loader.h"
#include "png_file.h"
#include "program.h"

namespace {

using nlohmann::json;
using tessera::host::Vec3;

Vec3 Minus(const Vec3& a, const Vec3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
Vec3 Cross(const Vec3& a, const Vec3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Vec3& a, const Vec3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

class PickCommand : public ProgramTest {
protected:
    json Ask(std::vector<std::string> arguments) const {
        arguments.push_back("--json");
        const Outcome done = Tessera(std::move(arguments));
        EXPECT_EQ(done.status, 0) << done.err;
        return done.status == 0 ? json::parse(done.out) : json();
    }
    // A plate of 4 by 2, with a bore of radius 0.5 in 48 sides around (1, 1).
    std::string Plate() const {
        std::string obj;
        const auto ring = [&](double z) {
            for (int i = 0; i < 48; ++i) {
                const double a = 2 * 3.14159265358979323846 * i / 48;
                obj += "v " + std::to_string(1 + 0.5 * std::cos(a)) + " " + std::to_string(1 + 0.5 * std::sin(a)) +
                       " " + std::to_string(z) + "\n";
            }
            for (const char* corner : {"0 0 ", "4 0 ", "4 2 ", "0 2 "})
                obj += std::string("v ") + corner + std::to_string(z) + "\n";
        };
        ring(0);
        ring(1);
        const auto face = [&](int a, int b, int c) {
            obj += "f " + std::to_string(a + 1) + " " + std::to_string(b + 1) + " " + std::to_string(c + 1) + "\n";
        };
        for (int i = 0; i < 48; ++i) {
            const int next = (i + 1) % 48, quarter = i / 12, corner = 48 + (quarter + 2) % 4;
            face(52 + i, 52 + corner, 52 + next);
            face(i, next, corner);
            face(i, 52 + i, 52 + next);
            face(i, 52 + next, next);
        }
        for (int q = 0; q < 4; ++q) {
            const int i = 12 * q, here = 48 + (q + 2) % 4, before = 48 + (q + 1) % 4;
            face(52 + i, 52 + before, 52 + here);
            face(i, here, before);
            face(before, here, 52 + here);
            face(before, 52 + here, 52 + before);
        }
        return Write("plate.obj", obj);
    }
};

TEST_F(PickCommand, NamesWhatIsThere) {
    // From above, in parallel, 100 pixels a unit.
    const std::vector<std::string> view = {"--eye", "2,1,22", "--target", "2,1,0", "--up", "0,1,0", "--parallel"};
    const std::string plate = Plate();
    const auto at = [&](double x, double y, const std::string& what, std::vector<std::string> more = {}) {
        const double pixel = 768 / (2 * 22 * std::tan(12.5 * 3.14159265358979323846 / 180));
        const std::string place =
            std::to_string(511.5 + (x - 2) * pixel) + "," + std::to_string(383.5 - (y - 1) * pixel);
        more.insert(more.end(), {"pick", plate, "--at", place, "--what", what});
        more.insert(more.end(), view.begin(), view.end());
        std::rotate(more.begin(), std::find(more.begin(), more.end(), "pick"), more.end());
        return Ask(more);
    };
    const json face = at(3, 1.5, "instance");
    ASSERT_EQ(face["picked"], true);
    EXPECT_EQ(face["path"], "//plate/defaultobject") << face;
    EXPECT_NEAR(face["point"][0], 3, 1e-4);
    EXPECT_NEAR(face["point"][2], 1, 1e-6);
    EXPECT_NEAR(face["normal"][2], 1, 1e-6);
    EXPECT_EQ(at(1, 1, "instance")["picked"], false);
    EXPECT_NEAR(at(4, 2, "point")["point"][2], 1, 1e-6);
    const json run = at(4, 0.7, "segment");
    ASSERT_EQ(run["picked"], true);
    EXPECT_NEAR(std::abs(run["start"][1].get<double>() - run["end"][1].get<double>()), 2, 1e-5);
    const json arc = at(1.5 * std::cos(0.065), 1 + 0.5 * std::sin(0.065), "arc");
    ASSERT_EQ(arc["picked"], true) << arc;
    EXPECT_NEAR(arc["center"][0], 1, 1e-4);
    EXPECT_NEAR(arc["radius"], 0.5, 1e-4);
    EXPECT_GE(arc["arcPoints"], 48);
    const std::vector<std::string> cut = {"--section", "2.5,0,0:1,0,0"};
    EXPECT_EQ(at(2, 1.5, "instance", cut)["picked"], false);
    EXPECT_EQ(at(2.5, 1.3, "section-edge", cut)["picked"], true);
    EXPECT_NEAR(at(2.5, 2, "section-point", cut)["point"][0], 2.5, 1e-6);
}

TEST_F(PickCommand, ShowsWhatWasPicked) {
    const std::string picture = Path("out.png");
    const Outcome done = Tessera({"pick", Gearbox(), "--at", "512,384", "--all", "-o", picture});
    EXPECT_EQ(done.status, 0) << done.err;
    for (const char* what : {"arc:", "edge:", "segment:", "instance:", "point:", "section-edge: nothing"})
        EXPECT_NE(done.out.find(what), std::string::npos) << done.out;
    const tessera::host::Image image = tessera::host::ReadPng(picture);
    int red = 0;
    for (std::size_t i = 0; i < image.rgba.size(); i += 4)
        red += image.rgba[i] > 200 && image.rgba[i + 1] < 40 && image.rgba[i + 2] < 60 ? 1 : 0;
    EXPECT_GT(red, 20);
}

TEST_F(PickCommand, MeasuresSections) {
    const std::string plate = Plate();
    const json across = Ask({"section", plate, "--plane", "3,0,0:1,0,0"});
    EXPECT_NEAR(across["length"], 2 * (2 + 1), 1e-5);
    EXPECT_EQ(across["instances"].size(), 1U);
    const json along = Ask({"section", plate, "--plane", "0,0,0.5:0,0,2"});
    EXPECT_NEAR(along["length"], 12 + 48 * 2 * 0.5 * std::sin(3.14159265358979323846 / 48), 1e-4);
    // In the model's units, whatever the parts are drawn in.
    const json gearbox = Ask({"section", Gearbox(), "--plane", "0,0,0:0,1,0"});
    double sum = 0;
    for (const json& instance : gearbox["instances"]) sum += instance["length"].get<double>();
    EXPECT_NEAR(gearbox["length"], sum, 1e-6 * sum);
    EXPECT_GT(sum, 1);
    EXPECT_LT(sum, 20);
}

TEST_F(PickCommand, MeasuresInTheModelsUnits) {
    const double bore = 24 * 0.25 * std::sin(2 * 3.14159265358979323846 / 48);
    const json plate = Ask({"measure", Plate(), "--plane", "3,0,0:1,0,0"});
    EXPECT_NEAR(plate["volume"], 8 - bore, 0.02);
    EXPECT_NEAR(plate["surfaceArea"], 2 * (8 - bore) + 12 + 48 * std::sin(3.14159265358979323846 / 48), 1e-3);
    EXPECT_NEAR(plate["projectedAreaXY"], 8 - bore, 0.05);
    EXPECT_NEAR(plate["centerOfMass"][0], (8 * 2 - bore) / (8 - bore), 0.01);
    EXPECT_NEAR(plate["sectionLength"], 6, 1e-4);
    EXPECT_NEAR(plate["max"][0], 4, 1e-6);
    const json gearbox = Ask({"measure", Gearbox(), "--node", "//gearbox/gear train", "--precision", "0.1"});
    EXPECT_GT(gearbox["volume"], 1e-5);
    EXPECT_LT(gearbox["volume"], 1e-2);
    const Outcome nowhere = Tessera({"measure", Plate(), "--node", "//nowhere"});
    EXPECT_EQ(nowhere.status, 1);
    EXPECT_NE(nowhere.err.find("//nowhere"), std::string::npos);
    // A cube of a millimetre, in metres.
    std::istringstream lines(CubeObj("none.mtl"));
    std::string small;
    for (std::string line; std::getline(lines, line); small += line + "\n")
        for (std::size_t at = line[1] == ' ' && line[0] == 'v' ? line.find('1') : std::string::npos;
             at != std::string::npos; at = line.find('1', at + 5))
            line.replace(at, 1, "0.001");
    const json tiny = json::parse(Tessera({"measure", Write("tiny.obj", small), "--precision", "0.2", "--json"}).out);
    EXPECT_NEAR(tiny.at("volume").get<double>(), 1e-9, 1e-11);
    EXPECT_NEAR(tiny.at("surfaceArea").get<double>(), 6e-6, 1e-9);
    EXPECT_NEAR(tiny.at("centerOfMass")[2].get<double>(), 0.0005, 1e-6);
}

// Each of these changes the picture.
TEST_F(PickCommand, DrawsWhatTheOptionsAskFor) {
    const std::string gearbox = Gearbox();
    std::vector<std::vector<std::uint8_t>> seen;
    const std::vector<std::vector<std::string>> options = {
        {},
        {"--section", "0,0,0:0.3,0,-1"},
        {"--section", "0,0,0:0.3,0,-1", "--cap"},
        {"--section", "0,0,0:0.3,0,-1", "--section-lines"},
        {"--section", "0,0,0:0.3,0,-1", "--clip-plane"},
        {"--explode", "0.5"},
        {"--lod", "220"},
        {"--mode", "env-map"},
        {"--mode", "env-map", "--texture", "KMStripes"},
        {"--select", "//gearbox/gear train"},
    };
    for (const auto& more : options) {
        std::vector<std::string> arguments = {"render", gearbox, "-o", Path("out.png"), "--size", "160x120"};
        arguments.insert(arguments.end(), more.begin(), more.end());
        const Outcome done = Tessera(arguments);
        ASSERT_EQ(done.status, 0) << done.err;
        seen.push_back(tessera::host::ReadPng(Path("out.png")).rgba);
        for (std::size_t i = 0; i + 1 < seen.size(); ++i) EXPECT_NE(seen[i], seen.back()) << i << arguments.back();
    }
    EXPECT_EQ(Tessera({"render", gearbox, "-o", Path("x.png"), "--texture", Path("none.bmp")}).status, 1);
    EXPECT_EQ(Tessera({"render", gearbox, "-o", Path("x.png"), "--select", "//none"}).status, 1);
    // A turn of two: the second picture from behind, each with all of the model on it.
    EXPECT_EQ(Tessera({"render", gearbox, "-o", Path("t.png"), "--size", "64x48", "--turntable", "2", "--background",
                       "1,1,1"})
                  .status,
              0);
    const auto front = tessera::host::ReadPng(Path("t-000.png")), back = tessera::host::ReadPng(Path("t-001.png"));
    EXPECT_NE(front.rgba, back.rgba);
    for (const auto& image : {front, back}) {
        EXPECT_NE(image.rgba[4 * (24 * 64 + 32)], 255);
        for (std::size_t x = 0; x < 64; ++x) EXPECT_EQ(image.rgba[4 * x], 255) << "touches the frame";
    }
}

TEST_F(PickCommand, RefusesWhatItCannotRead) {
    const std::string plate = Plate();
    const std::vector<std::vector<std::string>> wrong = {
        {"pick", plate},
        {"pick", plate, "--at", "5"},
        {"pick", plate, "--at", "5,nan"},
        {"pick", plate, "--at", "5,5", "--what", "face"},
        {"pick", plate, "--at", "5,5", "--what", "arc", "--all"},
        {"pick", plate, "--at", "5,5", "--reach", "0"},
        {"section", plate},
        {"measure", plate, "--precision", "0"},
        {"render", plate, "-o", Path("x.png"), "--cap"},
        {"section", plate, "--plane", "0,0,0"},
        {"section", plate, "--plane", "0,0,0:0,0,0"},
        {"render", plate, "-o", Path("x.png"), "--section-lines"},
    };
    for (const auto& arguments : wrong) {
        const Outcome done = Tessera(arguments);
        EXPECT_EQ(done.status, 2) << arguments.back();
        EXPECT_NE(done.err, "");
    }
    EXPECT_EQ(Tessera({"pick", Path("none.stl"), "--at", "1,1"}).status, 1);
}

// A thousand rays through a window on the gearbox, against every triangle of the file.
TEST_F(PickCommand, AgreesWithEveryTriangleOfTheGearbox) {
    tessera::host::ModelImport import(Gearbox());
    import.Finish();
    const tessera::host::Model& model = import.Result();
    std::vector<std::array<double, 16>> world;
    std::vector<Vec3> corners;
    for (const auto& node : model.nodes) {
        std::array<double, 16> m = node.transform;
        if (node.parent >= 0) {
            const auto& above = world[static_cast<std::size_t>(node.parent)];
            for (std::size_t r = 0; r < 4; ++r)
                for (std::size_t c = 0; c < 4; ++c) {
                    m[4 * r + c] = 0;
                    for (std::size_t k = 0; k < 4; ++k) m[4 * r + c] += node.transform[4 * r + k] * above[4 * k + c];
                }
        }
        world.push_back(m);
        if (node.part < 0) continue;
        for (const auto& mesh : model.parts[static_cast<std::size_t>(node.part)].meshes)
            for (std::uint64_t i = 0; i < 3 * mesh.triangles; ++i) {
                const double* p = mesh.points + 3 * std::uint64_t{mesh.corners[i]};
                corners.push_back({});
                for (std::size_t c = 0; c < 3; ++c)
                    corners.back()[c] = p[0] * m[c] + p[1] * m[4 + c] + p[2] * m[8 + c] + m[12 + c];
            }
    }
    const tessera::host::Scene scene = tessera::host::CreateScene();
    tessera::host::ModelLoader(*scene).Add(import);
    std::mt19937 random(7);
    const auto real = [&](double low, double high) { return low + (high - low) * (random() % 100000) / 100000; };
    int hits = 0, apart = 0;
    for (int i = 0; i < 1000; ++i) {
        const Vec3 eye = {0.4, -0.6, 0.4}, target = {real(-0.07, 0.07), real(-0.06, 0.1), real(0, 0.12)};
        const Vec3 sight = Minus(target, eye);
        double nearest = 1e30;
        for (std::size_t t = 0; t < corners.size(); t += 3) {
            const Vec3 u = Minus(corners[t + 1], corners[t]), v = Minus(corners[t + 2], corners[t]),
                       p = Cross(sight, v);
            const double det = Dot(u, p);
            if (det == 0) continue;
            const Vec3 s = Minus(eye, corners[t]), q = Cross(s, u);
            const double a = Dot(s, p) / det, b = Dot(sight, q) / det, k = Dot(v, q) / det;
            if (a >= 0 && b >= 0 && a + b <= 1 && k > 0) nearest = std::min(nearest, k);
        }
        float from[3], view[3], point[3], normal[3];
        for (std::size_t c = 0; c < 3; ++c) {
            from[c] = static_cast<float>(eye[c]);
            view[c] = static_cast<float>(sight[c]);
        }
        tessera::VARIANT_BOOL picked = 0;
        int node = 0, err = 0;
        scene->IntersectRay(from, view, &picked, point, normal, &node, &err);
        // A window around the line of sight, one unit wide at the target.
        double screen[16] = {};
        const Vec3 right = Cross(sight, {0, 0, 1}), up = Cross(right, sight);
        const std::array<const Vec3*, 2> axes = {&right, &up};
        for (std::size_t c = 0; c < 3; ++c) {
            for (std::size_t k = 0; k < 2; ++k) {
                const double size = std::sqrt(Dot(*axes[k], *axes[k]));
                screen[4 * c + k] = (*axes[k])[c] / size;
                screen[12 + k] -= eye[c] * (*axes[k])[c] / size;
            }
            screen[4 * c + 3] = sight[c];
            screen[15] -= eye[c] * sight[c];
        }
        tessera::LONG seen = 0;
        float surface[3];
        scene->PickPartInstance(from, view, screen, 0, 0, 1280, &seen, surface, &node, &err);
        const bool expected = nearest < 1e30;
        hits += expected ? 1 : 0;
        const auto disagrees = [&](bool found, const float* at) {
            if (found != expected) return true;
            return expected &&
                   std::abs(at[0] - eye[0] - nearest * sight[0]) + std::abs(at[1] - eye[1] - nearest * sight[1]) > 1e-5;
        };
        apart += disagrees(picked != 0, point) || disagrees(seen != 0, surface) ? 1 : 0;
    }
    EXPECT_GT(hits, 500);
    EXPECT_LE(apart, 1);  // a ray may graze an edge
}

}  // namespace
