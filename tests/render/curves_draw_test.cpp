// What curves and point sets send to OpenGL.
#include <cmath>
#include <sstream>

#include "render_fixture.h"

namespace tessera::test {
namespace {

using Codes = std::vector<int>;

std::vector<Point> OnAxis(std::size_t count) {
    std::vector<Point> points(count);
    for (std::size_t i = 0; i < count; ++i) points[i][0] = static_cast<float>(i);
    return points;
}

class CurveDraws : public RenderTest {
protected:
    CurveDraws() {
        for (const GLenum cap : {GL_LIGHTING, GL_DEPTH_TEST, GL_NORMALIZE}) glEnable(cap);  // as a host has it
    }
    // Along the x axis from the origin, a point a unit, each with its code.
    void AddCurve(int part, const Codes& codes, const Color& color = kExternal) {
        scene->BeginPolyLine(part, &error);
        scene->SetPolyLineColor(part, color[0], color[1], color[2], &error);
        for (Point& at : OnAxis(codes.size())) {
            scene->SetPolyLineStipple(part, codes[static_cast<std::size_t>(at[0])], &error);
            scene->AddPolyLinePoint(part, at.data(), &error);
        }
        scene->EndPolyLine(part, &error);
    }
    // What a draw sends: of strips the first and last x, factor and pattern, of points colour, size, state and number.
    std::string Drawn(GLenum mode, int kind = 0) {
        const Drawing drawing(scene, 0, kind);
        std::ostringstream text;
        for (const auto& [drawn, call, vertices, state, frame] : drawing.PrimitivesOf(mode)) {
            if (vertices.empty()) continue;
            const Color& c = vertices[0].color;
            text << (text.tellp() > 0 ? ", " : "");
            if (mode == GL_POINTS)
                text << c[0] << c[1] << c[2] << " " << std::dec << state.pointSize
                     << (state.Enabled(GL_CLIP_PLANE0) ? " clip" : "")
                     << (state.Enabled(GL_DEPTH_TEST) ? " deep " : " ") << vertices.size();
            else
                text << vertices.front().position[0] << "-" << vertices.back().position[0] << " " << state.stipple[0]
                     << std::hex << " " << std::lround(state.stipple[1]);
            EXPECT_FALSE(state.Enabled(GL_LIGHTING));
            EXPECT_TRUE(mode == GL_POINTS || (state.Enabled(GL_LINE_STIPPLE) && c == (kind ? kRed : kExternal)));
        }
        EXPECT_EQ(drawing.Changed(), Texts{});
        return text.str();
    }

