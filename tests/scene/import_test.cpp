// Graphic streams of every version: what is read, where the reading ends, and what is refused.
#include <random>

#include "exchange/graphic_stream.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "query/lens.h"
#include "scene/part.h"

namespace tessera::test {
namespace {

using Byte = unsigned char;
using Words = std::vector<std::uint32_t>;
using Floats = std::vector<float>;

// Writes streams of one version.
struct Writer {
    int version;
    std::vector<Byte> bytes = {};
    std::size_t verticesAt = 0, trianglesAt = 0;  // of the last mesh

    void Append(const void* value, std::size_t size) {
        const auto* const from = static_cast<const Byte*>(value);
        bytes.insert(bytes.end(), from, from + size);
    }
    template <typename... Values>
    void Put(Values... values) {
        (Append(&values, sizeof values), ...);
    }
    void Put(const Words& values) { Append(values.data(), 4 * values.size()); }
    void Put(const Floats& values) { Append(values.data(), 4 * values.size()); }
    void Counted(const Floats& points) { Put(static_cast<std::uint32_t>(points.size() / 3)), Put(points); }
    void Open(int tag) {
        Put(static_cast<Byte>(tag));
        if (version < 423) Append("\xff\xff\xff", 3);  // of four bytes one counts
        Put(0.1F, 0.2F, 0.3F);
    }
    void Mesh(const Floats& vertices, std::uint32_t triangles, int levelRecords = 0) {
        Open(3);
        if (version >= 719) Put(0.4F, 0.5F, 0.6F);
        verticesAt = bytes.size() + 4;
        Counted(vertices);
        for (int record = 0; record < levelRecords; ++record) {
            Put(static_cast<Byte>(16 + record), 0x0f0f0f0fu, 0x11111111u, 2u);  // any tag but 15
            bytes.resize(bytes.size() + 2 * 24, 15);
        }
        if (version >= 424) Put(Byte{15});
        Put(triangles);
        trianglesAt = bytes.size();
    }
    void Triangle(const Words& normals, const Floats& vectors, const Words& vertices) {
        version >= 424 ? Put(normals) : Put(vectors);
        Put(vertices);
    }
    // Two triangles in z = 0 over the unit square.
    void Square(int levelRecords = 0) {
        Mesh({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, 2, levelRecords);
        Triangle({0, 1, 1}, {0, 0, 5, 1e-7F, 2e-7F, 3e-7F, 0, 0, 1}, {0, 1, 2});
        Triangle({0, 1, 1}, {0, 0, 1, 0, 0, 1, 0, 0, 1}, {0, 2, 3});
    }
    void Set() { Open(8), Counted({0, 0, 0, 1, 1, 1, 4, 5, 6}); }
    void Group(const Words& strips, int blocks = 1) {
        Put(Byte{16});
        for (int i = 0; i < blocks; ++i) {
            // Any tag but 19 opens a block.
            Put(static_cast<Byte>(18 - i), 0.1F, 0.2F, 0.3F, 0.4F, Byte{7}, 6u * 5u);
            bytes.resize(bytes.size() + 4 * 6 * 5, 19);
            Put(static_cast<std::uint32_t>(strips.size())), Put(strips);
        }
        Put(Byte{19});
    }
};

class Import : public PickTest {
protected:
    ~Import() override {
        host->SetTDGImportVer(0);
        g_triNormalBase = 0;
    }
    // How far a stream is read; the error code is left in error.
    std::size_t Read(const Placed& p, Writer& writer) {
        host->SetTDGImportVer(writer.version);
        unsigned char* at = writer.bytes.data();
        EXPECT_EQ(host->Import3DGPartElements(p.part, &at, &error), STATUS_OK);
        return static_cast<std::size_t>(at - writer.bytes.data());
    }
    void ReadWhole(CPart& part, Writer& writer) {
        host->SetTDGImportVer(writer.version);
        writer.Put(Byte{17});
        GraphicStream stream(writer.bytes.data());
        ASSERT_TRUE(part.ReadStream(stream));
        EXPECT_EQ(stream.Position(), writer.bytes.data() + writer.bytes.size() - (writer.version < 448 ? 1 : 0));
    }
    float Height(const Placed& p) {
        Point low{}, high{};
        host->GetBoundBox(p.instance, low.data(), high.data(), &error);
        return high[1] - low[1];
    }
    void ImportNormals(const Floats& normals) {
        Writer block{719};
        block.Counted(normals);
        unsigned char* at = block.bytes.data();
        host->ImportTriNormals(&at, &error);
    }
};

TEST_F(Import, GivesWhatEachVersionSays) {
    for (const int version : {-5, 0, 422, 423, 424, 447, 448, 718, 719, 1000}) {
        SCOPED_TRACE(version);
        TriNormalTable normals;
        for (const Vec3& n : {Vec3{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}) normals.LookUpOrAdd(n);
        g_triNormalBase = 1;
        CPart part(&normals);
        part.alpha = 0.5F, part.shadeMode = 6, part.cachedVolume = 7, part.backgroundColor.blue = 0.9F;
        Writer writer{version};
        writer.Square(version >= 424 ? 2 : 0);
        writer.Open(7);
        writer.Put(2u, 0.0F, 2.0F, 3.0F, Byte{11}, 1.0F, 2.0F, 3.0F, Byte{12});
        writer.Set();
        writer.Mesh({}, 0);
        if (version >= 448) writer.Group({3, 2, 0});
        const std::size_t second = writer.bytes.size();
        if (version >= 448) writer.Group({}), writer.bytes[second] = 99;  // any tag stands between groups
        ReadWhole(part, writer);
        ASSERT_EQ(part.Elements().size(), 4U);
        EXPECT_EQ(part.lodGroups.size(), version >= 448 ? 2U : 0U);
        EXPECT_TRUE(part.Elements()[3]->Bounds().valid == 0 && part.cachedVolume == 0);
        for (const auto& e : part.Elements()) {
            EXPECT_TRUE(e->alpha == 0.5F && e->shadeMode == 6 && e->ThresholdAngle() == 40);
            EXPECT_TRUE(e->externalColor.red == 0.1F && e->externalColor.blue == 0.3F);  // however dark
            EXPECT_TRUE(e->edgeColor.green == 0.2F && e->borderColor.red == 0.1F && e->backgroundColor.blue == 0.9F);
        }
        const auto& mesh = static_cast<const CTriMesh&>(*part.Elements()[0]);
        EXPECT_EQ(mesh.internalColor.red, version >= 719 ? 0.4F : 0.1F);
        ASSERT_EQ(mesh.Triangles().size(), 2U);
        const TriMeshTriangle &a = mesh.Triangles()[0], &b = mesh.Triangles()[1];
        EXPECT_TRUE(a.neighbour[2] == 1 && b.neighbour[0] == 0 && a.neighbour[0] == kNoTriangle && a.IsSmooth(2));
        EXPECT_TRUE(a.HasGivenNormals() && b.vertex[2] == 3 && mesh.Vertices()[3].y == 1);
        EXPECT_TRUE(mesh.Bounds().valid == 1 && mesh.Bounds().xmax == 1 && mesh.Bounds().zmax == 0);
        EXPECT_TRUE(mesh.StripLengths()[0] == 4 && mesh.StripLengths()[1] == -1 && mesh.StripLengths().size() == 2);
        EXPECT_EQ(mesh.StripVertices().size(), 4U * 6);
        // By index; or found, or entered: unit vectors, and x in place of what is too short for one.
        const Words expected = version >= 424 ? Words{1, 2, 2, 1, 3} : Words{2, 3, 2, 2, 4};
        EXPECT_EQ((Words{a.normal[0], a.normal[1], a.normal[2], b.normal[0], Words::value_type(normals.Count())}),
                  expected);
        EXPECT_TRUE(version >= 424 || (normals[3].x == 1 && normals[3].y == 2e-7F));
        const auto& curve = static_cast<const CPolyLine&>(*part.Elements()[1]);
        ASSERT_EQ(curve.PointCount(), 2);
        EXPECT_TRUE(curve.Points()[1].position.x == 1 && curve.Points()[1].stipple == 12);
        const auto& set = static_cast<const CPointSet&>(*part.Elements()[2]);
        EXPECT_TRUE(set.PointCount() == 3 && set.Points()[2].z == 6);
    }
}

TEST_F(Import, EndsWhereNothingCanBeRead) {
    // Version, whether an element comes first, the tag, the error code, and how much of the tag is taken.
    const int cases[][5] = {{719, 1, 9, -1, 0}, {719, 0, 9, -1, 0},  {719, 1, 15, -1, 0}, {719, 1, 17, 1, 1},
                            {719, 0, 17, 1, 1}, {447, 1, 17, 1, 0},  {440, 1, 9, 1, 0},   {440, 0, 9, -1, 0},
                            {447, 1, 16, 1, 0}, {447, 0, 16, -1, 0}, {400, 1, 0, 1, 0}};
    for (const auto& [version, element, tag, code, taken] : cases) {
        Writer writer{version};
        if (element) writer.Set();
        const std::size_t before = writer.bytes.size();
        writer.Put(static_cast<Byte>(tag), Byte{3}, Byte{3}, Byte{3}, Byte{3});
        const Placed p = scene.AddEmptyPart();
        EXPECT_LT(Height(p), 0);
        EXPECT_EQ(Read(p, writer), before + static_cast<std::size_t>(taken)) << version << " " << tag;
        EXPECT_EQ(error, code) << version << " " << tag;
        EXPECT_EQ(Height(p) == 5, element == 1);
    }
    const Placed p = scene.AddEmptyPart();
    Writer writer{719};
    writer.Set(), writer.Put(Byte{17});
    EXPECT_TRUE(Read({0, 99}, writer) == 0 && error == 0);
    for (const auto begin : {&ITessera::BeginTriMesh, &ITessera::BeginPolyLine, &ITessera::BeginPointSet}) {
        const Placed open = scene.AddEmptyPart();
        (host->*begin)(open.part, &error);
        EXPECT_TRUE(Read(open, writer) == 0 && error == -1);
    }
    EXPECT_TRUE(host->Import3DGPartElements(p.part, nullptr, &error) == STATUS_OK && error == 0);
    EXPECT_TRUE(Read(p, writer) == writer.bytes.size() && Read(p, writer) == writer.bytes.size());  // adds
}

TEST_F(Import, TellsOfLevels) {
    Writer plain{719}, record{719}, empty{719}, block{719};
    plain.Square(), record.Square(1), empty.Group({}, 0);
    block.Set(), block.Group({}, 0), block.Group({4, 0}, 2), block.Group({}, 0);
    for (Writer* const writer : {&plain, &record, &empty, &block}) {
        writer->Put(Byte{17});
        EXPECT_EQ(Read(scene.AddEmptyPart(), *writer), writer->bytes.size());
        LONG available = 9;
        host->LODsAvailable(&available);
        EXPECT_EQ(available, writer == &record || writer == &block);
        host->ResetSceneGraph();
    }
    // A list of strips is cut where it would leave the vertices, of which there are five.
    CPart part(nullptr);
    Writer writer{719};
    const Words lists[] = {{3, 2, 0}, {3, 3, 0}, {3, 0xffffffff, 0}, {0x7fffffff}, {}, {5}};
    const std::vector<std::int32_t> kept[] = {{3, 2, 0}, {3, 0}, {3, 0}, {0}, {0}, {5, 0}};
    for (const Words& strips : lists) writer.Group(strips);
    ReadWhole(part, writer);
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(part.lodGroups.at(i).blocks.at(0).strips, kept[i]) << i;
    const MeshBlock& first = part.lodGroups[0].blocks[0];
    EXPECT_TRUE(first.color[3] == 0.4F && first.useVertexArray && first.vertices.size() == 30);
}

TEST_F(Import, LeavesOutTrianglesThatNameWhatIsNotThere) {
    ImportNormals({0, 0, 1});
    ImportNormals({0, 0, 1, 0, 0, 1});  // these two count
    const Placed p = scene.AddEmptyPart();
    Writer writer{719};
    writer.Mesh({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}, 6);
    writer.Triangle({0, 1, 1}, {}, {0, 1, 2});
    for (const std::uint32_t bad : {4U, 0x80000000U, 0xffffffffU}) writer.Triangle({0, 0, 0}, {}, {0, bad, 2});
    for (const std::uint32_t bad : {2U, 0xffffffffU}) writer.Triangle({0, bad, 0}, {}, {0, 2, 3});
    writer.Put(Byte{17});
    EXPECT_EQ(Read(p, writer), writer.bytes.size());
    EXPECT_TRUE(Ray({0.9F, 0.1F, 5}, {0, 0, -1}).picked && !Ray({0.1F, 0.9F, 5}, {0, 0, -1}).picked);
    EXPECT_EQ(Height(p), 1);  // the vertices are all there
}

// What is not a count may be anything.
TEST_F(Import, StandsNonsense) {
    std::mt19937 random(1);
    const Lens lens({0.3F, 0.4F, 9}, {0.5F, 0.5F, 0});
    const Point at{0.5F, 0.5F, 0};
    for (int round = 0; round < 300; ++round) {
        ImportNormals({std::nanf(""), 1e30F, 0, 0, 0, 1});
        const Placed p = scene.AddEmptyPart();
        Writer writer{round % 2 ? 719 : 423};
        writer.Mesh({}, 1);
        const std::size_t indices = writer.trianglesAt;
        writer.Triangle({0, 0, 0}, Floats(9), {0, 0, 0});
        writer.Square();
        const std::size_t end = writer.bytes.size();
        writer.Put(Byte{17});
        for (int change = 0; change < 4; ++change)
            for (const std::size_t from : {writer.verticesAt, writer.trianglesAt, indices})
                writer.bytes[from + random() % 24] = static_cast<unsigned char>(random() % 4 ? random() % 4 : 0xff);
        EXPECT_EQ(Read(p, writer), end + round % 2);
        for (const int mode : {0, 1, 2, 4, 6}) {
            scene.SetShadeMode(p.instance, mode), scene.Draw();
            PickPoint(lens, at), PickEdge(lens, at), PickSurface(lens, at), PickSegment(lens, at), PickArc(lens, at);
        }
        host->SetThresholdAngle(p.instance, 20, &error);
        host->Remove(p.instance, &error);
    }
}

}  // namespace
}  // namespace tessera::test
