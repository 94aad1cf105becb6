// What a careless or hostile host may do without harm.
#include <cmath>
#include <ctime>
#include <limits>

#include "component/host.h"

namespace tessera::test {
namespace {

class Misuse : public HostTest {};

TEST_F(Misuse, AnAssemblyUnderItsOwnDescendantDropsOutOfTheTree) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a), c = scene.AddAssembly(b);
    const Placed p = scene.AddMesh(Cube(), c), q = scene.AddMesh(Cube());
    const int shared = scene.AddInstance(q.part, b);
    EXPECT_EQ(SetParent(a, c), 1);
    EXPECT_EQ(Children(), Ids{q.instance});
    for (const int id : {a, b, c, p.instance, shared}) {
        EXPECT_FALSE(Exists(id)) << id;
        EXPECT_EQ(Parent(id), -2);
        EXPECT_EQ(scene->Remove(id, &error), STATUS_FAIL);
        EXPECT_EQ(SetParent(id, 0), -1);
    }
    EXPECT_FALSE(PartExists(p.part));
    scene->Remove(q.instance, &error);
    EXPECT_FALSE(PartExists(q.part));
    scene->ResetSceneGraph();
}

TEST_F(Misuse, NullsFailWhereReadAndAreLeftOutWhereWritten) {
    const Placed p = scene.AddMesh(Cube());
    const int node = p.instance;
    scene->BeginTriMesh(p.part, &error);
    float points[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    double many[9] = {0, 0, 0, 5, 0, 0, 0, 1, 0};
    ULONG index[6] = {0, 1, 2, 0, 1, 2};
    // clang-format off
    const HRESULT refused[] = {
        host->AddTriangle3P(p.part, nullptr, nullptr), host->AddTriangle3P3N(p.part, points, nullptr, nullptr),
        host->AddTriangle3P3N(p.part, nullptr, points, nullptr), host->SetCamera(nullptr, points, nullptr),
        host->AddTriangle3P4N(p.part, points, points, nullptr, nullptr), host->SetCamera(points, nullptr, nullptr),
        host->SetTransform(node, nullptr, nullptr), host->ApplyTransform(node, nullptr, nullptr),
        host->SetExplodeTransform(node, nullptr, nullptr), host->ApplyExplodeTransform(node, nullptr, nullptr),
        host->GetBoundBoxRelativeFrame(node, nullptr, points, points, nullptr), host->ImportTriNormals(nullptr, nullptr),
        host->SetCrossSectionPlane(node, nullptr, points, nullptr),
        host->SetCrossSectionPlane(node, points, nullptr, nullptr),
    };
    // clang-format on
    for (const HRESULT& status : refused) EXPECT_EQ(status, STATUS_FAIL) << &status - refused;
    // In bulk: no triangle comes of it without points or index, and normals may lack.
    const auto bulk = [&](double* from, ULONG* corners, VARIANT_BOOL normals) {
        host->BeginTriMesh(p.part, nullptr);
        host->AddTriangles3P3N(p.part, from, 9, corners, nullptr, 0, nullptr, nullptr, 0, nullptr, 2, normals, nullptr);
        host->EndTriMesh(p.part, nullptr);
        return Box(node)[3];
    };
    EXPECT_EQ(bulk(many, nullptr, 0), 1);
    EXPECT_EQ(bulk(nullptr, index, 0), 1);
    EXPECT_EQ(bulk(many, index, VARIANT_TRUE), 5);
    // clang-format off
    const HRESULT done[] = {
        host->GetBoundBox(node, nullptr, nullptr, nullptr), host->GetTransform(node, nullptr, nullptr),
        host->GetExplodeTransform(node, nullptr, nullptr), host->GetNodeName(node, nullptr, nullptr),
        host->GetFullNodeName(node, nullptr, nullptr), host->GetPartName(node, nullptr, nullptr),
        host->GetNodeUserName(node, nullptr, nullptr), host->GetPropertyString(node, nullptr, nullptr),
        host->GetEnvtexture(node, nullptr, nullptr), host->SetNodeName(node, nullptr, nullptr),
        host->SetPartName(p.part, nullptr, nullptr), host->GetCrossSectionPlane(node, nullptr, nullptr, nullptr),
        host->GetExternalColor(node, nullptr, nullptr, nullptr, nullptr), host->GetIdRoot(nullptr),
        host->GetNodeIDFromPath(nullptr, nullptr, nullptr), host->GetFirstUsername(node, nullptr, nullptr),
        host->GetNextUsername(nullptr, nullptr), host->IsEmpty(nullptr), host->GetVersion(nullptr),
        host->LODsAvailable(nullptr), host->IsUsingVertexArray(nullptr),
    };
    // clang-format on
    for (const HRESULT& status : done) EXPECT_EQ(status, STATUS_OK) << &status - done;
    EXPECT_EQ(Name(node), u"");
}

TEST_F(Misuse, StrangeNumbersStayWhereTheyWerePut) {
    const Placed p = scene.AddMesh(Cube()), q = scene.AddMesh(Cube());
    const float inf = std::numeric_limits<float>::infinity(), nan = std::nanf("");
    for (const float odd : {inf, -inf, nan, 3e38F, 1e-45F, 0.0F}) {
        Array16 m = Moved(odd, 0, 0);
        m[5] = odd;
        scene->SetTransform(p.instance, m.data(), &error);
        EXPECT_EQ(error, 1);
        for (const float angle : {1.0F, odd}) scene->RotateX(p.instance, angle, &error);
        scene->Scale(p.instance, odd, 1, 1, &error);
        scene->SetExplodeTransform(p.instance, m.data(), &error);
        scene->SetPointTolerance(p.instance, odd, &error);
        scene->SetThresholdAngle(p.instance, odd, &error);
        scene->SetTransparency(p.instance, odd, &error);
        Box(0);
        for (int mode = 0; mode < 12; ++mode) {
            scene.SetShadeMode(p.instance, mode);
            scene.Draw();
        }
        scene->DrawExplode(0, 0, &error);
        scene->ApplyExplodeToNodeMatrix(p.instance, &error);
        scene->Draw(0, 0, &error);
        EXPECT_EQ(Box(q.instance), kUnitBox) << odd;
        EXPECT_EQ(Transform(q.instance), kIdentity) << odd;
    }
}

// Instrumented frames are several times larger.
#if defined(__SANITIZE_ADDRESS__)
constexpr int kDepth = 1000;
#else
constexpr int kDepth = 5000;
#endif

TEST_F(Misuse, DeepChainsAreWalkedToTheEnd) {
    int deepest = 0, top = 0;
    for (int i = 0; i < kDepth; ++i) {
        deepest = scene.AddAssembly(deepest);
        if (i == 0) top = deepest;
    }
    const Placed p = scene.AddMesh(Cube(), deepest);
    scene->Translate(top, 1, 0, 0, &error);
    scene->TranslateExplode(top, 0, 1, 0, &error);
    EXPECT_EQ(Box(0), (Corners{0, -1, -1, 2, 1, 1}));
    EXPECT_EQ(Box(p.instance), Box(0));
    int found = 0;
    scene->GetNodeIDFromPath(Text(Say(&T::GetFullNodeName, p.instance)).get(), &found, &error);
    EXPECT_EQ(found, p.instance);
    scene->ApplyExplodeToNodeMatrix(top, &error);
    EXPECT_EQ(Box(0), (Corners{0, 0, -1, 2, 2, 1}));
    scene->DrawExplode(0, 0, &error);
    scene->Remove(top, &error);
    EXPECT_EQ(Children(), Ids{});
}

// Processor time of `count` bolts that are linked, named, moved, boxed and removed one by one.
double Handle(int count) {
    Scene fresh;
    const auto bolt = Text(u"Bolt");
    const int from = fresh.AddAssembly(), to = fresh.AddAssembly(from);
    const Placed p = fresh.AddMesh(Cube());
    Ids ids;
    float box[6];
    const std::clock_t start = std::clock();
    for (int i = 0; i < count; ++i) {
        ids.push_back(fresh.AddInstance(p.part, from));
        fresh->SetNodeName(ids.back(), bolt.get(), nullptr);
    }
    for (const int id : ids) fresh->SetNodeName(id, bolt.get(), nullptr);
    for (const int id : ids) fresh->SetParent(id, to, nullptr);
    for (const int id : ids) fresh->Translate(id, 1, 0, 0, nullptr);
    for (const int id : ids) fresh->GetBoundBox(id, box, box + 3, nullptr);
    for (const int id : ids) fresh->Remove(id, nullptr);
    return static_cast<double>(std::clock() - start);
}

// The time for each sibling must not grow with their number.
TEST_F(Misuse, ManySiblingsOfOneNameTakeLinearTime) {
    Handle(500);
    const double few = Handle(1000), many = Handle(8000);
    EXPECT_LT(many, 24 * few) << "8 times the bolts, " << many / few << " times the time";
}

TEST_F(Misuse, HugeNamesPassWhole) {
    const std::u16string huge(1 << 20, u'\u00e9');
    const int a = scene.AddAssembly(), b = scene.AddAssembly();
    EXPECT_EQ(Rename(a, huge), huge);
    EXPECT_EQ(Rename(b, huge), huge + u" (1)");
    int found = 0;
    scene->GetNodeIDFromPath(Text(u"//" + huge + u" (1)").get(), &found, &error);
    EXPECT_EQ(found, b);
}

}  // namespace
}  // namespace tessera::test
