#include "queries.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "component.h"

namespace {

using tessera::ITessera;

// A window from -1 to 1 around the axis that the rays' eye looks along, 1024 by 768 pixels.
struct Window {
    explicit Window(double distance) : eye{0, 0, static_cast<float>(distance)} {
        const double scale = 1 / std::tan(workload::kFieldOfViewDegrees * 0.5 * workload::kPi / 180);
        screen[0] = scale * workload::kHeight / workload::kWidth;
        screen[5] = scale;
        screen[11] = -1;
        screen[15] = distance;
    }
    float eye[3];
    double screen[16] = {};
    float diagonal = 1280;
};

struct Answer {
    tessera::LONG picked = 0;
    float point[3] = {0, 0, 0}, more[6] = {};
    int node = 0, error = 0;
};

enum class Query { Point, Edge, Instance, Ray, SectionPoint, SectionEdge, Segment, Arc };
constexpr const char* kNames[] = {
    "PickPoint",   "PickEdge", "PickPartInstance", "IntersectRay", "PickCrossSectionPoint", "PickCrossSectionEdge",
    "PickSegment", "PickArc"};

Answer Ask(Component& scene, Query query, Window& w, float view[3]) {
    Answer a;
    const float x = static_cast<float>(-w.screen[0] * view[0] / view[2]),
                y = static_cast<float>(-w.screen[5] * view[1] / view[2]);
    tessera::VARIANT_BOOL hit = 0;
    float* arc = nullptr;
    switch (query) {
        case Query::Point:
            scene->PickPoint(w.eye, w.screen, x, y, w.diagonal, &a.picked, a.point, &a.node, &a.error);
            break;
        case Query::Edge:
            scene->PickEdge(w.eye, view, w.screen, x, y, w.diagonal, &a.picked, a.point, &a.node, &a.error);
            break;
        case Query::Instance:
            scene->PickPartInstance(w.eye, view, w.screen, x, y, w.diagonal, &a.picked, a.point, &a.node, &a.error);
            break;
        case Query::Ray:
            scene->IntersectRay(w.eye, view, &hit, a.point, a.more, &a.node, &a.error);
            a.picked = hit != 0;
            break;
        case Query::SectionPoint:
            scene->PickCrossSectionPoint(w.eye, view, w.screen, x, y, w.diagonal, &a.picked, a.point, &a.node,
                                         &a.error);
            break;
        case Query::SectionEdge:
            scene->PickCrossSectionEdge(w.eye, view, w.screen, x, y, w.diagonal, &a.picked, a.point, &a.node, &a.error);
            break;
        case Query::Segment:
            scene->PickSegment(w.eye, view, w.screen, x, y, w.diagonal, &a.picked, a.point, a.more, a.more + 3, &a.node,
                               &a.error);
            break;
        case Query::Arc:
            scene->PickArc(w.eye, view, w.screen, x, y, w.diagonal, &a.picked, a.point, a.more, &arc, &a.node,
                           &a.error);
            tessera::CoTaskMemFree(arc);
            break;
    }
    return a;
}

// The 32 rays with one kind of pick.
void Series(const bench::Job& job, Component& scene, Query query, double distance) {
    Window window(distance);
    std::vector<double> times;
    double sum = 0;
    int hits = 0;
    for (const auto& ray : workload::pick_rays(32)) {
        float view[3];
        for (int i = 0; i < 3; ++i) view[i] = static_cast<float>(ray.direction[i]);
        const double start = bench::now_ms();
        const Answer a = Ask(scene, query, window, view);
        times.push_back(bench::now_ms() - start);
        if (!a.picked) continue;
        ++hits;
        sum += std::hypot(a.point[0], a.point[1], a.point[2] - distance);
    }
    char note[80];
    std::snprintf(note, sizeof note, "%d of 32 hit; mean distance %.5f", hits, hits ? sum / hits : 0);
    const std::string name = kNames[static_cast<int>(query)];
    job.row(name + ", first", "ms", {times[0]}, note);
    job.row(name + ", warm", "ms", {times.begin() + 1, times.end()}, note);
}

// The same rays, each on a scene of those instances alone whose boxes it meets: what is left when boxes cost nothing.
void SeriesOnTheMet(const bench::Job& job, Component& scene, Query query, const workload::Assembly& all,
                    double distance) {
    Window window(distance);
    std::vector<double> times;
    double met = 0;
    for (const auto& ray : workload::pick_rays(32)) {
        workload::Assembly few{all.part, {}, 0};
        int node = 0, error = 0;
        std::size_t index = 0;
        for (auto status = scene->GetFirstChild(0, &node, &error); status >= 0 && error == 1;
             status = scene->GetNextChild(0, &node, &error), ++index) {
            float low[3], high[3];
            scene->GetBoundBox(node, low, high, &error);
            double from = -1e30, to = 1e30;
            for (int i = 0; i < 3; ++i) {
                const double a = (low[i] - window.eye[i]) / ray.direction[i],
                             b = (high[i] - window.eye[i]) / ray.direction[i];
                from = std::max(from, std::min(a, b));
                to = std::min(to, std::max(a, b));
            }
            if (from <= to) few.placements.push_back(all.placements[index]);
        }
        if (few.placements.empty()) continue;
        met += static_cast<double>(few.placements.size());
        Component alone;
        Place(alone, few);
        float view[3];
        for (int i = 0; i < 3; ++i) view[i] = static_cast<float>(ray.direction[i]);
        Ask(alone, query, window, view);
        const double start = bench::now_ms();
        Ask(alone, query, window, view);
        times.push_back(bench::now_ms() - start);
    }
    job.row(std::string(kNames[static_cast<int>(query)]) + ", the met alone", "ms", times,
            "instances met by a ray " + std::to_string(met / static_cast<double>(times.size())));
}

void CutByCommonPlane(Component& scene) {
    float point[3], normal[3];
    for (int i = 0; i < 3; ++i) {
        point[i] = static_cast<float>(workload::kPlanePoint[i]);
        normal[i] = static_cast<float>(workload::kPlaneNormal[i]);
    }
    int error = 0;
    scene->SetCrossSectionPlane(0, point, normal, &error);
    scene->EnableCrossSection(0, 1, &error);
    scene->SwitchCrossSectionPlane(0, 1, &error);
}

// A wall of so many sides around the z axis, cut across: twice as many segments in one loop.
void TraceWall(const bench::Job& job, int sides) {
    Component scene;
    const int part = scene.Part();
    int error = 0;
    scene->BeginTriMesh(part, &error);
    const auto at = [&](int i, float z) {
        const double angle = 2 * workload::kPi * (i % sides) / sides;
        return workload::Point{static_cast<float>(std::cos(angle)), static_cast<float>(std::sin(angle)), z};
    };
    for (int i = 0; i < sides; ++i) {
        const workload::Point a = at(i, -1), b = at(i + 1, -1), c = at(i + 1, 1), d = at(i, 1);
        for (const auto& corners : {std::array{a, b, c}, std::array{a, c, d}}) {
            float p[9];
            for (int k = 0; k < 9; ++k) p[k] = corners[k / 3][k % 3];
            scene->AddTriangle3P(part, p, &error);
        }
    }
    scene->EndTriMesh(part, &error);
    float point[3] = {0, 0, 0.3f}, normal[3] = {0, 0, 1};
    scene->SetCrossSectionPlane(0, point, normal, &error);
    scene->EnableCrossSection(0, 1, &error);
    scene->SwitchCrossSectionPlane(0, 1, &error);
    Window window(workload::camera_distance(1.0));
    float view[3] = {1, 0, static_cast<float>(0.3 - workload::camera_distance(1.0))};
    std::vector<double> times;
    Answer a;
    for (int i = 0; i < job.reps; ++i) {
        const double start = bench::now_ms();
        a = Ask(scene, Query::Arc, window, view);
        times.push_back(bench::now_ms() - start);
    }
    char note[80];
    std::snprintf(note, sizeof note, "picked %d, centre %.6f %.6f %.6f", static_cast<int>(a.picked), a.more[0],
                  a.more[1], a.more[2]);
    job.row("PickArc on a section of " + std::to_string(2 * sides) + " segments", "ms", times, note);
}

}  // namespace

