// Picks, sections and measures from the command line, and what they add to a picture.
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <set>

#include "meshes.h"
#include "png_file.h"
#include "program.h"
#include "words.h"

namespace {

using nlohmann::json;
using tessera::host::ReadPng;
using tessera::test::Cube;
using tessera::test::ToObj;

class PickCommand : public ProgramTest {
protected:
    json Ask(const std::string& command) const {
        const Outcome done = Tessera(Words(command + " --json"));
        EXPECT_EQ(done.status, 0) << command << done.err;
        return json::parse(done.out, nullptr, false);
    }
    void ExpectNear(const json& actual, const std::vector<double>& expected, double tolerance) const {
        ASSERT_EQ(actual.size(), expected.size()) << actual;
        for (std::size_t i = 0; i < expected.size(); ++i)
            EXPECT_NEAR(actual[i].get<double>(), expected[i], tolerance) << actual;
    }
    // A block of 2 by 2 by 2 around (1, 1, 0), and around (4, 1, 0) a pillar of radius 0.5 and as high.
    std::string Model() const {
        tessera::test::Soup soup = Cube(2, {1, 1, 0}).soup;
        for (std::size_t i = 0; i < pillar.soup.size(); ++i)
            soup.push_back(pillar.soup[i] + (i % 3 == 0 ? 4.0F : i % 3 == 1 ? 1.0F : 0.0F));
        return Write("model.obj", ToObj(soup));
    }

