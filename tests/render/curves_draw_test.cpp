// What curves and point sets send to OpenGL.
#include <cmath>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class CurveDraws : public RenderTest {
protected:
    CurveDraws() {
        for (const GLenum cap : {GL_LIGHTING, GL_DEPTH_TEST, GL_NORMALIZE}) glEnable(cap);  // as a host has it
    }
    // Points at (0, 0, 0), (1, 0, 0) and so on, each with its code, in the part's colour (0.9, 0.6, 0.3).
    Placed AddCurve(const std::vector<int>& codes) {
        const Placed p = scene.AddEmptyPart();
        scene.SetExternalColor(p.instance, 0.9F, 0.6F, 0.3F);
        scene->BeginPolyLine(p.part, &error);
        for (std::size_t i = 0; i < codes.size(); ++i) {
            Point at{static_cast<float>(i), 0, 0};
            scene->SetPolyLineStipple(p.part, codes[i], &error);
            scene->AddPolyLinePoint(p.part, at.data(), &error);
        }
        scene->EndPolyLine(p.part, &error);
        return p;
    }
    void AddSet(int part, int count) {
        scene->BeginPointSet(part, &error);
        for (int i = 0; i < count; ++i) {
            Point at{static_cast<float>(i), 1, 0};
            scene->AddPointSetPoint(part, at.data(), &error);
        }
        scene->EndPointSet(part, &error);
    }
    void Cut(const Placed& p, float x, bool enabled, bool clip, bool transparent = false) {
        scene.SetSectionPlane(p.instance, {x, 0, 0}, {2, 0, 0});
        scene->EnableCrossSection(p.instance, enabled, &error);
        scene->SwitchCrossSectionPlane(p.instance, clip, &error);
        scene->EnableTransparentXSection(p.instance, transparent, &error);
    }
    // The strips of a draw: first and last x, factor and pattern.
    Texts Strips(int kind) {
        Recording recording;
        scene.Draw(0, kind);
        Texts texts;
        for (const Primitive& p : recording.PrimitivesOf(GL_LINE_STRIP)) {
            char text[80];
            std::snprintf(text, sizeof text, "%g-%g %d %04X", double{p.vertices.front().position[0]},
                          double{p.vertices.back().position[0]}, p.state.stipple[0],
                          static_cast<unsigned>(p.state.stipple[1]));
            texts.push_back(text);
            EXPECT_EQ(p.vertices.size(), p.vertices.back().position[0] - p.vertices.front().position[0] + 1);
            EXPECT_EQ(p.vertices[0].color, kind == 3 ? kRed : kExternal);
            EXPECT_TRUE(p.state.Enabled(GL_LINE_STIPPLE));
            EXPECT_FALSE(p.state.Enabled(GL_LIGHTING));
            EXPECT_EQ(p.state.lineWidth, 1);
        }
        EXPECT_EQ(recording.Violations(), Texts{});
        EXPECT_EQ(recording.Changed(), Texts{});
        return texts;
    }
    // The points of a draw, a line for each primitive: colour, size, clipping and how many.
    Texts Dots(int kind) {
        Recording recording;
        scene.Draw(0, kind);
        Texts texts;
        for (const Primitive& p : recording.PrimitivesOf(GL_POINTS)) {
            if (p.vertices.empty()) continue;
            const auto& c = p.vertices[0].color;
            const char* color = c == kRed ? "red" : c == kYellow ? "yellow" : c == Color{0, 1, 0, 1} ? "green" : "own";
            char text[80];
            std::snprintf(text, sizeof text, "%s %g%s%s %zu", color, double{p.state.pointSize},
                          p.state.Enabled(GL_CLIP_PLANE0) ? " clipped" : "",
                          p.state.Enabled(GL_DEPTH_TEST) ? "" : " in front", p.vertices.size());
            texts.push_back(text);
            EXPECT_FALSE(p.state.Enabled(GL_LIGHTING));
        }
        EXPECT_EQ(recording.Violations(), Texts{});
        EXPECT_EQ(recording.Changed(), Texts{});
        return texts;
    }
};

