// What each shade mode sends, call by call.
#include "render_fixture.h"

namespace tessera::test {
namespace {

const Texts kBlendOn = {"glEnable GL_BLEND", "glBlendFunc GL_SRC_ALPHA GL_ONE_MINUS_SRC_ALPHA", "glDepthMask 0"};
const Texts kBlendOff = {"glDisable GL_BLEND", "glDepthMask 1"};
const char* const kFill = "glPolygonMode GL_FRONT_AND_BACK GL_FILL";
const char* const kLitOff = "glDisable GL_LIGHTING";
const char* const kColor = "glColor3f 0.9 0.6 0.3";
const char* const kStrips = "GL_TRIANGLE_STRIP";
const char* const kDepthOn = "glEnable GL_DEPTH_TEST";

Texts operator+(Texts a, const Texts& b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

struct ModeCase {
    int mode;
    Texts surface;  // between the blending wrapper's two halves, in the modes that have one
    bool blends;    // wrapped when the part is transparent
    Texts after;    // behind the wrapper
};

const std::vector<ModeCase>& Modes() {
    static const std::vector<ModeCase> modes = {
        {0, {"materials", kFill, "glShadeModel GL_FLAT", "GL_TRIANGLES"}, true, {}},
        {1, {"materials", kFill, "glShadeModel GL_SMOOTH", kStrips}, true, {}},
        {2, {"glPushAttrib 64", kLitOff, "GL_LINES", "glPopAttrib"}, false, {}},
        {3, {"glPushAttrib 64", kLitOff, kColor, "GL_LINES", "glPopAttrib"}, false, {}},
        {4,
         {"glPushAttrib 64", kLitOff, "glDisable GL_CULL_FACE", kDepthOn, kFill, "glEnable GL_POLYGON_OFFSET_FILL",
          "glPolygonOffset 2 5", "glColor3f 0.3 0.5 0.7", kStrips, "glColorMask 1 1 1 1",
          "glPolygonMode GL_FRONT GL_LINE", kDepthOn, "GL_LINES", "glPopAttrib"},
         false,
         {}},
        {5, {"glPushAttrib 16451", kColor, "glPointSize 2", "GL_POINTS", "glPopAttrib"}, false, {}},
        {6,
         {"materials", kFill, "glEnable GL_POLYGON_OFFSET_FILL", "glPolygonOffset 1 50", kStrips},
         true,
         {"glPushAttrib 64", kLitOff, "glColor3f 0.1 0.1 0.1", "GL_LINES", "glPopAttrib"}},
        // Lines of modes 7 and 8 keep their own colour in a lit scene, and only a switched-on stipple dashes them.
        {7, {"glDisable GL_CLIP_PLANE0", "glPushAttrib 64", kLitOff, kColor, "GL_LINES", "glPopAttrib"}, false, {}},
        {8,
         {"glPushAttrib 64", kLitOff, "glColor3f 1 0 0", "glLineWidth 2", "glLineStipple 1 13107",
          "glEnable GL_LINE_STIPPLE", "glDisable GL_DEPTH_TEST", "GL_LINES", kDepthOn, "glDisable GL_LINE_STIPPLE",
          "glLineStipple 1 65535", "glLineWidth 1", "glPopAttrib"},
         false,
         {}},
        {9, {"glPushAttrib 64", kLitOff, "glPointSize 2", kColor, "GL_POINTS", "glPopAttrib"}, false, {}},
        {10, {"glPushAttrib 320", "materials", kFill, "glShadeModel GL_SMOOTH", kStrips, "glPopAttrib"}, false, {}},
        {11,
         {"glEnable GL_TEXTURE_2D", "materials", kFill, "glShadeModel GL_SMOOTH",
          "glTexGeni GL_S GL_TEXTURE_GEN_MODE GL_SPHERE_MAP", "glTexGeni GL_T GL_TEXTURE_GEN_MODE GL_SPHERE_MAP",
          "glEnable GL_TEXTURE_GEN_S", "glEnable GL_TEXTURE_GEN_T", "glBindTexture GL_TEXTURE_2D 0", kStrips,
          "glDisable GL_TEXTURE_GEN_S", "glDisable GL_TEXTURE_GEN_T", "glDisable GL_TEXTURE_2D"},
         true,
         {}},
    };
    return modes;
}

class ModeSequence : public RenderTest {};

TEST_F(ModeSequence, OpaqueInPassZeroTransparentWrappedInPassOne) {
    const Placed cube = AddColored(Cube());
    for (const ModeCase& c : Modes()) {
        SCOPED_TRACE("mode " + std::to_string(c.mode));
        scene.SetShadeMode(cube.instance, c.mode);
        scene.SetTransparency(cube.instance, 1);
        EXPECT_EQ(DrawnBodies(), (std::vector<Texts>{c.surface + c.after, {}}));
        scene.SetTransparency(cube.instance, 0.5F);
        EXPECT_EQ(DrawnBodies(),
                  (std::vector<Texts>{{}, c.blends ? kBlendOn + c.surface + kBlendOff + c.after : c.surface}));
    }
}

TEST_F(ModeSequence, UnknownModesDrawOnlyOverlays) {
    const Placed box = AddColored(OpenBox());
    scene->SetOptionsShadeMode(box.instance, 1, &error);
    for (const int mode : {12, 100, -1}) {
        scene.SetShadeMode(box.instance, mode);
        EXPECT_EQ(DrawnBodies().at(0), (Texts{"glColor3f 0.8 0.1 0.8", "GL_LINES"})) << mode;
        EXPECT_EQ(DrawnSegments().size(), 4U);
    }
}

TEST_F(ModeSequence, MaterialsFollowTheColoursAndAlpha) {
    const Placed cube = AddColored(Cube());
    scene.SetTransparency(cube.instance, 0.5F);
    const Texts order = {"glMaterialfv GL_FRONT GL_DIFFUSE 0.6 0.4 0.2 0.5",
                         "glMaterialfv GL_BACK GL_DIFFUSE 0.133333 0.266667 0.4 0.5",
                         "glMaterialfv GL_FRONT GL_AMBIENT 0.3 0.2 0.1 0.5",
                         "glMaterialfv GL_BACK GL_AMBIENT 0.0666667 0.133333 0.2 0.5"};
    for (const int mode : {0, 1, 6, 11}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(cube.instance, mode);
        Recording recording;
        scene.Draw();
        Texts sent;
        for (const Call& call : recording.Calls())
            if (std::string_view(call.name).starts_with("glMaterial")) sent.push_back(call.Text());
        ASSERT_GE(sent.size(), 6U);
        EXPECT_EQ(Texts(sent.begin(), sent.begin() + 4), order);
        for (const Material& material : recording.Primitives().at(0).state.material) {
            EXPECT_EQ(std::to_array(material.specular), (Color{1, 1, 1, 0.5F}));
            EXPECT_EQ(material.shininess, 40);
        }
    }
}

// An external colour has no channel below 0.2, so that even yellow itself keeps the usual highlight.
TEST_F(ModeSequence, HighlightIsYellowWhateverTheColour) {
    const Placed cube = AddColored(Cube(), 10);
    for (const Point& c : {Point{0.9F, 0.6F, 0.3F}, Point{1, 1, 0.5F}, Point{1, 1, 0}}) {
        scene.SetExternalColor(cube.instance, c[0], c[1], c[2]);
        Recording recording;
        scene.Draw();
        for (const Material& material : recording.Primitives().at(0).state.material) {
            EXPECT_EQ(std::to_array(material.diffuse), (Color{0.9F, 0.9F, 0.1F, 1}));
            EXPECT_EQ(std::to_array(material.ambient), (Color{0.3F, 0.3F, 0, 1}));
            EXPECT_EQ(std::to_array(material.specular), kWhite);
            EXPECT_EQ(material.shininess, 80);
        }
    }
}

TEST_F(ModeSequence, PrintingTurnsWhiteLinesBlackColourByColour) {
    struct Case {
        int mode;
        const char* white;  // which colour is nearly white
        float channel;
        bool black;
    };
    const Case cases[] = {{3, "external", 1, true}, {3, "external", 0.99F, true}, {3, "external", 0.98F, false},
                          {2, "edge", 1, true},     {2, "border", 1, true},       {2, "border", 0.98F, false},
                          {4, "edge", 0.99F, true}, {4, "border", 1, true},       {2, "external", 1, true}};
    AddColored(OpenBox());
    AddColored(Sphere());
    scene.SetCamera({0, 0, 50}, {0, 0, 0});
    for (const bool printing : {true, false})
        for (const Case& c : cases) {
            SCOPED_TRACE(std::string(c.white) + " in mode " + std::to_string(c.mode));
            const std::string white = c.white;
            const float w = c.channel;
            scene->SetPrintingStatus(0, printing, &error);
            scene.SetShadeMode(0, c.mode);
            const auto pick = [&](const char* name, const Color& other) {
                return white == name ? Color{w, w, w, 1} : other;
            };
            const Color external = pick("external", kExternal), edge = pick("edge", kEdge),
                        border = pick("border", kBorder);
            scene.SetExternalColor(0, external[0], external[1], external[2]);
            scene->SetEdgeColor(0, edge[0], edge[1], edge[2], &error);
            scene->SetBorderColor(0, border[0], border[1], border[2], &error);
            int black = 0, nearlyWhite = 0;
            for (const Segment& s : DrawnSegments()) {
                black += s.a.color == kBlack;
                nearlyWhite += s.a.color == Color{w, w, w, 1};
            }
            EXPECT_EQ(black > 0, printing && c.black);
            EXPECT_EQ(nearlyWhite > 0, !(printing && c.black));
        }
}

TEST_F(ModeSequence, ForcedHiddenLineIsBlackOnWhiteInEveryMode) {
    const Placed box = AddColored(OpenBox());
    for (const int mode : {0, 1, 2, 4, 7, 9, 10, 50}) {
        SCOPED_TRACE("mode " + std::to_string(mode));
        scene.SetShadeMode(box.instance, mode);
        const auto plain = DrawnBodies();
        scene->ForceHiddenLineDrawing(1, &error);  // true is -1 and nothing else
        EXPECT_EQ(DrawnBodies(), plain);
        EXPECT_EQ(error, 1);
        scene->ForceHiddenLineDrawing(VARIANT_TRUE, &error);
        Texts white = Modes()[4].surface;
        white[7] = "glColor3f 1 1 1";
        EXPECT_EQ(DrawnBodies().at(0), white);
        EXPECT_EQ(DrawnSegments().size(), 12U);
        for (const Segment& s : DrawnSegments()) EXPECT_EQ(s.a.color, kBlack);
        scene->ForceHiddenLineDrawing(VARIANT_FALSE, &error);
    }
}

TEST_F(ModeSequence, OptionsAndVertexOverlays) {
    const Placed box = AddColored(OpenBox());
    const Texts border = {"glColor3f 0.8 0.1 0.8", "GL_LINES"};
    const auto points = [](const char* color) {
        return Texts{"glPushAttrib 16451", kLitOff, color, "glPointSize 2", "GL_POINTS", "glPopAttrib", kDepthOn};
    };
    struct Case {
        int options;
        bool visible;
        Texts after;     // behind the surface, in pass 0
        Texts vertices;  // in pass 2
    };
    const Texts yellow = points("glColor3f 1 1 0"), red = points("glColor3f 1 0 0");
    const Case cases[] = {{0, false, {}, {}},       {1, false, border, {}}, {2, false, {}, red},
                          {3, false, {}, {}},       {0, true, yellow, {}},  {1, true, border + yellow, {}},
                          {2, true, yellow, yellow}};
    for (const Case& c : cases) {
        SCOPED_TRACE("options " + std::to_string(c.options) + (c.visible ? ", vertices visible" : ""));
        scene->SetOptionsShadeMode(box.instance, static_cast<short>(c.options), &error);
        scene->SetVertexVisible(box.instance, c.visible, &error);
        Recording recording;
        scene.Draw();
        const auto bodies = Bodies(recording);
        ASSERT_EQ(bodies.size(), c.options == 2 ? 3U : 2U);  // the vertex pass stops short of other parts
        EXPECT_EQ(bodies[0], Modes()[1].surface + c.after);
        EXPECT_EQ(bodies.back(), c.vertices);
        EXPECT_EQ(recording.Points().size(), 8U * (c.visible + (c.options == 2)));
    }
}

}  // namespace
}  // namespace tessera::test
