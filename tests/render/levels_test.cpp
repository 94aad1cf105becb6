// Levels of detail: what the decimator is asked, and which level is drawn.
#include <cmath>
#include <cstring>

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
        delete[] points;
        delete[] indices;
        return STATUS_FAIL;  // not looked at
    }
    HRESULT Decimate(int target, float** data, int** lengths) override {
        asked += "to " + std::to_string(target) + ", ";
        if (silent) return STATUS_OK;
        const float z = static_cast<float>(target);
        const float vertices[18] = {0, 0, 1, 0, 0, z, 0, 0, 1, 1, 0, z, 0, 0, 1, 0, 1, z};
        const int strips[2] = {3, closed ? 0 : 1 << 30};
        *data = static_cast<float*>(CoTaskMemAlloc(sizeof vertices));
        *lengths = static_cast<int*>(CoTaskMemAlloc(sizeof strips));
        std::memcpy(*data, vertices, sizeof vertices);
        std::memcpy(*lengths, strips, sizeof strips);
        return STATUS_OK;
    }
    HRESULT Finish() override {
        asked += "done; ";
        return STATUS_OK;
    }

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
        const Primitive& first = recording.Primitives().at(0);
        if (first.mode == GL_POINTS) return "dot";
        if (first.vertices.size() != 3) return "full";
        return std::to_string(static_cast<int>(first.vertices[0].position[2]));
    }

    FakeDecimator decimator;
};

TEST_F(Levels, AreAskedForByColorAtTwoShares) {
    EXPECT_EQ(scene->ComputeLODs(0, 2, 0, 0, 0, 0, 0, &error), STATUS_OK);
    EXPECT_EQ(error, 0);
    const Placed p = scene.AddMesh(Sphere(20, 10));
    scene.AddMeshTo(p.part, Cube(3).soup);
    const Placed small = scene.AddMesh(Sheet(5, 1));
    decimator.closed = false;
    Reduce();
    EXPECT_EQ(decimator.references, 2);
    const int triangles = Sphere(20, 10).triangles + 12, floats = 3 * (Sphere(20, 10).vertices + 8);
    const std::string mesh = "mesh " + std::to_string(floats) + " " + std::to_string(3 * triangles) + ", ";
    EXPECT_EQ(decimator.asked, mesh + "to " + std::to_string(triangles * 8 / 100) + ", done; " + mesh + "to " +
                                   std::to_string(triangles * 2 / 100) +
                                   ", done; mesh 36 30, done; mesh 36 30, done; ");
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
    EXPECT_EQ(Drawn(220), std::to_string(triangles * 8 / 100)) << "the list of strips ends with the vertices";
}

TEST_F(Levels, AreChosenByDistanceAndAcceleration) {
    const Placed p = scene.AddMesh(Sphere(40, 20));
    const int fine = Sphere(40, 20).triangles * 8 / 100, coarse = Sphere(40, 20).triangles * 2 / 100;
    Reduce();
    const double diagonal = std::sqrt(12.0);
    // Cut-offs for three choices: 15, 75 and 150 diagonals. What is spent comes off the first, then off the next.
    const struct {
        double distance;
        float spent;
        std::string drawn;
    } cases[] = {{14.9, 0, "full"},
                 {15.1, 0, std::to_string(fine)},
                 {74.9, 0, std::to_string(fine)},
                 {75.1, 0, std::to_string(coarse)},
                 {149.9, 0, std::to_string(coarse)},
                 {160, 0, std::to_string(coarse)},
                 {4.9, 10, "full"},
                 {5.1, 10, std::to_string(fine)},
                 {1.4, 40, "full"},
                 {1.6, 40, std::to_string(fine)},
                 {49.9, 40, std::to_string(fine)},
                 {50.1, 40, std::to_string(coarse)},
                 {1, 220, std::to_string(fine)}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.distance) + " " + std::to_string(c.spent));
        scene.SetCamera({static_cast<float>(c.distance * diagonal), 0, 0}, {0, 0, 0});
        scene->ResetAcceleration();
        EXPECT_EQ(Drawn(c.spent), c.drawn);
    }
    // A part far away and small beside the scene is a dot.
    const int large = scene.AddMesh(Cube(40, {0, 0, 90})).instance;
    scene->ResetAcceleration();
    EXPECT_EQ(Drawn(0), "full");
    scene.SetCamera({static_cast<float>(160 * diagonal), 0, 0}, {0, 0, 0});
    EXPECT_EQ(Drawn(0), "dot");
    scene->EnableDrawing(large, 0, &error);
    // Presets of the exploded draw; colours reach the levels.
    scene.SetCamera({10, 0, 0}, {0, 0, 0});
    scene.SetExternalColor(p.instance, 0.6F, 0.3F, 0);
    EXPECT_EQ(Drawn(0, true), "full");
    EXPECT_EQ(Drawn(1, true), "full");
    EXPECT_EQ(Drawn(4, true), std::to_string(coarse));
    Recording recording;
    scene->DrawLODExplode(0, 0, 5, &error);
    EXPECT_EQ(recording.Primitives().at(0).vertices.at(0).position[2], static_cast<float>(coarse));
    EXPECT_FLOAT_EQ(recording.Primitives()[0].state.material[0].diffuse[0], 0.4F);
    EXPECT_EQ(recording.Index("glPointSize"), -1);
    scene.Draw();
    EXPECT_GT(recording.Primitives().back().vertices.size(), 3U) << "a plain draw knows no levels";
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
