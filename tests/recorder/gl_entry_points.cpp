// The entry points of OpenGL 1.1 that the engine and the tests use. One that is missing here is a link error.
#include <algorithm>

#include "gl_context.h"

using namespace tessera::test;

namespace {

using Arguments = std::initializer_list<Argument>;

Log& g_log = TheLog();
Context& g_context = g_log.context;
State& g_now = g_context.state;
ClientState& g_client = g_context.client;

void Complain(const std::string& text) { g_log.violations.push_back(text); }

enum Place { kOutside, kInside, kAnywhere };  // of glBegin and glEnd

// Notes a call; false if it has no place where it stands, and no effect.
bool Enter(const char* name, Arguments arguments = {}, Place place = kOutside) {
    if (g_log.logging) g_log.calls.push_back({name, arguments});
    const bool fits = place == kAnywhere || (place == kInside) == g_log.open;
    if (!fits) Complain(name + std::string(g_log.open ? " between" : " outside") + " glBegin and glEnd");
    return fits;
}

// Most calls set an attribute to what they are given behind some leading names.
void Set(double* field, const char* name, Arguments arguments, int skipped = 0, Place place = kOutside) {
    if (!Enter(name, arguments, place)) return;
    for (auto each = arguments.begin() + skipped; each != arguments.end(); ++each) *field++ = each->value;
}

void CheckCount(GLenum mode, std::size_t count) {
    const std::size_t corners = mode == GL_LINES ? 2 : mode == GL_TRIANGLES ? 3 : mode == GL_QUADS ? 4 : 1;
    const std::size_t least = mode == GL_POINTS ? 1 : mode > GL_TRIANGLES ? 3 : 2;
    if (count % corners || count < least) Complain(std::to_string(count) + " vertices in " + ConstantName(mode));
}

void OpenPrimitive(GLenum mode) {
    const int call = static_cast<int>(g_log.calls.size()) - 1;
    if (g_log.logging) g_log.primitives.push_back({mode, call, {}, g_now, g_context.modelview.back()});
}

void AddVertex(const GLfloat* p) {
    if (!g_log.logging) return;
    Vertex vertex{{p[0], p[1], p[2]}, {}, {}};
    std::copy_n(g_now.normal, 3, vertex.normal.begin());
    std::copy_n(g_now.color, 4, vertex.color.begin());
    g_log.primitives.back().vertices.push_back(vertex);
}

void Switch(const char* name, GLenum capability, bool on) {
    if (!Enter(name, {capability})) return;
    const Field* field = FieldOfQuery(capability);
    field ? void(*field->In(g_now) = on) : Complain("capability " + std::to_string(capability));
}

void SetMaterial(const char* call, GLenum face, GLenum name, const GLfloat* values) {
    Enter(call, {face, name, values[0]}, kAnywhere);
    for (const int side : {0, 1}) {
        Material& material = g_now.material[side];
        double* field = name == GL_AMBIENT     ? material.ambient
                        : name == GL_DIFFUSE   ? material.diffuse
                        : name == GL_SPECULAR  ? material.specular
                        : name == GL_SHININESS ? &material.shininess
                                               : nullptr;
        if (!field) return Complain("material " + std::to_string(name));
        if (face != (side ? GL_FRONT : GL_BACK)) std::copy_n(values, name == GL_SHININESS ? 1 : 4, field);
    }
}

template <typename T>
void Answer(const char* call, GLenum name, T* to) {
    if (!Enter(call, {name})) return;
    const auto& stack = g_context.modelview;
    const double depths[] = {double(stack.size()), double(kStackDepth)};
    const Field* field = FieldOfQuery(name);
    const double* from = name == GL_MODELVIEW_MATRIX            ? stack.back().data()
                         : name == GL_MODELVIEW_STACK_DEPTH     ? &depths[0]
                         : name == GL_MAX_MODELVIEW_STACK_DEPTH ? &depths[1]
                         : field                                ? field->In(g_now)
                                                                : nullptr;
    if (!from) return Complain("query " + std::to_string(name));
    std::copy_n(from, name == GL_MODELVIEW_MATRIX ? 16 : 1, to);
}

std::vector<Matrix>& Matrices() {
    return g_now.matrixMode == GL_MODELVIEW ? g_context.modelview : g_context.projection;
}

template <typename T>
void Push(const char* name, std::vector<T>& stack, T value, Arguments arguments = {}) {
    if (!Enter(name, arguments)) return;
    stack.size() == kStackDepth ? Complain(std::string(name) + " overflow") : stack.push_back(std::move(value));
}

// Takes the top off a stack; false if the stack has no more than it keeps.
template <typename T>
bool Pop(const char* name, std::vector<T>& stack, std::size_t kept, T* top = nullptr) {
    if (!Enter(name)) return false;
    if (stack.size() <= kept) return Complain(std::string(name) + " underflow"), false;
    if (top) *top = stack.back();
    stack.pop_back();
    return true;
}

}  // namespace

