#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "gl_context.h"
#include "scene.h"

namespace tessera::test {

using Texts = std::vector<std::string>;
using Color = std::array<float, 4>;
inline constexpr Color kEdge = {0.1F, 0.8F, 0.1F, 1}, kBorder = {0.8F, 0.1F, 0.8F, 1}, kRed = {1, 0, 0, 1};
inline constexpr Color kExternal = {0.9F, 0.6F, 0.3F, 1}, kBlack = {0, 0, 0, 1}, kWhite = {1, 1, 1, 1};

// One end of a line or one point, where it lands after the modelview matrix, with the colour it got.
struct Spot {
    std::array<double, 3> at;
    Color color;
};

struct Segment {
    Spot a, b;
};

// What a test sees of the calls that reach the recording OpenGL. The calls always change the context's state; they
// are kept only while a Recording lives. One Recording at a time.
class Recording {
public:
    Recording();
    ~Recording() { TheLog().logging = false; }
    Recording(const Recording&) = delete;
    Recording& operator=(const Recording&) = delete;

    const std::vector<Call>& Calls() const { return TheLog().calls; }
    const std::vector<Primitive>& Primitives() const { return TheLog().primitives; }
    std::vector<Primitive> PrimitivesOf(GLenum mode) const;
    std::vector<Spot> Spots(GLenum mode) const;  // all vertices of the primitives of this mode
    std::vector<Spot> Points() const { return Spots(GL_POINTS); }
    std::vector<Segment> Segments() const;  // of all GL_LINES

    // A call is named by its text, "glEnable GL_BLEND", or by the leading words of it, "glEnable".
    int Count(std::string_view text) const;
    int Index(std::string_view text, int from = 0) const;  // -1 if there is none at or after `from`

    // What a part sends each time that it is drawn: all between its glFrontFace and its node's glPopMatrix, in short:
    // "Disable BLEND; LINES; ". A glBegin..glEnd pair, or a draw from arrays, becomes the name of its primitive, a run
    // of material calls "materials"; equal neighbours are told once.
    Texts Bodies() const;

    // Faults that a driver forgives or hides: state calls between glBegin and glEnd, unbalanced stacks, draws
    // without an array, parts of primitives.
    Texts Violations() const;
    // Names of all state that is not as it was at the start, capabilities by their constant.
    Texts Changed() const;

private:
    Context start_;
};

// What one draw call sends, which has to be without a fault.
class Drawing : public Recording {
public:
    explicit Drawing(const Scene& scene, int node = 0, int kind = 0, bool exploded = false) {
        int error = 0;
        exploded ? scene->DrawExplode(node, kind, &error) : scene->Draw(node, kind, &error);
        EXPECT_EQ(error, 1);
    }
    ~Drawing() { EXPECT_EQ(Violations(), Texts{}); }
};

class RenderTest : public ::testing::Test {
protected:
    RenderTest() { ResetContext(); }
    ~RenderTest() override { scene->ForceHiddenLineDrawing(VARIANT_FALSE, &error); }

    // A mesh in colours that are all different, external 0.9 0.6 0.3, and without a reflection image.
    Placed AddColored(const TestMesh& mesh, int mode = 1, int parent = 0) {
        const Placed placed = scene.AddMesh(mesh, parent);
        const int node = placed.instance;
        scene.SetExternalColor(node, 0.9F, 0.6F, 0.3F), scene->SetInternalColor(node, 0.2F, 0.4F, 0.6F, &error);
        scene->SetEdgeColor(node, 0.1F, 0.8F, 0.1F, &error), scene->SetBorderColor(node, 0.8F, 0.1F, 0.8F, &error);
        scene->SetBackgroundColor(node, 0.3F, 0.5F, 0.7F, &error);
        scene.SetTransparency(node, 1), scene.SetShadeMode(node, mode);
        scene->SetEnvtexture(node, nullptr, &error);  // no picture, or the first draw would make it
        return placed;
    }
    void Overlay(int node, int options, bool vertices) {
        scene->SetOptionsShadeMode(node, static_cast<short>(options), &error);
        scene->SetVertexVisible(node, vertices, &error);
    }
    void Cut(int node, bool enabled, bool clip) {
        scene->EnableCrossSection(node, enabled, &error);
        scene->SwitchCrossSectionPlane(node, clip, &error);
    }

    Scene scene;
    int error = 0;
};

}  // namespace tessera::test
