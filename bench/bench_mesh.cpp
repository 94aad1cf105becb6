// How the build of a mesh grows with its size where the plain way of looking things up would be quadratic, and what its
// import from a stream costs beside it.
#include <benchmark/benchmark.h>
#include <tessera/tessera.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

constexpr double kPi = 3.14159265358979323846;

using Soup = std::vector<float>;

void AddQuad(Soup& soup, const double corner[4][3]) {
    for (const int i : {0, 1, 2, 0, 2, 3})
        for (int axis = 0; axis < 3; ++axis) soup.push_back(static_cast<float>(corner[i][axis]));
}

// A tube of about n triangles around z: its vertices differ in z alone, all the way along.
Soup Rod(std::size_t n) {
    constexpr int kSides = 20;
    const auto rings = static_cast<int>(n / (2 * kSides));
    Soup soup;
    soup.reserve(9 * n);
    const auto at = [](int side, int ring, double* out) {
        const double a = 2 * kPi * (side % kSides) / kSides;
        out[0] = std::cos(a), out[1] = std::sin(a), out[2] = ring * 0.01;
    };
    for (int r = 0; r < rings; ++r)
        for (int s = 0; s < kSides; ++s) {
            double q[4][3];
            at(s, r, q[0]), at(s + 1, r, q[1]), at(s + 1, r + 1, q[2]), at(s, r + 1, q[3]);
            AddQuad(soup, q);
        }
    return soup;
}

// A torus of about n triangles: its normals fill the sphere of directions, a thousand to a cell and more.
Soup Torus(std::size_t n) {
    const int around = static_cast<int>(std::sqrt(static_cast<double>(n) / 2)),
              across = static_cast<int>(n / 2) / around;
    Soup soup;
    soup.reserve(9 * n);
    const auto at = [&](int i, int j, double* out) {
        const double u = 2 * kPi * (i % around) / around, v = 2 * kPi * (j % across) / across;
        out[0] = (2 + std::cos(v)) * std::cos(u), out[1] = (2 + std::cos(v)) * std::sin(u), out[2] = std::sin(v);
    };
    for (int i = 0; i < around; ++i)
        for (int j = 0; j < across; ++j) {
            double q[4][3];
            at(i, j, q[0]), at(i + 1, j, q[1]), at(i + 1, j + 1, q[2]), at(i, j + 1, q[3]);
            AddQuad(soup, q);
        }
    return soup;
}

template <class Value>
void Put(std::vector<unsigned char>& stream, Value value) {
    stream.resize(stream.size() + sizeof value);
    std::memcpy(stream.data() + stream.size() - sizeof value, &value, sizeof value);
}

// The same torus as a version 719 stream: a block of normals, and a part.
struct TorusStream {
    explicit TorusStream(std::size_t n) {
        const auto around = static_cast<std::uint32_t>(std::sqrt(static_cast<double>(n) / 2)),
                   across = static_cast<std::uint32_t>(n / 2) / around;
        Put(normals, around * across);
        part.push_back(3);
        for (int channel = 0; channel < 6; ++channel) Put(part, 0.5f);
        Put(part, around * across);
        for (std::uint32_t i = 0; i < around; ++i)
            for (std::uint32_t j = 0; j < across; ++j) {
                const double u = 2 * kPi * i / around, v = 2 * kPi * j / across;
                for (const double x : {std::cos(v) * std::cos(u), std::cos(v) * std::sin(u), std::sin(v)})
                    Put(normals, static_cast<float>(x));
                for (const double x : {(2 + std::cos(v)) * std::cos(u), (2 + std::cos(v)) * std::sin(u), std::sin(v)})
                    Put(part, static_cast<float>(x));
            }
        part.push_back(15);
        triangles = 2 * around * across;
        Put(part, triangles);
        for (std::uint32_t i = 0; i < around; ++i)
            for (std::uint32_t j = 0; j < across; ++j) {
                const std::uint32_t next = (i + 1) % around, up = (j + 1) % across;
                const std::uint32_t q[4] = {i * across + j, next * across + j, next * across + up, i * across + up};
                for (const int half : {0, 1})
                    for (int copy = 0; copy < 2; ++copy)  // normals, then vertices
                        for (const std::uint32_t index : {q[0], q[1 + half], q[2 + half]}) Put(part, index);
            }
        part.push_back(17);
    }
    std::vector<unsigned char> normals, part;
    std::uint32_t triangles = 0;
};

