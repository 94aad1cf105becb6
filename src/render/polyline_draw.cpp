// What a curve sends to OpenGL.
#include <GL/gl.h>

#include <cmath>

#include "geometry/polyline.h"
#include "render/element_state.h"
#include "render/line_colors.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

// Lines and points are drawn unlit, or their colours would not be seen.
constexpr GLbitfield kLineBits = GL_CURRENT_BIT | GL_LINE_BIT | GL_LIGHTING_BIT;
constexpr GLbitfield kPointBits = GL_CURRENT_BIT | GL_POINT_BIT | GL_LIGHTING_BIT;
constexpr GLushort kSolid = 0xffff, kDotted = 0x3333;
// From this many points on the simple mode draws a part of them, about two thousand.
constexpr int kThinnedFrom = 2001;

bool IsGap(std::uint8_t code) { return code == StippleGap || code == StippleGap2; }

void ApplyStipple(std::uint8_t code) {
    switch (code) {
        case StippleDotted: return glLineStipple(1, kDotted);
        case StippleLongDash: return glLineStipple(1, 0xffc0);
        case StippleShortDash: return glLineStipple(1, 0xc630);
        case StippleDashDot: return glLineStipple(2, 0xfc30);
        case StippleDashDotDot: return glLineStipple(2, 0xc223);
        case StippleDense: return glLineStipple(2, 0xedb7);
        default: return glLineStipple(1, kSolid);
    }
}

void EmitPoint(const Vec3& p) { glVertex3f(p.x, p.y, p.z); }

}  // namespace

void CPolyLine::Draw(const CMatrix& matrix, int kind, int pass) {
    if (Count() < 2 || wireVisible_ == 0 || alpha <= kInvisibleAlpha) return;
    if (pass == 2) return DrawMarkers(matrix, kind);
    if (!IsInPass(alpha, pass)) return;
    if (IsClipping())
        EnableClipPlane(ClipPlaneIn(matrix));
    else
        glDisable(GL_CLIP_PLANE0);
    if (kind == DrawKindNormal) DrawStretches();
    if (kind == DrawKindSimple) {
        const Color color = PrintedColor(externalColor, printing != 0);
        DrawPoints(color, 2, Count() < kThinnedFrom ? 1 : static_cast<int>(std::floor(Count() * 0.0005)));
    }
    if (kind == DrawKindHighlight) DrawPreview();
    if (sectionEnabled != 0 && (planeClipOn != 0 || kind == DrawKindSection)) DrawCrossings(matrix, {1, 0, 0}, 2);
    glLineStipple(1, kSolid);
    if (vertexVisible) DrawMarkers(matrix, kind);
}

// The last point up to which the stretches behind a point have the code of the first of them.
int CPolyLine::EndOfStretches(int first) const {
    int last = first + 1;
    while (last + 1 < Count() && CodeAt(last + 1) == CodeAt(first + 1)) ++last;
    return last;
}

void CPolyLine::EmitStrip(int first, int last) const {
    glBegin(GL_LINE_STRIP);
    for (int i = first; i <= last; ++i) EmitPoint(At(i));
    glEnd();
}

void CPolyLine::DrawStretches() const {
    glPushAttrib(kLineBits);
    glEnable(GL_LINE_STIPPLE);
    glDisable(GL_LIGHTING);
    glLineWidth(1.0f);
    SetColor(PrintedColor(externalColor, printing != 0));
    for (int first = 0, last = 0; first + 1 < Count(); first = last) {
        last = EndOfStretches(first);
        const std::uint8_t code = CodeAt(last);
        if (IsGap(code)) continue;
        ApplyStipple(code);
        EmitStrip(first, last);
    }
    glPopAttrib();
}

// A curve of one code is dotted; where codes change, the solid and the dotted ones are told apart, and those that are
// neither look like the stretch before them.
void CPolyLine::DrawPreview() const {
    glPushAttrib(kLineBits);
    glEnable(GL_LINE_STIPPLE);
    glDisable(GL_LIGHTING);
    glLineWidth(1.0f);
    glLineStipple(1, kDotted);
    glColor3f(1, 0, 0);
    for (int first = 0, last = 0; first + 1 < Count(); first = last) {
        last = EndOfStretches(first);
        const std::uint8_t code = CodeAt(last);
        if (code == StippleGap) continue;
        const bool changed = code != CodeAt(first);
        if (changed && (code == StippleSolid || code == StippleDotted)) ApplyStipple(code);
        EmitStrip(first, last);
    }
    glPopAttrib();
}

void CPolyLine::DrawPoints(const Color& color, float size, int step) const {
    glPushAttrib(kPointBits);
    glDisable(GL_LIGHTING);
    glPointSize(size);
    SetColor(color);
    glBegin(GL_POINTS);
    for (int i = 0; i < Count(); i += step) EmitPoint(At(i));
    glEnd();
    glPopAttrib();
}

// Where the section plane cuts the curve; a point in the plane counts as above it.
void CPolyLine::DrawCrossings(const CMatrix& matrix, const Color& color, float size) const {
    const Plane plane = ClipPlaneIn(matrix);
    glDisable(GL_CLIP_PLANE0);
    glPushAttrib(kPointBits);
    glDisable(GL_LIGHTING);
    glPointSize(size);
    SetColor(color);
    glBegin(GL_POINTS);
    double next = plane.At(At(0));
    for (int i = 0; i + 1 < Count(); ++i) {
        const double here = next;
        next = plane.At(At(i + 1));
        if ((here >= 0) != (next >= 0)) EmitPoint(CrossingAt(i, here, next));
    }
    glEnd();
    glPopAttrib();
}

// Yellow where the host has asked for vertices, red where they come from the vertex pass alone; the section kind and
// mode show the crossings alone.
void CPolyLine::DrawMarkers(const CMatrix& matrix, int kind) const {
    glEnable(GL_DEPTH_TEST);
    if (IsClipping()) EnableClipPlane(ClipPlaneIn(matrix));
    if (kind != DrawKindSection && shadeMode != ShadeSection) DrawPoints({1, vertexVisible ? 1.0f : 0.0f, 0}, 2, 1);
    if (sectionEnabled == 0 || (planeClipOn == 0 && transparentSection == 0)) return;
    if (planeClipOn == 0) glDisable(GL_DEPTH_TEST);
    DrawCrossings(matrix, {0, 1, 0}, 3);
    glEnable(GL_DEPTH_TEST);
}

}  // namespace tessera
