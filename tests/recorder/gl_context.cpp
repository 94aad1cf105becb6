#include "gl_context.h"

#include <cstdio>

namespace tessera::test {

namespace {

struct Capability {
    GLenum value;
    const char* name;
    GLbitfield group;
};

// All of them belong to GL_ENABLE_BIT too.
// clang-format off
const Capability kCapabilityTable[] = {
    {GL_ALPHA_TEST, "GL_ALPHA_TEST", GL_COLOR_BUFFER_BIT}, {GL_BLEND, "GL_BLEND", GL_COLOR_BUFFER_BIT},
    {GL_CLIP_PLANE0, "GL_CLIP_PLANE0", GL_TRANSFORM_BIT}, {GL_COLOR_MATERIAL, "GL_COLOR_MATERIAL", GL_LIGHTING_BIT},
    {GL_CULL_FACE, "GL_CULL_FACE", GL_POLYGON_BIT}, {GL_DEPTH_TEST, "GL_DEPTH_TEST", GL_DEPTH_BUFFER_BIT},
    {GL_DITHER, "GL_DITHER", GL_COLOR_BUFFER_BIT}, {GL_FOG, "GL_FOG", GL_FOG_BIT},
    {GL_LIGHT0, "GL_LIGHT0", GL_LIGHTING_BIT}, {GL_LIGHTING, "GL_LIGHTING", GL_LIGHTING_BIT},
    {GL_LINE_SMOOTH, "GL_LINE_SMOOTH", GL_LINE_BIT}, {GL_LINE_STIPPLE, "GL_LINE_STIPPLE", GL_LINE_BIT},
    {GL_NORMALIZE, "GL_NORMALIZE", GL_TRANSFORM_BIT}, {GL_POINT_SMOOTH, "GL_POINT_SMOOTH", GL_POINT_BIT},
    {GL_POLYGON_OFFSET_FILL, "GL_POLYGON_OFFSET_FILL", GL_POLYGON_BIT},
    {GL_POLYGON_OFFSET_LINE, "GL_POLYGON_OFFSET_LINE", GL_POLYGON_BIT},
    {GL_POLYGON_OFFSET_POINT, "GL_POLYGON_OFFSET_POINT", GL_POLYGON_BIT},
    {GL_SCISSOR_TEST, "GL_SCISSOR_TEST", GL_SCISSOR_BIT},
    {GL_STENCIL_TEST, "GL_STENCIL_TEST", GL_STENCIL_BUFFER_BIT}, {GL_TEXTURE_1D, "GL_TEXTURE_1D", GL_TEXTURE_BIT},
    {GL_TEXTURE_2D, "GL_TEXTURE_2D", GL_TEXTURE_BIT}, {GL_TEXTURE_GEN_S, "GL_TEXTURE_GEN_S", GL_TEXTURE_BIT},
    {GL_TEXTURE_GEN_T, "GL_TEXTURE_GEN_T", GL_TEXTURE_BIT},
};
// clang-format on
static_assert(std::size(kCapabilityTable) <= kCapabilities);

struct Constant {
    GLenum value;
    const char* name;
};
// clang-format off
const Constant kConstants[] = {
    {GL_POINTS, "GL_POINTS"}, {GL_LINES, "GL_LINES"}, {GL_TRIANGLES, "GL_TRIANGLES"},
    {GL_TRIANGLE_STRIP, "GL_TRIANGLE_STRIP"}, {GL_QUADS, "GL_QUADS"}, {GL_POLYGON, "GL_POLYGON"},
    {GL_FRONT, "GL_FRONT"}, {GL_BACK, "GL_BACK"}, {GL_FRONT_AND_BACK, "GL_FRONT_AND_BACK"}, {GL_CW, "GL_CW"},
    {GL_CCW, "GL_CCW"}, {GL_POINT, "GL_POINT"}, {GL_LINE, "GL_LINE"}, {GL_FILL, "GL_FILL"}, {GL_FLAT, "GL_FLAT"},
    {GL_SMOOTH, "GL_SMOOTH"}, {GL_AMBIENT, "GL_AMBIENT"}, {GL_DIFFUSE, "GL_DIFFUSE"}, {GL_SPECULAR, "GL_SPECULAR"},
    {GL_SHININESS, "GL_SHININESS"}, {GL_MODELVIEW, "GL_MODELVIEW"}, {GL_SRC_ALPHA, "GL_SRC_ALPHA"},
    {GL_ONE_MINUS_SRC_ALPHA, "GL_ONE_MINUS_SRC_ALPHA"}, {GL_LESS, "GL_LESS"}, {GL_LEQUAL, "GL_LEQUAL"},
    {GL_S, "GL_S"}, {GL_T, "GL_T"}, {GL_TEXTURE_GEN_MODE, "GL_TEXTURE_GEN_MODE"}, {GL_SPHERE_MAP, "GL_SPHERE_MAP"},
    {GL_N3F_V3F, "GL_N3F_V3F"}, {GL_VERTEX_ARRAY, "GL_VERTEX_ARRAY"}, {GL_NORMAL_ARRAY, "GL_NORMAL_ARRAY"},
};
// clang-format on

}  // namespace

Log& TheLog() {
    static Log log;
    return log;
}

void ResetContext() { TheLog().context = Context(); }

int CapabilityIndex(GLenum capability) {
    for (std::size_t i = 0; i < std::size(kCapabilityTable); ++i)
        if (kCapabilityTable[i].value == capability) return static_cast<int>(i);
    return -1;
}

bool State::Enabled(GLenum capability) const { return enabled[CapabilityIndex(capability)]; }

std::string ConstantName(GLenum value) {
    if (const int i = CapabilityIndex(value); i >= 0) return kCapabilityTable[i].name;
    for (const Constant& constant : kConstants)
        if (constant.value == value) return constant.name;
    return std::to_string(value);
}

const std::vector<Field>& Fields() {
    static const std::vector<Field> fields = [] {
        const State s;
        std::vector<Field> list;
        const auto add = [&](const char* name, const auto& member, GLbitfield groups) {
            const auto offset = reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&s);
            list.push_back({name, static_cast<std::size_t>(offset), sizeof member, groups});
        };
        add("color", s.color, GL_CURRENT_BIT);
        add("normal", s.normal, GL_CURRENT_BIT);
        add("polygonMode", s.polygonMode, GL_POLYGON_BIT);
        add("cullFace", s.cullFace, GL_POLYGON_BIT);
        add("frontFace", s.frontFace, GL_POLYGON_BIT);
        add("polygonOffset", s.polygonOffset, GL_POLYGON_BIT);
        add("shadeModel", s.shadeModel, GL_LIGHTING_BIT);
        add("material", s.material, GL_LIGHTING_BIT);
        add("blend", s.blend, GL_COLOR_BUFFER_BIT);
        add("colorMask", s.colorMask, GL_COLOR_BUFFER_BIT);
        add("depthMask", s.depthMask, GL_DEPTH_BUFFER_BIT);
        add("depthFunc", s.depthFunc, GL_DEPTH_BUFFER_BIT);
        add("lineWidth", s.lineWidth, GL_LINE_BIT);
        add("stipple", s.stipple, GL_LINE_BIT);
        add("pointSize", s.pointSize, GL_POINT_BIT);
        add("stencilFunc", s.stencilFunc, GL_STENCIL_BUFFER_BIT);
        add("stencilOp", s.stencilOp, GL_STENCIL_BUFFER_BIT);
        add("stencilClear", s.stencilClear, GL_STENCIL_BUFFER_BIT);
        add("clipPlane", s.clipPlane, GL_TRANSFORM_BIT);
        add("matrixMode", s.matrixMode, GL_TRANSFORM_BIT);
        add("texGen", s.texGen, GL_TEXTURE_BIT);
        add("texture", s.texture, GL_TEXTURE_BIT);
        add("texEnvMode", s.texEnvMode, GL_TEXTURE_BIT);
        for (std::size_t i = 0; i < std::size(kCapabilityTable); ++i)
            add(kCapabilityTable[i].name, s.enabled[i], kCapabilityTable[i].group | GL_ENABLE_BIT);
        return list;
    }();
    return fields;
}