    const tessera::test::TestMesh pillar = tessera::test::Cylinder(48, 0.5F);
    const double rim = 48 * std::sin(std::numbers::pi / 48);  // the pillar's circumference
};

TEST_F(PickCommand, NamesWhatIsThere) {
    // From above, in parallel: the whole picture is so many pixels high.
    const double pixel = 768 / (2 * 21 * std::tan(12.5 * std::numbers::pi / 180));
    const std::string view = Model() + " --eye 2,1,22 --target 2,1,1 --up 0,1,0 --parallel --what ";
    const auto at = [&](double x, double y, const std::string& what) {
        const std::string column = std::to_string(511.5 + (x - 2) * pixel);
        return Ask("pick --at " + column + "," + std::to_string(383.5 - (y - 1) * pixel) + " " + view + what);
    };
    const json face = at(1, 1.5, "instance"), edge = at(2, 0.7, "segment");
    EXPECT_EQ(face["path"], "//model/defaultobject") << face;
    ExpectNear(face["point"], {1, 1.5, 1}, 1e-4);
    ExpectNear(face["normal"], {0, 0, 1}, 1e-6);
    ExpectNear(at(2, 2, "point")["point"], {2, 2, 1}, 1e-6);
    ExpectNear({edge["start"][0], std::abs(edge["start"][1].get<double>() - edge["end"][1].get<double>())}, {2, 2},
               1e-5);
    const json arc = at(4 + 0.5 * std::cos(0.065), 1 + 0.5 * std::sin(0.065), "arc");
    ExpectNear({arc["center"][0], arc["center"][1], arc["radius"]}, {4, 1, 0.5}, 1e-4);
    EXPECT_GE(arc["arcPoints"], 48);
    const std::string cut = " --section 1.5,0,0:1,0,0";
    EXPECT_EQ(at(3, 1, "instance")["picked"], false);
    EXPECT_EQ(at(1, 1.5, "instance" + cut)["picked"], false);
    EXPECT_EQ(at(1.5, 1.3, "section-edge" + cut)["picked"], true);
    ExpectNear(at(1.5, 2, "section-point" + cut)["point"], {1.5, 2, 1}, 1e-6);
}

TEST_F(PickCommand, ShowsWhatWasPicked) {
    const Outcome done = Tessera(Words("pick " + Gearbox() + " --at 512,384 --all -o " + Path("out.png")));
    EXPECT_EQ(done.status, 0) << done.err;
    for (const char* what : {"arc:", "edge:", "segment:", "instance:", "point:", "section-edge: nothing"})
        EXPECT_NE(done.out.find(what), std::string::npos) << done.out;
    const auto rgba = ReadPng(Path("out.png")).rgba;
    int red = 0;
    for (std::size_t i = 0; i < rgba.size(); i += 4)
        red += rgba[i] > 200 && rgba[i + 1] < 40 && rgba[i + 2] < 60 ? 1 : 0;
    EXPECT_GT(red, 20);
}

TEST_F(PickCommand, MeasuresInTheModelsUnits) {
    const std::string model = Model(), gearbox = Gearbox();
    const json section = Ask("section " + model + " --plane 1,0,0:1,0,0"), whole = Ask("measure " + model);
    EXPECT_EQ(section["instances"].size(), 1U);
    const double volume = 8 + pillar.volume, area = 24 + pillar.area, shadow = 4 + pillar.volume / 2;
    ExpectNear({section["length"], Ask("section " + model + " --plane 0,0,0.5:0,0,2")["length"]}, {8, 8 + rim}, 1e-4);
    ExpectNear({whole["surfaceArea"], Ask("measure " + model + " --plane 1,0,0:1,0,0")["sectionLength"]}, {area, 8},
               1e-3);
    ExpectNear({whole["volume"], whole["projectedAreaXY"]}, {volume, shadow}, 0.05);
    ExpectNear(whole["centerOfMass"], {(8 + pillar.volume * 4) / volume, 1, 0}, 0.01);
    ExpectNear(whole["max"], {4.5, 2, 1}, 1e-6);
    // Whatever the parts are drawn in.
    const json across = Ask("section " + gearbox + " --plane 0,0,0:0,1,0");
    double sum = 0;
    for (const json& instance : across["instances"]) sum += instance["length"].get<double>();
    EXPECT_NEAR(across["length"], sum, 1e-6 * sum);
    EXPECT_NEAR(sum, 10, 9);
    EXPECT_NEAR(Ask("measure " + gearbox + " --node //gearbox/housing --precision 0.1")["volume"], 5e-3, 4.99e-3);
    // A cube of a millimetre, in metres.
    const std::string tiny = Write("tiny.obj", ToObj(Cube(0.001F, {0.0005F, 0.0005F, 0.0005F}).soup));
    const json small = Ask("measure " + tiny + " --precision 0.2");
    ExpectNear({small["volume"].get<double>() * 1e9, small["surfaceArea"].get<double>() * 1e6}, {1, 6}, 0.01);
    EXPECT_NEAR(small["centerOfMass"][2], 0.0005, 1e-6);
}

// Each of these changes the picture.
TEST_F(PickCommand, DrawsWhatTheOptionsAskFor) {
    const std::string gearbox = "render " + Gearbox() + " -o ", cut = "--section 0,0,0:0.3,0,-1";
    std::set<std::string> seen;
    for (const std::string& options :
         {std::string(), cut, cut + " --cap", cut + " --section-lines", cut + " --clip-plane",
          std::string("--explode 0.5"), std::string("--lod 220"), std::string("--mode env-map"),
          std::string("--mode env-map --texture KMStripes"), std::string("--select //gearbox/housing")}) {
        const Outcome done = Tessera(Words(gearbox + Path("out.png") + " --size 160x120 " + options));
        ASSERT_EQ(done.status, 0) << done.err;
        const auto image = ReadPng(Path("out.png"));
        EXPECT_TRUE(seen.emplace(image.rgba.begin(), image.rgba.end()).second) << options;
    }
    // A turn of two: the second picture from behind, each with all of the model on it.
    const std::string turn = gearbox + Path("t.png") + " --size 64x48 --turntable 2 --background 1,1,1";
    EXPECT_EQ(Tessera(Words(turn)).status, 0);
    const auto front = ReadPng(Path("t-000.png")), back = ReadPng(Path("t-001.png"));
    EXPECT_NE(front.rgba, back.rgba);
    for (const auto& image : {front, back}) {
        EXPECT_NE(image.rgba[4 * (24 * 64 + 32)], 255);
        for (std::size_t x = 0; x < 64; ++x) EXPECT_EQ(image.rgba[4 * x], 255) << "touches the frame";
    }
}

}  // namespace
