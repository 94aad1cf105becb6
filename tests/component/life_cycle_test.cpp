// Ids, loose objects, links, removal.
#include "component/host.h"

namespace tessera::test {
namespace {

class LifeCycle : public HostTest {};

TEST_F(LifeCycle, StartsWithAnEmptyRootAndCountsUp) {
    int root = 99, version = 0;
    LONG empty = 0;
    EXPECT_EQ(scene->GetIdRoot(&root), STATUS_OK);
    scene->GetVersion(&version);
    scene->IsEmpty(&empty);
    EXPECT_EQ((Ids{root, version, empty, Loose(&T::CreateAssembly), Loose(&T::CreatePart),
                   Loose(&T::CreatePartInstance), Parent(0)}),
              (Ids{0, 8, 1, 1, 2, 3, -1}));
    EXPECT_EQ(scene->GetParent(0, &root), STATUS_FAIL);
    EXPECT_EQ(Name(0), u"/");
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
    EXPECT_TRUE(host->QueryInterface(IID_ITessera, &found) == STATUS_OK && found == host && host->Release() == 1);
    EXPECT_TRUE(host->QueryInterface(other, &found) < 0 && found == nullptr);
}

TEST_F(LifeCycle, KnowsLooseObjectsOnlyWhereTheyAreLinked) {
    const int a = Loose(&T::CreateAssembly), p = Loose(&T::CreatePart), i = Loose(&T::CreatePartInstance);
    EXPECT_EQ(Known({a, p, i}), Ids{});
    EXPECT_EQ((Ids{Remove(a), Parent(a), Parent(i), Parent(p)}), (Ids{0, -1, -1, -2}));
    // Under a loose assembly an instance has a parent, but is still out of reach.
    EXPECT_EQ((Ids{SetPart(i, p), SetParent(i, a), Parent(i), PartExists(p)}), (Ids{1, 1, -2, 0}));
    EXPECT_EQ(Known({i}), Ids{});
    EXPECT_EQ((Ids{SetParent(a, 0), Parent(i), PartExists(p)}), (Ids{1, a, 1}));
    EXPECT_EQ(Known({i}), Ids{i});
}

TEST_F(LifeCycle, KeepsOneLooseObjectOfEachKind) {
    const int a = Loose(&T::CreateAssembly), b = Loose(&T::CreateAssembly);
    EXPECT_EQ((Ids{SetParent(a, 0), SetParent(b, a), SetParent(b, 0)}), (Ids{-1, 0, 1}));
    const int i = Loose(&T::CreatePartInstance), j = Loose(&T::CreatePartInstance);
    const int p = Loose(&T::CreatePart), q = Loose(&T::CreatePart);
    EXPECT_EQ((Ids{SetParent(i, 0), SetPart(j, p), SetPart(j, q)}), (Ids{-1, 0, 1}));
    Loose(&T::CreatePart);
    EXPECT_EQ((Ids{SetParent(j, 0), PartExists(q)}), (Ids{1, 1}));
}

TEST_F(LifeCycle, LinksPartsAndSharesThem) {
    const int assembly = scene.AddAssembly(), bare = AddBareInstance();
    const Placed a = scene.AddMesh(Cube()), c = scene.AddEmptyPart();
    const int b = scene.AddInstance(a.part, assembly);
    for (const int other : {assembly, 0, 777, a.part}) EXPECT_EQ(SetPart(other, a.part), -1);
    for (const int other : {777, b}) EXPECT_EQ(SetPart(b, other), 0);
    EXPECT_EQ(Get(&T::GetPartOfPInstance, b), a.part);
    // The part goes with its last instance, by removal or by another part.
    EXPECT_EQ((Ids{SetPart(b, a.part), Remove(a.instance), SetPart(b, a.part), PartExists(a.part)}), Ids(4, 1));
    EXPECT_EQ((Ids{SetPart(b, c.part), PartExists(a.part)}), (Ids{1, 0}));
    EXPECT_EQ((Ids{Remove(assembly), PartExists(c.part)}), (Ids{1, 1}));
    EXPECT_EQ((Ids{Remove(c.instance), PartExists(c.part)}), (Ids{1, 0}));
    // An instance without part says so in two ways.
    EXPECT_EQ((Ids{Get(&T::GetPartID, bare, 9), error}), (Ids{0, 1}));
    EXPECT_EQ((Ids{Get(&T::GetPartOfPInstance, bare, 9), error}), (Ids{0, 0}));
}

TEST_F(LifeCycle, RefusesParentsThatAreNone) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const Placed p = scene.AddEmptyPart(b);
    // Son, parent, error code.
    const int cases[][3] = {{5, 5, -3},      {a, a, -3},     {0, 0, -3},          {777, 0, -1},
                            {p.part, 0, -1}, {0, a, -1},     {a, p.instance, -2}, {777, 778, 0},
                            {a, 777, 0},     {a, p.part, 0}, {0, p.instance, -2}};
    for (const auto& [son, parent, expected] : cases) EXPECT_EQ(SetParent(son, parent), expected) << son << parent;
    EXPECT_EQ((std::vector{Children(0), Children(a), Children(b)}), (std::vector{Ids{a}, Ids{b}, Ids{p.instance}}));
}

TEST_F(LifeCycle, OrdersChildrenAndWalksThem) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly();
    const int c = scene.AddEmptyPart().instance, d = scene.AddEmptyPart().instance;
    EXPECT_EQ(Children(), (Ids{b, a, c, d}));
    SetParent(a, 0), SetParent(c, 0);
    EXPECT_EQ(Children(), (Ids{a, b, d, c}));
    SetParent(d, a);
    EXPECT_EQ((std::vector{Children(), Children(a)}), (std::vector{Ids{a, b, c}, Ids{d}}));
    int id = 0;
    for (const auto& [node, code] : {std::pair{b, -1}, {c, -2}, {d, -2}})
        for (const auto walk : {&T::GetFirstChild, &T::GetNextChild})
            EXPECT_EQ(Code((host->*walk)(node, &id, &error)), code);
    // There is one walk for an assembly, and naming a child uses it up.
    scene->GetFirstChild(0, &id, &error);
    Rename(b, u"B");
    EXPECT_EQ(Code(scene->GetNextChild(0, &id, &error)), -1);
    // A walk stands what happens to its next child.
    scene->GetFirstChild(0, &id, &error);
    SetParent(b, a);
    EXPECT_EQ(Get(&T::GetNextChild, 0), c);
}

