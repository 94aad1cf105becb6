// What a careless or hostile host may do without harm.
#include <cmath>
#include <ctime>
#include <limits>

#include "component/host.h"

namespace tessera::test {
namespace {

class Misuse : public HostTest {
protected:
    // Processor time of `count` bolts that are linked, named, moved, boxed and removed one by one.
    double Handle(int count);
};

TEST_F(Misuse, AnAssemblyUnderItsOwnDescendantDropsOutOfTheTree) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a), c = scene.AddAssembly(b);
    const Placed p = scene.AddMesh(Cube(), c), q = scene.AddMesh(Cube());
    const int shared = scene.AddInstance(q.part, b);
    scene->SetParent(a, c, &error);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(Children(), Ids{q.instance});
    for (const int id : {a, b, c, p.instance, shared}) {
        EXPECT_FALSE(Exists(id)) << id;
        EXPECT_EQ(Parent(id), -2);
        EXPECT_EQ(scene->Remove(id, &error), STATUS_FAIL);
        scene->SetParent(id, 0, &error);
        EXPECT_EQ(error, -1);
    }
    EXPECT_FALSE(PartExists(p.part));
    scene->Remove(q.instance, &error);
    EXPECT_FALSE(PartExists(q.part));
    const int d = scene.AddAssembly(), e = scene.AddAssembly(d);
    scene->SetParent(d, e, &error);
    EXPECT_EQ(Children(), Ids{});
    scene->ResetSceneGraph();
}

TEST_F(Misuse, NullsFailWhereReadAndAreLeftOutWhereWritten) {
    const Placed p = scene.AddMesh(Cube());
    const int node = p.instance;
    scene->BeginTriMesh(p.part, &error);
    float points[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    double many[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    ULONG index[6] = {0, 1, 2, 0, 1, 2};
    const HRESULT refused[] = {
        scene->AddTriangle3P(p.part, nullptr, nullptr),
        scene->AddTriangle3P3N(p.part, points, nullptr, nullptr),
        scene->AddTriangle3P3N(p.part, nullptr, points, nullptr),
        scene->AddTriangle3P4N(p.part, points, points, nullptr, nullptr),
        scene->SetCamera(nullptr, points, nullptr),
        scene->SetCamera(points, nullptr, nullptr),
        scene->SetTransform(node, nullptr, nullptr),
        scene->ApplyTransform(node, nullptr, nullptr),
        scene->SetExplodeTransform(node, nullptr, nullptr),
        scene->ApplyExplodeTransform(node, nullptr, nullptr),
        scene->GetBoundBoxRelativeFrame(node, nullptr, points, points, nullptr),
        scene->SetCrossSectionPlane(node, nullptr, points, nullptr),
        scene->SetCrossSectionPlane(node, points, nullptr, nullptr),
        scene->ImportTriNormals(nullptr, nullptr),
    };
    for (const HRESULT& status : refused) EXPECT_EQ(status, STATUS_FAIL) << &status - refused;
    // In bulk: no triangle comes of it.
    scene->AddTriangles3P3N(p.part, many, 9, nullptr, nullptr, 0, nullptr, nullptr, 0, nullptr, 2, 0, nullptr);
    scene->AddTriangles3P3N(p.part, nullptr, 9, index, nullptr, 0, nullptr, nullptr, 0, nullptr, 2, 0, nullptr);
    scene->EndTriMesh(p.part, nullptr);
    EXPECT_EQ(Box(node), kUnitBox);
    // Without normals two triangles are as if none had been given.
    scene->BeginTriMesh(p.part, nullptr);
    many[3] = 5;
    scene->AddTriangles3P3N(p.part, many, 9, index, nullptr, 0, nullptr, nullptr, 0, nullptr, 2, VARIANT_TRUE, nullptr);
    scene->EndTriMesh(p.part, nullptr);
    EXPECT_EQ(Box(node)[3], 5);

    const HRESULT done[] = {
        scene->GetBoundBox(node, nullptr, nullptr, nullptr),
        scene->GetTransform(node, nullptr, nullptr),
        scene->GetExplodeTransform(node, nullptr, nullptr),
        scene->GetNodeName(node, nullptr, nullptr),
        scene->GetFullNodeName(node, nullptr, nullptr),
        scene->GetPartName(node, nullptr, nullptr),
        scene->GetNodeUserName(node, nullptr, nullptr),
        scene->GetPropertyString(node, nullptr, nullptr),
        scene->GetEnvtexture(node, nullptr, nullptr),
        scene->SetNodeName(node, nullptr, nullptr),
        scene->SetPartName(p.part, nullptr, nullptr),
        scene->GetCrossSectionPlane(node, nullptr, nullptr, nullptr),
        scene->GetExternalColor(node, nullptr, nullptr, nullptr, nullptr),
        scene->GetNodeIDFromPath(nullptr, nullptr, nullptr),
        scene->GetIdRoot(nullptr),
        scene->GetFirstUsername(node, nullptr, nullptr),
        scene->GetNextUsername(nullptr, nullptr),
        scene->IsEmpty(nullptr),
        scene->GetVersion(nullptr),
        scene->LODsAvailable(nullptr),
        scene->IsUsingVertexArray(nullptr),
    };
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
    BSTR path = nullptr;
    scene->GetFullNodeName(p.instance, &path, &error);
    int found = 0;
    scene->GetNodeIDFromPath(path, &found, &error);
    SysFreeString(path);
    EXPECT_EQ(found, p.instance);
    scene->ApplyExplodeToNodeMatrix(top, &error);
    EXPECT_EQ(Box(0), (Corners{0, 0, -1, 2, 2, 1}));
    scene->DrawExplode(0, 0, &error);
    scene->Remove(top, &error);
    EXPECT_EQ(Children(), Ids{});
}

double Misuse::Handle(int count) {
    Scene fresh;
    const Text bolt(u"Bolt");
    const int from = fresh.AddAssembly(), to = fresh.AddAssembly(from);
    const Placed p = fresh.AddMesh(Cube());
    Ids ids;
    float box[6];
    const std::clock_t start = std::clock();
    for (int i = 0; i < count; ++i) {
        ids.push_back(fresh.AddInstance(p.part, from));
        fresh->SetNodeName(ids.back(), bolt, &error);
    }
    for (const int id : ids) fresh->SetNodeName(id, bolt, &error);
    for (const int id : ids) fresh->SetParent(id, to, &error);
    for (const int id : ids) fresh->Translate(id, 1, 0, 0, &error);
    for (const int id : ids) fresh->GetBoundBox(id, box, box + 3, &error);
    for (const int id : ids) fresh->Remove(id, &error);
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
    scene->GetNodeIDFromPath(Text(u"//" + huge + u" (1)"), &found, &error);
    EXPECT_EQ(found, b);
    scene->GetNodeIDFromPath(Text(u"//" + huge), &found, &error);
    EXPECT_EQ(found, a);
}

}  // namespace
}  // namespace tessera::test
