// Ids, loose objects, links, removal.
#include "component/host.h"

namespace tessera::test {
namespace {

class LifeCycle : public HostTest {};

TEST_F(LifeCycle, StartsWithAnEmptyRoot) {
    int id = 99, version = 0;
    LONG empty = 0;
    EXPECT_EQ(scene->GetIdRoot(&id), STATUS_OK);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(scene->GetVersion(&version), STATUS_OK);
    EXPECT_EQ(version, 8);
    EXPECT_EQ(scene->IsEmpty(&empty), STATUS_OK);
    EXPECT_EQ(empty, 1);
    EXPECT_EQ(scene->GetNodeType(0, &id, &error), STATUS_OK);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(Name(0), u"/");
    EXPECT_EQ(scene->GetParent(0, &id), STATUS_FAIL);
    EXPECT_EQ(id, -1);
    scene.AddAssembly();
    scene->IsEmpty(&empty);
    EXPECT_EQ(empty, 0);
}

TEST_F(LifeCycle, CountsReferencesAndKnowsItsInterfaces) {
    ITessera* component = nullptr;
    ASSERT_EQ(CreateTessera(&component), STATUS_OK);
    EXPECT_EQ(CreateTessera(nullptr), STATUS_FAIL);
    void* found = nullptr;
    for (const IID& id : {IID_IUnknown, IID_ITessera}) {
        EXPECT_EQ(component->QueryInterface(id, &found), STATUS_OK);
        EXPECT_EQ(found, component);
        EXPECT_EQ(component->Release(), 1u);
    }
    IID other = IID_ITessera;
    other.Data1 ^= 1;
    EXPECT_LT(component->QueryInterface(other, &found), 0);
    EXPECT_EQ(found, nullptr);
    EXPECT_LT(component->QueryInterface(IID_ITessera, nullptr), 0);
    EXPECT_EQ(component->AddRef(), 2u);
    EXPECT_EQ(component->Release(), 1u);
    EXPECT_EQ(component->Release(), 0u);
}

TEST_F(LifeCycle, DrawsAllIdsFromOneCounterThatNeverGoesBack) {
    int a = 0, b = 0, c = 0, d = 0;
    scene->CreateAssembly(&a);
    scene->CreatePart(&b);
    scene->CreatePartInstance(&c);
    EXPECT_EQ((Ids{a, b, c}), (Ids{1, 2, 3}));
    scene->ResetSceneGraph();
    scene->CreateAssembly(nullptr);
    scene->CreateAssembly(&d);
    EXPECT_EQ(d, 5);
    Scene other;
    EXPECT_EQ(other.AddAssembly(), 1);
}

TEST_F(LifeCycle, KnowsLooseObjectsOnlyWhereTheyAreLinked) {
    int assembly = 0, part = 0, instance = 0;
    scene->CreateAssembly(&assembly);
    scene->CreatePart(&part);
    scene->CreatePartInstance(&instance);
    for (const int id : {assembly, part, instance}) EXPECT_FALSE(Exists(id)) << id;
    EXPECT_EQ(scene->BeginTriMesh(part, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(scene->Remove(assembly, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);
    EXPECT_EQ((Ids{Parent(assembly), Parent(instance), Parent(part)}), (Ids{-1, -1, -2}));
    // Under a loose assembly an instance has a parent, but is still out of reach.
    ASSERT_EQ(scene->SetPart(instance, part, &error), STATUS_OK);
    EXPECT_EQ(scene->SetParent(instance, assembly, &error), STATUS_OK);
    EXPECT_EQ(error, 1);
    EXPECT_FALSE(Exists(instance));
    EXPECT_EQ(Parent(instance), -2);
    EXPECT_FALSE(PartExists(part));
    scene->SetParent(assembly, 0, &error);
    EXPECT_TRUE(Exists(instance));
    EXPECT_TRUE(PartExists(part));
    EXPECT_EQ(Parent(instance), assembly);
}

TEST_F(LifeCycle, KeepsOneLooseObjectOfEachKind) {
    int first = 0, second = 0, part = 0, another = 0;
    scene->CreateAssembly(&first);
    scene->CreateAssembly(&second);
    scene->SetParent(first, 0, &error);
    EXPECT_EQ(error, -1);
    scene->SetParent(second, first, &error);
    EXPECT_EQ(error, 0);
    scene->SetParent(second, 0, &error);
    EXPECT_EQ(error, 1);
    scene->CreateAssembly(nullptr);
    EXPECT_TRUE(Exists(second));

    scene->CreatePartInstance(&first);
    scene->CreatePartInstance(&second);
    scene->SetParent(first, 0, &error);
    EXPECT_EQ(error, -1);
    scene->CreatePart(&part);
    scene->CreatePart(&another);
    EXPECT_EQ(scene->SetPart(second, part, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(scene->SetPart(second, another, &error), STATUS_OK);
    EXPECT_EQ(error, 1);
    scene->CreatePart(&part);
    scene->SetParent(second, 0, &error);
    EXPECT_TRUE(PartExists(another));
}

TEST_F(LifeCycle, LinksPartsAndSharesThem) {
    const int assembly = scene.AddAssembly();
    const Placed a = scene.AddMesh(Cube());
    const int b = scene.AddInstance(a.part, assembly);
    const struct {
        int instance, part, error;
    } refused[] = {{assembly, a.part, -1}, {0, a.part, -1}, {777, a.part, -1},
                   {a.part, a.part, -1},   {b, 777, 0},     {b, b, 0},
                   {777, 777, -1}};
    for (const auto& [instance, part, expected] : refused) {
        EXPECT_EQ(scene->SetPart(instance, part, &error), STATUS_FAIL);
        EXPECT_EQ(error, expected) << instance << ' ' << part;
    }
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
}

TEST_F(LifeCycle, TellsAnInstanceWithoutPart) {
    int instance = 0, id = 99;
    scene->CreatePartInstance(&instance);
    scene->SetParent(instance, 0, &error);
    EXPECT_EQ(scene->GetPartID(instance, &id, &error), STATUS_OK);
    EXPECT_EQ(error, 1);
    EXPECT_EQ(id, 0);
    EXPECT_EQ(scene->GetPartOfPInstance(instance, &id, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(scene->GetPartOfPInstance(0, &id, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);
}

TEST_F(LifeCycle, RefusesParentsThatAreNone) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const Placed p = scene.AddEmptyPart(b);
    const struct {
        int son, parent, error;
    } cases[] = {{5, 5, -3},          {a, a, -3},    {0, 0, -3},  {777, 0, -1},   {p.part, 0, -1},    {0, a, -1},
                 {a, p.instance, -2}, {777, 778, 0}, {a, 777, 0}, {a, p.part, 0}, {0, p.instance, -2}};
    for (const auto& [son, parent, expected] : cases) {
        EXPECT_EQ(scene->SetParent(son, parent, &error), STATUS_OK);
        EXPECT_EQ(error, expected) << son << ' ' << parent;
    }
    EXPECT_EQ(Children(0), Ids{a});
    EXPECT_EQ(Children(a), Ids{b});
    EXPECT_EQ(Children(b), Ids{p.instance});
}

TEST_F(LifeCycle, OrdersChildrenAndWalksThem) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly();
    const int c = scene.AddEmptyPart().instance, d = scene.AddEmptyPart().instance;
    EXPECT_EQ(Children(), (Ids{b, a, c, d}));
    scene->SetParent(a, 0, &error);
    scene->SetParent(c, 0, &error);
    EXPECT_EQ(Children(), (Ids{a, b, d, c}));
    scene->SetParent(d, a, &error);
    EXPECT_EQ(Children(), (Ids{a, b, c}));
    EXPECT_EQ(Children(a), Ids{d});

    int id = 0;
    EXPECT_EQ(scene->GetNextChild(b, &id, &error), STATUS_FAIL);
    EXPECT_EQ(error, -1);
    EXPECT_EQ(scene->GetFirstChild(b, &id, &error), STATUS_FAIL);
    EXPECT_EQ(error, -1);
    for (const int other : {c, d}) {
        EXPECT_EQ(scene->GetFirstChild(other, &id, &error), STATUS_FAIL);
        EXPECT_EQ(error, -2);
        EXPECT_EQ(scene->GetNextChild(other, &id, &error), STATUS_FAIL);
        EXPECT_EQ(error, -2);
    }
    // There is one walk for an assembly, and naming a child uses it up.
    scene->GetFirstChild(0, &id, &error);
    Rename(b, u"B");
    EXPECT_EQ(scene->GetNextChild(0, &id, &error), STATUS_FAIL);
    EXPECT_EQ(error, -1);
    // A walk stands what happens to its next child.
    scene->GetFirstChild(0, &id, &error);
    scene->SetParent(b, a, &error);
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
    EXPECT_EQ(scene->Remove(b, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);

    const Array16 moved = Moved(1, 2, 3);
    for (const bool reset : {false, true}) {
        scene.AddMesh(Cube(), scene.AddAssembly());
        scene->Translate(0, 1, 2, 3, &error);
        EXPECT_EQ(Transform(0), moved);
        EXPECT_EQ(reset ? scene->ResetSceneGraph() : scene->Remove(0, &error), STATUS_OK);
        EXPECT_EQ(Children(), Ids{});
        EXPECT_EQ(Transform(0), kIdentity);
        EXPECT_EQ(Name(0), u"/");
    }
}

TEST_F(LifeCycle, LeavesLooseObjectsLooseWhenTheTreeGoes) {
    const Placed below = scene.AddMesh(Cube());
    int assembly = 0, instance = 0, part = 0;
    scene->CreateAssembly(&assembly);
    scene->SetParent(below.instance, assembly, &error);
    scene->CreatePartInstance(&instance);
    scene->CreatePart(&part);
    for (const bool reset : {false, true}) {
        reset ? scene->ResetSceneGraph() : scene->Remove(0, &error);
        EXPECT_EQ((Ids{Parent(assembly), Parent(instance)}), (Ids{-1, -1}));
    }
    EXPECT_EQ(scene->SetPart(instance, part, &error), STATUS_OK);
    scene->SetParent(instance, assembly, &error);
    scene->SetParent(assembly, 0, &error);
    EXPECT_EQ(Children(assembly), (Ids{below.instance, instance}));
    EXPECT_EQ(Box(below.instance), kUnitBox);
}

TEST_F(LifeCycle, TakesUpALooseInstanceOfASharedPartAfterAReset) {
    const Placed shared = scene.AddMesh(Cube(4));
    int instance = 0;
    scene->CreatePartInstance(&instance);
    scene->SetPart(instance, shared.part, &error);
    scene->BeginTriMesh(shared.part, &error);
    scene->ResetSceneGraph();
    EXPECT_FALSE(PartExists(shared.part));
    scene->SetParent(instance, 0, &error);
    ASSERT_EQ(error, 1);
    EXPECT_EQ(Box(instance), (Corners{-2, -2, -2, 2, 2, 2}));
    // The mesh that was open then is open still.
    float points[9] = {0, 0, 0, 9, 0, 0, 0, 1, 0};
    EXPECT_EQ(scene->AddTriangle3P(shared.part, points, &error), STATUS_OK);
    EXPECT_EQ(scene->EndTriMesh(shared.part, &error), STATUS_OK);
    EXPECT_EQ(Box(instance)[3], 9);
    scene.Draw();
}

}  // namespace
}  // namespace tessera::test