TEST_F(CurveDraws, StippleBreaksACurveIntoPieces) {
    struct Case {
        std::vector<int> codes;
        Texts normal, preview;
    };
    const Case cases[] = {
        {{0, 0, 0}, {"0-2 1 FFFF"}, {"0-2 1 3333"}},
        {{5, 1, 1}, {"0-2 1 3333"}, {"0-2 1 3333"}},  // the code of the first point is of no stretch
        {{0, 0, 1, 3, 0},
         {"0-1 1 FFFF", "1-2 1 3333", "2-3 1 FFFF", "3-4 1 FFFF"},
         {"0-1 1 3333", "1-2 1 3333", "2-3 1 3333", "3-4 1 FFFF"}},
        {{0, 11, 12, 13, 14, 16, 17},
         {"0-1 1 FFC0", "1-2 1 C630", "2-3 2 FC30", "3-4 2 C223", "4-5 2 EDB7", "5-6 1 FFFF"},
         {"0-1 1 3333", "1-2 1 3333", "2-3 1 3333", "3-4 1 3333", "4-5 1 3333", "5-6 1 3333"}},
        {{0, 0, 2, 1, 1}, {"0-1 1 FFFF", "2-4 1 3333"}, {"0-1 1 3333", "2-4 1 3333"}},
        {{0, 2, 0}, {"1-2 1 FFFF"}, {"1-2 1 FFFF"}},     // at the start
        {{0, 0, 2}, {"0-1 1 FFFF"}, {"0-1 1 3333"}},     // at the end
        {{0, 2, 2, 0}, {"2-3 1 FFFF"}, {"2-3 1 FFFF"}},  // of more than one stretch
        {{2, 2}, {}, {}},                                // nothing else
        {{0, 0, 15, 0}, {"0-1 1 FFFF", "2-3 1 FFFF"}, {"0-1 1 3333", "1-2 1 3333", "2-3 1 FFFF"}},
        {{0, 256, 257}, {"0-1 1 FFFF", "1-2 1 3333"}, {"0-1 1 3333", "1-2 1 3333"}},  // a code is a byte
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        const Placed p = AddCurve(cases[i].codes);
        EXPECT_EQ(Strips(0), cases[i].normal);
        scene.SetSelected(p.instance, true);
        EXPECT_EQ(Strips(3), cases[i].preview);
        scene->Remove(p.instance, &error);
    }
}

TEST_F(CurveDraws, SimpleModeThinsLongCurves) {
    for (const auto& [points, drawn] :
         {std::pair{2, 2}, {2000, 2000}, {2001, 2001}, {3999, 3999}, {4000, 2000}, {6001, 2001}}) {
        const Placed p = AddCurve(std::vector<int>(static_cast<std::size_t>(points), 0));
        EXPECT_EQ(Dots(1), Texts{"own 2 " + std::to_string(drawn)});
        Recording recording;
        scene->DrawSimple(0, &error);
        EXPECT_EQ(recording.Points().size(), static_cast<std::size_t>(drawn));
        scene->Remove(p.instance, &error);
    }
}

TEST_F(CurveDraws, CrossingsAndMarkers) {
    const Placed p = AddCurve({0, 0, 0, 0, 0});
    struct Case {
        float x;
        bool enabled, clip, transparent;
        int vertices;  // 1 asked for, 2 in the vertex pass
        Texts normal, section;
    };
    const Case cases[] = {
        {1.5F, false, true, false, 0, {}, {}},
        {1.5F, true, false, false, 0, {}, {"red 2 1"}},
        {1.5F, true, true, false, 0, {"red 2 1"}, {"red 2 1"}},
        {9, true, true, false, 0, {}, {}},
        {0, true, true, false, 0, {}, {}},  // a point in the plane is above it
        {4, true, true, false, 0, {"red 2 1"}, {"red 2 1"}},
        {1.5F, true, true, false, 1, {"red 2 1", "yellow 2 clipped 5", "green 3 1"}, {"red 2 1", "green 3 1"}},
        {1.5F, true, false, true, 1, {"yellow 2 5", "green 3 in front 1"}, {"red 2 1", "green 3 in front 1"}},
        {1.5F, true, false, false, 1, {"yellow 2 5"}, {"red 2 1"}},
        {1.5F, false, false, true, 1, {"yellow 2 5"}, {}},
        {1.5F, false, false, false, 2, {"red 2 5"}, {}},
        {1.5F, true, true, false, 2, {"red 2 1", "red 2 clipped 5", "green 3 1"}, {"red 2 1", "green 3 1"}},
    };
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        const Case& c = cases[i];
        Cut(p, c.x, c.enabled, c.clip, c.transparent);
        scene->SetVertexVisible(p.instance, c.vertices == 1, &error);
        scene->SetOptionsShadeMode(p.instance, c.vertices == 2 ? 2 : 0, &error);
        EXPECT_EQ(Dots(0), c.normal);
        EXPECT_EQ(Dots(2), c.section);
        Recording recording;
        scene.Draw();
        ASSERT_EQ(recording.PrimitivesOf(GL_LINE_STRIP).size(), 1U);
        EXPECT_EQ(recording.PrimitivesOf(GL_LINE_STRIP)[0].state.Enabled(GL_CLIP_PLANE0), c.enabled && c.clip);
    }
    scene->RotateZ(p.instance, static_cast<float>(std::acos(0.0)), &error);
    scene.Translate(p.instance, 0, 10, 0);
    scene.SetSectionPlane(p.instance, {0, 7.75F, 0}, {0, -0.1F, 0});
    Recording recording;
    scene.Draw();
    ASSERT_FALSE(recording.Points().empty());
    EXPECT_NEAR(recording.Points()[0].at[1], 7.75, 1e-5);
    EXPECT_NEAR(recording.PrimitivesOf(GL_LINE_STRIP)[0].state.clipPlane[0][3], -2.25, 1e-5);
}