    const Placed p = scene.AddEmptyPart();
};

TEST_F(CurveDraws, StippleBreaksACurveIntoPieces) {
    const std::tuple<Codes, const char*, const char*> cases[] = {
        {{5, 1, 1}, "0-2 1 3333", "0-2 1 3333"},  // the code of the first point is of no stretch
        {{0, 0, 1, 3, 0},
         "0-1 1 ffff, 1-2 1 3333, 2-3 1 ffff, 3-4 1 ffff",
         "0-1 1 3333, 1-2 1 3333, 2-3 1 3333, 3-4 1 ffff"},
        {{11, 11, 12, 13, 14, 16, 257},  // a code is a byte
         "0-1 1 ffc0, 1-2 1 c630, 2-3 2 fc30, 3-4 2 c223, 4-5 2 edb7, 5-6 1 3333",
         "0-1 1 3333, 1-2 1 3333, 2-3 1 3333, 3-4 1 3333, 4-5 1 3333, 5-6 1 3333"},
        {{0, 2, 2, 0}, "2-3 1 ffff", "2-3 1 ffff"},
        {{0, 0, 2, 1, 1}, "0-1 1 ffff, 2-4 1 3333", "0-1 1 3333, 2-4 1 3333"},
        {{0, 0, 15, 0}, "0-1 1 ffff, 2-3 1 ffff", "0-1 1 3333, 1-2 1 3333, 2-3 1 ffff"},
    };
    for (const auto& [codes, normal, preview] : cases) {
        const Placed q = scene.AddEmptyPart();
        AddCurve(q.part, codes);
        EXPECT_EQ(Drawn(GL_LINE_STRIP), normal);
        scene.SetSelected(q.instance, true);
        EXPECT_EQ(Drawn(GL_LINE_STRIP, 3), preview);
        scene->Remove(q.instance, &error);
    }
}

TEST_F(CurveDraws, CrossingsAndMarkers) {
    AddCurve(p.part, {0, 0, 0, 0, 0});
    const struct {
        float x;
        int enabled, clip, transparent, vertices;  // vertices: 1 asked for, 2 in the vertex pass
        const char *normal, *section;
    } cases[] = {
        {1.5F, 1, 0, 0, 0, "", "100 2 deep 1"},
        {1.5F, 1, 1, 0, 0, "100 2 deep 1", "100 2 deep 1"},
        {0, 1, 1, 0, 0, "", ""},  // a point in the plane is above it
        {4, 1, 1, 0, 0, "100 2 deep 1", "100 2 deep 1"},
        {1.5F, 1, 1, 0, 1, "100 2 deep 1, 110 2 clip deep 5, 010 3 deep 1", "100 2 deep 1, 010 3 deep 1"},
        {1.5F, 1, 0, 1, 1, "110 2 deep 5, 010 3 1", "100 2 deep 1, 010 3 1"},
        {1.5F, 0, 1, 1, 1, "110 2 deep 5", ""},
        {1.5F, 1, 1, 0, 2, "100 2 deep 1, 100 2 clip deep 5, 010 3 deep 1", "100 2 deep 1, 010 3 deep 1"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(&c - cases);
        scene.SetSectionPlane(p.instance, {c.x, 0, 0}, {2, 0, 0});
        Cut(p.instance, c.enabled, c.clip);
        scene->EnableTransparentXSection(p.instance, c.transparent, &error);
        Overlay(p.instance, c.vertices == 2 ? 2 : 0, c.vertices == 1);
        EXPECT_EQ(Drawn(GL_POINTS), c.normal);
        EXPECT_EQ(Drawn(GL_POINTS, 2), c.section);
        const Primitive curve = Drawing(scene).PrimitivesOf(GL_LINE_STRIP).at(0);
        EXPECT_EQ(curve.state.Enabled(GL_CLIP_PLANE0), c.enabled && c.clip);
    }
}

TEST_F(CurveDraws, OpacityVisibilityAndLengthChooseWhatIsDrawn) {
    for (const auto& [points, drawn] : {std::pair{2001, "2001"}, {3999, "3999"}, {4000, "2000"}, {6001, "2001"}}) {
        const Placed q = scene.AddEmptyPart();
        AddCurve(q.part, Codes(static_cast<std::size_t>(points)));
        EXPECT_EQ(Drawn(GL_POINTS, 1), std::string("0.90.60.3 2 deep ") + drawn);  // the simple mode thins
        scene->Remove(q.instance, &error);
    }
    AddCurve(p.part, {0, 0});
    scene.AddPointsTo(p.part, OnAxis(3));
    const std::tuple<float, bool, bool> cases[] = {{0.95F, true, true},  {0.94F, true, true},  {0.006F, true, true},
                                                   {0.005F, true, true}, {0.99F, false, true}, {0.99F, true, false}};
    for (const auto& [alpha, lines, points] : cases) {
        scene.SetTransparency(p.instance, alpha);
        scene->SwitchWireFrameVisibility(p.instance, lines, &error);
        scene->SwitchPointSetVisibility(p.instance, points, &error);
        EXPECT_EQ(Drawn(GL_LINE_STRIP), alpha > 0.005F && lines ? "0-1 1 ffff" : "");
        EXPECT_EQ(Drawn(GL_POINTS).empty(), alpha <= 0.005F || !points);
    }
    scene.SetTransparency(p.instance, 0.5F);  // comes after all that is opaque
    AddCurve(scene.AddEmptyPart().part, {0, 0, 0});
    EXPECT_EQ(Drawn(GL_LINE_STRIP), "0-2 1 ffff, 0-1 1 ffff");
}

TEST_F(CurveDraws, ColorsAndPlane) {
    scene->BeginPointSet(p.part, &error);
    scene->SetPointSetColor(p.part, 1.5F, 0, 0.5F, &error);  // not tested, but kept from being too dark
    for (Point& at : OnAxis(4)) scene->AddPointSetPoint(p.part, at.data(), &error);
    scene->EndPointSet(p.part, &error);
    EXPECT_EQ(Drawn(GL_POINTS), "1.50.20.5 2 deep 4");
    EXPECT_EQ(Drawn(GL_POINTS, 2), "");
    Cut(p.instance, true, true);
    Overlay(p.instance, 0, true);
    EXPECT_EQ(Drawn(GL_POINTS), "110 2 clip deep 4");
    scene.SetShadeMode(p.instance, 7);
    EXPECT_EQ(Drawn(GL_POINTS), "");
    scene.SetShadeMode(p.instance, 1);
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
    const auto strips = Drawing(scene).PrimitivesOf(GL_LINE_STRIP);
    for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(strips.at(i).vertices[0].color, cases[i][1]) << i;
}

}  // namespace
}  // namespace tessera::test
