// A frame that has been drawn before must not ask for memory by the triangle.
#include <cstdlib>
#include <new>

#include "render_fixture.h"

namespace {
long g_allocations = 0;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++g_allocations;
    return std::malloc(size ? size : 1);
}
void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}
// Not inlined, or the compiler sees free() meet a pointer from a new-expression and takes that for a mistake.
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace tessera::test {
namespace {

class Allocation : public RenderTest {
protected:
    long InFrame() {
        scene.Draw();
        const long before = g_allocations;
        scene.Draw();
        return g_allocations - before;
    }
};

TEST_F(Allocation, FramesOfAnySizeAllocateAlike) {
    for (int mode = 0; mode <= 11; ++mode)
        for (const int overlay : {0, 1, 2}) {
            std::vector<long> counts;
            for (const int rings : {8, 64}) {
                const Placed placed = AddColored(Sphere(32, rings), mode);
                scene->UseVertexArray(overlay == 1);
                scene->SetOptionsShadeMode(placed.instance, static_cast<short>(overlay), &error);
                scene->SetVertexVisible(placed.instance, overlay == 2, &error);
                scene->SwitchCrossSectionPlane(placed.instance, overlay == 2, &error);
                counts.push_back(InFrame());
                scene->Remove(placed.instance, &error);
            }
            EXPECT_EQ(counts[0], counts[1]) << "mode " << mode << ", overlay " << overlay;
        }
    const long before = g_allocations;
    AddColored(Sphere(8, 8), 0);
    EXPECT_GT(g_allocations, before);  // the counter counts
}

// A frame that has to make its strips anew grows some arrays, a few dozen times for five thousand triangles.
TEST_F(Allocation, NewStripsDoNotAllocateByTheTriangle) {
    TestMesh cubes;
    for (int i = 0; i < 400; ++i) {
        const Soup cube = Cube(1, {2.0F * static_cast<float>(i), 0, 0}).soup;
        cubes.soup.insert(cubes.soup.end(), cube.begin(), cube.end());
    }
    const Placed placed = AddColored(cubes);
    scene.Draw();
    scene->Scale(placed.instance, 2, 2, 2, &error);
    const long before = g_allocations;
    scene.Draw();
    EXPECT_LT(g_allocations - before, 400);
}

}  // namespace
}  // namespace tessera::test
