// The geometry as a collector gets it.
#include "folder.h"

namespace tessera::test {
namespace {

struct PointRun {
    std::vector<double> points;
    int kind;
};

class Collector final : public IGraphicDataCollector {
public:
    explicit Collector(bool answers = true) : answers_(answers) {}
    HRESULT QueryInterface(const IID& id, void** out) override {
        if (!answers_ || !(id == IID_IGraphicDataCollector)) return STATUS_FAIL;
        *out = static_cast<IGraphicDataCollector*>(this);
        AddRef();
        return STATUS_OK;
    }
    ULONG AddRef() override { return ++references; }
    ULONG Release() override { return --references; }
    HRESULT AddPointRun(ULONG count, const double* points, const double* color, int kind, ULONG flag) override {
        EXPECT_EQ(flag, 1U);
        runs.push_back({{points, points + 3 * count}, kind});
        colors.push_back({color, color + 3});
        return STATUS_FAIL;  // of no concern
    }

    std::vector<PointRun> runs;
    std::vector<std::vector<double>> colors;
    ULONG references = 1;

private:
    bool answers_;
};

class GraphicScan : public FolderTest {
protected:
    // The x of each point of each run behind its kind.
    std::vector<std::vector<int>> Scan() {
        Collector collector;
        EXPECT_EQ(scene->ScanGraphicData(0, 7, &collector, &error), STATUS_OK);
        EXPECT_EQ(error, 1);
        EXPECT_EQ(collector.references, 1U);
        std::vector<std::vector<int>> got;
        for (const PointRun& run : collector.runs) {
            got.push_back({run.kind});
            for (std::size_t i = 0; i < run.points.size(); i += 3)
                got.back().push_back(static_cast<int>(run.points[i]));
        }
        return got;
    }
    // Points at x = 0, 1, 2 and so on with these codes.
    Placed AddCurve(const std::vector<int>& codes) {
        const Placed placed = scene.AddEmptyPart();
        scene->BeginPolyLine(placed.part, &error);
        for (std::size_t i = 0; i < codes.size(); ++i) {
            float p[3] = {static_cast<float>(i), 0, 0};
            scene->SetPolyLineStipple(placed.part, codes[i], &error);
            scene->AddPolyLinePoint(placed.part, p, &error);
        }
        scene->EndPolyLine(placed.part, &error);
        return placed;
    }
};

TEST_F(GraphicScan, SplitsCurvesWhereTheCodeChanges) {
    const struct {
        std::vector<int> codes;
        std::vector<std::vector<int>> runs;
    } cases[] = {
        {{0, 0, 0}, {{0, 0, 1, 2}}},
        {{0, 1, 1}, {{1, 0}, {1, 0, 1, 2}}},
        {{0, 0, 1, 1}, {{0, 0, 1}, {1, 1, 2, 3}}},
        {{0, 0, 2, 0, 0}, {{0, 0, 1}, {0, 2, 3, 4}}},
        {{0, 0, 15, 1, 0}, {{0, 0, 1}, {1, 2, 3}, {0, 3, 4}}},
        {{0, 0, 2}, {{0, 0, 1}, {2, 2, 2}}},  // nothing stands behind the gap
    };
    for (const auto& c : cases) {
        const Placed placed = AddCurve(c.codes);
        EXPECT_EQ(Scan(), c.runs) << testing::PrintToString(c.codes);
        scene->EnableDrawing(placed.instance, 0, &error);
    }
    EXPECT_TRUE(Scan().empty()) << "hidden";
}

TEST_F(GraphicScan, HandsOverStripsInTheWorld) {
    const int frame = scene.AddAssembly();
    const Placed cube = scene.AddMesh(Cube(), frame);
    scene.AddPointsTo(cube.part, {{1, 2, 3}});
    scene.Translate(frame, 100, 0, 0);
    scene->TranslateExplode(frame, 1000, 0, 0, &error);
    scene->SetTriMeshExternalColor(cube.part, 1, 1, 1, &error);
    Collector collector;
    scene->ScanGraphicData(0, 0, &collector, &error);
    ASSERT_EQ(collector.runs.size(), 6U);
    std::size_t triangles = 0;
    for (const PointRun& run : collector.runs) {
        triangles += run.points.size() / 3 - 2;
        EXPECT_EQ(run.kind, 0);
        EXPECT_NEAR(run.points[0], 100, 1.001);
    }
    EXPECT_EQ(triangles, 12U);
    const double green = static_cast<double>(0.85F);
    EXPECT_EQ(collector.colors[0], (std::vector<double>{static_cast<double>(0.2F), green, green}));
    // Once the node was drawn exploded, it is handed over so.
    scene->DrawExplode(0, 0, &error);
    EXPECT_EQ(Scan()[0][1] / 100, 10);
}

TEST_F(GraphicScan, TellsWhatItCannotScan) {
    AddCurve({0, 0});
    Collector collector, deaf(false);
    const int frame = scene.AddAssembly();
    const struct {
        int node;
        Collector* object;
        int error;
    } cases[] = {{frame, &collector, 1}, {999, &collector, 0}, {0, &deaf, -1}, {0, nullptr, -1}};
    for (const auto& c : cases) {
        EXPECT_EQ(scene->ScanGraphicData(c.node, 0, c.object, &error), STATUS_OK);
        EXPECT_EQ(error, c.error);
    }
    EXPECT_TRUE(collector.runs.empty());
    EXPECT_EQ(collector.references, 1U);
    EXPECT_EQ(deaf.references, 1U);
}

}  // namespace
}  // namespace tessera::test
