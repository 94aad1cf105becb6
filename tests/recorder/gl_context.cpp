#include "gl_context.h"

#include <cstdio>

namespace tessera::test {

namespace {

struct Constant {
    GLenum value;
    const char* name;
};
// clang-format off
const Constant kConstants[] = {
    {GL_POINTS, "GL_POINTS"}, {GL_LINES, "GL_LINES"}, {GL_TRIANGLES, "GL_TRIANGLES"},
    {GL_TRIANGLE_STRIP, "GL_TRIANGLE_STRIP"}, {GL_FRONT, "GL_FRONT"}, {GL_BACK, "GL_BACK"},
    {GL_FRONT_AND_BACK, "GL_FRONT_AND_BACK"}, {GL_LINE, "GL_LINE"}, {GL_FILL, "GL_FILL"}, {GL_FLAT, "GL_FLAT"},
    {GL_SMOOTH, "GL_SMOOTH"}, {GL_SRC_ALPHA, "GL_SRC_ALPHA"}, {GL_ONE_MINUS_SRC_ALPHA, "GL_ONE_MINUS_SRC_ALPHA"},
    {GL_LESS, "GL_LESS"}, {GL_LEQUAL, "GL_LEQUAL"}, {GL_S, "GL_S"}, {GL_T, "GL_T"},
    {GL_TEXTURE_GEN_MODE, "GL_TEXTURE_GEN_MODE"}, {GL_SPHERE_MAP, "GL_SPHERE_MAP"}, {GL_N3F_V3F, "GL_N3F_V3F"},
};
// clang-format on

constexpr Field Capability(int index, const char* name, GLenum value, GLbitfield group) {
    return {name, offsetof(State, enabled) + index * sizeof(double), sizeof(double), group | GL_ENABLE_BIT, value};
}

}  // namespace

const std::vector<Field>& Fields() {
    static const std::vector<Field> fields = {
        Capability(0, "GL_BLEND", GL_BLEND, GL_COLOR_BUFFER_BIT),
        Capability(1, "GL_CLIP_PLANE0", GL_CLIP_PLANE0, GL_TRANSFORM_BIT),
        Capability(2, "GL_CULL_FACE", GL_CULL_FACE, GL_POLYGON_BIT),
        Capability(3, "GL_DEPTH_TEST", GL_DEPTH_TEST, GL_DEPTH_BUFFER_BIT),
        Capability(4, "GL_LIGHTING", GL_LIGHTING, GL_LIGHTING_BIT),
        Capability(5, "GL_LINE_STIPPLE", GL_LINE_STIPPLE, GL_LINE_BIT),
        Capability(6, "GL_NORMALIZE", GL_NORMALIZE, GL_TRANSFORM_BIT),
        Capability(7, "GL_POLYGON_OFFSET_FILL", GL_POLYGON_OFFSET_FILL, GL_POLYGON_BIT),
        Capability(8, "GL_STENCIL_TEST", GL_STENCIL_TEST, GL_STENCIL_BUFFER_BIT),
        Capability(9, "GL_TEXTURE_2D", GL_TEXTURE_2D, GL_TEXTURE_BIT),
        Capability(10, "GL_TEXTURE_GEN_S", GL_TEXTURE_GEN_S, GL_TEXTURE_BIT),
        Capability(11, "GL_TEXTURE_GEN_T", GL_TEXTURE_GEN_T, GL_TEXTURE_BIT),
        {"color", offsetof(State, color), sizeof(State::color), GL_CURRENT_BIT, GL_CURRENT_COLOR},
        {"normal", offsetof(State, normal), sizeof(State::normal), GL_CURRENT_BIT, GL_CURRENT_NORMAL},
        {"polygonMode", offsetof(State, polygonMode), sizeof(State::polygonMode), GL_POLYGON_BIT, GL_POLYGON_MODE},
        {"cullFace", offsetof(State, cullFace), sizeof(double), GL_POLYGON_BIT, GL_CULL_FACE_MODE},
        {"frontFace", offsetof(State, frontFace), sizeof(double), GL_POLYGON_BIT, GL_FRONT_FACE},
        {"polygonOffset", offsetof(State, polygonOffset), sizeof(double), GL_POLYGON_BIT, GL_POLYGON_OFFSET_FACTOR},
        {"polygonOffset", offsetof(State, polygonOffset[1]), sizeof(double), GL_POLYGON_BIT, GL_POLYGON_OFFSET_UNITS},
        {"shadeModel", offsetof(State, shadeModel), sizeof(double), GL_LIGHTING_BIT, GL_SHADE_MODEL},
        {"material", offsetof(State, material), sizeof(State::material), GL_LIGHTING_BIT, 0},
        {"blend", offsetof(State, blend), sizeof(State::blend), GL_COLOR_BUFFER_BIT, 0},
        {"colorMask", offsetof(State, colorMask), sizeof(State::colorMask), GL_COLOR_BUFFER_BIT, GL_COLOR_WRITEMASK},
        {"depthMask", offsetof(State, depthMask), sizeof(double), GL_DEPTH_BUFFER_BIT, GL_DEPTH_WRITEMASK},
        {"depthFunc", offsetof(State, depthFunc), sizeof(double), GL_DEPTH_BUFFER_BIT, GL_DEPTH_FUNC},
        {"lineWidth", offsetof(State, lineWidth), sizeof(double), GL_LINE_BIT, GL_LINE_WIDTH},
        {"stipple", offsetof(State, stipple), sizeof(State::stipple), GL_LINE_BIT, 0},
        {"pointSize", offsetof(State, pointSize), sizeof(double), GL_POINT_BIT, GL_POINT_SIZE},
        {"stencilFunc", offsetof(State, stencilFunc), sizeof(State::stencilFunc), GL_STENCIL_BUFFER_BIT, 0},
        {"stencilOp", offsetof(State, stencilOp), sizeof(State::stencilOp), GL_STENCIL_BUFFER_BIT, 0},
        {"stencilClear", offsetof(State, stencilClear), sizeof(double), GL_STENCIL_BUFFER_BIT, 0},
        {"clipPlane", offsetof(State, clipPlane), sizeof(State::clipPlane), GL_TRANSFORM_BIT, 0},
        {"texGen", offsetof(State, texGen), sizeof(State::texGen), GL_TEXTURE_BIT, 0},
        {"texture", offsetof(State, texture), sizeof(double), GL_TEXTURE_BIT, 0},
        {"matrixMode", offsetof(State, matrixMode), sizeof(double), GL_TRANSFORM_BIT, GL_MATRIX_MODE},
    };
    return fields;
}

Log& TheLog() {
    static Log log;
    return log;
}

void ResetContext() { TheLog().context = Context(); }

const Field* FieldOfQuery(GLenum name) {
    for (const Field& field : Fields())
        if (field.query == name && name) return &field;
    return nullptr;
}

bool State::Enabled(GLenum capability) const { return *FieldOfQuery(capability)->In(*this) != 0; }

std::string ConstantName(GLenum value) {
    for (int i = 0; i < kCapabilities; ++i)
        if (Fields()[static_cast<std::size_t>(i)].query == value) return Fields()[static_cast<std::size_t>(i)].name;
    for (const Constant& constant : kConstants)
        if (constant.value == value) return constant.name;
    return std::to_string(value);
}

std::string Call::Text() const {
    std::string text = name;
    for (const Argument& argument : arguments) {
        char number[32];
        std::snprintf(number, sizeof number, "%.6g", argument.value + 0.0);
        text += ' ' + (argument.constant ? ConstantName(static_cast<GLenum>(argument.value)) : std::string(number));
    }
    return text;
}

std::array<double, 3> Primitive::World(std::size_t vertex) const {
    const auto& p = vertices[vertex].position;
    std::array<double, 3> at;
    for (std::size_t i = 0; i < 3; ++i)
        at[i] = modelview[i] * p[0] + modelview[4 + i] * p[1] + modelview[8 + i] * p[2] + modelview[12 + i];
    return at;
}

}  // namespace tessera::test