void glBegin(GLenum mode) {
    if (!Enter(__func__, {mode})) return;
    g_log.open = true;
    OpenPrimitive(mode);
}
void glEnd() {
    if (!Enter(__func__, {}, kInside)) return;
    g_log.open = false;
    const auto* drawn = g_log.logging ? &g_log.primitives.back() : nullptr;
    if (drawn && !drawn->vertices.empty()) CheckCount(drawn->mode, drawn->vertices.size());
}
void glVertex3f(GLfloat x, GLfloat y, GLfloat z) {
    const GLfloat v[] = {x, y, z};
    if (Enter(__func__, {x, y, z}, kInside)) AddVertex(v);
}
void glNormal3f(GLfloat x, GLfloat y, GLfloat z) { Set(g_now.normal, __func__, {x, y, z}, 0, kAnywhere); }
void glColor3f(GLfloat r, GLfloat g, GLfloat b) {
    g_now.color[3] = 1, Set(g_now.color, __func__, {r, g, b}, 0, kAnywhere);
}
void glColor4f(GLfloat r, GLfloat g, GLfloat b, GLfloat a) { Set(g_now.color, __func__, {r, g, b, a}, 0, kAnywhere); }
void glMaterialf(GLenum face, GLenum name, GLfloat value) { SetMaterial(__func__, face, name, &value); }
void glMaterialfv(GLenum face, GLenum name, const GLfloat* v) { SetMaterial(__func__, face, name, v); }

void glEnable(GLenum capability) { Switch(__func__, capability, true); }
void glDisable(GLenum capability) { Switch(__func__, capability, false); }
GLboolean glIsEnabled(GLenum capability) { return Enter(__func__, {capability}) && g_now.Enabled(capability); }
void glGetIntegerv(GLenum name, GLint* v) { Answer(__func__, name, v); }
void glGetFloatv(GLenum name, GLfloat* v) { Answer(__func__, name, v); }

void glMatrixMode(GLenum mode) { Set(&g_now.matrixMode, __func__, {mode}); }
void glPushMatrix() { Push(__func__, Matrices(), Matrices().back()); }
void glPopMatrix() { Pop(__func__, Matrices(), 1); }
void glLoadMatrixf(const GLfloat* m) {
    if (Enter(__func__)) std::copy_n(m, 16, Matrices().back().begin());
}
void glMultMatrixf(const GLfloat* m) {
    if (!Enter(__func__)) return;
    const Matrix before = std::exchange(Matrices().back(), Matrix{});
    Matrix& product = Matrices().back();
    for (std::size_t i = 0; i < 64; ++i) product[i / 4] += before[i % 4 * 4 + i / 4 % 4] * m[i / 16 * 4 + i % 4];
}

void glPushAttrib(GLbitfield mask) { Push(__func__, g_context.attributes, {mask, g_now}, {int(mask)}); }
void glPopAttrib() {
    std::pair<GLbitfield, State> top;
    if (!Pop(__func__, g_context.attributes, 0, &top)) return;
    for (const Field& field : Fields())
        if (field.groups & top.first) std::copy_n(field.In(top.second), field.count, field.In(g_now));
}
void glPushClientAttrib(GLbitfield mask) { Push(__func__, g_context.clientAttributes, {mask, g_client}, {int(mask)}); }
void glPopClientAttrib() {
    std::pair<GLbitfield, ClientState> top;
    if (!Pop(__func__, g_context.clientAttributes, 0, &top)) return;
    if (top.first & GL_CLIENT_VERTEX_ARRAY_BIT) g_client = top.second;
    g_log.pointersPending = 0;
}

