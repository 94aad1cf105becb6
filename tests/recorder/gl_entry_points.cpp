// The entry points of OpenGL 1.1 that the engine and the tests use. One that is missing here is a link error.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <type_traits>

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
    if (!TheLog().open) return true;
    Complain(std::string(name) + " between glBegin and glEnd");
    return false;
}

State& Now() { return TheLog().context.state; }

template <typename T>
void Set(const char* name, Arguments arguments, T& field, const std::type_identity_t<T>& value) {
    if (Outside(name, arguments)) field = value;
}

template <typename T, std::size_t N>
void Set(const char* name, Arguments arguments, T (&field)[N], const T (&values)[N]) {
    if (Outside(name, arguments)) std::copy_n(values, N, field);
}

void CheckCount(GLenum mode, int count) {
    const bool whole = mode == GL_LINES       ? count % 2 == 0
                       : mode == GL_TRIANGLES ? count % 3 == 0
                       : mode == GL_QUADS     ? count % 4 == 0
                       : mode >= GL_TRIANGLES ? count >= 3
                       : mode == GL_POINTS    ? true
                                              : count >= 2;
    if (!whole) Complain(std::to_string(count) + " vertices in " + ConstantName(mode));
}

void OpenPrimitive(GLenum mode, bool fromArrays) {
    auto& log = TheLog();
    if (log.logging)
        log.primitives.push_back({mode,
                                  fromArrays,
                                  static_cast<int>(log.calls.size()) - 1,
                                  {},
                                  log.context.state,
                                  log.context.modelview.Top()});
}

void AddVertex(const GLfloat* p) {
    auto& log = TheLog();
    ++log.openVertices;
    if (!log.logging) return;
    const State& s = log.context.state;
    log.primitives.back().vertices.push_back({{p[0], p[1], p[2]},
                                              {s.normal[0], s.normal[1], s.normal[2]},
                                              {s.color[0], s.color[1], s.color[2], s.color[3]}});
}

const GLfloat* Element(const Array& array, int index) {
    const int stride = array.stride ? array.stride : array.size * static_cast<int>(sizeof(GLfloat));
    return reinterpret_cast<const GLfloat*>(static_cast<const char*>(array.pointer) + std::ptrdiff_t{stride} * index);
}

void ArrayVertex(int index) {
    const auto& client = TheLog().context.client;
    if (client.normal.enabled) std::copy_n(Element(client.normal, index), 3, Now().normal);
    AddVertex(Element(client.vertex, index));
}

bool BeginArrays(const char* name, GLenum mode, GLsizei count) {
    auto& log = TheLog();
    if (count <= 0) Complain(std::string(name) + " of " + std::to_string(count) + " vertices");
    if (!log.context.client.vertex.enabled || !log.context.client.vertex.pointer)
        Complain(std::string(name) + " without a vertex array");
    else if (count > 0) {
        CheckCount(mode, count);
        log.pointersUsed += log.pointersPending;
        log.pointersPending = 0;
        OpenPrimitive(mode, true);
        return true;
    }
    return false;
}

void PointerSet() {
    ++TheLog().pointersSet;
    ++TheLog().pointersPending;
}

void SetPointer(const char* name, Array& array, GLint size, GLenum type, GLsizei stride, const void* pointer) {
    if (!Outside(name, {size, type, stride})) return;
    if (type != GL_FLOAT) Complain("array of something else than GL_FLOAT");
    array.size = size;
    array.stride = stride;
    array.pointer = pointer;
    PointerSet();
}

void SwitchArray(const char* name, GLenum array, bool on) {
    if (!Outside(name, {array})) return;
    auto& client = TheLog().context.client;
    switch (array) {
        case GL_VERTEX_ARRAY: client.vertex.enabled = on; break;
        case GL_NORMAL_ARRAY: client.normal.enabled = on; break;
        case GL_COLOR_ARRAY: client.color.enabled = on; break;
        case GL_TEXTURE_COORD_ARRAY: client.texCoord.enabled = on; break;
        case GL_INDEX_ARRAY: client.index.enabled = on; break;
        case GL_EDGE_FLAG_ARRAY: client.edgeFlag.enabled = on; break;
        default: Complain("client state " + std::to_string(array));
    }
}

