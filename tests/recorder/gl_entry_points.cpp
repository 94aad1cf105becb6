// The entry points of OpenGL 1.1 that the engine and the tests use. One that is missing here is a link error.
#include <algorithm>

#include "gl_context.h"

using namespace tessera::test;

namespace {

using Arguments = std::initializer_list<Argument>;

void Complain(std::string text) { TheLog().violations.push_back(std::move(text)); }

void Note(const char* name, Arguments arguments = {}) {
    if (TheLog().logging) TheLog().calls.push_back({name, arguments});
}

// Notes a call that has no place between glBegin and glEnd; false if it stands there, where it has no effect.
bool Outside(const char* name, Arguments arguments = {}) {
    Note(name, arguments);
    if (TheLog().open) Complain(std::string(name) + " between glBegin and glEnd");
    return !TheLog().open;
}

State& Now() { return TheLog().context.state; }

void Copy(Arguments values, double* field) {
    for (const Argument& each : values) *field++ = each.value;
}

// Most calls set an attribute to what they are given.
void Set(const char* name, double* field, Arguments arguments) {
    if (Outside(name, arguments)) Copy(arguments, field);
}

void CheckCount(GLenum mode, int count) {
    const bool whole = mode == GL_POINTS      ? true
                       : mode == GL_LINES     ? count % 2 == 0
                       : mode == GL_TRIANGLES ? count % 3 == 0
                       : mode == GL_QUADS     ? count % 4 == 0
                                              : count >= (mode > GL_TRIANGLES ? 3 : 2);
    if (!whole) Complain(std::to_string(count) + " vertices in " + ConstantName(mode));
}

void OpenPrimitive(GLenum mode, bool fromArrays) {
    auto& log = TheLog();
    if (!log.logging) return;
    const int call = static_cast<int>(log.calls.size()) - 1;
    log.primitives.push_back({mode, fromArrays, call, {}, log.context.state, log.context.modelview.back()});
}

void AddVertex(const GLfloat* p) {
    auto& log = TheLog();
    ++log.openVertices;
    if (!log.logging) return;
    Vertex vertex{{p[0], p[1], p[2]}, {}, {}};
    std::copy_n(Now().normal, 3, vertex.normal.begin());
    std::copy_n(Now().color, 4, vertex.color.begin());
    log.primitives.back().vertices.push_back(vertex);
}

void SwitchCapability(const char* name, GLenum capability, bool on) {
    if (!Outside(name, {capability})) return;
    const Field* field = FieldOfQuery(capability);
    field ? void(*field->In(Now()) = on) : Complain("capability " + std::to_string(capability));
}

void SetMaterial(GLenum face, GLenum name, const GLfloat* values) {
    for (int side = 0; side < 2; ++side) {
        if (face == (side ? GL_FRONT : GL_BACK)) continue;
        Material& material = Now().material[side];
        switch (name) {
            case GL_AMBIENT: std::copy_n(values, 4, material.ambient); break;
            case GL_DIFFUSE: std::copy_n(values, 4, material.diffuse); break;
            case GL_SPECULAR: std::copy_n(values, 4, material.specular); break;
            case GL_SHININESS: material.shininess = values[0]; break;
            default: Complain("material " + std::to_string(name));
        }
    }
}

template <typename T>
void Answer(const char* call, GLenum name, T* to) {
    if (!Outside(call, {name})) return;
    const Context& context = TheLog().context;
    if (name == GL_MODELVIEW_MATRIX)
        std::copy_n(context.modelview.back().begin(), 16, to);
    else if (name == GL_MODELVIEW_STACK_DEPTH || name == GL_MAX_MODELVIEW_STACK_DEPTH)
        *to = static_cast<T>(name == GL_MODELVIEW_STACK_DEPTH ? context.modelview.size() : kStackDepth);
    else if (const Field* field = FieldOfQuery(name))
        std::copy_n(field->In(Now()), field->Count(), to);
    else
        Complain("query " + std::to_string(name));
}

std::vector<Matrix>& Matrices() {
    return Now().matrixMode == GL_MODELVIEW ? TheLog().context.modelview : TheLog().context.projection;
}

template <typename T>
void Push(const char* name, std::vector<T>& stack, T value) {
    stack.size() == kStackDepth ? Complain(std::string(name) + " overflow") : stack.push_back(std::move(value));
}

// False if the stack has no more than it keeps.
template <typename T>
bool CanPop(const char* name, const std::vector<T>& stack, std::size_t kept) {
    if (stack.size() <= kept) Complain(std::string(name) + " underflow");
    return stack.size() > kept;
}

}  // namespace

