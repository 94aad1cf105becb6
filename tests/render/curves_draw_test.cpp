// What curves and point sets send to OpenGL.
#include <sstream>

#include "render_fixture.h"

namespace tessera::test {
namespace {

class CurveDraws : public RenderTest {
protected:
    CurveDraws() {
        for (const GLenum cap : {GL_LIGHTING, GL_DEPTH_TEST, GL_NORMALIZE}) glEnable(cap);  // as a host has it
    }
    // Points at (0, 0, 0), (1, 0, 0) and so on, each with its code.
    void AddCurve(int part, const std::vector<int>& codes, const Color& color = kExternal) {
        scene->BeginPolyLine(part, &error);
        scene->SetPolyLineColor(part, color[0], color[1], color[2], &error);
        for (Point at{}; at[0] < static_cast<float>(codes.size()); ++at[0]) {
            scene->SetPolyLineStipple(part, codes[static_cast<std::size_t>(at[0])], &error);
            scene->AddPolyLinePoint(part, at.data(), &error);
        }
        scene->EndPolyLine(part, &error);
    }
    void AddSet(int part, int count) {
        scene->BeginPointSet(part, &error);
        scene->SetPointSetColor(part, 1.5F, 0, 0.5F, &error);  // not tested, but kept from being too dark
        for (Point at{}; at[0] < static_cast<float>(count); ++at[0]) scene->AddPointSetPoint(part, at.data(), &error);
        scene->EndPointSet(part, &error);
    }
    // What a draw sends: of strips the first and last x, factor and pattern, of points colour, size, state and number.
    Texts Drawn(GLenum mode, int kind = 0) {
        Recording recording;
        scene.Draw(0, kind);
        Texts texts;
        for (const Primitive& drawn : recording.PrimitivesOf(mode)) {
            if (drawn.vertices.empty()) continue;
            const Color& c = drawn.vertices[0].color;
            std::ostringstream text;
            if (mode == GL_POINTS)
                text << (c == kRed                ? "red "
                         : c == kYellow           ? "yellow "
                         : c == Color{0, 1, 0, 1} ? "green "
                                                  : "own ")
                     << drawn.state.pointSize << (drawn.state.Enabled(GL_CLIP_PLANE0) ? " clipped " : " ")
                     << (drawn.state.Enabled(GL_DEPTH_TEST) ? "" : "in front ") << drawn.vertices.size();
            else
                text << drawn.vertices.front().position[0] << "-" << drawn.vertices.back().position[0] << " "
                     << drawn.state.stipple[0] << std::hex << " " << drawn.state.stipple[1];
            texts.push_back(text.str());
            EXPECT_FALSE(drawn.state.Enabled(GL_LIGHTING));
            EXPECT_TRUE(mode == GL_POINTS || (drawn.state.Enabled(GL_LINE_STIPPLE) && c == (kind ? kRed : kExternal)));
        }
        EXPECT_EQ(recording.Violations(), Texts{});
        EXPECT_EQ(recording.Changed(), Texts{});
        return texts;
    }