TEST_F(LifeCycle, RemovesSubtreesAtAnyDepth) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a), c = scene.AddAssembly(b);
    const Placed p = scene.AddMesh(Cube(), c), q = scene.AddMesh(Cube(), a);
    EXPECT_EQ((Ids{Remove(b), PartExists(p.part), Remove(b)}), (Ids{1, 0, 0}));
    EXPECT_EQ(Known({a, b, c, p.instance, q.instance}), (Ids{a, q.instance}));
    EXPECT_EQ(Children(a), Ids{q.instance});
}

TEST_F(LifeCycle, LeavesLooseObjectsLooseWhenTheTreeGoes) {
    for (const bool reset : {false, true}) {
        const Placed gone = scene.AddMesh(Cube()), below = scene.AddMesh(Cube());
        const int assembly = Loose(&T::CreateAssembly);
        SetParent(below.instance, assembly);
        const int instance = Loose(&T::CreatePartInstance), part = Loose(&T::CreatePart);
        scene.Translate(0, 1, 2, 3);
        EXPECT_EQ(reset ? scene->ResetSceneGraph() : scene->Remove(0, &error), STATUS_OK);
        EXPECT_EQ(Children(), Ids{});
        EXPECT_EQ(Transform(0), kIdentity);
        EXPECT_EQ((Ids{PartExists(gone.part), Parent(assembly), Parent(instance)}), (Ids{0, -1, -1}));
        EXPECT_EQ((Ids{SetPart(instance, part), SetParent(instance, assembly), SetParent(assembly, 0)}), Ids(3, 1));
        EXPECT_EQ(Children(assembly), (Ids{below.instance, instance}));
        EXPECT_EQ(Box(below.instance), kUnitBox);
    }
}

TEST_F(LifeCycle, TakesUpALooseInstanceOfASharedPartAfterAReset) {
    const Placed shared = scene.AddMesh(Cube(4));
    const int instance = Loose(&T::CreatePartInstance);
    SetPart(instance, shared.part);
    scene->BeginTriMesh(shared.part, &error);
    scene->ResetSceneGraph();
    EXPECT_EQ((Ids{PartExists(shared.part), SetParent(instance, 0)}), (Ids{0, 1}));
    EXPECT_EQ(Box(instance), (Corners{-2, -2, -2, 2, 2, 2}));
    // The mesh that was open then is open still.
    float points[9] = {0, 0, 0, 9, 0, 0, 0, 1, 0};
    EXPECT_EQ(Code(scene->AddTriangle3P(shared.part, points, &error)), 1);
    EXPECT_EQ(scene->EndTriMesh(shared.part, &error), STATUS_OK);
    EXPECT_EQ(Box(instance)[3], 9);
}

}  // namespace
}  // namespace tessera::test
