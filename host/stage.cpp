#include "stage.h"

#include <GL/gl.h>

namespace tessera::host {

void PaintBackground(const Rgb& top, const Rgb& bottom) {
    glClearColor(bottom[0], bottom[1], bottom[2], 1);
    glClearDepth(1);
    glClearStencil(0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT);
    if (top == bottom) return;
    glPushAttrib(GL_ENABLE_BIT | GL_DEPTH_BUFFER_BIT | GL_LIGHTING_BIT | GL_CURRENT_BIT | GL_TRANSFORM_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glShadeModel(GL_SMOOTH);
    for (const GLenum matrix : {GL_PROJECTION, GL_MODELVIEW}) {
        glMatrixMode(matrix);
        glPushMatrix();
        glLoadIdentity();
    }
    glBegin(GL_TRIANGLE_STRIP);
    glColor3fv(top.data());
    glVertex2f(-1, 1);
    glVertex2f(1, 1);
    glColor3fv(bottom.data());
    glVertex2f(-1, -1);
    glVertex2f(1, -1);
    glEnd();
    for (const GLenum matrix : {GL_MODELVIEW, GL_PROJECTION}) {
        glMatrixMode(matrix);
        glPopMatrix();
    }
    glPopAttrib();
}

void LightFromBehind(const Camera& camera) {
    constexpr GLfloat kFromUpperLeft[] = {-0.45F, 0.65F, 0.8F, 0};
    constexpr GLfloat kFromRight[] = {0.9F, 0.05F, 0.5F, 0};
    constexpr GLfloat kKey[] = {0.98F, 0.97F, 0.94F, 1};
    constexpr GLfloat kFill[] = {0.46F, 0.47F, 0.50F, 1};
    constexpr GLfloat kKeyShine[] = {0.26F, 0.26F, 0.26F, 1};
    constexpr GLfloat kFillShine[] = {0.05F, 0.05F, 0.06F, 1};
    constexpr GLfloat kBlack[] = {0, 0, 0, 1};
    // The engine gives a third of a colour to ambient light.
    constexpr GLfloat kAmbient[] = {0.70F, 0.71F, 0.74F, 1};

    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(camera.Projection().data());
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glLightModelfv(GL_LIGHT_MODEL_AMBIENT, kAmbient);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 1);
    glLightfv(GL_LIGHT0, GL_POSITION, kFromUpperLeft);
    glLightfv(GL_LIGHT0, GL_DIFFUSE, kKey);
    glLightfv(GL_LIGHT0, GL_SPECULAR, kKeyShine);
    glLightfv(GL_LIGHT0, GL_AMBIENT, kBlack);
    glLightfv(GL_LIGHT1, GL_POSITION, kFromRight);
    glLightfv(GL_LIGHT1, GL_DIFFUSE, kFill);
    glLightfv(GL_LIGHT1, GL_SPECULAR, kFillShine);
    glLightfv(GL_LIGHT1, GL_AMBIENT, kBlack);
    glLoadMatrixd(camera.ModelView().data());
    glEnable(GL_LIGHT0);
    glEnable(GL_LIGHT1);
    glEnable(GL_LIGHTING);
    glEnable(GL_DEPTH_TEST);
}

}  // namespace tessera::host
