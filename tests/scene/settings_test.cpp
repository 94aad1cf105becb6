// Settings of nodes and parts: defaults, fan-out, sharing, ranges.
#include <cmath>

#include "component/host.h"

namespace tessera::test {
namespace {

using Rgb = std::array<float, 3>;
using Setter = HRESULT (ITessera::*)(int, float, float, float, int*);
using Getter = HRESULT (ITessera::*)(int, float*, float*, float*, int*);
using Switch = HRESULT (ITessera::*)(int, LONG, int*);
using Query = HRESULT (ITessera::*)(int, LONG*, int*);

class Settings : public HostTest {
protected:
    Rgb Color(Getter get, int node) {
        Rgb c = {-7, -7, -7};
        (host->*get)(node, &c[0], &c[1], &c[2], &error);
        return c;
    }
    float Alpha(int node) {
        float alpha = -7;
        scene->GetTransparency(node, &alpha, &error);
        return alpha;
    }
};

constexpr struct {
    Setter set;
    Getter get;
    Rgb start;
} kColors[] = {
    {&ITessera::SetExternalColor, &ITessera::GetExternalColor, {0, 0.85F, 0.85F}},
    {&ITessera::SetInternalColor, &ITessera::GetInternalColor, {0, 0.85F, 0}},
    {&ITessera::SetBackgroundColor, &ITessera::GetBackgroundColor, {0.19607843F, 0.19607843F, 0.5882353F}},
    {&ITessera::SetBorderColor, &ITessera::GetBorderColor, {1, 1, 0}},
    {&ITessera::SetEdgeColor, &ITessera::GetEdgeColor, {1, 1, 0}},
};

TEST_F(Settings, ColorsGoDownAndAreShared) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a), other = scene.AddMesh(Cube());
    const int twin = scene.AddInstance(p.part), bare = AddBareInstance(a);
    for (const auto& color : kColors) {
        EXPECT_EQ(Color(color.get, p.instance), color.start);
        // Kept as given, out of range or not; the others stay.
        for (const Rgb& c : {Rgb{0.1F, 0.2F, 0.3F}, Rgb{-5, 7, 0}}) {
            (host->*color.set)(a, c[0], c[1], c[2], &error);
            EXPECT_EQ(Color(color.get, p.instance), c);
            EXPECT_EQ(Color(color.get, twin), c);
            EXPECT_EQ(Color(color.get, other.instance), color.start);
        }
        EXPECT_EQ(Color(color.get, bare), (Rgb{-7, -7, -7}));
        EXPECT_EQ(error, 1);
    }
}

TEST_F(Settings, TheFirstColorOfAMeshBecomesThePartsUnlessOneWasSet) {
    const struct {
        Rgb color;
        bool taken;
    } cases[] = {{{0.5F, 0.5F, 0.5F}, true}, {{1.001F, 0, -0.0001F}, true}, {{1.5F, 0, 0}, false},
                 {{0, 1.0011F, 0}, false},   {{0, 0, -0.00011F}, false},    {{std::nanf(""), 0, 0}, false}};
    for (const auto& [color, taken] : cases) {
        const Placed p = scene.AddEmptyPart();
        scene->BeginTriMesh(p.part, &error);
        EXPECT_EQ(scene->SetTriMeshExternalColor(p.part, color[0], color[1], color[2], &error), STATUS_OK);
        EXPECT_EQ(error, 1);
        EXPECT_EQ(Color(&ITessera::GetExternalColor, p.instance), taken ? color : kColors[0].start);
        const Rgb second = {0.3F, 0.3F, 0.3F};
        scene->SetTriMeshExternalColor(p.part, 0.3F, 0.3F, 0.3F, &error);
        EXPECT_EQ(Color(&ITessera::GetExternalColor, p.instance), taken ? color : second);
    }
    // Any colour of the whole part ends it; the other colours of a mesh never reach the part.
    for (const auto& color : kColors) {
        const Placed p = scene.AddEmptyPart();
        (host->*color.set)(p.instance, 0.4F, 0.4F, 0.4F, &error);
        scene->BeginTriMesh(p.part, &error);
        const Rgb before = Color(&ITessera::GetExternalColor, p.instance);
        scene->SetTriMeshExternalColor(p.part, 0.9F, 0.9F, 0.9F, &error);
        EXPECT_EQ(Color(&ITessera::GetExternalColor, p.instance), before);
    }
    const Placed p = scene.AddEmptyPart();
    scene->BeginTriMesh(p.part, &error);
    scene->SetTriMeshInternalColor(p.part, 0.9F, 0.9F, 0.9F, &error);
    scene->SetTriMeshEdgeColor(p.part, 0.9F, 0.9F, 0.9F, &error);
    scene->SetTriMeshBorderColor(p.part, 0.9F, 0.9F, 0.9F, &error);
    for (const auto& color : kColors) EXPECT_EQ(Color(color.get, p.instance), color.start);
}