void GLAPIENTRY glBegin(GLenum mode) {
    if (!Outside("glBegin", {mode})) return;
    TheLog().open = true;
    TheLog().openVertices = 0;
    TheLog().openMode = mode;
    OpenPrimitive(mode, false);
}
void GLAPIENTRY glEnd() {
    Note("glEnd");
    if (!TheLog().open) return Complain("glEnd without glBegin");
    TheLog().open = false;
    if (TheLog().openVertices) CheckCount(TheLog().openMode, TheLog().openVertices);
}
void GLAPIENTRY glVertex3f(GLfloat x, GLfloat y, GLfloat z) {
    Note("glVertex3f", {x, y, z});
    const GLfloat v[] = {x, y, z};
    TheLog().open ? AddVertex(v) : Complain("glVertex3f outside glBegin and glEnd");
}
void GLAPIENTRY glNormal3f(GLfloat x, GLfloat y, GLfloat z) {
    Note("glNormal3f", {x, y, z});
    Copy({x, y, z}, Now().normal);
}
void GLAPIENTRY glColor3f(GLfloat r, GLfloat g, GLfloat b) {
    Note("glColor3f", {r, g, b});
    Copy({r, g, b, 1.0}, Now().color);
}
void GLAPIENTRY glColor4f(GLfloat r, GLfloat g, GLfloat b, GLfloat a) {
    Note("glColor4f", {r, g, b, a});
    Copy({r, g, b, a}, Now().color);
}
void GLAPIENTRY glMaterialf(GLenum face, GLenum name, GLfloat value) {
    Note("glMaterialf", {face, name, value});
    SetMaterial(face, name, &value);
}
void GLAPIENTRY glMaterialfv(GLenum face, GLenum name, const GLfloat* v) {
    Note("glMaterialfv", {face, name});
    SetMaterial(face, name, v);
}

void GLAPIENTRY glEnable(GLenum capability) { SwitchCapability("glEnable", capability, true); }
void GLAPIENTRY glDisable(GLenum capability) { SwitchCapability("glDisable", capability, false); }
GLboolean GLAPIENTRY glIsEnabled(GLenum capability) {
    return Outside("glIsEnabled", {capability}) && Now().Enabled(capability);
}
void GLAPIENTRY glGetIntegerv(GLenum name, GLint* v) { Answer("glGetIntegerv", name, v); }
void GLAPIENTRY glGetFloatv(GLenum name, GLfloat* v) { Answer("glGetFloatv", name, v); }

void GLAPIENTRY glMatrixMode(GLenum mode) { Set("glMatrixMode", &Now().matrixMode, {mode}); }
void GLAPIENTRY glPushMatrix() {
    if (Outside("glPushMatrix")) Push("matrix stack", Matrices(), Matrices().back());
}
void GLAPIENTRY glPopMatrix() {
    if (Outside("glPopMatrix") && CanPop("matrix stack", Matrices(), 1)) Matrices().pop_back();
}
void GLAPIENTRY glLoadMatrixf(const GLfloat* m) {
    if (Outside("glLoadMatrixf")) std::copy_n(m, 16, Matrices().back().begin());
}
void GLAPIENTRY glMultMatrixf(const GLfloat* m) {
    if (!Outside("glMultMatrixf")) return;
    const Matrix before = Matrices().back();
    Matrix product{};
    for (std::size_t i = 0; i < 64; ++i) product[i / 4] += before[i % 4 * 4 + i / 4 % 4] * m[i / 16 * 4 + i % 4];
    Matrices().back() = product;
}

void GLAPIENTRY glPushAttrib(GLbitfield mask) {
    if (Outside("glPushAttrib", {static_cast<int>(mask)}))
        Push("attribute stack", TheLog().context.attributes, {mask, Now()});
}
void GLAPIENTRY glPopAttrib() {
    auto& stack = TheLog().context.attributes;
    if (!Outside("glPopAttrib") || !CanPop("attribute stack", stack, 0)) return;
    for (const Field& field : Fields())
        if (field.groups & stack.back().groups)
            std::copy_n(field.In(stack.back().state), field.Count(), field.In(Now()));
    stack.pop_back();
}
void GLAPIENTRY glPushClientAttrib(GLbitfield mask) {
    Context& context = TheLog().context;
    if (Outside("glPushClientAttrib", {static_cast<int>(mask)}))
        Push("client stack", context.clientAttributes, {mask, context.client});
}
void GLAPIENTRY glPopClientAttrib() {
    Context& context = TheLog().context;
    auto& stack = context.clientAttributes;
    if (!Outside("glPopClientAttrib") || !CanPop("client stack", stack, 0)) return;
    if (stack.back().groups & GL_CLIENT_VERTEX_ARRAY_BIT) context.client = stack.back().state;
    stack.pop_back();
    TheLog().pointersPending = 0;
}

