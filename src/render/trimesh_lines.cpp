// The line and point drawings that need the adjacency, the view or the section plane.
#include <GL/gl.h>

#include "geometry/trimesh.h"
#include "render/line_colors.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

constexpr GLbitfield kLineBits = GL_COLOR_BUFFER_BIT | GL_LIGHTING_BIT | GL_POINT_BIT | GL_CURRENT_BIT;
// Section lines are lifted this far off a cap.
constexpr float kSectionLift = 0.0001f;

void EmitPoint(const Vec3& p) { glVertex3f(p.x, p.y, p.z); }

}  // namespace

// Which side of its plane each triangle turns to the view, as transient marks. All points of an edge lie in
// the planes of both its triangles, so that one answer a triangle serves for all its edges.
void CTriMesh::MarkFacing(const CMatrix& matrix) {
    constexpr auto kBoth = static_cast<std::uint8_t>(TriMeshTriangle::kTowards | TriMeshTriangle::kAway);
    const Vec3 camera = TransformPointByInverse(cameraPoint, matrix),
               target = TransformPointByInverse(targetPoint, matrix);
    for (TriMeshTriangle& t : triangles_.ToWrite()) {
        t.flags2 &= static_cast<std::uint8_t>(~kBoth);
        if (viewingType != 0 && viewingType != 1) continue;
        const double side = Dot(Normalized(viewingType == 0 ? Corner(t, 0) - camera : target - camera), Facet(t));
        if (side >= 0) t.flags2 |= TriMeshTriangle::kAway;
        if (side <= 0) t.flags2 |= TriMeshTriangle::kTowards;
    }
}

// Whether the surface turns from the view at an edge. Any viewing type but perspective and parallel has no view.
bool CTriMesh::IsSilhouetteEdge(TriangleIndex i, int edge) const {
    if (viewingType != 0 && viewingType != 1) return false;
    const TriMeshTriangle& t = triangles_[i];
    if (t.neighbour[edge] == kNoTriangle) return true;
    const std::uint8_t here = t.flags2, there = triangles_[t.neighbour[edge]].flags2;
    return ((here & TriMeshTriangle::kAway) && (there & TriMeshTriangle::kTowards)) ||
           ((here & TriMeshTriangle::kTowards) && (there & TriMeshTriangle::kAway));
}

// Each edge belongs to the first of its two triangles.
CTriMesh::EdgeKind CTriMesh::KindOf(TriangleIndex i, int edge) const {
    const TriMeshTriangle& t = triangles_[i];
    if (t.neighbour[edge] == kNoTriangle) return EdgeKind::Open;
    if (t.neighbour[edge] < i) return EdgeKind::None;
    if (!t.IsSmooth(edge)) return EdgeKind::Hard;
    return IsSilhouetteEdge(i, edge) ? EdgeKind::Silhouette : EdgeKind::None;
}

void CTriMesh::EmitEdge(const TriMeshTriangle& t, int edge) const {
    EmitPoint(Corner(t, edge));
    EmitPoint(Corner(t, NextCorner(edge)));
}

void CTriMesh::DrawWire(const CMatrix& matrix) {
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    DrawClassifiedLines(matrix, false);
    glPopAttrib();
}

void CTriMesh::DrawClassifiedLines(const CMatrix& matrix, bool allBlack) {
    MarkFacing(matrix);
    const auto colored = [&](const Color& c) { return allBlack ? Color{0, 0, 0} : PrintedColor(c, printing != 0); };
    const Color border = colored(borderColor), hard = colored(edgeColor), silhouette = colored(externalColor);
    glBegin(GL_LINES);
    for (TriangleIndex i = 0; i < triangles_.size(); ++i)
        for (int k = 0; k < 3; ++k) {
            const EdgeKind kind = KindOf(i, k);
            if (kind == EdgeKind::None) continue;
            SetColor(kind == EdgeKind::Open ? border : kind == EdgeKind::Hard ? hard : silhouette);
            EmitEdge(triangles_[i], k);
        }
    glEnd();
}

void CTriMesh::DrawAllEdges() {
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    SetColor(PrintedColor(externalColor, printing != 0));
    glBegin(GL_LINES);
    for (TriangleIndex i = 0; i < triangles_.size(); ++i)
        for (int k = 0; k < 3; ++k)
            if (triangles_[i].neighbour[k] == kNoTriangle || triangles_[i].neighbour[k] > i) EmitEdge(triangles_[i], k);
    glEnd();
    glPopAttrib();
}

void CTriMesh::DrawDashedSilhouette(const CMatrix& matrix) {
    MarkFacing(matrix);
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);  // or the red would not be seen
    glColor3f(1, 0, 0);
    glLineWidth(2.0f);
    glLineStipple(1, 0x3333);
    glEnable(GL_LINE_STIPPLE);
    glDisable(GL_DEPTH_TEST);
    glBegin(GL_LINES);
    for (TriangleIndex i = 0; i < triangles_.size(); ++i)
        for (int k = 0; k < 3; ++k)
            if (KindOf(i, k) != EdgeKind::None) EmitEdge(triangles_[i], k);
    glEnd();
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_LINE_STIPPLE);
    glLineStipple(1, 0xffff);
    glLineWidth(1.0f);
    glPopAttrib();
}

