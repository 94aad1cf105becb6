// Ids, loose objects, links, removal.
#include "component/host.h"

namespace tessera::test {
namespace {

class LifeCycle : public HostTest {};

TEST_F(LifeCycle, StartsWithAnEmptyRootAndCountsUp) {
    int id = 99, version = 0, loose[3];
    LONG empty = 0;
    EXPECT_EQ(scene->GetIdRoot(&id), STATUS_OK);
    scene->GetVersion(&version);
    scene->IsEmpty(&empty);
    EXPECT_EQ((Ids{id, version, empty}), (Ids{0, 8, 1}));
    EXPECT_EQ(Name(0), u"/");
    EXPECT_EQ(scene->GetParent(0, &id), STATUS_FAIL);
    EXPECT_EQ(id, -1);
    scene->CreateAssembly(&loose[0]);
    scene->CreatePart(&loose[1]);
    scene->CreatePartInstance(&loose[2]);
    EXPECT_EQ((Ids{loose[0], loose[1], loose[2]}), (Ids{1, 2, 3}));
    // The counter never goes back.
    scene->ResetSceneGraph();
    scene->CreateAssembly(nullptr);
    EXPECT_EQ(scene.AddAssembly(), 5);
    scene->IsEmpty(&empty);
    EXPECT_EQ(empty, 0);
    // One component answers to two interfaces, and counts who holds it.
    IID other = IID_ITessera;
    other.Data1 ^= 1;
    void* found = nullptr;
    EXPECT_EQ(host->QueryInterface(IID_ITessera, &found), STATUS_OK);
    EXPECT_EQ(found, host);
    EXPECT_EQ(host->Release(), 1u);
    EXPECT_LT(host->QueryInterface(other, &found), 0);
    EXPECT_EQ(found, nullptr);
}

TEST_F(LifeCycle, KnowsLooseObjectsOnlyWhereTheyAreLinked) {
    int assembly = 0, part = 0, instance = 0;
    scene->CreateAssembly(&assembly);
    scene->CreatePart(&part);
    scene->CreatePartInstance(&instance);
    for (const int id : {assembly, part, instance}) EXPECT_FALSE(Exists(id)) << id;
    EXPECT_EQ(Refused(scene->BeginTriMesh(part, &error)), 0);
    EXPECT_EQ(Refused(scene->Remove(assembly, &error)), 0);
    EXPECT_EQ((Ids{Parent(assembly), Parent(instance), Parent(part)}), (Ids{-1, -1, -2}));
    // Under a loose assembly an instance has a parent, but is still out of reach.
    ASSERT_EQ(scene->SetPart(instance, part, &error), STATUS_OK);
    EXPECT_EQ(SetParent(instance, assembly), 1);
    EXPECT_FALSE(Exists(instance));
    EXPECT_EQ(Parent(instance), -2);
    EXPECT_FALSE(PartExists(part));
    SetParent(assembly, 0);
    EXPECT_TRUE(Exists(instance) && PartExists(part));
    EXPECT_EQ(Parent(instance), assembly);
}

TEST_F(LifeCycle, KeepsOneLooseObjectOfEachKind) {
    int first = 0, second = 0, part = 0, another = 0;
    scene->CreateAssembly(&first);
    scene->CreateAssembly(&second);
    EXPECT_EQ(SetParent(first, 0), -1);
    EXPECT_EQ(SetParent(second, first), 0);
    EXPECT_EQ(SetParent(second, 0), 1);
    scene->CreatePartInstance(&first);
    scene->CreatePartInstance(&second);
    EXPECT_EQ(SetParent(first, 0), -1);
    scene->CreatePart(&part);
    scene->CreatePart(&another);
    EXPECT_EQ(Refused(scene->SetPart(second, part, &error)), 0);
    EXPECT_EQ(scene->SetPart(second, another, &error), STATUS_OK);
    scene->CreatePart(&part);
    SetParent(second, 0);
    EXPECT_TRUE(PartExists(another));
}

TEST_F(LifeCycle, LinksPartsAndSharesThem) {
    const int assembly = scene.AddAssembly();
    const Placed a = scene.AddMesh(Cube());
    const int b = scene.AddInstance(a.part, assembly);
    for (const int other : {assembly, 0, 777, a.part}) EXPECT_EQ(Refused(scene->SetPart(other, a.part, &error)), -1);
    for (const int other : {777, b}) EXPECT_EQ(Refused(scene->SetPart(b, other, &error)), 0);
    int id = 0;
    EXPECT_EQ(scene->GetPartOfPInstance(b, &id, &error), STATUS_OK);
    EXPECT_EQ(id, a.part);
    // The part goes with its last instance, by removal or by another part.
    EXPECT_EQ(scene->SetPart(b, a.part, &error), STATUS_OK);
    scene->Remove(a.instance, &error);
    EXPECT_EQ(scene->SetPart(b, a.part, &error), STATUS_OK);
    EXPECT_TRUE(PartExists(a.part));
    const Placed c = scene.AddEmptyPart();
    scene->SetPart(b, c.part, &error);
    EXPECT_FALSE(PartExists(a.part));
    scene->Remove(assembly, &error);
    EXPECT_TRUE(PartExists(c.part));
    scene->Remove(c.instance, &error);
    EXPECT_FALSE(PartExists(c.part));
    // An instance without part says so in two ways.
    const int bare = AddBareInstance();
    EXPECT_EQ(scene->GetPartID(bare, &id, &error), STATUS_OK);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(Refused(scene->GetPartOfPInstance(bare, &id, &error)), 0);
}

TEST_F(LifeCycle, RefusesParentsThatAreNone) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const Placed p = scene.AddEmptyPart(b);
    const struct {
        int son, parent, error;
    } cases[] = {{5, 5, -3},          {a, a, -3},    {0, 0, -3},  {777, 0, -1},   {p.part, 0, -1},    {0, a, -1},
                 {a, p.instance, -2}, {777, 778, 0}, {a, 777, 0}, {a, p.part, 0}, {0, p.instance, -2}};
    for (const auto& [son, parent, expected] : cases) EXPECT_EQ(SetParent(son, parent), expected) << son << parent;
    EXPECT_EQ((std::vector{Children(0), Children(a), Children(b)}), (std::vector{Ids{a}, Ids{b}, Ids{p.instance}}));
}

TEST_F(LifeCycle, OrdersChildrenAndWalksThem) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly();
    const int c = scene.AddEmptyPart().instance, d = scene.AddEmptyPart().instance;
    EXPECT_EQ(Children(), (Ids{b, a, c, d}));
    SetParent(a, 0);
    SetParent(c, 0);
    EXPECT_EQ(Children(), (Ids{a, b, d, c}));
    SetParent(d, a);
    EXPECT_EQ(Children(), (Ids{a, b, c}));
    EXPECT_EQ(Children(a), Ids{d});
    int id = 0;
    for (const auto& [node, code] : {std::pair{b, -1}, {c, -2}, {d, -2}}) {
        EXPECT_EQ(Refused(scene->GetFirstChild(node, &id, &error)), code);
        EXPECT_EQ(Refused(scene->GetNextChild(node, &id, &error)), code);
    }
    // There is one walk for an assembly, and naming a child uses it up.
    scene->GetFirstChild(0, &id, &error);
    Rename(b, u"B");
    EXPECT_EQ(Refused(scene->GetNextChild(0, &id, &error)), -1);
    // A walk stands what happens to its next child.
    scene->GetFirstChild(0, &id, &error);
    SetParent(b, a);
    EXPECT_EQ(scene->GetNextChild(0, &id, &error), STATUS_OK);
    EXPECT_EQ(id, c);
}

