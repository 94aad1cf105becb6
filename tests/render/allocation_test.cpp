// What asks for memory: not a frame, by the triangle; and what happens to a host whose memory is at an end.
#include <atomic>
#include <cstdlib>
#include <new>
#include <set>

#include "render_fixture.h"

namespace {

std::atomic<long> g_allocations = 0, g_held = 0;
long g_failAt = -1;  // the count of the allocation that fails, and of all after it until this is taken back

void Free(void* memory) {
    g_held -= memory != nullptr ? 1 : 0;
    std::free(memory);
}

}  // namespace

// None is inlined, or the compiler sees free() meet a pointer from a new-expression and takes that for a mistake.
[[gnu::noinline]] void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    if (++g_allocations >= g_failAt && g_failAt >= 0) return nullptr;
    ++g_held;
    return std::malloc(size ? size : 1);
}
[[gnu::noinline]] void* operator new(std::size_t size) {
    if (void* memory = operator new(size, std::nothrow)) return memory;
    throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { Free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
[[gnu::noinline]] void operator delete(void* memory, const std::nothrow_t&) noexcept { Free(memory); }

namespace tessera::test {
namespace {

class Allocation : public RenderTest {
protected:
    long InFrame() {
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
                Overlay(placed.instance, overlay, overlay == 2);
                Cut(placed.instance, true, overlay == 2);
                scene.Draw();
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
    EXPECT_LT(InFrame(), 400);
}

// Whatever a small host does: it builds, imports, names, draws, picks and writes.
class SmallHost {
public:
    SmallHost() {
        const auto put = [](std::string& to, auto... values) {
            (to.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
        };
        put(stream_, '\3', 1.F, 0.F, 0.F, 0.F, 1.F, 0.F, 3, 0.F, 0.F, 0.F, 1.F, 0.F, 0.F, 0.F, 1.F, 0.F);
        put(stream_, '\17', 1, 0, 0, 0, 0, 1, 2);
        put(stream_, '\7', 1.F, 1.F, 1.F, 2, 0.F, 0.F, 0.F, '\0', 1.F, 1.F, 1.F, '\0', '\21');
        put(normals_, 1, 0.F, 0.F, 1.F);
    }
    bool making = false;  // it is where a host is told by ComError
    void Run(ITessera& host) {
        making = true;
        int frame = 0, part = 0, instance = 0;
        host.CreateAssembly(&frame), host.CreatePart(&part), host.CreatePartInstance(&instance);
        host.SetParent(frame, 0, &error_), host.SetNodeName(frame, name_, &error_);
        host.SetPart(instance, part, &error_), host.SetParent(instance, frame, &error_);
        host.SetPartName(part, name_, &error_), host.SetPropertyString(instance, name_, &error_);
        host.SetUserName(0, name_, &error_), host.SetEnvtexture(instance, name_, &error_);
        host.CreatePart(&part), host.SetPart(instance, part, &error_), host.SetPartName(part, name_, &error_);
        host.CreateAssembly(&frame), host.SetNodeName(frame, name_, &error_), host.SetParent(frame, 0, &error_);
        host.SetParent(instance, 0, &error_), host.SetNodeName(instance, name_, &error_);
        host.BeginTriMesh(part, &error_);
        for (std::size_t i = 0; i < cube_.size(); i += 9) host.AddTriangle3P(part, &cube_[i], &error_);
        host.EndTriMesh(part, &error_);
        host.BeginPolyLine(part, &error_);
        for (std::size_t i = 0; i < 9; i += 3) host.AddPolyLinePoint(part, &cube_[i], &error_);
        host.EndPolyLine(part, &error_);
        host.BeginPointSet(part, &error_), host.AddPointSetPoint(part, cube_.data(), &error_);
        host.EndPointSet(part, &error_);
        auto *normals = reinterpret_cast<unsigned char*>(normals_.data()),
             *stream = reinterpret_cast<unsigned char*>(stream_.data());
        host.SetTDGImportVer(719);
        host.ImportTriNormals(&normals, &error_), host.Import3DGPartElements(part, &stream, &error_);
        host.WriteTDPM(nowhere_, &error_), host.SaveCrossSection(nowhere_, &error_);
        host.WriteVRML(nowhere_), host.WriteVRML_2(nowhere_);
        host.ExportU3D(nowhere_, nullptr, 0, VARIANT_TRUE);
        making = false;
        double volume = 0;
        host.SetVolumePrecision(0, 0.01F, &error_), host.GetVolume(0, &volume, &error_);
        host.SwitchCrossSectionPlane(0, 1, &error_), host.SetThresholdAngle(0, 10, &error_);
        host.Draw(0, 0, &error_), host.Scale(instance, 1, 1, 1, &error_);
        host.SetPointTolerance(instance, 0.001F * static_cast<float>(++runs_), &error_);
    }
    ~SmallHost() { SysFreeString(name_), SysFreeString(nowhere_); }

private:
    std::string stream_, normals_;
    Soup cube_ = Cube().soup;
    BSTR name_ = SysAllocString(u"a name that is too long for a short string"), nowhere_ = SysAllocString(u"/dev/null");
    int error_ = 0, runs_ = 0;
};

// Every node is known by its id and has a name of its own.
void ExpectKnown(ITessera& host, int assembly) {
    std::set<std::u16string> names;
    std::vector<int> nodes;
    int node = 0, kind = 0, error = 0;
    for (host.GetFirstChild(assembly, &node, &error); error == 1; host.GetNextChild(assembly, &node, &error))
        nodes.push_back(node);
    for (const int child : nodes) {
        BSTR name = nullptr;
        host.GetNodeName(child, &name, &error);
        EXPECT_TRUE(error == 1 && names.emplace(name, SysStringLen(name)).second) << child;
        SysFreeString(name);
        host.GetNodeType(child, &kind, &error);
        if (kind == 0) ExpectKnown(host, child);
    }
}

TEST_F(Allocation, EachThatFailsIsTold) {
    SmallHost small;
    small.Run(*Scene().operator->());  // what is made once in a process
    bool failed = true;
    int told = 0;
    for (long n = 1; failed; ++n) {
        failed = false;
        const long held = g_held;
        ITessera* host = nullptr;
        ASSERT_EQ(CreateTessera(&host), STATUS_OK);
        g_failAt = g_allocations + n;
        try {
            small.Run(*host);
            failed = g_allocations >= g_failAt;  // and was taken for an answer
        } catch (const std::bad_alloc& thrown) {
            g_failAt = -1;
            failed = true;
            EXPECT_EQ(dynamic_cast<const ComError*>(&thrown) != nullptr, small.making) << n;
            ++told;
        }
        g_failAt = -1;
        // Nothing is broken for what follows.
        ExpectKnown(*host, 0);
        small.Run(*host);
        ExpectKnown(*host, 0);
        double area = 0;
        int instances = 0;
        host->GetNumberOfPartInstance(0, &instances, &error);
        host->GetSurfaceArea(0, &area, &error);
        EXPECT_GE(area, 24.49) << n;
        EXPECT_GE(instances, 1) << n;
        host->Draw(0, 0, &error);
        host->Release();
        EXPECT_EQ(g_held, held) << "lost by a failure at " << n;
    }
    EXPECT_GT(told, 100);
}

}  // namespace
}  // namespace tessera::test
