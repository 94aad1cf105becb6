#include "views.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "camera.h"
#include "component.h"
#include "mesh_decimator.h"
#include "offscreen_context.h"
#include "stage.h"

namespace {

using tessera::host::Camera;

// Of the volume's grid at precision 1, for a part whose diagonal in xy is at most 50 units: what its cells must do at
// the least, each surface over a column once, and each triangle once in every row that it spans.
struct GridWork {
    explicit GridWork(const std::vector<float>& soup) {
        float low[2] = {1e30F, 1e30F}, high[2] = {-1e30F, -1e30F};
        for (std::size_t i = 0; i < soup.size(); i += 3)
            for (std::size_t axis = 0; axis < 2; ++axis) {
                low[axis] = std::min(low[axis], soup[i + axis]);
                high[axis] = std::max(high[axis], soup[i + axis]);
            }
        const double cell = 0.00015 * std::hypot(high[0] - low[0], high[1] - low[1]);
        for (std::size_t i = 0; i < soup.size(); i += 9) {
            const float* p = &soup[i];
            const double ax = p[3] - p[0], ay = p[4] - p[1], bx = p[6] - p[0], by = p[7] - p[1];
            crossings += std::abs(ax * by - ay * bx) / 2 / (cell * cell);
            const auto [least, most] = std::minmax({p[1], p[4], p[7]});
            rows += (most - least) / cell + 1;
        }
    }
    double crossings = 0, rows = 0;
};

int BuildPart(Component& scene, const bench::Job& job) {
    auto soup = workload::soup(job.kind, job.n);
    const int part = scene.Part();
    int error = 0;
    AddOneByOne(scene, part, soup);
    scene->EndTriMesh(part, &error);
    return part;
}

// Frames through a framebuffer with depth and stencil.
class Frames {
public:
    Frames(Component& scene, double radius)
        : scene_(scene), camera_(Camera::Placed({0, 0, 3 * radius}, {0, 0, 0}, {0, 1, 0}, {4.0 / 3, false})) {
        context_.CreateFramebuffer(workload::kWidth, workload::kHeight, tessera::host::Smoothing::kNone);
        camera_.Fit({{-radius, -radius, -radius}, {radius, radius, radius}});
        scene_->UseVertexArray(1);
    }
    // level: below 0 for a plain draw.
    std::vector<double> Times(int frames, float level = -1) {
        std::vector<double> times;
        int error = 0;
        for (int i = 0; i <= frames; ++i) {
            tessera::host::PaintBackground({1, 1, 1}, {1, 1, 1});
            tessera::host::LightFromBehind(camera_);
            glFinish();
            const double start = bench::now_ms();
            if (level < 0)
                scene_->Draw(0, 0, &error);
            else
                scene_->DrawLOD(0, 0, level, &error);
            glFinish();
            if (i > 0) times.push_back(bench::now_ms() - start);
        }
        return times;
    }

private:
    Component& scene_;
    tessera::host::OffscreenContext context_{-1};
    Camera camera_;
};

void Caps(const bench::Job& job) {
    Component scene;
    BuildPart(scene, job);
    Frames frames(scene, 1.03);
    float point[3] = {0, 0, 0.05F}, normal[3] = {0.2F, 0.1F, -1};
    int error = 0;
    scene->SwitchCrossSectionPlane(0, 1, &error);
    scene->EnableCrossSection(0, 1, &error);
    scene->SetCrossSectionPlane(0, point, normal, &error);
    job.row("clipped frame", "ms", frames.Times(job.reps), "");
    scene->EnableCrossSectionCapping(0, 1, &error);
    job.row("capped frame", "ms", frames.Times(job.reps), "");
}

void Levels(const bench::Job& job) {
    Component scene;
    BuildPart(scene, job);
    int error = 0;
    auto* const decimator = new tessera::host::MeshDecimator;
    scene->SetDecimator(decimator);
    decimator->Release();
    const double start = bench::now_ms();
    scene->ComputeLODs(0, 2, 0, 0, 0, 0, 0, &error);
    job.row("ComputeLODs", "ms", {bench::now_ms() - start}, "all levels, by meshoptimizer");
    Frames frames(scene, 1.03);
    job.row("full frame", "ms", frames.Times(job.reps), "");
    scene->SetUseDisplayAcc(0, 1, &error);
    float far[3] = {0, 0, 10000}, target[3] = {0, 0, 0};  // for the choice; the picture is as before
    scene->SetCamera(far, target, &error);
    job.row("coarsest frame", "ms", frames.Times(job.reps, 0), "DrawLOD");
}

// What the choice alone costs: the same frames, of next to nothing, with and without it.
void Choice(const bench::Job& job) {
    Component scene;
    auto assembly = workload::assembly(static_cast<int>(job.n));
    assembly.part = workload::soup("sphere", 1000);
    const double radius = Place(scene, assembly);
    int error = 0;
    auto* const decimator = new tessera::host::MeshDecimator;
    scene->SetDecimator(decimator);
    decimator->Release();
    scene->ComputeLODs(0, 2, 0, 0, 0, 0, 0, &error);
    Frames frames(scene, radius);
    scene->SetTransparency(0, 0.001F, &error);  // what is not to be seen is not drawn
    job.row("frame without choice", "ms", frames.Times(job.reps), "");
    scene->SetUseDisplayAcc(0, 1, &error);
    job.row("frame with choice", "ms", frames.Times(job.reps, 0), "DrawLOD");
}

}  // namespace

void Measure(const bench::Job& job) {
    const auto soup = workload::soup(job.kind, job.n);
    const GridWork work(soup);
    int error = 0;
    double volume = 0;
    float projected = 0;
    std::vector<double> volumes, areas, shadows;
    for (int i = 0; i < job.reps; ++i) {
        Component scene;
        BuildPart(scene, job);
        const double start = bench::now_ms();
        scene->GetVolume(0, &volume, &error);
        volumes.push_back(bench::now_ms() - start);
        const double next = bench::now_ms();
        scene->GetProjectedSurfaceXY(0, &projected, &error);
        shadows.push_back(bench::now_ms() - next);
        const double last = bench::now_ms();
        double area = 0;
        scene->GetSurfaceArea(0, &area, &error);
        areas.push_back(bench::now_ms() - last);
    }
    const double bound = (25 * work.crossings + 100 * work.rows) / 1e6;
    job.row("GetVolume", "ms", volumes,
            std::to_string(work.crossings / 1e6) + "M crossings, " + std::to_string(work.rows / 1e6) +
                "M rows of triangles; 25 and 100 ns for these make " + std::to_string(bound) + " ms; volume " +
                std::to_string(volume));
    job.row("GetProjectedSurfaceXY", "ms", shadows, std::to_string(projected));
    job.row("GetSurfaceArea", "ms", areas, "");
}

void View(const bench::Job& job) {
    if (job.kind == "assembly") return Choice(job);
    Caps(job);
    Levels(job);
}
