// Placement of nodes, and the folding of an exploded view into it.
#include <numbers>

#include "component/host.h"

namespace tessera::test {
namespace {

constexpr float kQuarter = std::numbers::pi_v<float> / 2;

class Transforms : public HostTest {
protected:
    Array16 Explode(int node) {
        Array16 m{};
        scene->GetExplodeTransform(node, m.data(), &error);
        return m;
    }
    // A cube of size 2 about (x, y, z).
    static Corners Around(float x, float y, float z) { return {x - 1, y - 1, z - 1, x + 1, y + 1, z + 1}; }
};

TEST_F(Transforms, ActOnTheParentsAxes) {
    const int node = scene.AddMesh(Cube()).instance;
    scene->Translate(node, 1, 2, 3, &error);
    scene->RotateZ(node, kQuarter, &error);
    ExpectNear(Box(node), Around(2, -1, 3));
    scene->RotateX(node, kQuarter, &error);
    ExpectNear(Box(node), Around(2, 3, 1));
    scene->RotateY(node, kQuarter, &error);
    ExpectNear(Box(node), Around(-1, 3, 2));
    scene->Translate(node, 10, 0, 0, &error);
    ExpectNear(Box(node), Around(9, 3, 2));
    Array16 m = Moved(0, 0, 100);
    m[0] = 2;
    scene->ApplyTransform(node, m.data(), &error);
    ExpectNear(Box(node), {16, 2, 101, 20, 4, 103}, 1e-4F);
    scene->SetTransform(node, m.data(), &error);
    EXPECT_EQ(Transform(node), m);
    scene->RotateX(node, kQuarter, &error);
    ExpectNear(Transform(node), {2, 0, 0, 0, 0, 0, -1, 0, 0, 1, 0, 0, 0, 100, 0, 1}, 1e-5);
}

TEST_F(Transforms, MirrorTheMatrix) {
    const struct {
        HRESULT (ITessera::*mirror)(int, int*);
        Corners box;
    } cases[] = {{&ITessera::MirrorXY, Around(5, 6, -7)},
                 {&ITessera::MirrorXZ, Around(5, -6, 7)},
                 {&ITessera::MirrorYZ, Around(-5, 6, 7)}};
    for (const auto& [mirror, box] : cases) {
        const int node = scene.AddMesh(Cube()).instance;
        scene->Translate(node, 5, 6, 7, &error);
        (scene.operator->()->*mirror)(node, &error);
        ExpectNear(Box(node), box);
        (scene.operator->()->*mirror)(node, &error);
        ExpectNear(Box(node), Around(5, 6, 7));
        EXPECT_EQ(Transform(node), Moved(5, 6, 7));
    }
}

TEST_F(Transforms, ComposeUpToTheRoot) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const int node = scene.AddMesh(Cube(), b).instance;
    scene->Translate(node, 1, 0, 0, &error);
    scene->RotateZ(b, kQuarter, &error);
    scene->Translate(a, 0, 0, 5, &error);
    scene->RotateX(0, kQuarter, &error);
    // (0,0,0) -> (1,0,0) -> (0,-1,0) -> (0,-1,5) -> (0,5,1)
    for (const int id : {0, a, b, node}) ExpectNear(Box(id), Around(0, 5, 1));
}

TEST_F(Transforms, ScaleGoesIntoTheGeometryOnceAnInstance) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a);
    const int twin = scene.AddInstance(p.part, a);
    scene->Scale(p.instance, 2, 3, 4, &error);
    EXPECT_EQ(Transform(p.instance), kIdentity);
    for (const int id : {p.instance, twin}) ExpectNear(Box(id), {-2, -3, -4, 2, 3, 4});
    scene->Scale(a, 2, 1, 1, &error);
    ExpectNear(Box(twin), {-8, -3, -4, 8, 3, 4});
    EXPECT_EQ(Transform(a), kIdentity);
}

