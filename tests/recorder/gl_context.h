#pragma once

#include <GL/gl.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

// The model of a fixed-function context behind the recording OpenGL: the state that the engine and its hosts touch,
// saved and restored by groups of attributes as OpenGL 1.1 defines them.
namespace tessera::test {

inline constexpr int kCapabilities = 12;
inline constexpr int kStackDepth = 32;

struct Material {
    double ambient[4] = {0.2, 0.2, 0.2, 1}, diffuse[4] = {0.8, 0.8, 0.8, 1}, specular[4] = {0, 0, 0, 1};
    double shininess = 0;
};

// All in double, so that whatever is set, saved or asked for is a row of numbers.
struct State {
    double enabled[kCapabilities] = {};
    double color[4] = {1, 1, 1, 1}, normal[3] = {0, 0, 1};
    double polygonMode[2] = {GL_FILL, GL_FILL};  // front, back
    double cullFace = GL_BACK, frontFace = GL_CCW, shadeModel = GL_SMOOTH;
    double polygonOffset[2] = {0, 0};  // factor, units
    Material material[2];              // front, back
    double blend[2] = {GL_ONE, GL_ZERO}, colorMask[4] = {1, 1, 1, 1};
    double depthMask = 1, depthFunc = GL_LESS;
    double lineWidth = 1, stipple[2] = {1, 0xFFFF}, pointSize = 1;  // stipple: repeat, pattern
    double stencilFunc[3] = {GL_ALWAYS, 0, -1}, stencilOp[3] = {GL_KEEP, GL_KEEP, GL_KEEP}, stencilClear = 0;
    double clipPlane[4] = {};  // as given, in the frame of the modelview matrix at that time
    double texGen[2] = {GL_EYE_LINEAR, GL_EYE_LINEAR}, texture = 0;  // s, t
    double matrixMode = GL_MODELVIEW;

    bool Enabled(GLenum capability) const;
};

// Arrays that are drawn from have a normal and a position by turns.
struct Array {
    bool enabled = false;
    const void* pointer = nullptr;
    const GLfloat* At(int index) const { return static_cast<const GLfloat*>(pointer) + std::ptrdiff_t{6} * index; }
    bool operator==(const Array&) const = default;
};

struct ClientState {
    Array vertex, normal, color;
    bool operator==(const ClientState&) const = default;
};

using Matrix = std::array<double, 16>;  // column by column, as OpenGL has it
inline constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

template <typename T>
struct Saved {
    GLbitfield groups;
    T state;
};

struct Context {
    State state;
    ClientState client;
    std::vector<Matrix> modelview = {kIdentity}, projection = {kIdentity};
    std::vector<Saved<State>> attributes;
    std::vector<Saved<ClientState>> clientAttributes;
    int lastTexture = 0;
};

// One attribute of State: a row of numbers, with the name of the query that asks for it if there is one.
struct Field {
    const char* name;
    std::size_t offset, bytes;
    GLbitfield groups;
    GLenum query;
    double* In(State& state) const { return reinterpret_cast<double*>(reinterpret_cast<char*>(&state) + offset); }
    const double* In(const State& state) const { return In(const_cast<State&>(state)); }
    int Count() const { return static_cast<int>(bytes / sizeof(double)); }
};
const std::vector<Field>& Fields();      // capabilities among them
const Field* FieldOfQuery(GLenum name);  // null if the model doesn't know it
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

// What one glBegin..glEnd or glDrawArrays drew, and the state in force.
struct Primitive {
    GLenum mode;
    bool fromArrays;
    int call;  // index of the call that opened it
    std::vector<Vertex> vertices;
    State state;
    Matrix modelview;
    std::array<double, 3> World(std::size_t vertex) const;
};

// The context that the entry points work on, and what is kept while `logging` is set.
struct Log {
    Context context;
    bool logging = false;
    bool open = false;  // between glBegin and glEnd
    int openVertices = 0;
    GLenum openMode = GL_POINTS;
    int pointersUnused = 0;   // set, and never drawn from
    int pointersPending = 0;  // of these, still in force
    std::vector<Call> calls;
    std::vector<Primitive> primitives;
    std::vector<std::string> violations;
};
Log& TheLog();

// Puts the context back to what a new one is.
void ResetContext();

}  // namespace tessera::test