    const Placed p = scene.AddEmptyPart();
};

TEST_F(CurveDraws, StippleBreaksACurveIntoPieces) {
    struct Case {
        std::vector<int> codes;
        Texts normal, preview;
    };
    const Case cases[] = {
        {{5, 1, 1}, {"0-2 1 3333"}, {"0-2 1 3333"}},  // the code of the first point is of no stretch
        {{0, 0, 1, 3, 0},
         {"0-1 1 ffff", "1-2 1 3333", "2-3 1 ffff", "3-4 1 ffff"},
         {"0-1 1 3333", "1-2 1 3333", "2-3 1 3333", "3-4 1 ffff"}},
        {{11, 11, 12, 13, 14, 16, 257},  // a code is a byte
         {"0-1 1 ffc0", "1-2 1 c630", "2-3 2 fc30", "3-4 2 c223", "4-5 2 edb7", "5-6 1 3333"},
         {"0-1 1 3333", "1-2 1 3333", "2-3 1 3333", "3-4 1 3333", "4-5 1 3333", "5-6 1 3333"}},
        {{0, 0, 2, 1, 1}, {"0-1 1 ffff", "2-4 1 3333"}, {"0-1 1 3333", "2-4 1 3333"}},
        {{0, 2, 2, 0}, {"2-3 1 ffff"}, {"2-3 1 ffff"}},
        {{0, 0, 2}, {"0-1 1 ffff"}, {"0-1 1 3333"}},
        {{0, 0, 15, 0}, {"0-1 1 ffff", "2-3 1 ffff"}, {"0-1 1 3333", "1-2 1 3333", "2-3 1 ffff"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        const Placed q = scene.AddEmptyPart();
        AddCurve(q.part, c.codes);
        EXPECT_EQ(Drawn(GL_LINE_STRIP), c.normal);
        scene.SetSelected(q.instance, true);
        EXPECT_EQ(Drawn(GL_LINE_STRIP, 3), c.preview);
        scene->Remove(q.instance, &error);
    }
}

TEST_F(CurveDraws, SimpleModeThinsLongCurves) {
    for (const auto& [points, drawn] : {std::pair{2, 2}, {2001, 2001}, {3999, 3999}, {4000, 2000}, {6001, 2001}}) {
        const Placed q = scene.AddEmptyPart();
        AddCurve(q.part, std::vector<int>(static_cast<std::size_t>(points)));
        EXPECT_EQ(Drawn(GL_POINTS, 1), Texts{"own 2 " + std::to_string(drawn)});
        scene->Remove(q.instance, &error);
    }
}

TEST_F(CurveDraws, CrossingsAndMarkers) {
    AddCurve(p.part, {0, 0, 0, 0, 0});
    struct Case {
        float x;
        int enabled, clip, transparent, vertices;  // vertices: 1 asked for, 2 in the vertex pass
        Texts normal, section;
    };
    const Case cases[] = {
        {1.5F, 0, 1, 0, 0, {}, {}},
        {1.5F, 1, 0, 0, 0, {}, {"red 2 1"}},
        {1.5F, 1, 1, 0, 0, {"red 2 1"}, {"red 2 1"}},
        {0, 1, 1, 0, 0, {}, {}},  // a point in the plane is above it
        {4, 1, 1, 0, 0, {"red 2 1"}, {"red 2 1"}},
        {1.5F, 1, 1, 0, 1, {"red 2 1", "yellow 2 clipped 5", "green 3 1"}, {"red 2 1", "green 3 1"}},
        {1.5F, 1, 0, 1, 1, {"yellow 2 5", "green 3 in front 1"}, {"red 2 1", "green 3 in front 1"}},
        {1.5F, 0, 0, 1, 1, {"yellow 2 5"}, {}},
        {1.5F, 1, 1, 0, 2, {"red 2 1", "red 2 clipped 5", "green 3 1"}, {"red 2 1", "green 3 1"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(&c - cases);
        scene.SetSectionPlane(p.instance, {c.x, 0, 0}, {2, 0, 0});
        scene->EnableCrossSection(p.instance, c.enabled, &error);
        scene->SwitchCrossSectionPlane(p.instance, c.clip, &error);
        scene->EnableTransparentXSection(p.instance, c.transparent, &error);
        scene->SetVertexVisible(p.instance, c.vertices == 1, &error);
        scene->SetOptionsShadeMode(p.instance, c.vertices == 2 ? 2 : 0, &error);
        EXPECT_EQ(Drawn(GL_POINTS), c.normal);
        EXPECT_EQ(Drawn(GL_POINTS, 2), c.section);
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.PrimitivesOf(GL_LINE_STRIP).at(0).state.Enabled(GL_CLIP_PLANE0), c.enabled && c.clip);
    }
}

TEST_F(CurveDraws, OpacityAndVisibilityChooseThePass) {
    AddCurve(p.part, {0, 0});
    AddSet(p.part, 3);
    for (const auto& [alpha, lines, points] :
         {std::array{0.95F, 1.0F, 1.0F}, {0.94F, 1, 1}, {0.006F, 1, 1}, {0.005F, 1, 1}, {0.99F, 0, 1}, {0.99F, 1, 0}}) {
        scene.SetTransparency(p.instance, alpha);
        scene->SwitchWireFrameVisibility(p.instance, lines != 0, &error);
        scene->SwitchPointSetVisibility(p.instance, points != 0, &error);
        EXPECT_EQ(Drawn(GL_LINE_STRIP).size(), alpha > 0.005F && lines != 0);
        EXPECT_EQ(Drawn(GL_POINTS).size(), alpha > 0.005F && points != 0);
    }
    scene.SetTransparency(p.instance, 0.5F);  // comes after all that is opaque
    AddCurve(scene.AddEmptyPart().part, {0, 0, 0});
    EXPECT_EQ(Drawn(GL_LINE_STRIP), (Texts{"0-2 1 ffff", "0-1 1 ffff"}));
}

TEST_F(CurveDraws, ColorsAndPlaneOfPointSets) {
    AddSet(p.part, 4);
    EXPECT_EQ(Drawn(GL_POINTS), Texts{"own 2 4"});
    EXPECT_EQ(Drawn(GL_POINTS, 2), Texts{});
    {
        Recording recording;
        scene.Draw();
        EXPECT_EQ(recording.Points().at(0).color, (Color{1.5F, 0.2F, 0.5F, 1}));
    }
    scene->EnableCrossSection(p.instance, 1, &error);
    scene->SwitchCrossSectionPlane(p.instance, 1, &error);
    scene->SetVertexVisible(p.instance, 1, &error);
    EXPECT_EQ(Drawn(GL_POINTS), Texts{"yellow 2 clipped 4"});
    scene.SetShadeMode(p.instance, 7);
    EXPECT_EQ(Drawn(GL_POINTS), Texts{});
}

TEST_F(CurveDraws, ColorsOfCurves) {
    const Color own = {0.2F, 0.85F, 0.85F, 1}, nearWhite = {0.99F, 0.99F, 0.98F, 1};
    scene.SetExternalColor(p.instance, 0, 0.85F, 0.85F);
    const Color cases[][2] = {{{0.1F, 0.5F, 1, 1}, {0.2F, 0.5F, 1, 1}},
                              {nearWhite, nearWhite},
                              {{1.001F, -0.0001F, 1, 1}, {1.001F, 0.2F, 1, 1}},
                              {{1.002F, 1, 1, 1}, own},
                              {{1, -0.0002F, 1, 1}, own},
                              {kWhite, kBlack}};  // the last one in print
    for (const auto& c : cases) AddCurve(p.part, {0, 0}, c[0]);
    scene->SetPrintingStatus(p.instance, 1, &error);
    Recording recording;
    scene.Draw();
    const auto strips = recording.PrimitivesOf(GL_LINE_STRIP);
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(strips.at(i).vertices[0].color, cases[i][1]) << i;
}

}  // namespace
}  // namespace tessera::test