TEST_F(LifeCycle, RemovesSubtreesAtAnyDepth) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a), c = scene.AddAssembly(b);
    const Placed p = scene.AddMesh(Cube(), c), q = scene.AddMesh(Cube(), a);
    EXPECT_EQ(scene->Remove(b, &error), STATUS_OK);
    EXPECT_EQ(error, 1);
    for (const int id : {b, c, p.instance}) EXPECT_FALSE(Exists(id)) << id;
    EXPECT_FALSE(PartExists(p.part));
    EXPECT_EQ(Children(a), Ids{q.instance});
    EXPECT_EQ(Refused(scene->Remove(b, &error)), 0);
}

TEST_F(LifeCycle, LeavesLooseObjectsLooseWhenTheTreeGoes) {
    for (const bool reset : {false, true}) {
        const Placed gone = scene.AddMesh(Cube()), below = scene.AddMesh(Cube());
        int assembly = 0, instance = 0, part = 0;
        scene->CreateAssembly(&assembly);
        SetParent(below.instance, assembly);
        scene->CreatePartInstance(&instance);
        scene->CreatePart(&part);
        scene->Translate(0, 1, 2, 3, &error);
        EXPECT_EQ(reset ? scene->ResetSceneGraph() : scene->Remove(0, &error), STATUS_OK);
        EXPECT_EQ(Children(), Ids{});
        EXPECT_EQ(Transform(0), kIdentity);
        EXPECT_FALSE(PartExists(gone.part));
        EXPECT_EQ((Ids{Parent(assembly), Parent(instance)}), (Ids{-1, -1}));
        EXPECT_EQ(scene->SetPart(instance, part, &error), STATUS_OK);
        SetParent(instance, assembly);
        SetParent(assembly, 0);
        EXPECT_EQ(Children(assembly), (Ids{below.instance, instance}));
        EXPECT_EQ(Box(below.instance), kUnitBox);
    }
}

TEST_F(LifeCycle, TakesUpALooseInstanceOfASharedPartAfterAReset) {
    const Placed shared = scene.AddMesh(Cube(4));
    int instance = 0;
    scene->CreatePartInstance(&instance);
    scene->SetPart(instance, shared.part, &error);
    scene->BeginTriMesh(shared.part, &error);
    scene->ResetSceneGraph();
    EXPECT_FALSE(PartExists(shared.part));
    ASSERT_EQ(SetParent(instance, 0), 1);
    EXPECT_EQ(Box(instance), (Corners{-2, -2, -2, 2, 2, 2}));
    // The mesh that was open then is open still.
    float points[9] = {0, 0, 0, 9, 0, 0, 0, 1, 0};
    EXPECT_EQ(scene->AddTriangle3P(shared.part, points, &error), STATUS_OK);
    EXPECT_EQ(scene->EndTriMesh(shared.part, &error), STATUS_OK);
    EXPECT_EQ(Box(instance)[3], 9);
}

}  // namespace
}  // namespace tessera::test
