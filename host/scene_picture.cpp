#include "scene_picture.h"

#include <GL/gl.h>

#include <algorithm>

#include "failure.h"

namespace tessera::host {

namespace {

// A code above the modes draws no surface, only overlays.
constexpr short kNoSurface = 12;

HRESULT DrawKindOf(ITessera& scene, int kind, const Drawing& drawing) {
    int err = 0;
    if (drawing.acceleration && !drawing.exploded) return scene.DrawLOD(0, kind, *drawing.acceleration, &err);
    return drawing.exploded ? scene.DrawExplode(0, kind, &err) : scene.Draw(0, kind, &err);
}

// The square is lit from both sides like a surface.
void ShowPlane(const Section& section, ITessera& scene) {
    float point[3];
    float normal[3];
    std::copy(section.point.begin(), section.point.end(), point);
    std::copy(section.normal.begin(), section.normal.end(), normal);
    int err = 0;
    scene.DrawClipPlane(0, point, normal, &err);
}

}  // namespace

void DrawScene(ITessera& scene, const Camera& camera, const Drawing& drawing) {
    PaintBackground(drawing.top, drawing.bottom);
    LightFromBehind(camera);
    // These modes colour without materials and leave the lighting to the host.
    if (drawing.mode == ShadeVertexCloud || drawing.mode == ShadeSection || drawing.mode == ShadeSilhouetteDashed) {
        glDisable(GL_LIGHTING);
    }
    glEnable(GL_LINE_STIPPLE);
    if (drawing.overlay != Overlay::kNone) {
        glEnable(GL_POLYGON_OFFSET_FILL);
        glPolygonOffset(1, 1);
    }
    int err = 0;
    scene.SetShadeMode(0, drawing.mode, &err);
    scene.SetOptionsShadeMode(0, drawing.overlay == Overlay::kVertices ? 2 : 0, &err);
    const HRESULT drawn = DrawKindOf(scene, DrawKindNormal, drawing);
    if (drawing.highlight) DrawKindOf(scene, DrawKindHighlight, drawing);
    if (drawing.plane) ShowPlane(*drawing.plane, scene);
    if (drawn < 0) throw Failure("the engine does not draw");
    if (drawing.sectionLines) {
        glDisable(GL_LIGHTING);
        glDisable(GL_DEPTH_TEST);
        scene.SetExternalColor(0, 0.86F, 0.05F, 0.1F, &err);
        scene.Draw(0, DrawKindSection, &err);
    }
    if (drawing.overlay == Overlay::kEdges) {
        glDisable(GL_LIGHTING);
        glDepthFunc(GL_LEQUAL);
        scene.SetShadeMode(0, kNoSurface, &err);
        scene.SetOptionsShadeMode(0, 1, &err);
        DrawKindOf(scene, DrawKindNormal, drawing);
        scene.SetShadeMode(0, drawing.mode, &err);
    }
}

void DrawMarks(const Marks& marks, const Rgb& color) {
    glDisable(GL_LIGHTING);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LINE_STIPPLE);
    for (const bool rim : {true, false}) {
        if (rim) glColor3f(1, 1, 1);
        if (!rim) glColor3fv(color.data());
        glLineWidth(rim ? 5.0F : 2.5F);
        glPointSize(rim ? 11.0F : 7.0F);
        for (const auto& line : marks.lines) {
            glBegin(GL_LINE_STRIP);
            for (const Vec3& p : line) glVertex3dv(p.data());
            glEnd();
        }
        glBegin(GL_POINTS);
        for (const Vec3& p : marks.points) glVertex3dv(p.data());
        glEnd();
    }
}

}  // namespace tessera::host