TEST_F(CurveDraws, OpacityAndVisibilityChooseThePass) {
    const Placed p = AddCurve({0, 0});
    AddSet(p.part, 3);
    const auto drawn = [&](int kind = 0) {
        Recording recording;
        scene.Draw(0, kind);
        return recording.PrimitivesOf(GL_LINE_STRIP).size() * 10 + recording.Points().size();
    };
    struct Case {
        float alpha;
        int lines, points;
        std::size_t drawn;
    };
    for (const Case& c : {Case{0.99F, 1, 1, 13},
                          {0.95F, 1, 1, 13},
                          {0.94F, 1, 1, 13},
                          {0.005F, 1, 1, 0},
                          {0.006F, 1, 1, 13},
                          {0.99F, 0, 1, 3},
                          {0.99F, 1, 0, 10}}) {
        scene.SetTransparency(p.instance, c.alpha);
        scene->SwitchWireFrameVisibility(p.instance, c.lines, &error);
        scene->SwitchPointSetVisibility(p.instance, c.points, &error);
        EXPECT_EQ(drawn(), c.drawn) << c.alpha << c.lines << c.points;
    }
    // Transparent ones come after all that is opaque.
    scene->SwitchPointSetVisibility(p.instance, 1, &error);
    scene.SetTransparency(p.instance, 0.5F);
    AddCurve({0, 0, 0});
    Recording recording;
    scene.Draw();
    ASSERT_EQ(recording.PrimitivesOf(GL_LINE_STRIP).size(), 2U);
    EXPECT_EQ(recording.PrimitivesOf(GL_LINE_STRIP)[0].vertices.size(), 3U);
}

TEST_F(CurveDraws, PointSets) {
    const Placed p = scene.AddEmptyPart();
    scene->BeginPointSet(p.part, &error);
    scene->SetPointSetColor(p.part, 1.5F, 0, 0.5F, &error);  // not tested, but kept from being too dark
    Point at{};
    scene->AddPointSetPoint(p.part, at.data(), &error);
    scene->EndPointSet(p.part, &error);
    AddSet(p.part, 4);
    EXPECT_EQ(Dots(0), (Texts{"own 2 1", "own 2 4"}));
    EXPECT_EQ(Dots(2), Texts{});
    {
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Points()[0].color, (Color{1.5F, 0.2F, 0.5F, 1}));
        EXPECT_EQ(recording.Points()[1].color, (Color{0.2F, 0.85F, 0.85F, 1}));
    }
    Cut(p, 2, true, true);
    scene->SetVertexVisible(p.instance, 1, &error);
    EXPECT_EQ(Dots(0), (Texts{"yellow 2 clipped 1", "yellow 2 clipped 4"}));
    scene.SetShadeMode(p.instance, 7);
    EXPECT_EQ(Dots(0), Texts{});
}

TEST_F(CurveDraws, ColorsOfCurves) {
    const Placed p = scene.AddEmptyPart();
    struct Case {
        Color given, drawn, printed;
    };
    const Case cases[] = {
        {{0.1F, 0.5F, 1, 1}, {0.2F, 0.5F, 1, 1}, {0.2F, 0.5F, 1, 1}},
        {kWhite, kWhite, kBlack},
        {{0.99F, 0.99F, 0.98F, 1}, {0.99F, 0.99F, 0.98F, 1}, {0.99F, 0.99F, 0.98F, 1}},
        {{1.001F, -0.0001F, 1, 1}, {1.001F, 0.2F, 1, 1}, {1.001F, 0.2F, 1, 1}},
        {{1.002F, 1, 1, 1}, {0.2F, 0.85F, 0.85F, 1}, {0.2F, 0.85F, 0.85F, 1}},  // dropped: the part's
        {{1, -0.0002F, 1, 1}, {0.2F, 0.85F, 0.85F, 1}, {0.2F, 0.85F, 0.85F, 1}},
    };
    for (const Case& c : cases) {
        scene->BeginPolyLine(p.part, &error);
        scene->SetPolyLineColor(p.part, c.given[0], c.given[1], c.given[2], &error);
        for (Point at : {Point{0, 0, 0}, {1, 0, 0}}) scene->AddPolyLinePoint(p.part, at.data(), &error);
        scene->EndPolyLine(p.part, &error);
    }
    for (const bool printing : {false, true}) {
        scene->SetPrintingStatus(p.instance, printing, &error);
        Recording recording;
        scene.Draw();
        const auto strips = recording.PrimitivesOf(GL_LINE_STRIP);
        ASSERT_EQ(strips.size(), std::size(cases));
        for (std::size_t i = 0; i < strips.size(); ++i)
            EXPECT_EQ(strips[i].vertices[0].color, printing ? cases[i].printed : cases[i].drawn) << i;
    }
}

}  // namespace
}  // namespace tessera::test