struct Scene {
    Scene() {
        int error = 0;
        if (tessera::CreateTessera(&component) < 0) std::abort();
        component->CreatePart(&part);
        component->CreatePartInstance(&instance);
        component->SetPart(instance, part, &error);
        component->SetParent(instance, 0, &error);
    }
    ~Scene() { component->Release(); }
    void Build(Soup& soup) {
        int error = 0;
        component->BeginTriMesh(part, &error);
        for (std::size_t t = 0; t + 8 < soup.size(); t += 9) component->AddTriangle3P(part, &soup[t], &error);
        component->EndTriMesh(part, &error);
    }
    tessera::ITessera* component = nullptr;
    int part = 0, instance = 0;
};

void Report(benchmark::State& state, std::size_t triangles) {
    state.counters["ns/triangle"] = benchmark::Counter(
        static_cast<double>(triangles), benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void BuildOf(benchmark::State& state, Soup soup) {
    for (auto _ : state) {
        Scene scene;
        scene.Build(soup);
    }
    Report(state, soup.size() / 9);
}

void BuildTorus(benchmark::State& state) { BuildOf(state, Torus(static_cast<std::size_t>(state.range(0)))); }
void BuildRod(benchmark::State& state) { BuildOf(state, Rod(static_cast<std::size_t>(state.range(0)))); }

void ImportTorus(benchmark::State& state) {
    TorusStream stream(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        Scene scene;
        int error = 0;
        unsigned char *normals = stream.normals.data(), *part = stream.part.data();
        scene.component->SetTDGImportVer(719);
        scene.component->ImportTriNormals(&normals, &error);
        scene.component->Import3DGPartElements(scene.part, &part, &error);
        if (part != stream.part.data() + stream.part.size()) state.SkipWithError("not read to its end");
    }
    Report(state, stream.triangles);
}

void SetTolerance(benchmark::State& state, Soup& soup, float tolerance) {
    for (auto _ : state) {
        state.PauseTiming();
        Scene scene;
        scene.Build(soup);
        state.ResumeTiming();
        int error = 0;
        scene.component->SetPointTolerance(scene.instance, tolerance, &error);
    }
    Report(state, soup.size() / 9);
}

// A larger tolerance on a finished mesh: some vertices merge, most do not.
void WidenTolerance(benchmark::State& state) {
    Soup soup = Torus(static_cast<std::size_t>(state.range(0)));
    const float edge = static_cast<float>(2 * kPi / std::sqrt(static_cast<double>(state.range(0)) / 2));
    SetTolerance(state, soup, 0.6f * edge);
}

// Loose triangles in a unit cube, and a tolerance that swallows many vertices into one: thousandths of the cube.
void SwallowVertices(benchmark::State& state) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> place(0, 1), beside(-0.5F, 0.5F);
    Soup soup;
    for (std::int64_t t = 0; t < state.range(0); ++t) {
        const float middle[3] = {place(random), place(random), place(random)};
        for (std::size_t k = 0; k < 9; ++k) soup.push_back(middle[k % 3] + beside(random));
    }
    SetTolerance(state, soup, static_cast<float>(state.range(1)) / 1000);
}

}  // namespace

BENCHMARK(BuildTorus)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(ImportTorus)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BuildRod)->Arg(10000)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(WidenTolerance)->Arg(40000)->Arg(400000)->Unit(benchmark::kMillisecond);
BENCHMARK(SwallowVertices)->Args({200000, 5})->Args({200000, 50})->Args({50000, 300})->Unit(benchmark::kMillisecond);