TEST_F(Transforms, ExplodedBoxesFollowTheLastDraw) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a);
    scene->RotateZ(a, kQuarter, &error);
    scene->Translate(p.instance, 1, 0, 0, &error);
    scene->TranslateExplode(a, 10, 0, 0, &error);
    scene->TranslateExplode(p.instance, 0, 0, 10, &error);
    const Corners together = Around(0, -1, 0), apart = Around(10, -1, 10);
    ExpectNear(Box(0), together);
    scene->DrawExplode(0, 0, &error);
    for (const int id : {0, a, p.instance}) ExpectNear(Box(id), apart);
    scene->RotateExplode(p.instance, 1, 2, 3, 1, &error);
    ExpectNear(Box(0), apart);
    EXPECT_EQ(Explode(p.instance), Moved(0, 0, 10));
    scene.Draw();
    for (const int id : {0, a, p.instance}) ExpectNear(Box(id), together);
    const Array16 up = Moved(0, 7, 0);
    Array16 given = up;
    scene->SetExplodeTransform(a, given.data(), &error);
    scene->ApplyExplodeTransform(a, given.data(), &error);
    EXPECT_EQ(Explode(a), Moved(0, 14, 0));
}

TEST_F(Transforms, FoldAnInstancesExplodeOffset) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a);
    scene->RotateZ(a, kQuarter, &error);
    scene->Translate(p.instance, 1, 0, 0, &error);
    const Array16 before = Transform(p.instance);
    scene->ApplyExplodeToNodeMatrix(p.instance, &error);
    ExpectNear(Transform(p.instance), before, 1e-12);
    scene->TranslateExplode(a, 100, 0, 0, &error);
    scene->TranslateExplode(p.instance, 0, 0, 10, &error);
    scene->ApplyExplodeToNodeMatrix(p.instance, &error);
    EXPECT_EQ(Explode(p.instance), kIdentity);
    EXPECT_EQ(Explode(a), Moved(100, 0, 0));
    ExpectNear(Box(p.instance), Around(0, -1, 10));
}

TEST_F(Transforms, FoldAnAssemblysExplodeOffset) {
    // Two levels: only the named assembly is cleared, what the others have moves into the placement as well.
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const Placed p = scene.AddMesh(Cube(), a), q = scene.AddMesh(Cube(), b);
    scene->RotateZ(a, kQuarter, &error);
    scene->RotateX(b, kQuarter, &error);
    scene->TranslateExplode(a, 10, 0, 0, &error);
    scene->TranslateExplode(b, 0, 20, 0, &error);
    scene->TranslateExplode(p.instance, 0, 0, 30, &error);
    scene->TranslateExplode(q.instance, 0, 0, 40, &error);
    const Array16 matrixOfA = Transform(a), matrixOfB = Transform(b);
    scene->ApplyExplodeToNodeMatrix(a, &error);
    EXPECT_EQ(Explode(a), kIdentity);
    EXPECT_EQ(Explode(b), Moved(0, 20, 0));
    EXPECT_EQ(Explode(p.instance), Moved(0, 0, 30));
    EXPECT_EQ(Transform(a), matrixOfA);
    EXPECT_EQ(Transform(b), matrixOfB);
    ExpectNear(Box(p.instance), Around(10, 0, 30), 1e-4F);
    // b's own offset goes down and is taken out again on the way.
    ExpectNear(Box(q.instance), Around(10, 0, 40), 1e-4F);
    // The offsets that stayed act once more in an exploded view.
    scene->DrawExplode(0, 0, &error);
    ExpectNear(Box(p.instance), Around(10, 0, 60), 1e-4F);
    ExpectNear(Box(q.instance), Around(10, 20, 80), 1e-4F);
}

TEST_F(Transforms, TakeTheIdentityForTheInverseOfASingularMatrix) {
    const int a = scene.AddAssembly();
    const Placed p = scene.AddMesh(Cube(), a);
    Array16 flat = Moved(1, 0, 0);
    flat[10] = 0;
    scene->SetTransform(a, flat.data(), &error);
    scene->TranslateExplode(p.instance, 0, 3, 0, &error);
    scene->ApplyExplodeToNodeMatrix(p.instance, &error);
    Array16 expected = flat;
    expected[13] = 3;
    ExpectNear(Transform(p.instance), expected, 1e-6);
}

}  // namespace
}  // namespace tessera::test