void Pick(const bench::Job& job) {
    Component scene;
    int error = 0;
    double distance = workload::camera_distance(1.0);
    if (job.kind == "assembly") {
        distance = workload::camera_distance(PlaceAssembly(scene, static_cast<int>(job.n)));
    } else {
        const int part = scene.Part();
        auto soup = workload::soup(job.kind, job.n);
        AddOneByOne(scene, part, soup);
        scene->EndTriMesh(part, &error);
    }
    float eye[3] = {0, 0, static_cast<float>(distance)}, target[3] = {0, 0, 0};
    scene->SetCamera(eye, target, &error);
    for (const Query query : {Query::Ray, Query::Instance, Query::Point, Query::Edge, Query::Segment, Query::Arc})
        Series(job, scene, query, distance);
    if (job.kind != "assembly") return;
    const workload::Assembly all = workload::assembly(static_cast<int>(job.n));
    for (const Query query : {Query::Ray, Query::Instance}) SeriesOnTheMet(job, scene, query, all, distance);
}

void Cut(const bench::Job& job) {
    {
        Component scene;
        const int part = scene.Part();
        auto soup = workload::soup(job.kind, job.n);
        AddOneByOne(scene, part, soup);
        int error = 0;
        scene->EndTriMesh(part, &error);
        CutByCommonPlane(scene);
        float length = 0;
        const auto times = bench::sample(job.reps, [&] { scene->GetCrossSectionLength(0, &length, &error); });
        job.row("section, GetCrossSectionLength", "ms", times, "length " + std::to_string(length));
        for (const Query query : {Query::SectionPoint, Query::SectionEdge})
            Series(job, scene, query, workload::camera_distance(1.0));
    }
    TraceWall(job, 50000);
}
