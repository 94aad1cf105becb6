// Levels of detail: what the decimator is asked, and which level is drawn.
#include <cmath>

#include "render_fixture.h"

namespace tessera::test {
namespace {

// Notes what it is asked, and answers each mesh with one strip of three vertices at z = target.
class FakeDecimator final : public IDecimator {
public:
    HRESULT QueryInterface(const IID& id, void** object) override {
        *object = id == IID_IDecimator ? this : nullptr;
        references += *object ? 1 : 0;
        return *object ? STATUS_OK : STATUS_FAIL;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    HRESULT SetMesh(float* points, int pointFloats, int* indices, int indexCount) override {
        asked += "mesh " + std::to_string(pointFloats) + " " + std::to_string(indexCount) + ", ";
        delete[] points, delete[] indices;
        return STATUS_FAIL;  // not looked at
    }
    HRESULT Decimate(int target, float** data, int** lengths) override {
        asked += "to " + std::to_string(target) + ", ";
        if (silent) return STATUS_OK;
        *data = static_cast<float*>(CoTaskMemAlloc(18 * sizeof(float)));
        *lengths = static_cast<int*>(CoTaskMemAlloc(2 * sizeof(int)));
        for (int i = 0; i < 18; ++i)
            (*data)[i] = i % 6 == 5 ? float(target) : i % 6 == 2 || i == 9 || i == 16 ? 1.F : 0.F;
        (*lengths)[0] = 3, (*lengths)[1] = closed ? 0 : 1 << 30;
        return STATUS_OK;
    }
    HRESULT Finish() override { return asked += "done; ", STATUS_OK; }

    int references = 1;
    bool silent = false, closed = true;
    std::string asked;
};

class Levels : public RenderTest {
protected:
    ~Levels() override { scene->SetDecimator(nullptr); }
    void Reduce() {
        scene->SetDecimator(&decimator);
        EXPECT_EQ(scene->ComputeLODs(0, 9, 9, 9, 9, 9, 9, &error), STATUS_OK);
        EXPECT_EQ(error, 1);
    }
    // "full", "dot", or the z at which the fake's triangle is drawn.
    std::string Drawn(float acc, bool exploded = false) {
        Recording recording;
        const HRESULT status = exploded ? scene->DrawLODExplode(0, 0, acc, &error) : scene->DrawLOD(0, 0, acc, &error);
        EXPECT_EQ(status, STATUS_OK);
        EXPECT_EQ(recording.Violations(), Texts{});
        first = recording.Primitives().at(0);
        if (first.mode == GL_POINTS) return "dot";
        if (first.vertices.size() != 3) return "full";
        return std::to_string(static_cast<int>(first.vertices[0].position[2]));
    }

    FakeDecimator decimator;
    Primitive first;  // of what was drawn last
};

TEST_F(Levels, AreAskedForByColorAtTwoShares) {
    scene->ComputeLODs(0, 2, 0, 0, 0, 0, 0, &error);
    EXPECT_EQ(error, 0) << "nobody to ask";
    const TestMesh sphere = Sphere(20, 10);
    const Placed p = scene.AddMesh(sphere);
    scene.AddMeshTo(p.part, Cube(3).soup);
    const Placed small = scene.AddMesh(Sheet(5, 1));
    decimator.closed = false;
    Reduce();
    EXPECT_EQ(decimator.references, 2);
    const int triangles = sphere.triangles + 12;
    const std::string fine = std::to_string(triangles * 8 / 100), coarse = std::to_string(triangles * 2 / 100);
    const std::string mesh =
        "mesh " + std::to_string(3 * (sphere.vertices + 8)) + " " + std::to_string(3 * triangles) + ", to ";
    EXPECT_EQ(decimator.asked,
              mesh + fine + ", done; " + mesh + coarse + ", done; mesh 36 30, done; mesh 36 30, done; ");
    // Once for each part, and the last part decides what the component tells of a node.
    decimator.asked.clear();
    LONG available = 9;
    scene->ComputeLODs(p.instance, 2, 0, 0, 0, 0, 0, &error);
    EXPECT_EQ(decimator.asked, "");
    scene->ComputeLODs(777, 2, 0, 0, 0, 0, 0, &error);
    EXPECT_EQ(error, 0);
    scene->LODsAvailable(&available);
    EXPECT_EQ(available, 0);
    scene->EnableDrawing(small.instance, 0, &error);
    EXPECT_EQ(Drawn(220), fine) << "the list of strips ends with the vertices";
}

TEST_F(Levels, AreChosenByDistanceAndAcceleration) {
    const Placed p = scene.AddMesh(Sphere(40, 20));
    const int triangles = Sphere(40, 20).triangles;
    const std::string fine = std::to_string(triangles * 8 / 100), coarse = std::to_string(triangles * 2 / 100);
    Reduce();
    const float diagonal = std::sqrt(12.0F);
    // Cut-offs for three choices: 15, 75 and 150 diagonals. What is spent comes off the first, then off the next.
    const std::tuple<float, float, std::string> cases[] = {
        {14.9F, 0, "full"}, {15.1F, 0, fine},    {74.9F, 0, fine}, {75.1F, 0, coarse}, {149.9F, 0, coarse},
        {160, 0, coarse},   {4.9F, 10, "full"},  {5.1F, 10, fine}, {1.4F, 40, "full"}, {1.6F, 40, fine},
        {49.9F, 40, fine},  {50.1F, 40, coarse}, {1, 220, fine}};
    for (const auto& [distance, spent, drawn] : cases) {
        scene.SetCamera({distance * diagonal, 0, 0}, {0, 0, 0});
        scene->ResetAcceleration();
        EXPECT_EQ(Drawn(spent), drawn) << distance << " " << spent;
    }
    // A part far away and small beside the scene is a dot.
    const int large = scene.AddMesh(Cube(40, {0, 0, 90})).instance;
    scene->ResetAcceleration();
    EXPECT_EQ(Drawn(0), "full");
    scene.SetCamera({160 * diagonal, 0, 0}, {0, 0, 0});
    EXPECT_EQ(Drawn(0), "dot");
    scene->EnableDrawing(large, 0, &error);
    // Presets of the exploded draw; colours reach the levels.
    scene.SetCamera({10, 0, 0}, {0, 0, 0});
    scene.SetExternalColor(p.instance, 0.6F, 0.3F, 0);
    for (const auto& [acc, drawn] : {std::pair{0.0F, std::string("full")}, {1, "full"}, {4, coarse}, {5, coarse}})
        EXPECT_EQ(Drawn(acc, true), drawn);
    EXPECT_FLOAT_EQ(first.state.material[0].diffuse[0], 0.4F);
    EXPECT_GT(Drawing(scene).Primitives().back().vertices.size(), 3U) << "a plain draw knows no levels";
}

TEST_F(Levels, SilentDecimatorsAndStrangersDoNoHarm) {
    scene.AddMesh(Sphere());
    decimator.silent = true;
    Reduce();
    EXPECT_EQ(Drawn(220), "full");
    EXPECT_LT(scene->SetDecimator(nullptr), 0);
    EXPECT_EQ(decimator.references, 1);
    EXPECT_LT(scene->DrawLOD(99, 0, 1, &error), 0);
    EXPECT_LT(scene->SetUseDisplayAcc(99, 1, &error), 0);
}

}  // namespace
}  // namespace tessera::test
