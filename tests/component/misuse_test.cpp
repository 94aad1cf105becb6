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
        EXPECT_EQ(Known({id}), Ids{});
        EXPECT_EQ((Ids{Parent(id), Remove(id), SetParent(id, 0)}), (Ids{-2, 0, -1})) << id;
    }
    EXPECT_EQ((Ids{PartExists(p.part), Remove(q.instance), PartExists(q.part)}), (Ids{0, 1, 0}));
    scene->ResetSceneGraph();
}

TEST_F(Misuse, NullsFailWhereReadAndAreLeftOutWhereWritten) {
    const auto [node, part] = scene.AddMesh(Cube());
    scene->BeginTriMesh(part, &error);
    float p[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
    double many[9] = {0, 0, 0, 5, 0, 0, 0, 1, 0};
    ULONG index[6] = {0, 1, 2, 0, 1, 2};
    EXPECT_EQ(host->AddTriangle3P(part, nullptr, nullptr) & host->AddTriangle3P3N(part, p, nullptr, nullptr) &
                  host->AddTriangle3P3N(part, nullptr, p, nullptr) &
                  host->AddTriangle3P4N(part, p, p, nullptr, nullptr) & host->SetCamera(nullptr, p, nullptr) &
                  host->SetCamera(p, nullptr, nullptr) & host->GetBoundBoxRelativeFrame(node, nullptr, p, p, nullptr) &
                  host->ImportTriNormals(nullptr, nullptr) & host->SetCrossSectionPlane(node, nullptr, p, nullptr) &
                  host->SetCrossSectionPlane(node, p, nullptr, nullptr),
              STATUS_FAIL);
    EXPECT_EQ(host->GetIdRoot(nullptr) | host->GetNodeIDFromPath(nullptr, nullptr, nullptr) |
                  host->GetFirstUsername(node, nullptr, nullptr) | host->GetNextUsername(nullptr, nullptr) |
                  host->IsEmpty(nullptr) | host->GetVersion(nullptr) | host->LODsAvailable(nullptr) |
                  host->IsUsingVertexArray(nullptr),
              STATUS_OK);
    const int line = scene.AddEmptyPart().part;
    host->BeginPolyLine(line, nullptr);
    EXPECT_EQ(Code(host->AddPolyLinePoint(line, nullptr, &error)), 0);
    // In bulk: no triangle comes of it without points or index, and normals may lack.
    const auto bulk = [&, id = node, mesh = part](double* from, ULONG* corners, VARIANT_BOOL normals) {
        host->BeginTriMesh(mesh, nullptr);
        host->AddTriangles3P3N(mesh, from, 9, corners, nullptr, 0, nullptr, nullptr, 0, nullptr, 2, normals, nullptr);
        host->EndTriMesh(mesh, nullptr);
        return Box(id)[3];
    };
    EXPECT_TRUE(bulk(many, nullptr, 0) == 1 && bulk(nullptr, index, 0) == 1 && bulk(many, index, VARIANT_TRUE) == 5);
}

TEST_F(Misuse, StrangeNumbersStayWhereTheyWerePut) {
    const Placed p = scene.AddMesh(Cube()), q = scene.AddMesh(Cube());
    const float inf = std::numeric_limits<float>::infinity();
    for (const float odd : {inf, -inf, std::nanf(""), 3e38F, 1e-45F, 0.0F}) {
        Array16 m = Moved(odd, 0, 0);
        m[5] = odd;
        for (const auto set : {&T::SetTransform, &T::SetExplodeTransform})
            EXPECT_EQ(Code((host->*set)(p.instance, m.data(), &error)), 1);
        for (const float angle : {1.0F, odd}) scene->RotateX(p.instance, angle, &error);
        scene->Scale(p.instance, odd, 1, 1, &error);
        for (const auto set : {&T::SetPointTolerance, &T::SetThresholdAngle, &T::SetTransparency})
            (host->*set)(p.instance, odd, &error);
        Box(0);
        for (int mode = 0; mode < 12; ++mode) scene.SetShadeMode(p.instance, mode), scene.Draw();
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
    const int top = scene.AddAssembly();
    int deepest = top;
    for (int i = 1; i < kDepth; ++i) deepest = scene.AddAssembly(deepest);
    const Placed p = scene.AddMesh(Cube(), deepest);
    scene.Translate(top, 1, 0, 0);
    scene->TranslateExplode(top, 0, 1, 0, &error);
    for (const int id : {0, p.instance}) EXPECT_EQ(Box(id), (Corners{0, -1, -1, 2, 1, 1}));
    int found = 0;
    scene->GetNodeIDFromPath(Text(Say(&T::GetFullNodeName, p.instance)).get(), &found, &error);
    EXPECT_EQ(found, p.instance);
    scene->ApplyExplodeToNodeMatrix(top, &error);
    EXPECT_EQ(Box(0), (Corners{0, 0, -1, 2, 2, 1}));
    scene->DrawExplode(0, 0, &error);
    Remove(top);
    EXPECT_EQ(Children(), Ids{});
}

// Processor time of `count` bolts that are linked, named, moved, boxed and removed one by one.
double Handle(int count) {
    Scene fresh;
    const auto bolt = Text(u"Bolt");
    const int from = fresh.AddAssembly(), to = fresh.AddAssembly(from), part = fresh.AddMesh(Cube()).part;
    Ids ids;
    float box[6];
    const std::clock_t start = std::clock();
    for (int i = 0; i < count; ++i) {
        ids.push_back(fresh.AddInstance(part, from));
        fresh->SetNodeName(ids.back(), bolt.get(), nullptr);
    }
    for (const int id : ids) fresh->SetNodeName(id, bolt.get(), nullptr);
    for (const int id : ids) fresh->SetParent(id, to, nullptr);
    for (const int id : ids) fresh.Translate(id, 1, 0, 0), fresh->GetBoundBox(id, box, box + 3, nullptr);
    for (const int id : ids) fresh->Remove(id, nullptr);
    return static_cast<double>(std::clock() - start);
}

// The time for each sibling must not grow with their number.
TEST_F(Misuse, ManySiblingsOfOneNameTakeLinearTime) {
    Handle(500);
    const double few = Handle(1000), many = Handle(8000);
    EXPECT_LT(many, 24 * few) << "8 times the bolts, " << many / few << " times the time";
}

}  // namespace
}  // namespace tessera::test
