// A recorder that overlooked these faults would let every other test pass.
#include "render_fixture.h"

namespace tessera::test {
namespace {

TEST(Recorder, FindsPlantedFaults) {
    static const float strip[18] = {};
    struct Case {
        void (*run)();
        const char* complaint;
    };
    const Case cases[] = {
        {[] { glBegin(GL_LINES), glEnable(GL_BLEND), glEnd(); }, "glEnable between glBegin and glEnd"},
        {[] { glBegin(GL_LINES), glVertex3f(0, 0, 0), glEnd(); }, "1 vertices in GL_LINES"},
        {[] { glPushMatrix(); }, "modelview stack left at another depth"},
        {[] { glPopMatrix(); }, "matrix stack underflow"},
        {[] { glPushAttrib(GL_LIGHTING_BIT); }, "attribute stack left at another depth"},
        {[] { glDrawArrays(GL_TRIANGLE_STRIP, 0, 3); }, "glDrawArrays without a vertex array"},
        {[] { glInterleavedArrays(GL_N3F_V3F, 0, strip), glDrawArrays(GL_TRIANGLES, 0, 0); },
         "glDrawArrays of 0 vertices"},
    };
    for (const Case& c : cases) {
        ResetContext();
        Recording recording;
        c.run();
        EXPECT_EQ(recording.Violations(), Texts{c.complaint});
    }
    // A group that is restored brings back its own state and no other.
    ResetContext();
    Recording recording;
    glPushAttrib(GL_LINE_BIT | GL_ENABLE_BIT);
    glLineWidth(2), glEnable(GL_BLEND), glPointSize(2), glDepthMask(0);
    glPopAttrib();
    EXPECT_EQ(recording.Changed(), (Texts{"depthMask", "pointSize"}));
}

}  // namespace
}  // namespace tessera::test
