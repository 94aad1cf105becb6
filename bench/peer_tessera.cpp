// Tessera on the common work of the peers' programs: PROGRAM WORK KIND COUNT [REPETITIONS]. Prints rows in the
// format of the folder that workload.h comes from.
#include <GL/gl.h>
#include <tessera/tessera.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench.h"
#include "component.h"
#include "exchange.h"
#include "glx_offscreen.h"
#include "queries.h"
#include "views.h"
#include "workload.h"

namespace {

// The soup as AddTriangles3P3N takes it.
struct Bulk {
    explicit Bulk(const std::vector<float>& soup) : points(soup.begin(), soup.end()), indices(soup.size() / 3) {
        for (std::size_t i = 0; i < indices.size(); ++i) indices[i] = static_cast<tessera::ULONG>(i);
    }
    std::vector<double> points;
    std::vector<tessera::ULONG> indices;
};

void AddInBulk(Component& scene, int part, Bulk& bulk) {
    int error = 0;
    scene->BeginTriMesh(part, &error);
    scene->AddTriangles3P3N(part, bulk.points.data(), static_cast<tessera::ULONG>(bulk.points.size()),
                            bulk.indices.data(), nullptr, 0, nullptr, nullptr, 0, nullptr,
                            static_cast<tessera::ULONG>(bulk.indices.size() / 3), 0, &error);
}

void Build(const bench::Job& job) {
    auto soup = workload::soup(job.kind, job.n);
    Bulk bulk(soup);
    bench::Laps single(2), inBulk(2);
    for (int i = 0; i < job.reps; ++i) {
        int error = 0;
        for (bench::Laps* laps : {&single, &inBulk}) {
            Component scene;
            const int part = scene.Part();
            laps->start();
            if (laps == &single)
                AddOneByOne(scene, part, soup);
            else
                AddInBulk(scene, part, bulk);
            laps->lap(0);
            scene->EndTriMesh(part, &error);
            laps->lap(1);
        }
    }
    const std::string covers = "weld, links, orientation, 40 degree normals, hard and open edges, strips";
    job.row("add", "ms", single[0], "AddTriangle3P");
    job.row("end", "ms", single[1], "EndTriMesh");
    job.row("total", "ms", single.total(), covers);
    job.row("total, bulk", "ms", inBulk.total(), covers + "; one AddTriangles3P3N");
}

void Perspective(double radius) {
    const double d = workload::camera_distance(radius), near = d - 1.1 * radius, far = d + 1.1 * radius;
    const double top = near * std::tan(workload::kFieldOfViewDegrees * 0.5 * workload::kPi / 180);
    const double right = top * workload::kWidth / workload::kHeight;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glFrustum(-right, right, -top, top, near, far);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    const GLfloat headlight[4] = {0, 0, 1, 0};
    glLightfv(GL_LIGHT0, GL_POSITION, headlight);
    glEnable(GL_LIGHTING);
    glEnable(GL_LIGHT0);
    glEnable(GL_DEPTH_TEST);
    glDisable(GL_CULL_FACE);
}

void Turn(double radius, int degrees) {
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslated(0, 0, -workload::camera_distance(radius));
    glRotated(degrees, 0, 1, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
}

void Frames(const bench::Job& job, Component& scene, const std::string& name, double radius) {
    std::vector<double> times;
    int error = 0;
    for (int frame = 0; frame < job.reps + 1; ++frame) {
        const double start = bench::now_ms();
        Turn(radius, frame);
        scene->Draw(0, 0, &error);
        glFinish();
        times.push_back(bench::now_ms() - start);
    }
    Turn(radius, 0);
    scene->Draw(0, 0, &error);
    const std::string note = std::to_string(drawn_pixels_of_context("tessera " + name)) + " pixels lit";
    job.row(name + ", first", "ms", {times[0]}, note);
    job.row(name + ", steady", "ms", {times.begin() + 1, times.end()}, note);
}

// The component's strips: each mode in a process of its own would be fairer to the first frame, so the arrays,
// which a host would choose, go first.
void DrawModes(const bench::Job& job, Component& scene, double radius) {
    Perspective(radius);
    scene->UseVertexArray(1);
    Frames(job, scene, "Draw, vertex arrays", radius);
    scene->UseVertexArray(0);
    Frames(job, scene, "Draw, immediate", radius);
}

void Draw(const bench::Job& job) {
    const GlxOffscreen screen;
    Component scene;
    int error = 0;
    if (job.kind != "assembly") {
        const int part = scene.Part();
        auto soup = workload::soup(job.kind, job.n);
        AddOneByOne(scene, part, soup);
        scene->EndTriMesh(part, &error);
        return DrawModes(job, scene, 1.03);
    }
    DrawModes(job, scene, PlaceAssembly(scene, static_cast<int>(job.n)));
}

void Memory(const bench::Job& job) {
    const GlxOffscreen screen;
    Perspective(1.03);
    Turn(1.03, 0);
    {  // the driver's working memory is not charged to the model
        const auto soup = workload::soup(job.kind, job.n);
        glInterleavedArrays(GL_V3F, 0, soup.data());
        glDrawArrays(GL_TRIANGLES, 0, static_cast<GLsizei>(soup.size() / 3));
        glFinish();
        glDisableClientState(GL_VERTEX_ARRAY);
    }
    const double before = bench::resident_bytes();
    Component scene;
    const int part = scene.Part();
    double triangles = 0;
    int error = 0;
    {
        auto soup = workload::soup(job.kind, job.n);
        triangles = static_cast<double>(soup.size()) / 9;
        AddOneByOne(scene, part, soup);
        scene->EndTriMesh(part, &error);
    }
    job.row("built", "bytes/triangle", {(bench::resident_bytes() - before) / triangles},
            "links, normals, edges, strips");
    scene->UseVertexArray(1);
    Turn(1.03, 0);
    scene->Draw(0, 0, &error);
    glFinish();
    job.row("built and drawn", "bytes/triangle", {(bench::resident_bytes() - before) / triangles}, "");
    job.row("whole process", "MB", {bench::resident_bytes() / 1e6}, "driver included");
}

}  // namespace

int main(int argc, char** argv) {
    const bench::Job job(argc, argv, "tessera");
    if (job.work == "W1") return Build(job), 0;
    if (job.work == "W2") return Draw(job), 0;
    if (job.work == "W3") return Pick(job), 0;
    if (job.work == "W4") return Cut(job), 0;
    if (job.work == "W5") return Write(job), 0;
    if (job.work == "measures") return Measure(job), 0;
    if (job.work == "views") return View(job), 0;
    if (job.work == "W7") return Memory(job), 0;
    return job.unsupported();
}
