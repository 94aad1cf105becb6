// Reads a VRML file with Coin, which shares no code with this engine, and tells what it found there as JSON.
#include <Inventor/SbBox3f.h>
#include <Inventor/SbVec3d.h>
#include <Inventor/SbVec3f.h>
#include <Inventor/SoDB.h>
#include <Inventor/SoInput.h>
#include <Inventor/SoInteraction.h>
#include <Inventor/SoPrimitiveVertex.h>
#include <Inventor/actions/SoCallbackAction.h>
#include <Inventor/nodes/SoSeparator.h>
#include <Inventor/nodes/SoShape.h>

#include <cstdio>
#include <initializer_list>

namespace {

// What the shapes of a file amount to, in the world.
struct Found {
    long triangles = 0, segments = 0, points = 0;
    long backward = 0;  // triangles whose normals speak against their winding
    double area = 0;
    SbBox3f box;
};

SbVec3f InWorld(SoCallbackAction* action, const SoPrimitiveVertex* vertex) {
    SbVec3f p;
    action->getModelMatrix().multVecMatrix(vertex->getPoint(), p);
    return p;
}

void AddTriangle(void* data, SoCallbackAction* action, const SoPrimitiveVertex* a, const SoPrimitiveVertex* b,
                 const SoPrimitiveVertex* c) {
    Found& found = *static_cast<Found*>(data);
    const SbVec3f p[3] = {InWorld(action, a), InWorld(action, b), InWorld(action, c)};
    const SbVec3d origin(p[0]);
    const SbVec3d cross = (SbVec3d(p[1]) - origin).cross(SbVec3d(p[2]) - origin);
    const SbVec3d normals = SbVec3d(a->getNormal()) + SbVec3d(b->getNormal()) + SbVec3d(c->getNormal());
    found.area += cross.length() / 2;
    ++found.triangles;
    if (cross.dot(normals) < 0) ++found.backward;
    for (const SbVec3f& corner : p) found.box.extendBy(corner);
}

void AddSegment(void* data, SoCallbackAction* action, const SoPrimitiveVertex* a, const SoPrimitiveVertex* b) {
    Found& found = *static_cast<Found*>(data);
    ++found.segments;
    for (const SoPrimitiveVertex* end : {a, b}) found.box.extendBy(InWorld(action, end));
}

void AddPoint(void* data, SoCallbackAction* action, const SoPrimitiveVertex* vertex) {
    Found& found = *static_cast<Found*>(data);
    ++found.points;
    found.box.extendBy(InWorld(action, vertex));
}

// A box of nothing is null.
void Print(const Found& found) {
    std::printf("{\"triangles\": %ld, \"backward\": %ld, \"segments\": %ld, \"points\": %ld, \"area\": %.9g, ",
                found.triangles, found.backward, found.segments, found.points, found.area);
    const SbVec3f low = found.box.getMin(), high = found.box.getMax();
    if (found.box.isEmpty())
        std::puts("\"box\": null}");
    else
        std::printf("\"box\": [[%.9g, %.9g, %.9g], [%.9g, %.9g, %.9g]]}\n", low[0], low[1], low[2], high[0], high[1],
                    high[2]);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("usage: read_vrml FILE\n", stderr);
        return 2;
    }
    SoDB::init();
    SoInteraction::init();
    SoInput input;
    if (input.openFile(argv[1]) == FALSE) return 1;
    SoSeparator* const root = SoDB::readAll(&input);
    if (root == nullptr) return 1;
    root->ref();
    Found found;
    SoCallbackAction action;
    action.addTriangleCallback(SoShape::getClassTypeId(), AddTriangle, &found);
    action.addLineSegmentCallback(SoShape::getClassTypeId(), AddSegment, &found);
    action.addPointCallback(SoShape::getClassTypeId(), AddPoint, &found);
    action.apply(root);
    root->unref();
    Print(found);
    return 0;
}
