#include <gtest/gtest.h>

#include "gl_recorder.h"

namespace tessera::test {
namespace {

const float kStrip[18] = {0, 0, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0, 0, 1, 0, 1, 0};

void Triangle(int vertices) {
    glBegin(GL_TRIANGLES);
    for (int i = 0; i < vertices; ++i) glVertex3f(0, 0, 0);
    glEnd();
}

TEST(Recorder, FindsPlantedFaults) {
    struct Case {
        const char* fault;
        void (*run)();
        const char* complaint;
    };
    const Case cases[] = {
        {"state call in a primitive", [] { glBegin(GL_LINES), glEnable(GL_BLEND), glEnd(); },
         "glEnable between glBegin and glEnd"},
        {"end alone", [] { glEnd(); }, "glEnd without glBegin"},
        {"vertex alone", [] { glVertex3f(0, 0, 0); }, "glVertex3f outside glBegin and glEnd"},
        {"matrix left", [] { glPushMatrix(); }, "modelview stack left at another depth"},
        {"matrix underflow", [] { glPopMatrix(); }, "matrix stack underflow"},
        {"matrix overflow",
         [] {
             for (int i = 0; i < 32; ++i) glPushMatrix();
         },
         "matrix stack overflow"},
        {"attributes left", [] { glPushAttrib(GL_LIGHTING_BIT); }, "attribute stack left at another depth"},
        {"attribute underflow", [] { glPopAttrib(); }, "attribute stack underflow"},
        {"client underflow", [] { glPopClientAttrib(); }, "client stack underflow"},
        {"no array", [] { glDrawArrays(GL_TRIANGLE_STRIP, 0, 3); }, "glDrawArrays without a vertex array"},
        {"empty draw", [] { glInterleavedArrays(GL_N3F_V3F, 0, kStrip), glDrawArrays(GL_TRIANGLE_STRIP, 0, 0); },
         "glDrawArrays of 0 vertices"},
        {"part of a triangle", [] { Triangle(4); }, "4 vertices in GL_TRIANGLES"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.fault);
        ResetContext();
        Recording recording;
        c.run();
        const auto found = recording.Violations();
        ASSERT_FALSE(found.empty());
        EXPECT_EQ(found.front(), c.complaint);
    }
    ResetContext();
    Recording recording;
    Triangle(3);
    EXPECT_TRUE(recording.Violations().empty());
    EXPECT_TRUE(recording.Changed().empty());
}

// A change inside a push of one group has to be undone if the group holds that state, and by no other group.
TEST(Recorder, RestoresAttributesByGroup) {
    struct Case {
        GLbitfield groups;
        const char* name;
        void (*change)();
    };
    const Case cases[] = {
        {GL_CURRENT_BIT, "color", [] { glColor3f(1, 0, 0); }},
        {GL_POINT_BIT, "pointSize", [] { glPointSize(2); }},
        {GL_LINE_BIT, "lineWidth", [] { glLineWidth(2); }},
        {GL_POLYGON_BIT, "polygonMode", [] { glPolygonMode(GL_FRONT, GL_LINE); }},
        {GL_POLYGON_BIT | GL_ENABLE_BIT, "GL_CULL_FACE", [] { glEnable(GL_CULL_FACE); }},
        {GL_LIGHTING_BIT, "material", [] { glMaterialf(GL_BACK, GL_SHININESS, 9); }},
        {GL_LIGHTING_BIT | GL_ENABLE_BIT, "GL_LIGHTING", [] { glEnable(GL_LIGHTING); }},
        {GL_DEPTH_BUFFER_BIT, "depthMask", [] { glDepthMask(GL_FALSE); }},
        {GL_DEPTH_BUFFER_BIT | GL_ENABLE_BIT, "GL_DEPTH_TEST", [] { glEnable(GL_DEPTH_TEST); }},
        {GL_STENCIL_BUFFER_BIT, "stencilOp", [] { glStencilOp(GL_INVERT, GL_KEEP, GL_KEEP); }},
        {GL_TRANSFORM_BIT | GL_ENABLE_BIT, "GL_NORMALIZE", [] { glEnable(GL_NORMALIZE); }},
        {GL_COLOR_BUFFER_BIT | GL_ENABLE_BIT, "GL_BLEND", [] { glEnable(GL_BLEND); }},
        {GL_TEXTURE_BIT, "texture", [] { glBindTexture(GL_TEXTURE_2D, 7); }},
    };
    for (const Case& c : cases)
        for (GLbitfield group = 1; group & GL_ALL_ATTRIB_BITS; group <<= 1) {
            ResetContext();
            Recording recording;
            glPushAttrib(group);
            c.change();
            glPopAttrib();
            const std::vector<std::string> left =
                c.groups & group ? std::vector<std::string>{} : std::vector<std::string>{c.name};
            EXPECT_EQ(recording.Changed(), left) << "after a push of " << group;
        }
}

TEST(Recorder, ReadsArraysAtTheDrawAndKnowsUnusedPointers) {
    ResetContext();
    Recording recording;
    glPushMatrix();
    const float shift[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};
    glMultMatrixf(shift);
    glInterleavedArrays(GL_N3F_V3F, 0, kStrip);
    EXPECT_EQ(recording.UnusedPointers(), 1);
    glDrawArrays(GL_TRIANGLE_STRIP, 0, 3);
    glPopMatrix();
    EXPECT_EQ(recording.UnusedPointers(), 0);
    ASSERT_EQ(recording.Primitives().size(), 1U);
    EXPECT_EQ(recording.Primitives()[0].World(1), (std::array<double, 3>{6, 6, 7}));
    EXPECT_EQ(recording.Primitives()[0].vertices[2].normal, (std::array<float, 3>{0, 0, 1}));
    EXPECT_EQ(recording.Changed().back(), "client arrays");
    EXPECT_TRUE(glIsEnabled(GL_VERTEX_ARRAY));
}

}  // namespace
}  // namespace tessera::test
