// What each shade mode sends to OpenGL.
#include <GL/gl.h>

#include <cmath>

#include "geometry/trimesh.h"
#include "render/draw_state.h"
#include "render/element_state.h"
#include "render/line_colors.h"
#include "tessera/itessera.h"

namespace tessera {
namespace {

constexpr GLfloat kDiffuseShare = 0.6666667f, kAmbientShare = 0.33333334f;
constexpr GLfloat kShininess = 40, kHighlightShininess = 80;
// Above this many vertices the cloud is thinned, to about two thousand points.
constexpr std::size_t kFullCloud = 2001;

struct Rgba {
    GLfloat value[4];
};

Rgba Shaded(const Color& color, GLfloat share, GLfloat alpha) {
    return {{color.red * share, color.green * share, color.blue * share, alpha}};
}

void SetSpecular(GLfloat alpha, GLfloat shininess) {
    const Rgba white{{1, 1, 1, alpha}};
    glMaterialfv(GL_FRONT_AND_BACK, GL_SPECULAR, white.value);
    glMaterialf(GL_FRONT_AND_BACK, GL_SHININESS, shininess);
}

// Blends over what is drawn already without hiding what comes later.
class TransparentScope {
public:
    explicit TransparentScope(bool on) : on_(on) {
        if (!on_) return;
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        glDepthMask(GL_FALSE);
    }
    ~TransparentScope() {
        if (!on_) return;
        glDisable(GL_BLEND);
        glDepthMask(GL_TRUE);
    }
    TransparentScope(const TransparentScope&) = delete;
    TransparentScope& operator=(const TransparentScope&) = delete;

private:
    bool on_;
};

}  // namespace

void CTriMesh::DrawSimple(const CMatrix& matrix) {
    const short saved = shadeMode;
    shadeMode = simpleShadeMode_;
    Draw(matrix, DrawKindSimple, 0);
    shadeMode = saved;
}

void CTriMesh::Draw(const CMatrix& matrix, int kind, int pass) {
    const ReadLock lock(*this);
    if (surfaceVisible_ == 0 || triangleCount_ == 0 || alpha <= kInvisibleAlpha) return;
    if (pass == 2) return DrawVertices(matrix, kind);
    if (!stripsValid_) BuildStrips();
    if (!IsInPass(alpha, pass)) return;
    const short saved = shadeMode;
    if (kind == DrawKindSimple) shadeMode = simpleShadeMode_;
    if (kind == DrawKindSection) shadeMode = ShadeSection;
    if (kind == DrawKindHighlight) shadeMode = ShadeHighlight;
    const bool clipped = sectionEnabled != 0 && planeClipOn != 0;
    if (clipped) SetClipPlane(matrix);
    const short ownMode = shadeMode;
    if (gForceHiddenLine) shadeMode = ShadeHiddenLine;
    DrawMode(matrix, pass);
    // The edges of a mesh that has been spooled are unclassified: the mode ends here, and leaves itself behind.
    if (shadeMode == ShadeSmoothEdges && spooled_) return;
    if (optionsShadeMode == 1) DrawOpenEdges();
    if (clipped && shadeMode != ShadeSection) {
        glDisable(GL_CLIP_PLANE0);
        DrawSectionLines(matrix);
    }
    if (vertexVisible) DrawVertices(matrix, kind);
    shadeMode = ownMode;
    shadeMode = saved;
}

void CTriMesh::DrawMode(const CMatrix& matrix, int pass) {
    const bool transparent = pass == 1;
    switch (shadeMode) {
        case ShadeFlat: {
            const TransparentScope scope(transparent);
            return DrawFlat();
        }
        case ShadeSmooth: {
            ComputeVertexNormals();
            const TransparentScope scope(transparent);
            return DrawSmooth();
        }
        case ShadeWire: return DrawWire(matrix);
        case ShadeWireAll: return DrawAllEdges();
        case ShadeHiddenLine: return DrawHiddenLine(matrix);
        case ShadeVertexCloud: return DrawThinnedPoints();
        case ShadeSmoothEdges: return DrawSmoothEdges(transparent);
        case ShadeSection: return DrawSectionMode(matrix, pass);
        case ShadeSilhouetteDashed: return DrawDashedSilhouette(matrix);
        case ShadeStripPoints: return DrawStripPoints();
        case ShadeHighlight: return DrawHighlight();
        case ShadeEnvMap: {
            ComputeVertexNormals();
            const TransparentScope scope(transparent);
            return DrawEnvMap();
        }
        default: return;  // no surface
    }
}

void CTriMesh::SetMaterials() const {
    if (gTold.materials != this) {
        gTold.materials = this;
        glMaterialfv(GL_FRONT, GL_DIFFUSE, Shaded(externalColor, kDiffuseShare, alpha).value);
        glMaterialfv(GL_BACK, GL_DIFFUSE, Shaded(internalColor, kDiffuseShare, alpha).value);
        glMaterialfv(GL_FRONT, GL_AMBIENT, Shaded(externalColor, kAmbientShare, alpha).value);
        glMaterialfv(GL_BACK, GL_AMBIENT, Shaded(internalColor, kAmbientShare, alpha).value);
        SetSpecular(alpha, kShininess);
    }
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
}

// The section plane stands in the world; what OpenGL is told is in the mesh's own frame.
void CTriMesh::SetClipPlane(const CMatrix& matrix) const { EnableClipPlane(ClipPlaneIn(matrix)); }

void CTriMesh::DrawFlat() {
    SetMaterials();
    glShadeModel(GL_FLAT);
    glBegin(GL_TRIANGLES);
    for (const TriMeshTriangle& t : triangles_) {
        const Vec3 &a = Corner(t, 0), &b = Corner(t, 1), &c = Corner(t, 2), n = FacetNormal(a, b, c);
        glNormal3f(n.x, n.y, n.z);
        glVertex3f(a.x, a.y, a.z);
        glVertex3f(b.x, b.y, b.z);
        glVertex3f(c.x, c.y, c.z);
    }
    glEnd();
}

void CTriMesh::DrawSmooth() {
    SetMaterials();
    glShadeModel(GL_SMOOTH);
    DrawStrips();
}

void CTriMesh::DrawEnvMap() {
    glEnable(GL_TEXTURE_2D);
    SetMaterials();
    glShadeModel(GL_SMOOTH);
    glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
    glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
    glEnable(GL_TEXTURE_GEN_S);
    glEnable(GL_TEXTURE_GEN_T);
    glBindTexture(GL_TEXTURE_2D, textureId_);
    DrawStrips();
    glDisable(GL_TEXTURE_GEN_S);
    glDisable(GL_TEXTURE_GEN_T);
    glDisable(GL_TEXTURE_2D);
}

// Yellow, or red on a model that is itself of the highlight's yellow.
void CTriMesh::DrawHighlight() {
    const bool isYellow = externalColor.red >= 0.99f && externalColor.green >= 0.99f && externalColor.blue <= 0.01f;
    const Rgba diffuse{{0.9f, isYellow ? 0.1f : 0.9f, 0.1f, alpha}}, ambient{{0.3f, isYellow ? 0.0f : 0.3f, 0, alpha}};
    glPushAttrib(GL_LIGHTING_BIT | GL_DEPTH_BUFFER_BIT);
    for (const GLenum face : {GL_FRONT, GL_BACK}) {
        glMaterialfv(face, GL_DIFFUSE, diffuse.value);
        glMaterialfv(face, GL_AMBIENT, ambient.value);
    }
    SetSpecular(alpha, kHighlightShininess);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glShadeModel(GL_SMOOTH);
    DrawStrips();
    glPopAttrib();
}

// A fill in the background's colour, set back so that the lines on it show.
void CTriMesh::DrawHiddenLine(const CMatrix& matrix) {
    const Color fill = gForceHiddenLine ? Color{1, 1, 1} : backgroundColor;
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    glEnable(GL_POLYGON_OFFSET_FILL);
    glPolygonOffset(2.0f, 5.0f);
    SetColor(fill);
    DrawStrips();
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glPolygonMode(GL_FRONT, GL_LINE);
    glEnable(GL_DEPTH_TEST);
    if (capping_) glDisable(GL_STENCIL_TEST);
    DrawClassifiedLines(matrix, gForceHiddenLine);
    if (capping_) glEnable(GL_STENCIL_TEST);
    glPopAttrib();
}

void CTriMesh::DrawSmoothEdges(bool transparent) {
    ComputeVertexNormals();
    {
        const TransparentScope scope(transparent);
        SetMaterials();
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(1.0f, 50.0f);
        DrawStrips();
    }
    if (!spooled_) DrawHardAndOpenEdges();
}

void CTriMesh::DrawStrips() {
    if (useVertexArray) {
        // By the address: the mesh may have been on disk since.
        if (gTold.arrays != stripVertices_.data()) glInterleavedArrays(GL_N3F_V3F, 0, stripVertices_.data());
        gTold.arrays = stripVertices_.data();
        GLint first = 0;
        for (const int length : stripLengths_) {
            if (length <= 0) return;
            glDrawArrays(GL_TRIANGLE_STRIP, first, length);
            first += length;
        }
        return;
    }
    const float* v = stripVertices_.data();
    for (const int length : stripLengths_) {
        if (length <= 0) return;
        glBegin(GL_TRIANGLE_STRIP);
        for (const float* end = v + 6 * static_cast<std::size_t>(length); v < end; v += 6) {
            glNormal3f(v[0], v[1], v[2]);
            glVertex3f(v[3], v[4], v[5]);
        }
        glEnd();
    }
}

void CTriMesh::DrawStripPoints() {
    glPushAttrib(GL_LIGHTING_BIT);
    glDisable(GL_LIGHTING);
    glPointSize(2.0f);
    SetColor(externalColor);
    const float* v = stripVertices_.data();
    for (const int length : stripLengths_) {
        if (length <= 0) break;
        glBegin(GL_POINTS);
        for (const float* end = v + 6 * static_cast<std::size_t>(length); v < end; v += 6) glVertex3f(v[3], v[4], v[5]);
        glEnd();
    }
    glPopAttrib();
}

void CTriMesh::DrawThinnedPoints() {
    glPushAttrib(GL_COLOR_BUFFER_BIT | GL_LIGHTING_BIT | GL_POINT_BIT | GL_CURRENT_BIT);
    SetColor(externalColor);
    glPointSize(2.0f);
    const std::size_t count = vertices_.size();
    const std::size_t step =
        count < kFullCloud ? 1 : static_cast<std::size_t>(std::floor(static_cast<double>(count) * 0.0005));
    glBegin(GL_POINTS);
    for (std::size_t i = 0; i < count; i += step) glVertex3f(vertices_[i].x, vertices_[i].y, vertices_[i].z);
    glEnd();
    glPopAttrib();
}

}  // namespace tessera
