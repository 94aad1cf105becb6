// Levels of detail: made by the host's decimator, chosen by size, distance and the acceleration that the host spends.
#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "geometry/trimesh.h"
#include "platform/task_block.h"
#include "render/draw_state.h"
#include "render/element_state.h"
#include "scene/part.h"
#include "tessera/idecimator.h"

namespace tessera {
namespace {

constexpr double kShares[] = {0.08, 0.02};  // of a mesh's triangles, at each level
constexpr int kSmallestMesh = 10;           // triangles that are not worth reducing
constexpr float kSameColor = 0.0001f;

// Accelerations that ask for one thing.
constexpr float kFullDetail = -1, kCoarsest = -2, kNoFullDetail = 220;
constexpr float kPresetWidth = 1e-5f;
// Distances, in diagonals of a part, that the cut-offs between the levels share out.
constexpr float kSpan = 90;
constexpr float kLeastCutOff = 1.5f;
// A part so many times smaller than the scene may end as a dot.
constexpr float kDotRatio = 4.5f;

Vec3 MiddleOf(const BBox& box) {
    return {static_cast<float>(box.CenterX()), static_cast<float>(box.CenterY()), static_cast<float>(box.CenterZ())};
}

bool IsPreset(float value, float preset) { return std::fabs(value - preset) <= kPresetWidth; }

// The meshes of a part that have one colour, as one.
struct ColorGroup {
    float color[4];
    std::unique_ptr<CTriMesh> mesh;
};

// Copies what a decimator has made, as far as its two blocks reach.
MeshBlock BlockOf(const ColorGroup& group, const float* data, const int* lengths) {
    MeshBlock block;
    std::copy_n(group.color, 4, block.color);
    const std::size_t vertices = TaskBlockSize(data) / (6 * sizeof(float));
    const std::size_t entries = lengths ? TaskBlockSize(lengths) / sizeof(int) : 0;
    std::size_t used = 0;
    for (std::size_t i = 0; i < entries && lengths[i] > 0; ++i) {
        if (static_cast<std::size_t>(lengths[i]) > vertices - used) break;
        used += static_cast<std::size_t>(lengths[i]);
        block.strips.push_back(lengths[i]);
    }
    block.strips.push_back(0);
    block.vertices.assign(data, data + 6 * used);
    return block;
}

void DrawBlock(const MeshBlock& block, int pass) {
    // A block that is not opaque is drawn in every pass, and not blended.
    if (block.color[3] >= kOpaqueAlpha && pass == 1) return;
    gReducedDrawn = true;
    constexpr float kWhite[4] = {1, 1, 1, 1};
    float diffuse[4], ambient[4];
    for (int i = 0; i < 3; ++i) {
        diffuse[i] = block.color[i] * 0.6666667f;
        ambient[i] = block.color[i] * 0.33333334f;
    }
    diffuse[3] = ambient[3] = block.color[3];
    gTold.materials = nullptr;
    for (const GLenum face : {GL_FRONT, GL_BACK}) {
        glMaterialfv(face, GL_DIFFUSE, diffuse);
        glMaterialfv(face, GL_AMBIENT, ambient);
        glMaterialfv(face, GL_SPECULAR, kWhite);
        glMaterialf(face, GL_SHININESS, 40);
    }
    glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
    if (block.useVertexArray && !block.vertices.empty()) {
        gTold.arrays = nullptr;
        glInterleavedArrays(GL_N3F_V3F, 0, block.vertices.data());
        GLint first = 0;
        for (const int length : block.strips) {
            if (length <= 0) return;
            glDrawArrays(GL_TRIANGLE_STRIP, first, length);
            first += length;
        }
        return;
    }
    const float* v = block.vertices.data();
    for (const int length : block.strips) {
        if (length <= 0) return;
        glBegin(GL_TRIANGLE_STRIP);
        for (const float* end = v + 6 * static_cast<std::size_t>(length); v < end; v += 6) {
            glNormal3f(v[0], v[1], v[2]);
            glVertex3f(v[3], v[4], v[5]);
        }
        glEnd();
    }
}

void DrawGroup(const LodGroup& group, int pass) {
    for (const MeshBlock& block : group.blocks) DrawBlock(block, pass);
    gReducedDrawn = true;
}

// The distances from which on a finer level gives way, shrunk where the acceleration is spent.
void FindCutOffs(std::size_t count, float span, float acceleration, std::vector<float>& table) {
    const float step = span / static_cast<float>(count);
    table.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        table[i] = i == 0 ? 0.5f * step : i == 1 ? 2.5f * step : table[i - 1] + step;
    table.back() += 1.5f * step;
    for (std::size_t i = 0; i < count && acceleration > 0.001f; ++i) {
        const float least = static_cast<float>(i) + kLeastCutOff;
        if (acceleration <= table[i]) {
            table[i] -= acceleration;
            if (table[i] < kLeastCutOff) table[i] = least;
            acceleration = 0;
        } else {
            acceleration -= table[i];
            table[i] = least;
        }
    }
}

}  // namespace

void CPart::ComputePartLods(IDecimator* decimator) {
    if (!decimator || lodsComputed) return;
    std::vector<ColorGroup> groups;
    for (const auto& element : elements_) {
        if (element->GetKind() != 0) continue;
        const Color& c = element->externalColor;
        const float color[4] = {c.red, c.green, c.blue, element->alpha};
        auto group = std::find_if(groups.begin(), groups.end(), [&](const ColorGroup& g) {
            return std::equal(color, color + 4, g.color,
                              [](float a, float b) { return std::fabs(a - b) < kSameColor; });
        });
        if (group == groups.end()) {
            groups.push_back({{color[0], color[1], color[2], color[3]}, std::make_unique<CTriMesh>(triNormals_)});
            group = groups.end() - 1;
            group->mesh->BeginBuild();
        }
        element->AppendTrianglesTo(*group->mesh);
    }
    for (const ColorGroup& group : groups) group.mesh->EndBuild();
    lodGroups.clear();
    for (const double share : kShares) {
        LodGroup level;
        for (const ColorGroup& group : groups) {
            float* points = nullptr;
            int *indices = nullptr, pointFloats = 0, indexCount = 0;
            group.mesh->GetArrays(&points, &pointFloats, &indices, &indexCount);
            decimator->SetMesh(points, pointFloats, indices, indexCount);
            const int triangles = group.mesh->TriangleCount();
            if (triangles > kSmallestMesh) {
                float* data = nullptr;
                int* lengths = nullptr;
                decimator->Decimate(static_cast<int>(std::floor(triangles * share)), &data, &lengths);
                if (data) {  // else nothing was made
                    level.blocks.push_back(BlockOf(group, data, lengths));
                    CoTaskMemFree(data);
                    CoTaskMemFree(lengths);
                }
            }
            decimator->Finish();
        }
        if (!level.blocks.empty()) lodGroups.push_back(std::move(level));
    }
    lodsComputed = true;
    g_lodsPresent = !lodGroups.empty();
}

bool CPart::IsReduced() const { return useDisplayAcc && !lodGroups.empty(); }

void CPart::DrawLevels(const CMatrix& matrix, int kind, int pass, const BBox& instanceBox) {
    const bool clipped = crossSectionEnabled != 0 && sectionPlaneOn != 0;
    if (clipped) EnableClipPlane(LocalPlaneThrough(sectionPoint, sectionNormal, matrix));
    const int level = ChooseLevel(instanceBox);
    if (level == 0) {
        for (const auto& element : elements_) element->Draw(matrix, kind, pass);
    } else if (level > 0) {
        DrawGroup(lodGroups[std::min(static_cast<std::size_t>(level), lodGroups.size()) - 1], pass);
    } else {
        const Vec3 c = MiddleOf(instanceBox);  // the numbers of the world, though the part's own frame is in force
        glPointSize(1.0f);
        glBegin(GL_POINTS);
        glVertex3f(c.x, c.y, c.z);
        glEnd();
        gReducedDrawn = true;
    }
    if (clipped) glDisable(GL_CLIP_PLANE0);
}

// 0 for full detail, else the number of a level from the finest on; -1 for a dot.
int CPart::ChooseLevel(const BBox& instanceBox) {
    const int last = static_cast<int>(lodGroups.size());
    if (IsPreset(displayAccuracy, kFullDetail)) return 0;
    if (IsPreset(displayAccuracy, kCoarsest)) return last;
    const bool noFull = IsPreset(displayAccuracy, kNoFullDetail);
    const float inverse = static_cast<float>(1 / instanceBox.Diagonal());
    const float distance = static_cast<float>(Length(MiddleOf(instanceBox) - cameraPoint) * inverse * zoomFactor);
    float span = kSpan;
    if (displayAccuracy < 0) {
        span -= displayAccuracy;
        displayAccuracy = 0;
    }
    FindCutOffs(lodGroups.size() + 1, span, displayAccuracy, cutOffs_);
    for (std::size_t i = 0; i < cutOffs_.size(); ++i)
        if (distance < cutOffs_[i]) return i == 0 && noFull ? 1 : static_cast<int>(i);
    const float ratio = static_cast<float>((sceneBox ? sceneBox->Diagonal() : 0) * inverse);
    return ratio < kDotRatio ? last : -1;
}

}  // namespace tessera