void Switch(const char* name, GLenum capability, bool on) {
    if (!Outside(name, {capability})) return;
    const int i = CapabilityIndex(capability);
    i < 0 ? Complain("capability " + std::to_string(capability)) : void(Now().enabled[i] = on);
}

void SetMaterial(GLenum face, GLenum name, const GLfloat* values) {
    for (int side = 0; side < 2; ++side) {
        if (face == (side ? GL_FRONT : GL_BACK)) continue;
        Material& material = Now().material[side];
        switch (name) {
            case GL_AMBIENT: std::copy_n(values, 4, material.ambient); break;
            case GL_DIFFUSE: std::copy_n(values, 4, material.diffuse); break;
            case GL_SPECULAR: std::copy_n(values, 4, material.specular); break;
            case GL_EMISSION: std::copy_n(values, 4, material.emission); break;
            case GL_SHININESS: material.shininess = values[0]; break;
            default: Complain("material " + std::to_string(name));
        }
    }
}

template <typename T>
void Answer(const char* call, GLenum name, T* to) {
    if (!Outside(call, {name})) return;
    double values[16];
    const int count = TheLog().context.Query(name, values);
    if (count == 0) Complain("query " + std::to_string(name));
    for (int i = 0; i < count; ++i) to[i] = static_cast<T>(values[i]);
}

template <typename T>
Matrix ToMatrix(const T* values) {
    Matrix matrix;
    std::copy_n(values, 16, matrix.begin());
    return matrix;
}

// Replaces the current matrix by its product with m, or by m alone.
void Multiply(const char* name, const Matrix& m, bool load) {
    if (!Outside(name)) return;
    Matrix& top = TheLog().context.Matrices().Top();
    const Matrix before = load ? kIdentity : top;
    top = {};
    for (int column = 0; column < 4; ++column)
        for (int row = 0; row < 4; ++row)
            for (int k = 0; k < 4; ++k) top[column * 4 + row] += before[k * 4 + row] * m[column * 4 + k];
}