void GLAPIENTRY glPolygonMode(GLenum face, GLenum mode) {
    if (!Outside("glPolygonMode", {face, mode})) return;
    if (face != GL_BACK) Now().polygonMode[0] = mode;
    if (face != GL_FRONT) Now().polygonMode[1] = mode;
}
void GLAPIENTRY glPolygonOffset(GLfloat factor, GLfloat units) {
    Set("glPolygonOffset", Now().polygonOffset, {factor, units});
}
void GLAPIENTRY glCullFace(GLenum face) { Set("glCullFace", &Now().cullFace, {face}); }
void GLAPIENTRY glFrontFace(GLenum order) { Set("glFrontFace", &Now().frontFace, {order}); }
void GLAPIENTRY glShadeModel(GLenum model) { Set("glShadeModel", &Now().shadeModel, {model}); }
void GLAPIENTRY glBlendFunc(GLenum source, GLenum target) { Set("glBlendFunc", Now().blend, {source, target}); }
void GLAPIENTRY glDepthMask(GLboolean on) { Set("glDepthMask", &Now().depthMask, {int{on}}); }
void GLAPIENTRY glDepthFunc(GLenum function) { Set("glDepthFunc", &Now().depthFunc, {function}); }
void GLAPIENTRY glColorMask(GLboolean r, GLboolean g, GLboolean b, GLboolean a) {
    Set("glColorMask", Now().colorMask, {int{r}, int{g}, int{b}, int{a}});
}
void GLAPIENTRY glLineWidth(GLfloat width) { Set("glLineWidth", &Now().lineWidth, {width}); }
void GLAPIENTRY glLineStipple(GLint repeat, GLushort pattern) {
    Set("glLineStipple", Now().stipple, {repeat, int{pattern}});
}
void GLAPIENTRY glPointSize(GLfloat size) { Set("glPointSize", &Now().pointSize, {size}); }
void GLAPIENTRY glClipPlane(GLenum plane, const GLdouble* e) {
    if (Outside("glClipPlane", {plane, e[0], e[1], e[2], e[3]})) std::copy_n(e, 4, Now().clipPlane);
}
void GLAPIENTRY glStencilFunc(GLenum function, GLint reference, GLuint mask) {
    Set("glStencilFunc", Now().stencilFunc, {function, reference, static_cast<int>(mask)});
}
void GLAPIENTRY glStencilOp(GLenum fail, GLenum depthFail, GLenum pass) {
    Set("glStencilOp", Now().stencilOp, {fail, depthFail, pass});
}
void GLAPIENTRY glClearStencil(GLint value) { Set("glClearStencil", &Now().stencilClear, {value}); }
void GLAPIENTRY glClear(GLbitfield mask) { Outside("glClear", {static_cast<int>(mask)}); }

void GLAPIENTRY glEnableClientState(GLenum array) {
    auto& client = TheLog().context.client;
    if (Outside("glEnableClientState", {array}))
        (array == GL_VERTEX_ARRAY   ? client.vertex
         : array == GL_NORMAL_ARRAY ? client.normal
                                    : client.color)
            .enabled = true;
}
void GLAPIENTRY glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
    if (Outside("glVertexPointer", {size, type, stride})) TheLog().context.client.vertex.pointer = pointer;
}
void GLAPIENTRY glInterleavedArrays(GLenum format, GLsizei stride, const void* pointer) {
    if (!Outside("glInterleavedArrays", {format, stride})) return;
    if (format != GL_N3F_V3F || stride != 0) Complain("interleaved format " + std::to_string(format));
    auto& client = TheLog().context.client;
    client.color.enabled = false;
    client.normal = {true, pointer};
    client.vertex = {true, static_cast<const GLfloat*>(pointer) + 3};
    TheLog().pointersPending = 1;
    ++TheLog().pointersUnused;
}
void GLAPIENTRY glDrawArrays(GLenum mode, GLint first, GLsizei count) {
    if (!Outside("glDrawArrays", {mode, first, count})) return;
    auto& log = TheLog();
    const ClientState& client = log.context.client;
    if (!client.vertex.enabled || !client.vertex.pointer) return Complain("glDrawArrays without a vertex array");
    if (count <= 0) return Complain("glDrawArrays of " + std::to_string(count) + " vertices");
    CheckCount(mode, count);
    log.pointersUnused -= log.pointersPending;
    log.pointersPending = 0;
    OpenPrimitive(mode, true);
    for (int i = first; i < first + count; ++i) {
        if (client.normal.enabled) std::copy_n(client.normal.At(i), 3, Now().normal);
        AddVertex(client.vertex.At(i));
    }
}

void GLAPIENTRY glTexGeni(GLenum coordinate, GLenum name, GLint value) {
    if (Outside("glTexGeni", {coordinate, name, static_cast<GLenum>(value)})) Now().texGen[coordinate - GL_S] = value;
}
void GLAPIENTRY glBindTexture(GLenum target, GLuint texture) {
    if (Outside("glBindTexture", {target, static_cast<int>(texture)})) Now().texture = texture;
}
void GLAPIENTRY glGenTextures(GLsizei count, GLuint* textures) {
    if (Outside("glGenTextures", {count}))
        for (int i = 0; i < count; ++i) textures[i] = static_cast<GLuint>(++TheLog().context.lastTexture);
}
void GLAPIENTRY glTexImage2D(GLenum target, GLint level, GLint format, GLsizei width, GLsizei height, GLint, GLenum,
                             GLenum, const void*) {
    Outside("glTexImage2D", {target, level, format, width, height});
}
void GLAPIENTRY glTexParameteri(GLenum target, GLenum name, GLint value) {
    Outside("glTexParameteri", {target, name, static_cast<GLenum>(value)});
}
void GLAPIENTRY glPixelStorei(GLenum name, GLint value) { Outside("glPixelStorei", {name, value}); }
