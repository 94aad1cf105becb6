#pragma once

#include <GL/gl.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

// The model of a fixed-function context behind the recording OpenGL: the state that the engine and its hosts touch,
// saved and restored by groups of attributes as OpenGL 1.1 defines them.
namespace tessera::test {

inline constexpr int kCapabilities = 40;
inline constexpr int kMatrixDepth = 32;
inline constexpr int kAttributeDepth = 16;

struct Material {
    float ambient[4] = {0.2F, 0.2F, 0.2F, 1};
    float diffuse[4] = {0.8F, 0.8F, 0.8F, 1};
    float specular[4] = {0, 0, 0, 1};
    float emission[4] = {0, 0, 0, 1};
    float shininess = 0;
};

struct State {
    bool enabled[kCapabilities] = {};
    float color[4] = {1, 1, 1, 1};
    float normal[3] = {0, 0, 1};
    GLenum polygonMode[2] = {GL_FILL, GL_FILL};  // front, back
    GLenum cullFace = GL_BACK;
    GLenum frontFace = GL_CCW;
    float polygonOffset[2] = {0, 0};  // factor, units
    GLenum shadeModel = GL_SMOOTH;
    Material material[2];  // front, back
    GLenum blend[2] = {GL_ONE, GL_ZERO};
    bool colorMask[4] = {true, true, true, true};
    bool depthMask = true;
    GLenum depthFunc = GL_LESS;
    float lineWidth = 1;
    int stipple[2] = {1, 0xFFFF};  // repeat, pattern
    float pointSize = 1;
    int stencilFunc[3] = {GL_ALWAYS, 0, -1};  // function, reference, mask
    GLenum stencilOp[3] = {GL_KEEP, GL_KEEP, GL_KEEP};
    int stencilClear = 0;
    double clipPlane[6][4] = {};                     // as given, in the frame of the modelview matrix at that time
    int texGen[2] = {GL_EYE_LINEAR, GL_EYE_LINEAR};  // s, t
    GLuint texture = 0;
    int texEnvMode = GL_MODULATE;
    GLenum matrixMode = GL_MODELVIEW;

    bool Enabled(GLenum capability) const;
};

struct Array {
    bool enabled = false;
    int size = 0, stride = 0;
    const void* pointer = nullptr;
    bool operator==(const Array&) const = default;
};

struct ClientState {
    Array vertex, normal, color, texCoord, index, edgeFlag;
    bool operator==(const ClientState&) const = default;
};

using Matrix = std::array<double, 16>;  // column by column, as OpenGL has it

inline constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct MatrixStack {
    Matrix levels[kMatrixDepth];
    int depth = 1;
    Matrix& Top() { return levels[depth - 1]; }
    const Matrix& Top() const { return levels[depth - 1]; }
};

struct Context {
    State state;
    ClientState client;
    MatrixStack modelview, projection, texture;
    struct {
        GLbitfield mask;
        State state;
    } attributes[kAttributeDepth];
    int attributeDepth = 0;
    struct {
        GLbitfield mask;
        ClientState client;
    } clientAttributes[kAttributeDepth];
    int clientAttributeDepth = 0;
    GLuint lastTexture = 0;

    Context();
    MatrixStack& Matrices();  // the stack that the matrix mode names
    // The values of a query, at most 16; 0 if the model doesn't know it.
    int Query(GLenum name, double values[16]) const;
};

// One attribute of State, all of its bytes taken together.
struct Field {
    const char* name;
    std::size_t offset, size;
    GLbitfield groups;
};
const std::vector<Field>& Fields();  // capabilities among them

int CapabilityIndex(GLenum capability);  // -1 if the model doesn't know it
std::string ConstantName(GLenum value);

// An argument of a call: a number, or one of OpenGL's constants.
struct Argument {
    double value;
    bool constant = false;
    Argument(GLenum v) : value(v), constant(true) {}
    Argument(float v) : value(v) {}
    Argument(double v) : value(v) {}
    Argument(int v) : value(v) {}
};

struct Call {
    const char* name;
    std::vector<Argument> arguments;
    std::string Text() const;
};

struct Vertex {
    std::array<float, 3> position, normal;
    std::array<float, 4> color;
    bool operator==(const Vertex&) const = default;
};

// What one glBegin..glEnd, glDrawArrays or glDrawElements drew, and the state in force.
struct Primitive {
    GLenum mode;
    bool fromArrays;
    int call;  // index of the call that opened it
    std::vector<Vertex> vertices;
    State state;
    Matrix modelview;
    std::array<double, 3> World(int vertex) const;
};

// The context that the entry points work on, and what is kept while `logging` is set.
struct Log {
    Context context;
    bool logging = false;
    bool open = false;  // between glBegin and glEnd
    int openVertices = 0;
    GLenum openMode = GL_POINTS;
    int pointersSet = 0, pointersUsed = 0;
    int pointersPending = 0;  // set, in force, and not drawn from yet
    std::vector<Call> calls;
    std::vector<Primitive> primitives;
    std::vector<std::string> violations;
};
Log& TheLog();

// Puts the context back to what a new one is.
void ResetContext();

}  // namespace tessera::test