void SetColor(GLfloat r, GLfloat g, GLfloat b, GLfloat a) {
    const GLfloat color[] = {r, g, b, a};
    std::copy_n(color, 4, Now().color);
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

void GLAPIENTRY glVertex3fv(const GLfloat* v) {
    Note("glVertex3f", {v[0], v[1], v[2]});
    if (TheLog().open)
        AddVertex(v);
    else
        Complain("glVertex3f outside glBegin and glEnd");
}

void GLAPIENTRY glVertex3f(GLfloat x, GLfloat y, GLfloat z) {
    const GLfloat v[] = {x, y, z};
    glVertex3fv(v);
}

void GLAPIENTRY glNormal3f(GLfloat x, GLfloat y, GLfloat z) {
    Note("glNormal3f", {x, y, z});
    const GLfloat normal[] = {x, y, z};
    std::copy_n(normal, 3, Now().normal);
}
void GLAPIENTRY glNormal3fv(const GLfloat* v) { glNormal3f(v[0], v[1], v[2]); }

void GLAPIENTRY glColor3f(GLfloat r, GLfloat g, GLfloat b) {
    Note("glColor3f", {r, g, b});
    SetColor(r, g, b, 1);
}
void GLAPIENTRY glColor3fv(const GLfloat* v) { glColor3f(v[0], v[1], v[2]); }
void GLAPIENTRY glColor4f(GLfloat r, GLfloat g, GLfloat b, GLfloat a) {
    Note("glColor4f", {r, g, b, a});
    SetColor(r, g, b, a);
}
void GLAPIENTRY glColor4fv(const GLfloat* v) { glColor4f(v[0], v[1], v[2], v[3]); }

void GLAPIENTRY glMaterialf(GLenum face, GLenum name, GLfloat value) {
    Note("glMaterialf", {face, name, value});
    SetMaterial(face, name, &value);
}
void GLAPIENTRY glMaterialfv(GLenum face, GLenum name, const GLfloat* v) {
    if (name == GL_SHININESS)
        Note("glMaterialfv", {face, name, v[0]});
    else
        Note("glMaterialfv", {face, name, v[0], v[1], v[2], v[3]});
    SetMaterial(face, name, v);
}

void GLAPIENTRY glEnable(GLenum capability) { Switch("glEnable", capability, true); }
void GLAPIENTRY glDisable(GLenum capability) { Switch("glDisable", capability, false); }
GLboolean GLAPIENTRY glIsEnabled(GLenum capability) {
    GLboolean answer = GL_FALSE;
    Answer("glIsEnabled", capability, &answer);
    return answer;
}
void GLAPIENTRY glGetIntegerv(GLenum name, GLint* v) { Answer("glGetIntegerv", name, v); }
void GLAPIENTRY glGetFloatv(GLenum name, GLfloat* v) { Answer("glGetFloatv", name, v); }
void GLAPIENTRY glGetDoublev(GLenum name, GLdouble* v) { Answer("glGetDoublev", name, v); }
void GLAPIENTRY glGetBooleanv(GLenum name, GLboolean* v) { Answer("glGetBooleanv", name, v); }
const GLubyte* GLAPIENTRY glGetString(GLenum name) {
    Outside("glGetString", {name});
    return reinterpret_cast<const GLubyte*>("1.1 recorder");
}
GLenum GLAPIENTRY glGetError() { return Outside("glGetError") ? GL_NO_ERROR : GL_INVALID_OPERATION; }

void GLAPIENTRY glMatrixMode(GLenum mode) { Set("glMatrixMode", {mode}, Now().matrixMode, mode); }
void GLAPIENTRY glPushMatrix() {
    if (!Outside("glPushMatrix")) return;
    MatrixStack& stack = TheLog().context.Matrices();
    if (stack.depth == kMatrixDepth) return Complain("matrix stack overflow");
    stack.levels[stack.depth] = stack.Top();
    ++stack.depth;
}
void GLAPIENTRY glPopMatrix() {
    if (!Outside("glPopMatrix")) return;
    MatrixStack& stack = TheLog().context.Matrices();
    if (stack.depth == 1) return Complain("matrix stack underflow");
    --stack.depth;
}
void GLAPIENTRY glLoadIdentity() { Multiply("glLoadIdentity", kIdentity, true); }
void GLAPIENTRY glLoadMatrixd(const GLdouble* m) { Multiply("glLoadMatrixd", ToMatrix(m), true); }
void GLAPIENTRY glLoadMatrixf(const GLfloat* m) { Multiply("glLoadMatrixf", ToMatrix(m), true); }
void GLAPIENTRY glMultMatrixd(const GLdouble* m) { Multiply("glMultMatrixd", ToMatrix(m), false); }
void GLAPIENTRY glMultMatrixf(const GLfloat* m) { Multiply("glMultMatrixf", ToMatrix(m), false); }

void GLAPIENTRY glPushAttrib(GLbitfield mask) {
    if (!Outside("glPushAttrib", {static_cast<int>(mask)})) return;
    Context& context = TheLog().context;
    if (context.attributeDepth == kAttributeDepth) return Complain("attribute stack overflow");
    context.attributes[context.attributeDepth++] = {mask, context.state};
}
void GLAPIENTRY glPopAttrib() {
    if (!Outside("glPopAttrib")) return;
    Context& context = TheLog().context;
    if (context.attributeDepth == 0) return Complain("attribute stack underflow");
    const auto& saved = context.attributes[--context.attributeDepth];
    for (const Field& field : Fields())
        if (field.groups & saved.mask)
            std::memcpy(reinterpret_cast<char*>(&context.state) + field.offset,
                        reinterpret_cast<const char*>(&saved.state) + field.offset, field.size);
}
void GLAPIENTRY glPushClientAttrib(GLbitfield mask) {
    if (!Outside("glPushClientAttrib", {static_cast<int>(mask)})) return;
    Context& context = TheLog().context;
    if (context.clientAttributeDepth == kAttributeDepth) return Complain("client stack overflow");
    context.clientAttributes[context.clientAttributeDepth++] = {mask, context.client};
}
void GLAPIENTRY glPopClientAttrib() {
    if (!Outside("glPopClientAttrib")) return;
    Context& context = TheLog().context;
    if (context.clientAttributeDepth == 0) return Complain("client stack underflow");
    const auto& saved = context.clientAttributes[--context.clientAttributeDepth];
    if (saved.mask & GL_CLIENT_VERTEX_ARRAY_BIT) context.client = saved.client;
    TheLog().pointersPending = 0;
}

void GLAPIENTRY glPolygonMode(GLenum face, GLenum mode) {
    if (!Outside("glPolygonMode", {face, mode})) return;
    if (face != GL_BACK) Now().polygonMode[0] = mode;
    if (face != GL_FRONT) Now().polygonMode[1] = mode;
}
void GLAPIENTRY glPolygonOffset(GLfloat factor, GLfloat units) {
    Set("glPolygonOffset", {factor, units}, Now().polygonOffset, {factor, units});
}
void GLAPIENTRY glCullFace(GLenum face) { Set("glCullFace", {face}, Now().cullFace, face); }
void GLAPIENTRY glFrontFace(GLenum order) { Set("glFrontFace", {order}, Now().frontFace, order); }
void GLAPIENTRY glShadeModel(GLenum model) { Set("glShadeModel", {model}, Now().shadeModel, model); }
void GLAPIENTRY glBlendFunc(GLenum source, GLenum target) {
    Set("glBlendFunc", {source, target}, Now().blend, {source, target});
}
void GLAPIENTRY glDepthMask(GLboolean on) { Set("glDepthMask", {int{on}}, Now().depthMask, on != 0); }
void GLAPIENTRY glDepthFunc(GLenum function) { Set("glDepthFunc", {function}, Now().depthFunc, function); }
void GLAPIENTRY glColorMask(GLboolean r, GLboolean g, GLboolean b, GLboolean a) {
    Set("glColorMask", {int{r}, int{g}, int{b}, int{a}}, Now().colorMask, {r != 0, g != 0, b != 0, a != 0});
}
void GLAPIENTRY glLineWidth(GLfloat width) { Set("glLineWidth", {width}, Now().lineWidth, width); }
void GLAPIENTRY glLineStipple(GLint repeat, GLushort pattern) {
    Set("glLineStipple", {repeat, int{pattern}}, Now().stipple, {repeat, int{pattern}});
}
void GLAPIENTRY glPointSize(GLfloat size) { Set("glPointSize", {size}, Now().pointSize, size); }
void GLAPIENTRY glClipPlane(GLenum plane, const GLdouble* e) {
    if (Outside("glClipPlane", {plane, e[0], e[1], e[2], e[3]}))
        std::copy_n(e, 4, Now().clipPlane[plane - GL_CLIP_PLANE0]);
}
void GLAPIENTRY glStencilFunc(GLenum function, GLint reference, GLuint mask) {
    const int f = static_cast<int>(function), m = static_cast<int>(mask);
    Set("glStencilFunc", {function, reference, m}, Now().stencilFunc, {f, reference, m});
}
void GLAPIENTRY glStencilOp(GLenum fail, GLenum depthFail, GLenum pass) {
    Set("glStencilOp", {fail, depthFail, pass}, Now().stencilOp, {fail, depthFail, pass});
}
void GLAPIENTRY glClearStencil(GLint value) { Set("glClearStencil", {value}, Now().stencilClear, value); }
void GLAPIENTRY glClear(GLbitfield mask) { Outside("glClear", {static_cast<int>(mask)}); }
void GLAPIENTRY glHint(GLenum target, GLenum mode) { Outside("glHint", {target, mode}); }
void GLAPIENTRY glFlush() { Outside("glFlush"); }
void GLAPIENTRY glFinish() { Outside("glFinish"); }

void GLAPIENTRY glEnableClientState(GLenum array) { SwitchArray("glEnableClientState", array, true); }
void GLAPIENTRY glDisableClientState(GLenum array) { SwitchArray("glDisableClientState", array, false); }
void GLAPIENTRY glVertexPointer(GLint size, GLenum type, GLsizei stride, const void* pointer) {
    SetPointer("glVertexPointer", TheLog().context.client.vertex, size, type, stride, pointer);
}
void GLAPIENTRY glNormalPointer(GLenum type, GLsizei stride, const void* pointer) {
    SetPointer("glNormalPointer", TheLog().context.client.normal, 3, type, stride, pointer);
}
void GLAPIENTRY glInterleavedArrays(GLenum format, GLsizei stride, const void* pointer) {
    if (!Outside("glInterleavedArrays", {format, stride})) return;
    if (format != GL_N3F_V3F) return Complain("interleaved format " + std::to_string(format));
    const int step = stride ? stride : 6 * static_cast<int>(sizeof(GLfloat));
    auto& client = TheLog().context.client;
    client.color.enabled = client.texCoord.enabled = client.index.enabled = client.edgeFlag.enabled = false;
    client.normal = {true, 3, step, pointer};
    client.vertex = {true, 3, step, static_cast<const GLfloat*>(pointer) + 3};
    TheLog().pointersPending = 0;
    PointerSet();
}
void GLAPIENTRY glDrawArrays(GLenum mode, GLint first, GLsizei count) {
    if (!Outside("glDrawArrays", {mode, first, count}) || !BeginArrays("glDrawArrays", mode, count)) return;
    for (GLsizei i = 0; i < count; ++i) ArrayVertex(first + i);
}
void GLAPIENTRY glDrawElements(GLenum mode, GLsizei count, GLenum type, const void* indices) {
    if (!Outside("glDrawElements", {mode, count, type}) || !BeginArrays("glDrawElements", mode, count)) return;
    for (GLsizei i = 0; i < count; ++i)
        ArrayVertex(type == GL_UNSIGNED_SHORT ? static_cast<const std::uint16_t*>(indices)[i]
                                              : static_cast<int>(static_cast<const std::uint32_t*>(indices)[i]));
}

void GLAPIENTRY glTexGeni(GLenum coordinate, GLenum name, GLint value) {
    if (Outside("glTexGeni", {coordinate, name, static_cast<GLenum>(value)}) && coordinate <= GL_T)
        Now().texGen[coordinate - GL_S] = value;
}
void GLAPIENTRY glBindTexture(GLenum target, GLuint texture) {
    Set("glBindTexture", {target, static_cast<int>(texture)}, Now().texture, texture);
}
void GLAPIENTRY glGenTextures(GLsizei count, GLuint* textures) {
    if (Outside("glGenTextures", {count})) std::generate_n(textures, count, [] { return ++TheLog().context.lastTexture; });
}
void GLAPIENTRY glDeleteTextures(GLsizei count, const GLuint* textures) {
    if (Outside("glDeleteTextures", {count}) &&
        std::find(textures, textures + count, Now().texture) != textures + count)
        Now().texture = 0;
}
void GLAPIENTRY glTexImage2D(GLenum target, GLint level, GLint format, GLsizei width, GLsizei height, GLint, GLenum,
                             GLenum, const void*) {
    Outside("glTexImage2D", {target, level, format, width, height});
}
void GLAPIENTRY glTexParameteri(GLenum target, GLenum name, GLint value) {
    Outside("glTexParameteri", {target, name, static_cast<GLenum>(value)});
}
void GLAPIENTRY glTexEnvi(GLenum target, GLenum name, GLint value) {
    if (Outside("glTexEnvi", {target, name, static_cast<GLenum>(value)}) && name == GL_TEXTURE_ENV_MODE)
        Now().texEnvMode = value;
}
void GLAPIENTRY glPixelStorei(GLenum name, GLint value) { Outside("glPixelStorei", {name, value}); }
