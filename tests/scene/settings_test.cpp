// Settings of nodes and parts: defaults, fan-out, sharing, ranges.
#include <cmath>
#include <tuple>

#include "component/host.h"

namespace tessera::test {
namespace {

using Rgb = std::array<float, 3>;

struct ColorCalls {
    HRESULT (T::*set)(int, float, float, float, int*);
    HRESULT (T::*get)(int, float*, float*, float*, int*);
    Rgb start;
};
constexpr ColorCalls kColors[] = {
    {&T::SetExternalColor, &T::GetExternalColor, {0, 0.85F, 0.85F}},
    {&T::SetInternalColor, &T::GetInternalColor, {0, 0.85F, 0}},
    {&T::SetBackgroundColor, &T::GetBackgroundColor, {0.19607843F, 0.19607843F, 0.5882353F}},
    {&T::SetBorderColor, &T::GetBorderColor, {1, 1, 0}},
    {&T::SetEdgeColor, &T::GetEdgeColor, {1, 1, 0}},
};

class Settings : public HostTest {
protected:
    Rgb Color(int node, const ColorCalls& calls = kColors[0]) {
        Rgb c = {-7, -7, -7};
        (host->*calls.get)(node, &c[0], &c[1], &c[2], &error);
        return c;
    }
    Placed AddOpenMesh() {
        const Placed p = scene.AddEmptyPart();
        scene->BeginTriMesh(p.part, &error);
        return p;
    }
};

TEST_F(Settings, ColorsGoDownAndAreShared) {
    const int a = scene.AddAssembly(), other = scene.AddMesh(Cube()).instance, bare = AddBareInstance(a);
    const Placed p = scene.AddMesh(Cube(), a);
    const int twin = scene.AddInstance(p.part);
    for (const ColorCalls& calls : kColors) {
        EXPECT_EQ(Color(p.instance, calls), calls.start);
        // Kept as given, out of range or not; the others stay.
        for (const Rgb& c : {Rgb{0.1F, 0.2F, 0.3F}, Rgb{-5, 7, 0}}) {
            (host->*calls.set)(a, c[0], c[1], c[2], &error);
            for (const int node : {p.instance, twin}) EXPECT_EQ(Color(node, calls), c);
            EXPECT_EQ(Color(other, calls), calls.start);
        }
        EXPECT_TRUE(Color(bare, calls) == (Rgb{-7, -7, -7}) && error == 1);
    }
}

TEST_F(Settings, TheFirstColorOfAMeshBecomesThePartsUnlessOneWasSet) {
    const std::pair<Rgb, bool> cases[] = {{{0.5F, 0.5F, 0.5F}, true}, {{1.001F, 0, -0.0001F}, true},
                                          {{1.5F, 0, 0}, false},      {{0, 1.0011F, 0}, false},
                                          {{0, 0, -0.00011F}, false}, {{std::nanf(""), 0, 0}, false}};
    for (const auto& [c, taken] : cases) {
        const Placed p = AddOpenMesh();
        EXPECT_EQ(Code(scene->SetTriMeshExternalColor(p.part, c[0], c[1], c[2], &error)), 1);
        EXPECT_EQ(Color(p.instance), taken ? c : kColors[0].start);
        scene->SetTriMeshExternalColor(p.part, 0.3F, 0.3F, 0.3F, &error);
        EXPECT_EQ(Color(p.instance), taken ? c : (Rgb{0.3F, 0.3F, 0.3F}));
    }
    // Any colour of the whole part ends it; the other colours of a mesh never reach the part.
    for (const ColorCalls& calls : kColors) {
        const Placed p = AddOpenMesh();
        (host->*calls.set)(p.instance, 0.4F, 0.4F, 0.4F, &error);
        const Rgb before = Color(p.instance);
        scene->SetTriMeshExternalColor(p.part, 0.9F, 0.9F, 0.9F, &error);
        EXPECT_EQ(Color(p.instance), before);
    }
    const Placed p = AddOpenMesh();
    for (const auto set : {&T::SetTriMeshInternalColor, &T::SetTriMeshEdgeColor, &T::SetTriMeshBorderColor})
        (host->*set)(p.part, 0.9F, 0.9F, 0.9F, &error);
    for (const ColorCalls& calls : kColors) EXPECT_EQ(Color(p.instance, calls), calls.start);
}

TEST_F(Settings, NumbersOfAPartHaveLimits) {
    const int a = scene.AddAssembly(), node = scene.AddMesh(Cube(), a).instance, bare = AddBareInstance(a);
    using Levels = std::vector<std::pair<float, float>>;  // given, and kept
    const Levels alphas = {{0.5F, 0.5F}, {1.01F, 0.5F}, {2, 0.5F}, {1.0099F, 1.0099F}, {-3, -3}, {0, 0}, {1, 1}};
    const Levels steps = {{1.0009F, 1}, {1.002F, 1.002F}, {1.0015F, 1.002F}, {0.5F, 0.5F}}, any = {{0.125F, 0.125F}};
    // The method that sets, the one that gives, the first value with a part and without, and what is set.
    using Row = std::tuple<HRESULT (T::*)(int, float, int*), HRESULT (T::*)(int, float*, int*), float, float, Levels>;
    const Row rows[] = {{&T::SetTransparency, &T::GetTransparency, 0.99F, 0.901F, alphas},
                        {&T::SetVolumePrecision, &T::GetVolumePrecision, 1, 0, steps},
                        {&T::SetPointTolerance, &T::GetPointTolerance, 1e-9F, 0, any},
                        {&T::SetThresholdAngle, &T::GetThresholdAngle, 40, 0, any}};
    for (const auto& [set, get, start, bareStart, levels] : rows) {
        EXPECT_TRUE(Get(get, node) == start && Get(get, bare) == bareStart) << start;
        for (const auto& [given, kept] : levels) {
            EXPECT_EQ(Code((host->*set)(a, given, &error)), 1);
            EXPECT_EQ(Get(get, node), kept) << given;
        }
    }
    // Modes are kept as given.
    EXPECT_EQ(Get(&T::GetShadeMode, node), 1);
    for (const auto& [mode, options] : {std::pair{4, 3}, {-32768, 32767}, {32767, -32768}}) {
        scene.SetShadeMode(0, mode);
        scene->SetOptionsShadeMode(0, static_cast<short>(options), &error);
        EXPECT_EQ((Ids{Get(&T::GetShadeMode, node), Get(&T::GetOptionsShadeMode, node)}), (Ids{mode, options}));
    }
    EXPECT_EQ((Ids{Get(&T::GetShadeMode, bare, short{9}), Get(&T::GetOptionsShadeMode, bare, 9)}), (Ids{0, 0}));
}

TEST_F(Settings, SwitchesGoDownAndNotUp) {
    // The method that sets, the one that gives, the first value, and whether it goes down.
    const std::tuple<HRESULT (T::*)(int, LONG, int*), HRESULT (T::*)(int, LONG*, int*), int, bool> rows[] = {
        {&T::SetSelected, &T::IsSelected, 0, true},
        {&T::EnableDrawing, &T::IsDrawingEnable, 1, false},
        {&T::SetVertexVisible, &T::GetVertexVisibility, 0, true},
        {&T::SwitchWireFrameVisibility, &T::GetNodeWireFrameVisibility, 1, true},
        {&T::SwitchTriMeshVisibility, &T::GetNodeSurfaceVisibility, 1, true},
        {&T::SwitchPointSetVisibility, &T::GetNodePointSetVisibility, 1, true},
        {&T::EnableCrossSection, &T::GetNodeCrossSectionStatus, 1, true}};
    for (const auto& [set, get, was, goesDown] : rows) {
        const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
        const Placed p = scene.AddMesh(Cube(), b);
        const int twin = scene.AddInstance(p.part, a);
        const auto states = [&, value = get] {
            Ids all;
            for (const int node : {0, a, twin, b, p.instance}) all.push_back(Get(value, node, 99));
            return all;
        };
        const int turned = 1 - was, below = goesDown ? turned : was;
        EXPECT_EQ(states(), Ids(5, was));
        (host->*set)(b, turned, &error);
        EXPECT_EQ(states(), (Ids{was, was, was, turned, below}));
        (host->*set)(twin, turned, &error);
        EXPECT_EQ(states(), (Ids{was, was, turned, turned, below}));
    }
}

TEST_F(Settings, SectionPlanesAndTexturesGoDown) {
    const int a = scene.AddAssembly(), empty = scene.AddAssembly();
    const int p = scene.AddMesh(Cube(), a).instance, q = scene.AddMesh(Cube(), a).instance;
    const auto plane = [&](int node) {
        Corners at{};
        EXPECT_EQ(Code(scene->GetCrossSectionPlane(node, at.data(), at.data() + 3, &error)), 1);
        return at;
    };
    const Corners start = {0, 0, 0, 1, 0, 0}, set = {1, 2, 3, 0, 1, 0}, tiny = {0, 0, 0, 1, 5e-7F, 0};
    for (const int node : {0, a, empty, p}) EXPECT_EQ(plane(node), start);
    scene.SetSectionPlane(a, {1, 2, 3}, {0, 4, 0});
    for (const int node : {0, a, p, q}) EXPECT_EQ(plane(node), set);
    EXPECT_EQ(plane(empty), start);
    // The first part in list order answers for an assembly.
    scene.SetSectionPlane(p, {0, 0, 0}, {0, 5e-7F, 0});
    EXPECT_TRUE(plane(p) == tiny && plane(0) == tiny && plane(q) == set);
    const auto texture = [&](int node) { return Say(&T::GetEnvtexture, node); };
    EXPECT_EQ(texture(p), u"");
    for (const auto name : {u"one", u"two"}) scene->SetEnvtexture(a, Text(name).get(), &error);
    EXPECT_EQ(texture(0) + u'|' + texture(a) + u'|' + texture(p), u"|two|two");
}

}  // namespace
}  // namespace tessera::test