void glPolygonMode(GLenum face, GLenum mode) {
    if (!Enter(__func__, {face, mode})) return;
    if (face != GL_BACK) g_now.polygonMode[0] = mode;
    if (face != GL_FRONT) g_now.polygonMode[1] = mode;
}
void glPolygonOffset(GLfloat factor, GLfloat units) { Set(g_now.offset, __func__, {factor, units}); }
void glCullFace(GLenum face) { Set(&g_now.cullFace, __func__, {face}); }
void glFrontFace(GLenum order) { Set(&g_now.frontFace, __func__, {order}); }
void glShadeModel(GLenum model) { Set(&g_now.shadeModel, __func__, {model}); }
void glBlendFunc(GLenum source, GLenum target) { Set(g_now.blend, __func__, {source, target}); }
void glDepthMask(GLboolean on) { Set(&g_now.depthMask, __func__, {on}); }
void glDepthFunc(GLenum function) { Set(&g_now.depthFunc, __func__, {function}); }
void glColorMask(GLboolean r, GLboolean g, GLboolean b, GLboolean a) { Set(g_now.colorMask, __func__, {r, g, b, a}); }
void glLineWidth(GLfloat width) { Set(&g_now.lineWidth, __func__, {width}); }
void glLineStipple(GLint repeat, GLushort pattern) { Set(g_now.stipple, __func__, {repeat, pattern}); }
void glPointSize(GLfloat size) { Set(&g_now.pointSize, __func__, {size}); }
void glClipPlane(GLenum plane, const GLdouble* e) {
    Set(g_now.clipPlane, __func__, {plane, e[0], e[1], e[2], e[3]}, 1);
}
void glStencilFunc(GLenum test, GLint v, GLuint mask) { Set(g_now.stencilFunc, __func__, {test, v, int(mask)}); }
void glStencilOp(GLenum fail, GLenum depth, GLenum pass) { Set(g_now.stencilOp, __func__, {fail, depth, pass}); }
void glClearStencil(GLint value) { Set(&g_now.stencilClear, __func__, {value}); }
void glClear(GLbitfield mask) { Enter(__func__, {int(mask)}); }

void glEnableClientState(GLenum array) {
    if (Enter(__func__, {array}))
        g_client.enabled[array == GL_VERTEX_ARRAY ? 0 : array == GL_NORMAL_ARRAY ? 1 : 2] = true;
}
void glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
    if (Enter(__func__, {size, type, stride})) g_client.pointers[0] = static_cast<const GLfloat*>(pointer);
}
void glInterleavedArrays(GLenum format, GLsizei stride, const void* pointer) {
    if (!Enter(__func__, {format, stride})) return;
    if (format != GL_N3F_V3F || stride != 0) Complain("interleaved format " + std::to_string(format));
    g_log.pointersUnused += 1, g_log.pointersPending = 1;
    const GLfloat* first = static_cast<const GLfloat*>(pointer);
    g_client = {{true, true, false}, {first + 3, first}};
}
void glDrawArrays(GLenum mode, GLint first, GLsizei count) {
    if (!Enter(__func__, {mode, first, count})) return;
    if (!g_client.enabled[0] || !g_client.pointers[0]) return Complain("glDrawArrays without a vertex array");
    if (count <= 0) return Complain("glDrawArrays of " + std::to_string(count) + " vertices");
    CheckCount(mode, static_cast<std::size_t>(count));
    g_log.pointersUnused -= std::exchange(g_log.pointersPending, 0);
    OpenPrimitive(mode);
    for (std::ptrdiff_t i = first; i < first + count; ++i) {
        if (g_client.enabled[1]) std::copy_n(g_client.pointers[1] + 6 * i, 3, g_now.normal);
        AddVertex(g_client.pointers[0] + 6 * i);
    }
}

void glTexGeni(GLenum s, GLenum name, GLint mode) {
    Set(&g_now.texGen[s - GL_S], __func__, {s, name, GLenum(mode)}, 2);
}
void glBindTexture(GLenum target, GLuint texture) { Set(&g_now.texture, __func__, {target, int(texture)}, 1); }
void glGenTextures(GLsizei count, GLuint* textures) {
    if (Enter(__func__, {count}))
        for (int i = 0; i < count; ++i) textures[i] = GLuint(++g_context.lastTexture);
}
void glTexImage2D(GLenum target, GLint level, GLint format, GLsizei width, GLsizei height, GLint, GLenum, GLenum,
                  const void*) {
    Enter(__func__, {target, level, format, width, height});
}
void glTexParameteri(GLenum target, GLenum name, GLint v) { Enter(__func__, {target, name, GLenum(v)}); }
void glPixelStorei(GLenum name, GLint value) { Enter(__func__, {name, value}); }
