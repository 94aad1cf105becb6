#pragma once

#include <GL/gl.h>

#include <array>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

// The model of a fixed-function context behind the recording OpenGL: the state that the engine and its hosts touch,
// saved and restored by groups of attributes as OpenGL 1.1 defines them.
namespace tessera::test {

inline constexpr std::size_t kStackDepth = 32;

struct Material {
    double ambient[4] = {0.2, 0.2, 0.2, 1}, diffuse[4] = {0.8, 0.8, 0.8, 1}, specular[4] = {0, 0, 0, 1}, shininess = 0;
};

// All in double, so that whatever is set, saved or asked for is a row of numbers; Fields() follow this order.
struct State {
    double enabled[12] = {};
    double color[4] = {1, 1, 1, 1}, normal[3] = {0, 0, 1};
    double polygonMode[2] = {GL_FILL, GL_FILL};  // front, back
    double cullFace = GL_BACK, frontFace = GL_CCW, offset[2] = {0, 0}, shadeModel = GL_SMOOTH;
    Material material[2];  // front, back
    double blend[2] = {GL_ONE, GL_ZERO}, colorMask[4] = {1, 1, 1, 1}, depthMask = 1, depthFunc = GL_LESS;
    double lineWidth = 1, stipple[2] = {1, 0xFFFF}, pointSize = 1;  // stipple: repeat, pattern
    double stencilFunc[3] = {GL_ALWAYS, 0, -1}, stencilOp[3] = {GL_KEEP, GL_KEEP, GL_KEEP}, stencilClear = 0;
    double clipPlane[4] = {}, matrixMode = GL_MODELVIEW;  // the plane as given, in the modelview frame of that time
    double texGen[2] = {GL_EYE_LINEAR, GL_EYE_LINEAR}, texture = 0;  // s, t

    bool Enabled(GLenum capability) const;
};

// One attribute of State: a row of numbers, with the name of the query that asks for it if there is one.
struct Field {
    const char* name;
    int count;
    GLenum query = 0;
    GLbitfield groups = 0;
    int at = 0;  // in doubles, from the start of State
    double* In(State& state) const { return reinterpret_cast<double*>(&state) + at; }
    const double* In(const State& state) const { return In(const_cast<State&>(state)); }
};
const std::vector<Field>& Fields();      // capabilities first
const Field* FieldOfQuery(GLenum name);  // null if the model doesn't know it
std::string ConstantName(GLenum value);

// Vertices, normals, and colours that are never given. Arrays that are drawn from have a normal and a position by
// turns.
struct ClientState {
    bool enabled[3] = {};
    const GLfloat* pointers[2] = {};
    bool operator==(const ClientState&) const = default;
};

using Matrix = std::array<double, 16>;  // column by column, as OpenGL has it
inline constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

struct Context {
    State state;
    ClientState client;
    std::vector<Matrix> modelview = {kIdentity}, projection = {kIdentity};
    std::vector<std::pair<GLbitfield, State>> attributes;
    std::vector<std::pair<GLbitfield, ClientState>> clientAttributes;
    int lastTexture = 0;
};

// An argument of a call: a number, or one of OpenGL's constants.
struct Argument {
    double value;
    bool constant = false;
    Argument(GLenum v) : value(v), constant(true) {}
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
    bool open = false;                            // between glBegin and glEnd
    int pointersUnused = 0, pointersPending = 0;  // to arrays: set and never drawn from; of these, still in force
    std::vector<Call> calls;
    std::vector<Primitive> primitives;
    std::vector<std::string> violations;
};
Log& TheLog();

// Puts the context back to what a new one is.
inline void ResetContext() { TheLog().context = Context(); }

}  // namespace tessera::test
