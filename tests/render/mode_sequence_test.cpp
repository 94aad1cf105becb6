// What each shade mode sends, call by call.
#include <sstream>

#include "render_fixture.h"

namespace tessera::test {
namespace {

struct ModeCase {
    int mode;
    bool blends;                 // wrapped when the part is transparent
    std::string surface, after;  // between the blending wrapper's two halves, and behind it
};

const std::string kLines = "PushAttrib 64; Disable LIGHTING; ";
const std::string kFilled = "materials; PolygonMode FRONT_AND_BACK FILL; ";
const std::string kHidden = kLines +
                            "Disable CULL_FACE; Enable DEPTH_TEST; PolygonMode FRONT_AND_BACK FILL; "
                            "Enable POLYGON_OFFSET_FILL; PolygonOffset 2 5; Color3f 0.3 0.5 0.7; TRIANGLE_STRIP; "
                            "ColorMask 1 1 1 1; PolygonMode FRONT LINE; Enable DEPTH_TEST; LINES; PopAttrib; ";

// Lines of modes 7 and 8 keep their own colour in a lit scene, and only a switched-on stipple dashes them.
const ModeCase kModes[] = {
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

class ModeSequence : public RenderTest {};

TEST_F(ModeSequence, OpaqueInPassZeroTransparentWrappedInPassOne) {
    const Placed cube = AddColored(Cube());
    for (const auto& [mode, blends, surface, after] : kModes) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(cube.instance, mode);
        scene.SetTransparency(cube.instance, 1);
        EXPECT_EQ(DrawnBodies(), (Texts{surface + after, ""}));
        scene.SetTransparency(cube.instance, 0.5F);
        const std::string wrapped = "Enable BLEND; BlendFunc SRC_ALPHA ONE_MINUS_SRC_ALPHA; DepthMask 0; " + surface +
                                    "Disable BLEND; DepthMask 1; " + after;
        EXPECT_EQ(DrawnBodies(), (Texts{"", blends ? wrapped : surface}));
    }
}

// An external colour has no channel below 0.2, so that even yellow itself keeps the usual highlight of mode 10.
TEST_F(ModeSequence, MaterialsFollowTheColoursAndAlpha) {
    const Placed cube = AddColored(Cube());
    struct Case {
        int mode;
        Point external;
        std::string front, back;
    };
    const std::string gloss = ", 1 1 1 0.5, 40", yellow = "0.9 0.9 0.1 1, 0.3 0.3 0 1, 1 1 1 1, 80";
    const std::string front = "0.6 0.4 0.2 0.5, 0.3 0.2 0.1 0.5" + gloss,
                      back = "0.133333 0.266667 0.4 0.5, 0.0666667 0.133333 0.2 0.5" + gloss;
    const Case cases[] = {{0, {0.9F, 0.6F, 0.3F}, front, back}, {1, {0.9F, 0.6F, 0.3F}, front, back},
                          {6, {0.9F, 0.6F, 0.3F}, front, back}, {11, {0.9F, 0.6F, 0.3F}, front, back},
                          {10, {1, 1, 0.5F}, yellow, yellow},   {10, {1, 1, 0}, yellow, yellow}};
    for (const Case& c : cases) {
        SCOPED_TRACE("mode " + std::to_string(c.mode));
        scene.SetShadeMode(cube.instance, c.mode);
        scene.SetTransparency(cube.instance, c.mode == 10 ? 1 : 0.5F);
        scene.SetExternalColor(cube.instance, c.external[0], c.external[1], c.external[2]);
        Recording recording;
        scene.Draw();
        for (const bool inner : {false, true}) {
            const Material& m = recording.Primitives().at(0).state.material[inner];
            std::ostringstream text;
            for (const auto* color : {m.diffuse, m.ambient, m.specular})
                text << color[0] << " " << color[1] << " " << color[2] << " " << color[3] << ", ";
            text << m.shininess;
            EXPECT_EQ(text.str(), inner ? c.back : c.front);
        }
    }
}

TEST_F(ModeSequence, PrintingTurnsWhiteLinesBlackColourByColour) {
    AddColored(OpenBox());
    AddColored(Sphere());
    scene.SetCamera({0, 0, 50}, {0, 0, 0});
    enum { kOfExternal, kOfEdges, kOfBorders };
    for (const bool printing : {true, false})
        for (const auto& [mode, which, white] : {std::tuple{3, kOfExternal, 1.0F},
                                                 {3, kOfExternal, 0.99F},
                                                 {3, kOfExternal, 0.98F},
                                                 {2, kOfEdges, 1.0F},
                                                 {2, kOfBorders, 1.0F},
                                                 {2, kOfBorders, 0.98F},
                                                 {4, kOfEdges, 0.99F},
                                                 {4, kOfBorders, 1.0F},
                                                 {2, kOfExternal, 1.0F}}) {
            SCOPED_TRACE("colour " + std::to_string(which) + " in mode " + std::to_string(mode));
            scene->SetPrintingStatus(0, printing, &error);
            scene.SetShadeMode(0, mode);
            Color colors[] = {kExternal, kEdge, kBorder};
            colors[which] = {white, white, white, 1};
            scene.SetExternalColor(0, colors[0][0], colors[0][1], colors[0][2]);
            scene->SetEdgeColor(0, colors[1][0], colors[1][1], colors[1][2], &error);
            scene->SetBorderColor(0, colors[2][0], colors[2][1], colors[2][2], &error);
            int black = 0, nearlyWhite = 0;
            for (const Segment& s : DrawnSegments()) {
                black += s.a.color == kBlack;
                nearlyWhite += s.a.color == colors[which];
            }
            EXPECT_EQ(black > 0, printing && white > 0.985F);
            EXPECT_EQ(nearlyWhite > 0, !(printing && white > 0.985F));
        }
}

TEST_F(ModeSequence, ForcedHiddenLineIsBlackOnWhiteInEveryMode) {
    const Placed box = AddColored(OpenBox());
    std::string white = kHidden;
    white.replace(white.find("0.3 0.5 0.7"), 11, "1 1 1");
    for (const int mode : {0, 1, 2, 4, 7, 9, 10, 50}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(box.instance, mode);
        const auto plain = DrawnBodies();
        scene->ForceHiddenLineDrawing(1, &error);  // true is -1 and nothing else
        EXPECT_EQ(DrawnBodies(), plain);
        scene->ForceHiddenLineDrawing(VARIANT_TRUE, &error);
        EXPECT_EQ(DrawnBodies().at(0), white);
        EXPECT_EQ(DrawnSegments().size(), 12U);
        for (const Segment& s : DrawnSegments()) EXPECT_EQ(s.a.color, kBlack);
        scene->ForceHiddenLineDrawing(VARIANT_FALSE, &error);
    }
}

// Modes that don't exist draw their overlays alone.
TEST_F(ModeSequence, OptionsAndVertexOverlays) {
    const Placed box = AddColored(OpenBox());
    const std::string border = "Color3f 0.8 0.1 0.8; LINES; ", points = "PointSize 2; POINTS; PopAttrib; ";
    const std::string yellow = "PushAttrib 16451; Disable LIGHTING; Color3f 1 1 0; " + points + "Enable DEPTH_TEST; ";
    const std::string red = "PushAttrib 16451; Disable LIGHTING; Color3f 1 0 0; " + points + "Enable DEPTH_TEST; ";
    struct Case {
        int mode, options;
        bool visible;
        std::string after, vertices;  // behind the surface in pass 0, and in pass 2
    };
    const Case cases[] = {{1, 0, false, "", ""},        {1, 1, false, border, ""},  {1, 2, false, "", red},
                          {1, 3, false, "", ""},        {1, 0, true, yellow, ""},   {1, 1, true, border + yellow, ""},
                          {1, 2, true, yellow, yellow}, {12, 1, false, border, ""}, {-1, 1, false, border, ""}};
    for (const Case& c : cases) {
        SCOPED_TRACE("options " + std::to_string(c.options) + (c.visible ? ", vertices visible" : ""));
        scene.SetShadeMode(box.instance, c.mode);
        scene->SetOptionsShadeMode(box.instance, static_cast<short>(c.options), &error);
        scene->SetVertexVisible(box.instance, c.visible, &error);
        const Texts bodies = DrawnBodies();
        ASSERT_EQ(bodies.size(), c.options == 2 ? 3U : 2U);  // the vertex pass stops short of other parts
        EXPECT_EQ(bodies[0], (c.mode == 1 ? kModes[1].surface : "") + c.after);
        EXPECT_EQ(bodies.back(), c.vertices);
        EXPECT_EQ(DrawnBodies(box.instance).size(), 2U);  // a node that is named has no vertex pass
    }
}

}  // namespace
}  // namespace tessera::test
