// The geometry as a collector gets it.
#include <cmath>

#include "folder.h"

namespace tessera::test {
namespace {

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
        runs.push_back({kind});  // and the x of each point
        for (ULONG i = 0; i < count; ++i) runs.back().push_back(static_cast<int>(std::lround(points[3 * i])));
        colors.push_back({color, color + 3});
        return STATUS_FAIL;  // of no concern
    }

    std::vector<std::vector<int>> runs;
    std::vector<std::vector<double>> colors;
    ULONG references = 1;

private:
    bool answers_;
};

class GraphicScan : public FolderTest {
protected:
    Collector Scan() {
        Collector collector;
        EXPECT_EQ(scene->ScanGraphicData(0, 7, &collector, &error), STATUS_OK);
        EXPECT_TRUE(error == 1 && collector.references == 1);
        return collector;
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
    const std::pair<std::vector<int>, std::vector<std::vector<int>>> cases[] = {
        {{0, 0, 0}, {{0, 0, 1, 2}}},
        {{0, 1, 1}, {{1, 0}, {1, 0, 1, 2}}},
        {{0, 0, 1, 1}, {{0, 0, 1}, {1, 1, 2, 3}}},
        {{0, 0, 2, 0, 0}, {{0, 0, 1}, {0, 2, 3, 4}}},
        {{0, 0, 15, 1, 0}, {{0, 0, 1}, {1, 2, 3}, {0, 3, 4}}},
        {{0, 0, 2}, {{0, 0, 1}, {2, 2, 2}}},  // nothing stands behind the gap
    };
    for (const auto& [codes, runs] : cases) {
        const Placed placed = AddCurve(codes);
        EXPECT_EQ(Scan().runs, runs) << testing::PrintToString(codes);
        scene->EnableDrawing(placed.instance, 0, &error);
    }
    EXPECT_TRUE(Scan().runs.empty()) << "hidden";
}

TEST_F(GraphicScan, HandsOverStripsInTheWorld) {
    const int frame = scene.AddAssembly();
    const Placed cube = scene.AddMesh(Cube(), frame);
    scene.AddPointsTo(cube.part, {{1, 2, 3}});
    scene.Translate(frame, 100, 0, 0);
    scene->TranslateExplode(frame, 1000, 0, 0, &error);
    scene->SetTriMeshExternalColor(cube.part, 1, 1, 1, &error);
    const Collector got = Scan();
    std::size_t triangles = 0;
    for (const std::vector<int>& run : got.runs) {
        triangles += run.size() - 3;
        EXPECT_EQ(run[0], 0);
        for (std::size_t i = 1; i < run.size(); ++i) EXPECT_TRUE(run[i] == 99 || run[i] == 101) << run[i];
    }
    EXPECT_TRUE(got.runs.size() == 6 && triangles == 12);
    const double green = static_cast<double>(0.85F);
    EXPECT_EQ(got.colors[0], (std::vector<double>{static_cast<double>(0.2F), green, green}));
    // Once the node was drawn exploded, it is handed over so.
    scene->DrawExplode(0, 0, &error);
    EXPECT_EQ(Scan().runs[0][1] / 100, 10);
}

TEST_F(GraphicScan, TellsWhatItCannotScan) {
    AddCurve({0, 0});
    Collector collector, deaf(false);
    const int frame = scene.AddAssembly();
    const std::tuple<int, Collector*, int> cases[] = {
        {frame, &collector, 1}, {999, &collector, 0}, {0, &deaf, -1}, {0, nullptr, -1}};
    for (const auto& [node, object, expected] : cases) {
        EXPECT_EQ(scene->ScanGraphicData(node, 0, object, &error), STATUS_OK);
        EXPECT_EQ(error, expected);
    }
    EXPECT_TRUE(collector.runs.empty() && collector.references == 1 && deaf.references == 1);
}

}  // namespace
}  // namespace tessera::test
