// Bound boxes: what counts, what is kept, and in which frame.
#include <numbers>

#include "component/host.h"

namespace tessera::test {
namespace {

class Boxes : public HostTest {
protected:
    Corners BoxIn(int node, const Array16& reference) {
        Array16 given = reference;
        Corners box{};
        scene->GetBoundBoxRelativeFrame(node, given.data(), box.data(), box.data() + 3, &error);
        return box;
    }
};

TEST_F(Boxes, OfNothing) {
    EXPECT_EQ(Box(0), kUnitBox);
    const int a = scene.AddAssembly();
    scene->Translate(a, 50, 0, 0, &error);
    EXPECT_EQ(Box(a), kUnitBox);
    const int empty = scene.AddEmptyPart(a).instance;
    const int bare = AddBareInstance(a);
    for (const int id : {empty, bare, a}) EXPECT_EQ(Box(id), kEmptyBox) << id;
    EXPECT_EQ(Box(0), kEmptyBox);
    // A disabled assembly counts like an empty one, a disabled instance like none.
    const int mesh = scene.AddMesh(Cube(10), a).instance;
    EXPECT_EQ(Box(a)[3], 55);
    scene->EnableDrawing(mesh, 0, &error);
    EXPECT_EQ(Box(mesh), kEmptyBox);
    EXPECT_EQ(Box(a), kEmptyBox);
    scene->EnableDrawing(mesh, 1, &error);
    scene->EnableDrawing(a, 0, &error);
    EXPECT_EQ(Box(0), kUnitBox);
    EXPECT_EQ(Box(mesh)[3], 55);
}

TEST_F(Boxes, TakeInEveryVertexWhateverIsVisible) {
    for (const TestMesh& mesh : MeshSuite()) {
        const Placed p = scene.AddMesh(mesh);
        Corners expected = kEmptyBox;
        for (std::size_t i = 0; i < mesh.soup.size(); ++i) {
            expected[i % 3] = std::min(expected[i % 3], mesh.soup[i]);
            expected[3 + i % 3] = std::max(expected[3 + i % 3], mesh.soup[i]);
        }
        EXPECT_EQ(Box(p.instance), expected) << mesh.name;
        scene->SwitchTriMeshVisibility(p.instance, 0, &error);
        EXPECT_EQ(Box(p.instance), expected) << mesh.name;
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
    scene->Translate(scene.AddInstance(p.part, a), 5, 0, 0, &error);
    scene->Translate(scene.AddInstance(p.part, a), 0, -7, 0, &error);
    EXPECT_EQ(Box(a), (Corners{-1, -8, -1, 6, 1, 1}));
    // An empty assembly beside them reports its unit box, where no matrix moves it.
    scene->Translate(a, 100, 0, 0, &error);
    EXPECT_EQ(Box(0)[0], 99);
    scene.AddAssembly(a);
    EXPECT_EQ(Box(0), (Corners{-1, -8, -1, 106, 1, 1}));
}

TEST_F(Boxes, AreKeptUntilSomethingMoves) {
    const Placed p = scene.AddMesh(Cube());
    const int other = scene.AddMesh(Cube()).instance;
    Corners expected = kUnitBox;
    // Each of these stales the box of another node too.
    const auto moves = [&](int i) {
        switch (i) {
            case 0: return scene->Scale(p.instance, 2, 1, 1, &error);
            case 1: return scene->Translate(p.instance, 1, 0, 0, &error);
            case 2: return scene->MirrorYZ(p.instance, &error);
            case 3: return scene->SetParent(p.instance, 0, &error);
            default: scene.AddMeshTo(p.part, Cube(20).soup); return STATUS_OK;
        }
    };
    const Corners boxes[] = {{-2, -1, -1, 2, 1, 1},
                             {-1, -1, -1, 3, 1, 1},
                             {-3, -1, -1, 1, 1, 1},
                             {-3, -1, -1, 1, 1, 1},
                             {-11, -10, -10, 9, 10, 10}};
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Box(p.instance), expected);
        moves(i);
        expected = boxes[i];
        EXPECT_EQ(Box(p.instance), expected) << i;
        EXPECT_EQ(Box(other), kUnitBox);
    }
    // Differences up to 1e-8 in a matrix find the kept box, which shows far from the origin.
    const Placed far = scene.AddMesh(Cube(2, {1e9F, 0, 0}));
    const Corners kept = Box(far.instance);
    Array16 turned = kIdentity;
    turned[1] = 0.9e-8;
    EXPECT_EQ(BoxIn(far.instance, turned), kept);
    turned[1] = 2e-8;
    EXPECT_GT(BoxIn(far.instance, turned)[4], 20);
    EXPECT_EQ(Box(far.instance), kept);
}

TEST_F(Boxes, AreThoseOfAnotherFrameWhenAsked) {
    const int a = scene.AddAssembly();
    const int node = scene.AddMesh(Cube(), a).instance;
    scene->Translate(a, 5, 0, 0, &error);
    Array16 quarter = {0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 50, 1};  // (x, y, z) to (-y, x, z + 50)
    for (const int id : {0, a, node}) {
        ExpectNear(BoxIn(id, quarter), {-1, 4, 49, 1, 6, 51});
        ExpectNear(Box(id), {4, -1, -1, 6, 1, 1});
    }
    quarter[0] = quarter[5] = 0.6, quarter[1] = 0.8, quarter[4] = -0.8;
    EXPECT_NEAR(BoxIn(node, quarter)[3], 0.6 * 6 + 0.8, 1e-5);
}

TEST_F(Boxes, KeptUnderAMovedRootHoldUntilTheNextChange) {
    // Far out the kept box shows: it stands for turns that move this cube by 9 units.
    const int node = scene.AddMesh(Cube(2, {1e9F, 0, 0})).instance, other = scene.AddAssembly();
    const Corners kept = Box(node);
    Array16 turned = kIdentity;
    turned[1] = 0.9e-8;
    scene->SetTransform(0, turned.data(), &error);
    EXPECT_EQ(Box(node), kept);
    scene->SetExplodeTransform(0, Array16(kIdentity).data(), &error);
    EXPECT_NEAR(Box(node)[4], 10, 0.01);
    scene->SetTransform(0, Array16(kIdentity).data(), &error);
    EXPECT_NEAR(Box(node)[4], 10, 0.01);
    scene->SetTransform(other, turned.data(), &error);
    EXPECT_EQ(Box(node), kept);
}

}  // namespace
}  // namespace tessera::test
