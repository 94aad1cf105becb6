#include "render/draw_state.h"

#include <GL/gl.h>

namespace tessera {
namespace {

// Places left on OpenGL's modelview stack during a draw call: asked for once, as a question may stall the driver.
thread_local int gFreeMatrices = 0;

void Switch(GLenum capability, GLboolean on) {
    if (on)
        glEnable(capability);
    else
        glDisable(capability);
}

}  // namespace

thread_local ToldState gTold;
bool gForceHiddenLine = false;
bool gSelectedSeen = false;
bool gTransparentSeen = false;
bool gReducedDrawn = false;

HostState::HostState() {
    gTold = ToldState();
    glPushAttrib(GL_CURRENT_BIT | GL_POINT_BIT | GL_LINE_BIT | GL_POLYGON_BIT | GL_COLOR_BUFFER_BIT |
                 GL_DEPTH_BUFFER_BIT | GL_STENCIL_BUFFER_BIT | GL_TRANSFORM_BIT | GL_TEXTURE_BIT);
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    GLint depth = 0, deepest = 0;
    glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &depth);
    glGetIntegerv(GL_MAX_MODELVIEW_STACK_DEPTH, &deepest);
    gFreeMatrices = deepest - depth;
}

HostState::~HostState() {
    gTold = ToldState();
    GLint culled = GL_BACK, front = GL_CCW;
    GLfloat factor = 0, units = 0;
    glGetIntegerv(GL_CULL_FACE_MODE, &culled);
    glGetIntegerv(GL_FRONT_FACE, &front);
    glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &factor);
    glGetFloatv(GL_POLYGON_OFFSET_UNITS, &units);
    const GLboolean offset = glIsEnabled(GL_POLYGON_OFFSET_FILL), normalize = glIsEnabled(GL_NORMALIZE);
    glPopClientAttrib();
    glPopAttrib();
    glCullFace(static_cast<GLenum>(culled));
    glFrontFace(static_cast<GLenum>(front));
    glPolygonOffset(factor, units);
    Switch(GL_POLYGON_OFFSET_FILL, offset);
    Switch(GL_NORMALIZE, normalize);
}

ModelviewScope::ModelviewScope(const CMatrix& matrix) {
    float values[16];
    for (int i = 0; i < 16; ++i) values[i] = static_cast<float>(matrix.Forward()[i]);
    glMatrixMode(GL_MODELVIEW);
    pushed_ = gFreeMatrices > 0;
    if (pushed_) {
        --gFreeMatrices;
        glPushMatrix();
    } else {
        glGetFloatv(GL_MODELVIEW_MATRIX, former_);
    }
    glMultMatrixf(values);
}

ModelviewScope::~ModelviewScope() {
    if (pushed_) {
        ++gFreeMatrices;
        glPopMatrix();
    } else {
        glLoadMatrixf(former_);
    }
}

}  // namespace tessera
