#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "gl_recorder.h"
#include "scene.h"

namespace tessera::test {

using Texts = std::vector<std::string>;

class RenderTest : public ::testing::Test {
protected:
    RenderTest() { ResetContext(); }
    ~RenderTest() override { scene->ForceHiddenLineDrawing(VARIANT_FALSE, &error); }

    // A mesh in colours that are all different, external 0.9 0.6 0.3, and without a reflection image.
    Placed AddColored(const TestMesh& mesh, int mode = 1, int parent = 0);

    // What a part sends each time that it is drawn: all between its glFrontFace and its node's glPopMatrix.
    // In short: "Disable BLEND; LINES; ".
    static Texts Bodies(const Recording& recording);
    Texts DrawnBodies(int node = 0, int kind = 0) {
        Recording recording;
        scene.Draw(node, kind);
        return Bodies(recording);
    }
    std::vector<Segment> DrawnSegments() {
        Recording recording;
        scene.Draw();
        return recording.Segments();
    }

    Scene scene;
    int error = 0;
};

using Color = std::array<float, 4>;
inline constexpr Color kExternal = {0.9F, 0.6F, 0.3F, 1}, kInternal = {0.2F, 0.4F, 0.6F, 1};
inline constexpr Color kEdge = {0.1F, 0.8F, 0.1F, 1}, kBorder = {0.8F, 0.1F, 0.8F, 1};
inline constexpr Color kBlack = {0, 0, 0, 1}, kWhite = {1, 1, 1, 1}, kRed = {1, 0, 0, 1}, kYellow = {1, 1, 0, 1};

inline Placed RenderTest::AddColored(const TestMesh& mesh, int mode, int parent) {
    const Placed placed = scene.AddMesh(mesh, parent);
    const int node = placed.instance;
    scene.SetExternalColor(node, 0.9F, 0.6F, 0.3F);
    scene->SetInternalColor(node, 0.2F, 0.4F, 0.6F, &error);
    scene->SetEdgeColor(node, 0.1F, 0.8F, 0.1F, &error);
    scene->SetBorderColor(node, 0.8F, 0.1F, 0.8F, &error);
    scene->SetBackgroundColor(node, 0.3F, 0.5F, 0.7F, &error);
    scene.SetTransparency(node, 1);
    scene.SetShadeMode(node, mode);
    scene->SetEnvtexture(node, nullptr, &error);  // no picture, or the first draw would make it
    return placed;
}

inline Texts RenderTest::Bodies(const Recording& recording) {
    Texts bodies;
    for (int from = recording.Index("glFrontFace"); from >= 0; from = recording.Index("glFrontFace", from + 1)) {
        const int to = recording.Index("glPopMatrix", from);
        if (to < 0) continue;
        bodies.emplace_back();
        for (const std::string& text : recording.Sequence(from + 1, to)) bodies.back() += text + "; ";
        for (const std::string prefix : {"gl", "GL_"})
            for (std::size_t at; (at = bodies.back().find(prefix)) != std::string::npos;)
                bodies.back().erase(at, prefix.size());
    }
    return bodies;
}

}  // namespace tessera::test
