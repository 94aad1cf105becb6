#pragma once

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "gl_context.h"

// What a test sees of the calls that reach the recording OpenGL. The calls always change the context's state; they
// are kept only while a Recording lives. One Recording at a time.
namespace tessera::test {

// One end of a line or one point, where it lands after the modelview matrix, with the colour it got.
struct Spot {
    std::array<double, 3> at;
    std::array<float, 4> color;
};

struct Segment {
    Spot a, b;
};

class Recording {
public:
    Recording();
    ~Recording();
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    const std::vector<Call>& Calls() const;
    const std::vector<Primitive>& Primitives() const;
    std::vector<Primitive> PrimitivesOf(GLenum mode) const;
    std::vector<Segment> Segments() const;  // of all GL_LINES
    std::vector<Spot> Points() const;       // of all GL_POINTS

    // A call is named by its text, "glEnable GL_BLEND", or by the leading words of it, "glEnable".
    int Count(std::string_view text) const;
    int Index(std::string_view text, int from = 0) const;  // -1 if there is none at or after `from`

    // The texts of the calls in [from, to). A glBegin..glEnd pair, or a draw from arrays, becomes the name of its
    // primitive, a run of material calls "materials"; equal neighbours are told once.
    std::vector<std::string> Sequence(int from, int to) const;

    // Faults that a driver forgives or hides: state calls between glBegin and glEnd, unbalanced stacks, draws
    // without an array, parts of primitives.
    std::vector<std::string> Violations() const;
    // Pointers to arrays that were set and never drawn from.
    int UnusedPointers() const;
    // Names of all state that is not as it was at the start, capabilities by their constant.
    std::vector<std::string> Changed() const;

private:
    Context start_;
};

}  // namespace tessera::test
