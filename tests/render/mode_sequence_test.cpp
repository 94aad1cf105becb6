// What each shade mode sends, call by call.
#include <set>
#include <sstream>

#include "render_fixture.h"

namespace tessera::test {
namespace {

const std::string kLines = "PushAttrib 64; Disable LIGHTING; ";
const std::string kFilled = "materials; PolygonMode FRONT_AND_BACK FILL; ";
const std::string kHidden = kLines +
                            "Disable CULL_FACE; Enable DEPTH_TEST; PolygonMode FRONT_AND_BACK FILL; "
                            "Enable POLYGON_OFFSET_FILL; PolygonOffset 2 5; Color3f 0.3 0.5 0.7; TRIANGLE_STRIP; "
                            "ColorMask 1 1 1 1; PolygonMode FRONT LINE; Enable DEPTH_TEST; LINES; PopAttrib; ";

// The mode, whether it is wrapped when the part is transparent, what it sends between the blending wrapper's two
// halves, and what behind it. Lines of modes 7 and 8 keep their own colour in a lit scene, and only a switched-on
// stipple dashes them.
const std::tuple<int, bool, std::string, std::string> kModes[] = {
    {0, true, kFilled + "ShadeModel FLAT; TRIANGLES; ", ""},
    {1, true, kFilled + "ShadeModel SMOOTH; TRIANGLE_STRIP; ", ""},
    {2, false, kLines + "LINES; PopAttrib; ", ""},
    {3, false, kLines + "Color3f 0.9 0.6 0.3; LINES; PopAttrib; ", ""},
    {4, false, kHidden, ""},
    {5, false, "PushAttrib 16451; Color3f 0.9 0.6 0.3; PointSize 2; POINTS; PopAttrib; ", ""},
    {6, true, kFilled + "Enable POLYGON_OFFSET_FILL; PolygonOffset 1 50; TRIANGLE_STRIP; ",
     kLines + "Color3f 0.1 0.1 0.1; LINES; PopAttrib; "},
    {7, false, "Disable CLIP_PLANE0; " + kLines + "Color3f 0.9 0.6 0.3; LINES; PopAttrib; ", ""},
    {8, false,
     kLines + "Color3f 1 0 0; LineWidth 2; LineStipple 1 13107; Enable LINE_STIPPLE; Disable DEPTH_TEST; LINES; "
              "Enable DEPTH_TEST; Disable LINE_STIPPLE; LineStipple 1 65535; LineWidth 1; PopAttrib; ",
     ""},
    {9, false, kLines + "PointSize 2; Color3f 0.9 0.6 0.3; POINTS; PopAttrib; ", ""},
    {10, false, "PushAttrib 320; " + kFilled + "ShadeModel SMOOTH; TRIANGLE_STRIP; PopAttrib; ", ""},
    {11, true,
     "Enable TEXTURE_2D; " + kFilled +
         "ShadeModel SMOOTH; TexGeni S TEXTURE_GEN_MODE SPHERE_MAP; "
         "TexGeni T TEXTURE_GEN_MODE SPHERE_MAP; Enable TEXTURE_GEN_S; Enable TEXTURE_GEN_T; BindTexture TEXTURE_2D 0; "
         "TRIANGLE_STRIP; Disable TEXTURE_GEN_S; Disable TEXTURE_GEN_T; Disable TEXTURE_2D; ",
     ""},
};

using ModeSequence = RenderTest;

TEST_F(ModeSequence, OpaqueInPassZeroTransparentWrappedInPassOne) {
    const Placed cube = AddColored(Cube());
    for (const auto& [mode, blends, surface, after] : kModes) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(cube.instance, mode);
        scene.SetTransparency(cube.instance, 1);
        EXPECT_EQ(Drawing(scene).Bodies(), (Texts{surface + after, ""}));
        scene.SetTransparency(cube.instance, 0.5F);
        const std::string wrapped = "Enable BLEND; BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA; DepthMask 0; " + surface +
                                    "Disable BLEND; DepthMask 1; " + after;
        EXPECT_EQ(Drawing(scene).Bodies(), (Texts{"", blends ? wrapped : surface}));
    }
}

// An external colour has no channel below 0.2, so that even yellow itself keeps the usual highlight of mode 10.
TEST_F(ModeSequence, MaterialsFollowTheColoursAndAlpha) {
    const int cube = AddColored(Cube()).instance;
    const std::string gloss = ", 1 1 1 0.5, 40", yellow = "0.9 0.9 0.1 1, 0.3 0.3 0 1, 1 1 1 1, 80";
    const std::string usual[] = {"0.6 0.4 0.2 0.5, 0.3 0.2 0.1 0.5" + gloss,
                                 "0.133333 0.266667 0.4 0.5, 0.0666667 0.133333 0.2 0.5" + gloss};
    const Point orange = {0.9F, 0.6F, 0.3F};
    const std::pair<int, Point> cases[] = {{0, orange},  {1, orange},        {6, orange},
                                           {11, orange}, {10, {1, 1, 0.5F}}, {10, {1, 1, 0}}};
    for (const auto& [mode, external] : cases) {
        scene.SetShadeMode(cube, mode);
        scene.SetTransparency(cube, mode == 10 ? 1 : 0.5F);
        scene.SetExternalColor(cube, external[0], external[1], external[2]);
        const Primitive drawn = Drawing(scene).Primitives().at(0);
        for (const bool inner : {false, true}) {
            const Material& m = drawn.state.material[inner];
            std::ostringstream text;
            for (const auto* color : {m.diffuse, m.ambient, m.specular})
                text << color[0] << " " << color[1] << " " << color[2] << " " << color[3] << ", ";
            text << m.shininess;
            EXPECT_EQ(text.str(), mode == 10 ? yellow : usual[inner]) << "mode " << mode;
        }
    }
}

TEST_F(ModeSequence, PrintingTurnsWhiteLinesBlackColourByColour) {
    AddColored(OpenBox());
    AddColored(Sphere());
    scene.SetCamera({0, 0, 50}, {0, 0, 0});
    enum { kOfExternal, kOfEdges, kOfBorders };
    const std::tuple<int, int, float> cases[] = {
        {3, kOfExternal, 1}, {3, kOfExternal, 0.99F}, {3, kOfExternal, 0.98F}, {2, kOfExternal, 1}, {2, kOfEdges, 1},
        {2, kOfBorders, 1},  {2, kOfBorders, 0.98F},  {4, kOfEdges, 0.99F},    {4, kOfBorders, 1}};
    for (const bool printing : {true, false})
        for (const auto& [mode, which, white] : cases) {
            scene->SetPrintingStatus(0, printing, &error);
            scene.SetShadeMode(0, mode);
            Color colors[] = {kExternal, kEdge, kBorder};
            colors[which] = {white, white, white, 1};
            const auto& [external, edge, border] = colors;
            scene.SetExternalColor(0, external[0], external[1], external[2]);
            scene->SetEdgeColor(0, edge[0], edge[1], edge[2], &error);
            scene->SetBorderColor(0, border[0], border[1], border[2], &error);
            std::set<Color> seen;
            for (const Segment& s : Drawing(scene).Segments()) seen.insert(s.a.color);
            const bool turned = printing && white > 0.985F;
            EXPECT_EQ(seen.count(kBlack), turned) << "colour " << which << " in mode " << mode;
            EXPECT_EQ(seen.count(colors[which]), !turned) << "colour " << which << " in mode " << mode;
        }
}

TEST_F(ModeSequence, ForcedHiddenLineIsBlackOnWhiteInEveryMode) {
    const int box = AddColored(OpenBox()).instance;
    std::string white = kHidden;
    white.replace(white.find("0.3 0.5 0.7"), 11, "1 1 1");
    for (const int mode : {0, 1, 2, 4, 7, 9, 10, 50}) {
        scene.SetShadeMode(box, mode);
        const Texts plain = Drawing(scene).Bodies();
        scene->ForceHiddenLineDrawing(1, &error);  // true is -1 and nothing else
        EXPECT_EQ(Drawing(scene).Bodies(), plain);
        scene->ForceHiddenLineDrawing(VARIANT_TRUE, &error);
        const Drawing forced(scene);
        EXPECT_EQ(forced.Bodies().at(0), white) << "mode " << mode;
        EXPECT_EQ(forced.Segments().size(), 12U);
        for (const Segment& s : forced.Segments()) EXPECT_EQ(s.a.color, kBlack);
        scene->ForceHiddenLineDrawing(VARIANT_FALSE, &error);
    }
}

// Modes that don't exist draw their overlays alone.
TEST_F(ModeSequence, OptionsAndVertexOverlays) {
    const int box = AddColored(OpenBox()).instance;
    const std::string border = "Color3f 0.8 0.1 0.8; LINES; ", unlit = "PushAttrib 16451; Disable LIGHTING; Color3f 1 ";
    const std::string points = "0; PointSize 2; POINTS; PopAttrib; Enable DEPTH_TEST; ";
    const std::string yellow = unlit + "1 " + points, red = unlit + "0 " + points;
    // The mode, options, vertices visible, what comes behind the surface in pass 0, and what in pass 2.
    const std::tuple<int, int, bool, std::string, std::string> cases[] = {
        {1, 0, false, "", ""},        {1, 1, false, border, ""},  {1, 2, false, "", red},
        {1, 3, false, "", ""},        {1, 0, true, yellow, ""},   {1, 1, true, border + yellow, ""},
        {1, 2, true, yellow, yellow}, {12, 1, false, border, ""}, {-1, 1, false, border, ""}};
    for (const auto& [mode, options, visible, after, vertices] : cases) {
        SCOPED_TRACE("options " + std::to_string(options) + (visible ? ", vertices visible" : ""));
        scene.SetShadeMode(box, mode);
        Overlay(box, options, visible);
        Texts expected = {(mode == 1 ? std::get<2>(kModes[1]) : "") + after, ""};
        if (options == 2) expected.push_back(vertices);  // the vertex pass stops short of other parts
        EXPECT_EQ(Drawing(scene).Bodies(), expected);
        EXPECT_EQ(Drawing(scene, box).Bodies().size(), 2U);  // a node that is named has no vertex pass
    }
}

}  // namespace
}  // namespace tessera::test