TEST_F(Settings, NumbersOfAPartHaveLimits) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a);
    const int node = p.instance;
    const int bare = AddBareInstance(a);
    EXPECT_FLOAT_EQ(Alpha(node), 0.99F);
    EXPECT_FLOAT_EQ(Alpha(bare), 0.901F);
    const std::pair<float, float> levels[] = {{0.5F, 0.5F}, {1.01F, 0.5F}, {2, 0.5F}, {1.0099F, 1.0099F},
                                              {-3, -3},     {0, 0},        {1, 1}};
    for (const auto& [given, kept] : levels) {
        scene->SetTransparency(a, given, &error);
        EXPECT_EQ(error, 1);
        EXPECT_EQ(Alpha(node), kept) << given;
    }
    float value = 0;
    scene->GetVolumePrecision(node, &value, &error);
    EXPECT_EQ(value, 1);
    const std::pair<float, float> precisions[] = {{1.0009F, 1}, {1.002F, 1.002F}, {1.0015F, 1.002F}, {0.5F, 0.5F}};
    for (const auto& [given, kept] : precisions) {
        scene->SetVolumePrecision(0, given, &error);
        scene->GetVolumePrecision(node, &value, &error);
        EXPECT_EQ(value, kept) << given;
    }
    const struct {
        HRESULT (ITessera::*set)(int, float, int*);
        HRESULT (ITessera::*get)(int, float*, int*);
        float start;
    } numbers[] = {{&ITessera::SetPointTolerance, &ITessera::GetPointTolerance, 1e-9F},
                   {&ITessera::SetThresholdAngle, &ITessera::GetThresholdAngle, 40}};
    for (const auto& number : numbers) {
        (host->*number.get)(node, &value, &error);
        EXPECT_EQ(value, number.start);
        (host->*number.set)(a, 0.125F, &error);
        (host->*number.get)(node, &value, &error);
        EXPECT_EQ(value, 0.125F);
        (host->*number.get)(bare, &value, &error);
        EXPECT_EQ(value, 0);
    }
}

TEST_F(Settings, ModesGoToThePart) {
    const Placed p = scene.AddMesh(Cube(), scene.AddAssembly());
    const int bare = AddBareInstance();
    int options = 9;
    short mode = 9;
    scene->GetShadeMode(p.instance, &mode, &error);
    EXPECT_EQ(mode, 1);
    for (const short code : {short{4}, short{-32768}, short{32767}}) {
        scene->SetShadeMode(0, code, &error);
        scene->SetOptionsShadeMode(0, static_cast<short>(code + (code < 0 ? 1 : -1)), &error);
        scene->GetShadeMode(p.instance, &mode, &error);
        scene->GetOptionsShadeMode(p.instance, &options, &error);
        EXPECT_EQ(mode, code);
        EXPECT_EQ(options, code + (code < 0 ? 1 : -1));
    }
    scene->GetShadeMode(bare, &mode, &error);
    scene->GetOptionsShadeMode(bare, &options, &error);
    EXPECT_EQ(mode, 0);
    EXPECT_EQ(options, 0);
}