void CTriMesh::DrawHardAndOpenEdges() {
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    glColor3f(0.1f, 0.1f, 0.1f);
    if (capping_) glDisable(GL_STENCIL_TEST);
    glBegin(GL_LINES);
    for (TriangleIndex i = 0; i < triangles_.size(); ++i)
        for (int k = 0; k < 3; ++k) {
            const TriMeshTriangle& t = triangles_[i];
            if (t.neighbour[k] == kNoTriangle || (t.neighbour[k] > i && !t.IsSmooth(k))) EmitEdge(t, k);
        }
    glEnd();
    if (capping_) glEnable(GL_STENCIL_TEST);
    glPopAttrib();
}

void CTriMesh::DrawOpenEdges() {
    SetColor(borderColor);
    glBegin(GL_LINES);
    for (const TriMeshTriangle& t : triangles_)
        for (int k = 0; k < 3; ++k)
            if (t.neighbour[k] == kNoTriangle) EmitEdge(t, k);
    glEnd();
}

void CTriMesh::DrawSectionMode(const CMatrix& matrix, int pass) {
    const bool overlay = pass == 4;
    if (sectionEnabled == 0 && !overlay) return;
    glDisable(GL_CLIP_PLANE0);
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    if (overlay) {
        glColor3f(1, 0, 0);
        glLineWidth(2.0f);
    } else {
        SetColor(PrintedColor(externalColor, printing != 0));
    }
    glBegin(GL_LINES);
    EmitSection(matrix, 0);
    glEnd();
    if (overlay) glLineWidth(1.0f);
    glPopAttrib();
}

// The lines along which the clip plane cuts a mesh that is drawn clipped.
void CTriMesh::DrawSectionLines(const CMatrix& matrix) {
    glPushAttrib(kLineBits);
    glDisable(GL_LIGHTING);
    if (capping_) glDisable(GL_STENCIL_TEST);
    glLineWidth(2.0f);
    glDepthFunc(GL_LEQUAL);
    glColor3f(1, 0, 0);
    glBegin(GL_LINES);
    EmitSection(matrix, kSectionLift);
    glEnd();
    glDepthFunc(GL_LESS);
    glLineWidth(1.0f);
    if (capping_) glEnable(GL_STENCIL_TEST);
    glPopAttrib();
}

// Two points for each triangle that the plane crosses; a corner in the plane counts as above it.
void CTriMesh::EmitSection(const CMatrix& matrix, float lift) {
    const Plane plane = ClipPlaneIn(matrix);
    const Vec3 shift = plane.normal * -lift;
    for (const TriMeshTriangle& t : triangles_) {
        double value[3];
        for (int k = 0; k < 3; ++k) value[k] = plane.At(Corner(t, k));
        const bool above[3] = {value[0] >= 0, value[1] >= 0, value[2] >= 0};
        if (above[0] == above[1] && above[1] == above[2]) continue;
        for (int k = 0; k < 3; ++k) {
            const int next = NextCorner(k);
            if (above[k] == above[next]) continue;
            const Vec3 &a = Corner(t, k), along = Corner(t, next) - a;
            EmitPoint(a + along * static_cast<float>(-value[k] / Dot(plane.normal, along)) + shift);
        }
    }
}

// Yellow where the host has asked for vertices, red where they come from the vertex pass alone.
void CTriMesh::DrawVertices(const CMatrix& matrix, int kind) {
    const ReadLock lock(*this);
    const short mode = kind == DrawKindSection ? static_cast<short>(ShadeSection) : shadeMode;
    const bool clipped = sectionEnabled != 0 && planeClipOn != 0;
    glPushAttrib(kLineBits);
    glDisable(GL_LIGHTING);
    if (clipped) SetClipPlane(matrix);
    glColor3f(1, vertexVisible ? 1.0f : 0.0f, 0);
    glPointSize(2.0f);
    glBegin(GL_POINTS);
    EmitVertices(matrix, mode);
    glEnd();
    glPopAttrib();
    if (sectionEnabled == 0 || (transparentSection == 0 && planeClipOn == 0)) return glEnable(GL_DEPTH_TEST);
    glDisable(GL_CLIP_PLANE0);
    glPushAttrib(kLineBits);
    glDisable(GL_LIGHTING);
    if (planeClipOn == 0) glDisable(GL_DEPTH_TEST);
    glColor3f(0, 1, 0);
    glPointSize(2.0f);
    glBegin(GL_POINTS);
    EmitSection(matrix, 0);
    glEnd();
    if (planeClipOn == 0) glEnable(GL_DEPTH_TEST);
    glPopAttrib();
}

void CTriMesh::EmitVertices(const CMatrix& matrix, short mode) {
    switch (mode) {
        case ShadeFlat:
        case ShadeSmooth:
        case ShadeWireAll:
        case ShadeSmoothEdges:
        case ShadeEnvMap:
            for (const Vec3& v : vertices_) EmitPoint(v);
            return;
        case ShadeWire:
        case ShadeHiddenLine:
        case ShadeStripPoints:
            MarkFacing(matrix);
            for (TriangleIndex i = 0; i < triangles_.size(); ++i)
                for (int k = 0; k < 3; ++k)
                    if (KindOf(i, k) != EdgeKind::None) EmitEdge(triangles_[i], k);
            return;
        default: return;
    }
}

}  // namespace tessera