Context::Context() {
    for (MatrixStack* stack : {&modelview, &projection, &texture})
        for (Matrix& level : stack->levels) level = kIdentity;
    state.enabled[CapabilityIndex(GL_DITHER)] = true;
}

MatrixStack& Context::Matrices() {
    return state.matrixMode == GL_MODELVIEW ? modelview : state.matrixMode == GL_PROJECTION ? projection : texture;
}

int Context::Query(GLenum name, double values[16]) const {
    const auto give = [values](const auto* from, int count) {
        for (int i = 0; i < count; ++i) values[i] = static_cast<double>(from[i]);
        return count;
    };
    switch (name) {
        case GL_CURRENT_COLOR: return give(state.color, 4);
        case GL_POLYGON_MODE: return give(state.polygonMode, 2);
        case GL_CULL_FACE_MODE: return give(&state.cullFace, 1);
        case GL_FRONT_FACE: return give(&state.frontFace, 1);
        case GL_POLYGON_OFFSET_FACTOR: return give(state.polygonOffset, 1);
        case GL_POLYGON_OFFSET_UNITS: return give(state.polygonOffset + 1, 1);
        case GL_SHADE_MODEL: return give(&state.shadeModel, 1);
        case GL_DEPTH_WRITEMASK: return give(&state.depthMask, 1);
        case GL_DEPTH_FUNC: return give(&state.depthFunc, 1);
        case GL_LINE_WIDTH: return give(&state.lineWidth, 1);
        case GL_POINT_SIZE: return give(&state.pointSize, 1);
        case GL_MATRIX_MODE: return give(&state.matrixMode, 1);
        case GL_MODELVIEW_MATRIX: return give(modelview.Top().data(), 16);
        case GL_MODELVIEW_STACK_DEPTH: return give(&modelview.depth, 1);
        case GL_ATTRIB_STACK_DEPTH: return give(&attributeDepth, 1);
        case GL_MAX_MODELVIEW_STACK_DEPTH: return give(&kMatrixDepth, 1);
        case GL_VERTEX_ARRAY: return give(&client.vertex.enabled, 1);
        default: break;
    }
    const int capability = CapabilityIndex(name);
    return capability < 0 ? 0 : give(state.enabled + capability, 1);
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

std::array<double, 3> Primitive::World(int vertex) const {
    const auto& p = vertices[vertex].position;
    const Matrix& m = modelview;
    return {m[0] * p[0] + m[4] * p[1] + m[8] * p[2] + m[12], m[1] * p[0] + m[5] * p[1] + m[9] * p[2] + m[13],
            m[2] * p[0] + m[6] * p[1] + m[10] * p[2] + m[14]};
}

}  // namespace tessera::test