TEST_F(Settings, SwitchesGoDownAndNotUp) {
    const struct {
        Switch set;
        Query get;
        LONG start;
        bool goesDown;
    } cases[] = {{&ITessera::SetSelected, &ITessera::IsSelected, 0, true},
                 {&ITessera::EnableDrawing, &ITessera::IsDrawingEnable, 1, false},
                 {&ITessera::SetVertexVisible, &ITessera::GetVertexVisibility, 0, true},
                 {&ITessera::SwitchWireFrameVisibility, &ITessera::GetNodeWireFrameVisibility, 1, true},
                 {&ITessera::SwitchTriMeshVisibility, &ITessera::GetNodeSurfaceVisibility, 1, true},
                 {&ITessera::SwitchPointSetVisibility, &ITessera::GetNodePointSetVisibility, 1, true},
                 {&ITessera::EnableCrossSection, &ITessera::GetNodeCrossSectionStatus, 1, true}};
    for (const auto& c : cases) {
        const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
        const Placed p = scene.AddMesh(Cube(), b);
        const int twin = scene.AddInstance(p.part, a);
        const auto state = [&](int node) {
            LONG value = 99;
            (host->*c.get)(node, &value, &error);
            return value;
        };
        const LONG turned = 1 - c.start;
        for (const int node : {0, a, b, p.instance, twin}) EXPECT_EQ(state(node), c.start);
        (host->*c.set)(b, turned, &error);
        EXPECT_EQ((Ids{state(0), state(a), state(b), state(p.instance), state(twin)}),
                  (Ids{c.start, c.start, turned, c.goesDown ? turned : c.start, c.start}));
        (host->*c.set)(twin, turned, &error);
        EXPECT_EQ((Ids{state(a), state(twin)}), (Ids{c.start, turned}));
    }
}

TEST_F(Settings, SectionPlanesGoDown) {
    const int a = scene.AddAssembly(), empty = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a), q = scene.AddMesh(Cube(), a);
    const auto plane = [&](int node) {
        Corners at{};
        EXPECT_EQ(scene->GetCrossSectionPlane(node, at.data(), at.data() + 3, &error), STATUS_OK);
        EXPECT_EQ(error, 1);
        return at;
    };
    const Corners start = {0, 0, 0, 1, 0, 0}, set = {1, 2, 3, 0, 1, 0};
    for (const int node : {0, a, empty, p.instance}) EXPECT_EQ(plane(node), start);
    scene.SetSectionPlane(a, {1, 2, 3}, {0, 4, 0});
    for (const int node : {0, a, p.instance, q.instance}) EXPECT_EQ(plane(node), set);
    EXPECT_EQ(plane(empty), start);
    // The first part in list order answers for an assembly.
    scene.SetSectionPlane(p.instance, {0, 0, 0}, {0, 5e-7F, 0});
    EXPECT_EQ(plane(p.instance), (Corners{0, 0, 0, 1, 5e-7F, 0}));
    EXPECT_EQ(plane(0), plane(p.instance));
    EXPECT_EQ(plane(q.instance), set);
}

TEST_F(Settings, TexturesAreNamedOnTheWholeSubtree) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a);
    const auto texture = [&](int node) { return Say(&T::GetEnvtexture, node); };
    EXPECT_EQ(texture(p.instance), u"");
    scene->SetEnvtexture(a, Text(u"one").get(), &error);
    scene->SetEnvtexture(a, Text(u"two").get(), &error);
    EXPECT_EQ(texture(0) + u'|' + texture(a) + u'|' + texture(p.instance), u"|two|two");
}

}  // namespace
}  // namespace tessera::test
