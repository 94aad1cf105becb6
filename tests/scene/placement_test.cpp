// Placement of nodes, the folding of an exploded view into it, and bound boxes: what counts, what is kept, and in which
// frame.
#include <algorithm>
#include <numbers>

#include "component/host.h"

namespace tessera::test {
namespace {

constexpr float kQuarter = std::numbers::pi_v<float> / 2;

class Transforms : public HostTest {
protected:
    Array16 Explode(int node) { return Transform(node, &T::GetExplodeTransform); }
    void TurnZ(int node) { scene->RotateZ(node, kQuarter, &error); }
    void Offset(int node, float x, float y, float z) { scene->TranslateExplode(node, x, y, z, &error); }
    void Fold(int node) { scene->ApplyExplodeToNodeMatrix(node, &error); }
    // Boxes of cubes of size 2 about (x, y, z).
    static Corners Around(float x, float y, float z) { return {x - 1, y - 1, z - 1, x + 1, y + 1, z + 1}; }
    void ExpectAround(const Ids& nodes, float x, float y, float z) {
        for (const int id : nodes) ExpectNear(Box(id), Around(x, y, z), 1e-4);
    }

    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const Placed p = scene.AddMesh(Cube(), a), q = scene.AddMesh(Cube(), b);
};

TEST_F(Transforms, ActOnTheParentsAxes) {
    const int node = p.instance;
    scene.Translate(node, 1, 2, 3);
    TurnZ(node);
    ExpectAround({node}, 2, -1, 3);
    scene->RotateX(node, kQuarter, &error);
    ExpectAround({node}, 2, 3, 1);
    scene->RotateY(node, kQuarter, &error);
    ExpectAround({node}, -1, 3, 2);
    scene.Translate(node, 10, 0, 0);
    ExpectAround({node}, 9, 3, 2);
    Array16 m = Moved(0, 0, 100);
    m[0] = 2;
    scene->ApplyTransform(node, m.data(), &error);
    ExpectNear(Box(node), {16, 2, 101, 20, 4, 103}, 1e-4F);
    scene->SetTransform(node, m.data(), &error);
    EXPECT_EQ(Transform(node), m);
    scene->RotateX(node, kQuarter, &error);
    ExpectNear(Transform(node), {2, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 100, 0, 1}, 1e-5);
    const std::pair<HRESULT (T::*)(int, int*), Corners> mirrors[] = {
        {&T::MirrorXY, Around(5, 6, -7)}, {&T::MirrorXZ, Around(5, -6, 7)}, {&T::MirrorYZ, Around(-5, 6, 7)}};
    for (const auto& [mirror, box] : mirrors) {
        scene->SetTransform(node, Moved(5, 6, 7).data(), &error);
        (host->*mirror)(node, &error);
        ExpectNear(Box(node), box);
        (host->*mirror)(node, &error);
        EXPECT_EQ(Transform(node), Moved(5, 6, 7));
    }
}

TEST_F(Transforms, ComposeUpToTheRoot) {
    scene.Translate(q.instance, 1, 0, 0);
    TurnZ(b);
    scene.Translate(a, 0, 0, 5);
    scene->RotateX(0, kQuarter, &error);
    ExpectAround({b, q.instance}, 0, 5, 1);  // (0,0,0) -> (1,0,0) -> (0,-1,0) -> (0,-1,5) -> (0,5,1)
    ExpectAround({p.instance}, 0, 5, 0);
    ExpectNear(Box(0), Corners{-1, 4, -1, 1, 6, 2});
}

TEST_F(Transforms, ScaleGoesIntoTheGeometryOnceAnInstance) {
    const int twin = scene.AddInstance(p.part, a);
    scene->Scale(p.instance, 2, 3, 4, &error);
    for (const int id : {p.instance, twin}) ExpectNear(Box(id), {-2, -3, -4, 2, 3, 4});
    scene->Scale(a, 2, 1, 1, &error);
    ExpectNear(Box(twin), {-8, -3, -4, 8, 3, 4});
    for (const int id : {p.instance, a}) EXPECT_EQ(Transform(id), kIdentity);
}

TEST_F(Transforms, ExplodedBoxesFollowTheLastDraw) {
    Remove(b);
    const Ids all = {0, a, p.instance};
    TurnZ(a);
    scene.Translate(p.instance, 1, 0, 0);
    Offset(a, 10, 0, 0);
    Offset(p.instance, 0, 0, 10);
    ExpectAround(all, 0, -1, 0);
    scene->DrawExplode(0, 0, &error);
    ExpectAround(all, 10, -1, 10);
    scene->RotateExplode(p.instance, 1, 2, 3, 1, &error);
    ExpectAround(all, 10, -1, 10);
    EXPECT_EQ(Explode(p.instance), Moved(0, 0, 10));
    scene.Draw();
    ExpectAround(all, 0, -1, 0);
    for (const auto set : {&T::SetExplodeTransform, &T::ApplyExplodeTransform})
        (host->*set)(a, Moved(0, 7, 0).data(), &error);
    EXPECT_EQ(Explode(a), Moved(0, 14, 0));
}

TEST_F(Transforms, FoldAnInstancesExplodeOffset) {
    TurnZ(a);
    scene.Translate(p.instance, 1, 0, 0);
    const Array16 before = Transform(p.instance);
    Fold(p.instance);
    ExpectNear(Transform(p.instance), before, 1e-12);
    Offset(a, 100, 0, 0);
    Offset(p.instance, 0, 0, 10);
    Fold(p.instance);
    EXPECT_TRUE(Explode(p.instance) == kIdentity && Explode(a) == Moved(100, 0, 0));
    ExpectAround({p.instance}, 0, -1, 10);
    // The identity stands for the inverse of a singular matrix.
    Array16 flat = Moved(1, 0, 0);
    flat[10] = 0;
    scene->SetTransform(a, flat.data(), &error);
    Offset(q.instance, 0, 3, 0);
    Fold(q.instance);
    flat[13] = 3;
    ExpectNear(Transform(q.instance), flat, 1e-6);
}

TEST_F(Transforms, FoldAnAssemblysExplodeOffset) {
    // Two levels: only the named assembly is cleared, what the others have moves into the placement as well.
    TurnZ(a);
    scene->RotateX(b, kQuarter, &error);
    Offset(a, 10, 0, 0);
    Offset(b, 0, 20, 0);
    Offset(p.instance, 0, 0, 30);
    Offset(q.instance, 0, 0, 40);
    const Array16 matrixOfA = Transform(a), matrixOfB = Transform(b);
    Fold(a);
    EXPECT_TRUE(Explode(a) == kIdentity && Explode(b) == Moved(0, 20, 0) && Explode(p.instance) == Moved(0, 0, 30));
    EXPECT_TRUE(Transform(a) == matrixOfA && Transform(b) == matrixOfB);
    ExpectAround({p.instance}, 10, 0, 30);
    // b's own offset goes down and is taken out again on the way.
    ExpectAround({q.instance}, 10, 0, 40);
    // The offsets that stayed act once more in an exploded view.
    scene->DrawExplode(0, 0, &error);
    ExpectAround({p.instance}, 10, 0, 60);
    ExpectAround({q.instance}, 10, 20, 80);
}

class Boxes : public HostTest {
protected:
    Corners BoxIn(int node, Array16 reference) {
        Corners box{};
        scene->GetBoundBoxRelativeFrame(node, reference.data(), box.data(), box.data() + 3, &error);
        return box;
    }
};

TEST_F(Boxes, OfNothing) {
    const int a = scene.AddAssembly();
    scene.Translate(a, 50, 0, 0);
    EXPECT_TRUE(Box(0) == kUnitBox && Box(a) == kUnitBox);
    const int empty = scene.AddEmptyPart(a).instance, bare = AddBareInstance(a);
    for (const int id : {empty, bare, a, 0}) EXPECT_EQ(Box(id), kEmptyBox) << id;
    // A disabled assembly counts like an empty one, a disabled instance like none.
    const int mesh = scene.AddMesh(Cube(10), a).instance;
    EXPECT_EQ(Box(a)[3], 55);
    scene->EnableDrawing(mesh, 0, &error);
    EXPECT_TRUE(Box(mesh) == kEmptyBox && Box(a) == kEmptyBox);
    scene->EnableDrawing(mesh, 1, &error);
    scene->EnableDrawing(a, 0, &error);
    EXPECT_TRUE(Box(0) == kUnitBox && Box(mesh)[3] == 55);
}

TEST_F(Boxes, TakeInEveryVertexWhateverIsVisible) {
    for (const TestMesh& mesh : MeshSuite()) {
        const int node = scene.AddMesh(mesh).instance;
        Corners expected = kEmptyBox;
        for (std::size_t i = 0; i < mesh.soup.size(); ++i) {
            expected[i % 3] = std::min(expected[i % 3], mesh.soup[i]);
            expected[3 + i % 3] = std::max(expected[3 + i % 3], mesh.soup[i]);
        }
        scene->SwitchTriMeshVisibility(node, 0, &error);
        EXPECT_EQ(Box(node), expected) << mesh.name;
    }
    // A true bound of the turned mesh, not a turned box.
    const Placed p = scene.AddMesh(Sphere(64, 32));
    scene->RotateZ(p.instance, 0.7F, &error);
    scene->RotateX(p.instance, 0.4F, &error);
    ExpectNear(Box(p.instance), kUnitBox, 0.01F);
    scene.AddMeshTo(p.part, Cube(1, {9, 0, 0}).soup);
    EXPECT_GT(Box(p.instance)[3], 7);
}

TEST_F(Boxes, JoinSiblings) {
    const int a = scene.AddAssembly();
    scene.AddEmptyPart(a);
    const Placed p = scene.AddMesh(Cube(), a);
    scene.Translate(scene.AddInstance(p.part, a), 5, 0, 0);
    scene.Translate(scene.AddInstance(p.part, a), 0, -7, 0);
    EXPECT_EQ(Box(a), (Corners{-1, -8, -1, 6, 1, 1}));
    // An empty assembly beside them reports its unit box, where no matrix moves it.
    scene.Translate(a, 100, 0, 0);
    EXPECT_EQ(Box(0)[0], 99);
    scene.AddAssembly(a);
    EXPECT_EQ(Box(0), (Corners{-1, -8, -1, 106, 1, 1}));
}

TEST_F(Boxes, AreKeptUntilSomethingMoves) {
    const Placed p = scene.AddMesh(Cube());
    const int other = scene.AddMesh(Cube()).instance;
    const auto expect = [&](const Corners& box) { EXPECT_TRUE(Box(p.instance) == box && Box(other) == kUnitBox); };
    // Each of these stales the box of another node too.
    expect(kUnitBox);
    scene->Scale(p.instance, 2, 1, 1, &error);
    expect({-2, -1, -1, 2, 1, 1});
    scene.Translate(p.instance, 1, 0, 0);
    expect({-1, -1, -1, 3, 1, 1});
    scene->MirrorYZ(p.instance, &error);
    expect({-3, -1, -1, 1, 1, 1});
    SetParent(p.instance, 0);
    expect({-3, -1, -1, 1, 1, 1});
    scene.AddMeshTo(p.part, Cube(20).soup);
    expect({-11, -10, -10, 9, 10, 10});
    // Differences up to 1e-8 in a matrix find the kept box, which shows far out: such turns move this cube by 9 units.
    const int far = scene.AddMesh(Cube(2, {1e9F, 0, 0})).instance;
    const Corners kept = Box(far);
    Array16 turned = kIdentity, unturned = kIdentity;
    turned[1] = 2e-8;
    EXPECT_GT(BoxIn(far, turned)[4], 20);
    EXPECT_EQ(Box(far), kept);
    turned[1] = 0.9e-8;
    EXPECT_EQ(BoxIn(far, turned), kept);
    // Under a moved root what is kept holds until the next change.
    scene->SetTransform(0, turned.data(), &error);
    EXPECT_EQ(Box(far), kept);
    scene->SetExplodeTransform(0, unturned.data(), &error);
    EXPECT_NEAR(Box(far)[4], 10, 0.01);
    scene->SetTransform(0, unturned.data(), &error);
    EXPECT_NEAR(Box(far)[4], 10, 0.01);
    scene->SetTransform(other, turned.data(), &error);
    EXPECT_EQ(Box(far), kept);
}

TEST_F(Boxes, AreThoseOfAnotherFrameWhenAsked) {
    const int a = scene.AddAssembly(), node = scene.AddMesh(Cube(), a).instance;
    scene.Translate(a, 5, 0, 0);
    Array16 quarter = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 50, 1};  // (x, y, z) to (-y, x, z + 50)
    for (const int id : {0, a, node}) {
        ExpectNear(BoxIn(id, quarter), {-1, 4, 49, 1, 6, 51});
        ExpectNear(Box(id), {4, -1, -1, 6, 1, 1});
    }
    quarter[0] = quarter[5] = 0.6, quarter[1] = 0.8, quarter[4] = -0.8;
    EXPECT_NEAR(BoxIn(node, quarter)[3], 0.6 * 6 + 0.8, 1e-5);
}

}  // namespace
}  // namespace tessera::test
