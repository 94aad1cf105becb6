#include "gl_context.h"

#include <cstdio>

namespace tessera::test {

namespace {

// The capabilities, which have groups of attributes besides GL_ENABLE_BIT, and other constants.
struct Constant {
    GLenum value;
    const char* name;
    GLbitfield groups = 0;
};
// clang-format off
const Constant kConstants[] = {
    {GL_BLEND, "GL_BLEND", GL_COLOR_BUFFER_BIT}, {GL_CLIP_PLANE0, "GL_CLIP_PLANE0", GL_TRANSFORM_BIT},
    {GL_CULL_FACE, "GL_CULL_FACE", GL_POLYGON_BIT}, {GL_DEPTH_TEST, "GL_DEPTH_TEST", GL_DEPTH_BUFFER_BIT},
    {GL_LIGHTING, "GL_LIGHTING", GL_LIGHTING_BIT}, {GL_LINE_STIPPLE, "GL_LINE_STIPPLE", GL_LINE_BIT},
    {GL_POLYGON_OFFSET_FILL, "GL_POLYGON_OFFSET_FILL", GL_POLYGON_BIT},
    {GL_NORMALIZE, "GL_NORMALIZE", GL_TRANSFORM_BIT}, {GL_STENCIL_TEST, "GL_STENCIL_TEST", GL_STENCIL_BUFFER_BIT},
    {GL_TEXTURE_2D, "GL_TEXTURE_2D", GL_TEXTURE_BIT}, {GL_TEXTURE_GEN_S, "GL_TEXTURE_GEN_S", GL_TEXTURE_BIT},
    {GL_TEXTURE_GEN_T, "GL_TEXTURE_GEN_T", GL_TEXTURE_BIT},
    {GL_POINTS, "GL_POINTS"}, {GL_LINES, "GL_LINES"}, {GL_TRIANGLES, "GL_TRIANGLES"},
    {GL_TRIANGLE_STRIP, "GL_TRIANGLE_STRIP"}, {GL_FRONT, "GL_FRONT"}, {GL_BACK, "GL_BACK"},
    {GL_FRONT_AND_BACK, "GL_FRONT_AND_BACK"}, {GL_LINE, "GL_LINE"}, {GL_FILL, "GL_FILL"}, {GL_FLAT, "GL_FLAT"},
    {GL_SMOOTH, "GL_SMOOTH"}, {GL_SRC_ALPHA, "GL_SRC_ALPHA"}, {GL_ONE_MINUS_SRC_ALPHA, "GL_ONE_MINUS_SRC_ALPHA"},
    {GL_LESS, "GL_LESS"}, {GL_LEQUAL, "GL_LEQUAL"}, {GL_S, "GL_S"}, {GL_T, "GL_T"},
    {GL_TEXTURE_GEN_MODE, "GL_TEXTURE_GEN_MODE"}, {GL_SPHERE_MAP, "GL_SPHERE_MAP"}, {GL_N3F_V3F, "GL_N3F_V3F"},
};
// clang-format on

const std::pair<GLbitfield, std::vector<Field>> kAttributes[] = {
    {GL_CURRENT_BIT, {{"color", 4}, {"normal", 3}}},
    {GL_POLYGON_BIT, {{"polygonMode", 2}, {"cullFace", 1, GL_CULL_FACE_MODE}, {"frontFace", 1, GL_FRONT_FACE}}},
    {GL_POLYGON_BIT, {{"offset", 1, GL_POLYGON_OFFSET_FACTOR}, {"offset", 1, GL_POLYGON_OFFSET_UNITS}}},
    {GL_LIGHTING_BIT, {{"shadeModel", 1}, {"material", 26}}},
    {GL_COLOR_BUFFER_BIT, {{"blend", 2}, {"colorMask", 4}}},
    {GL_DEPTH_BUFFER_BIT, {{"depthMask", 1}, {"depthFunc", 1}}},
    {GL_LINE_BIT, {{"lineWidth", 1}, {"stipple", 2}}},
    {GL_POINT_BIT, {{"pointSize", 1}}},
    {GL_STENCIL_BUFFER_BIT, {{"stencilFunc", 3}, {"stencilOp", 3}, {"stencilClear", 1}}},
    {GL_TRANSFORM_BIT, {{"clipPlane", 4}, {"matrixMode", 1}}},
    {GL_TEXTURE_BIT, {{"texGen", 2}, {"texture", 1}}},
};

}  // namespace

const std::vector<Field>& Fields() {
    static const std::vector<Field> fields = [] {
        std::vector<Field> list;
        auto add = [&list, at = 0](Field field, GLbitfield groups) mutable {
            field.groups = groups, field.at = at, at += field.count;
            list.push_back(field);
        };
        for (const Constant& c : kConstants)
            if (c.groups) add({c.name, 1, c.value}, c.groups | GL_ENABLE_BIT);
        for (const auto& [group, attributes] : kAttributes)
            for (const Field& field : attributes) add(field, group);
        return list;
    }();
    return fields;
}

Log& TheLog() {
    static Log log;
    return log;
}

const Field* FieldOfQuery(GLenum name) {
    for (const Field& field : Fields())
        if (field.query == name && name) return &field;
    return nullptr;
}

bool State::Enabled(GLenum capability) const { return *FieldOfQuery(capability)->In(*this) != 0; }

std::string ConstantName(GLenum value) {
    for (const Constant& constant : kConstants)
        if (constant.value == value) return constant.name;
    return std::to_string(value);
}

std::string Call::Text() const {
    std::string text = name;
    for (const Argument& argument : arguments) {
        char number[32];
        std::snprintf(number, sizeof number, "%.6g", argument.value + 0.0);
        text += ' ' + (argument.constant ? ConstantName(static_cast<GLenum>(argument.value)) : number);
    }
    return text;
}

std::array<double, 3> Primitive::World(std::size_t vertex) const {
    const auto& [x, y, z] = vertices[vertex].position;
    const Matrix& m = modelview;
    std::array<double, 3> at;
    for (std::size_t i = 0; i < 3; ++i) at[i] = m[i] * x + m[4 + i] * y + m[8 + i] * z + m[12 + i];
    return at;
}

}  // namespace tessera::test
