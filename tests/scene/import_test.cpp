// Graphic streams of every version: what is read, where the reading ends, and what is refused.
#include <cstring>
#include <random>

#include "exchange/graphic_stream.h"
#include "geometry/point_set.h"
#include "geometry/polyline.h"
#include "geometry/trimesh.h"
#include "query/lens.h"
#include "scene/part.h"

namespace tessera::test {
namespace {

using Words = std::vector<std::uint32_t>;
using Floats = std::vector<float>;

// Writes streams of one version.
struct Writer {
    int version;
    std::vector<unsigned char> bytes = {};

    void Put(const void* value, std::size_t size) {
        bytes.resize(bytes.size() + size);
        if (size > 0) std::memcpy(bytes.data() + bytes.size() - size, value, size);
    }
    void Byte(int value) { bytes.push_back(static_cast<unsigned char>(value)); }
    void Put(const Words& values) { Put(values.data(), 4 * values.size()); }
    void Put(const Floats& values) { Put(values.data(), 4 * values.size()); }
    void Open(int tag) {
        Byte(tag);
        if (version < 423) Put("\xff\xff\xff", 3);  // of four bytes one counts
        Put(Floats{0.1F, 0.2F, 0.3F});
    }
    void Mesh(const Floats& vertices, std::uint32_t triangles, int levelRecords = 0) {
        Open(3);
        if (version >= 719) Put(Floats{0.4F, 0.5F, 0.6F});
        Put(Words{static_cast<std::uint32_t>(vertices.size() / 3)});
        Put(vertices);
        for (int record = 0; record < levelRecords; ++record) {
            Byte(16 + record);  // any tag but 15
            Put(Words{0x0f0f0f0f, 0x11111111, 2});
            bytes.resize(bytes.size() + 2 * 24, 15);
        }
        if (version >= 424) Byte(15);
        Put(Words{triangles});
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
    void Set() {
        Open(8);
        Put(Words{3});
        Put(Floats{0, 0, 0, 1, 1, 1, 4, 5, 6});
    }
    void Group(const Words& strips, int blocks = 1) {
        Byte(16);
        for (int i = 0; i < blocks; ++i) {
            Byte(18 - i);  // any tag but 19 opens a block
            Put(Floats{0.1F, 0.2F, 0.3F, 0.4F});
            Byte(7);
            Put(Words{6 * 5});
            bytes.resize(bytes.size() + 4 * 6 * 5, 19);
            Put(Words{static_cast<std::uint32_t>(strips.size())});
            Put(strips);
        }
        Byte(19);
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
        writer.Byte(17);
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
        block.Put(Words{static_cast<std::uint32_t>(normals.size() / 3)});
        block.Put(normals);
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
        part.alpha = 0.5F;
        part.shadeMode = 6;
        part.cachedVolume = 7;
        part.backgroundColor.blue = 0.9F;
        Writer writer{version};
        writer.Square(version >= 424 ? 2 : 0);
        writer.Open(7);
        writer.Put(Words{2});
        for (int i = 0; i < 2; ++i) writer.Put(Floats{static_cast<float>(i), 2, 3}), writer.Byte(11 + i);
        writer.Set();
        writer.Mesh({}, 0);
        if (version >= 448) writer.Group({3, 2, 0});
        const std::size_t second = writer.bytes.size();
        if (version >= 448) writer.Group({}), writer.bytes[second] = 99;  // any tag stands between groups
        ReadWhole(part, writer);
        ASSERT_EQ(part.Elements().size(), 4U);
        EXPECT_EQ(part.Elements()[3]->Bounds().valid, 0);
        EXPECT_EQ(part.lodGroups.size(), version >= 448 ? 2U : 0U);
        EXPECT_EQ(part.cachedVolume, 0);
        for (const auto& element : part.Elements()) {
            EXPECT_TRUE(element->alpha == 0.5F && element->shadeMode == 6 && element->ThresholdAngle() == 40);
            EXPECT_TRUE(element->externalColor.red == 0.1F && element->externalColor.blue == 0.3F);  // however dark
            EXPECT_TRUE(element->edgeColor.green == 0.2F && element->borderColor.red == 0.1F);
            EXPECT_EQ(element->backgroundColor.blue, 0.9F);
        }
        const auto& mesh = static_cast<const CTriMesh&>(*part.Elements()[0]);
        EXPECT_EQ(mesh.internalColor.red, version >= 719 ? 0.4F : 0.1F);
        ASSERT_EQ(mesh.Triangles().size(), 2U);
        const TriMeshTriangle &a = mesh.Triangles()[0], &b = mesh.Triangles()[1];
        EXPECT_TRUE(a.neighbour[2] == 1 && b.neighbour[0] == 0 && a.neighbour[0] == kNoTriangle && a.IsSmooth(2));
        EXPECT_TRUE(a.HasGivenNormals() && b.vertex[2] == 3 && mesh.Vertices()[3].y == 1);
        EXPECT_TRUE(mesh.Bounds().valid == 1 && mesh.Bounds().xmax == 1 && mesh.Bounds().zmax == 0);
        EXPECT_EQ(mesh.StripLengths(), (std::vector<int>{4, -1}));
        if (version >= 424)
            EXPECT_TRUE(a.normal[0] == 1 && a.normal[1] == 2 && b.normal[0] == 1 && normals.Count() == 3);
        else  // found, or entered: unit vectors, and x in place of what is too short for one
            EXPECT_TRUE(a.normal[0] == 2 && a.normal[1] == 3 && a.normal[2] == 2 && normals[3].x == 1 &&
                        normals[3].y == 2e-7F && normals.Count() == 4);
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
        for (const int byte : {tag, 3, 3, 3, 3}) writer.Byte(byte);
        const Placed p = scene.AddEmptyPart();
        EXPECT_LT(Height(p), 0);
        EXPECT_EQ(Read(p, writer), before + static_cast<std::size_t>(taken)) << version << " " << tag;
        EXPECT_EQ(error, code) << version << " " << tag;
        EXPECT_EQ(Height(p) == 5, element == 1);
    }
    const Placed p = scene.AddEmptyPart();
    Writer writer{719};
    writer.Set();
    writer.Byte(17);
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
    plain.Square();
    record.Square(1);
    empty.Group({}, 0);
    block.Set(), block.Group({}, 0), block.Group({4, 0}, 2), block.Group({}, 0);
    for (Writer* const writer : {&plain, &record, &empty, &block}) {
        writer->Byte(17);
        EXPECT_EQ(Read(scene.AddEmptyPart(), *writer), writer->bytes.size());
        LONG available = 9;
        host->LODsAvailable(&available);
        EXPECT_EQ(available, writer == &record || writer == &block);
        host->ResetSceneGraph();
    }
    // A list of strips is cut where it would leave the vertices, of which there are five.
    CPart part(nullptr);
    Writer writer{719};
    for (const Words& strips : {Words{3, 2, 0}, {3, 3, 0}, {3, 0xffffffff, 0}, {0x7fffffff}, {}, {5}})
        writer.Group(strips);
    ReadWhole(part, writer);
    const std::vector<std::int32_t> kept[] = {{3, 2, 0}, {3, 0}, {3, 0}, {0}, {0}, {5, 0}};
    for (std::size_t i = 0; i < 6; ++i) EXPECT_EQ(part.lodGroups.at(i).blocks.at(0).strips, kept[i]) << i;
    const MeshBlock& first = part.lodGroups[0].blocks[0];
    EXPECT_TRUE(first.color[3] == 0.4F && first.useVertexArray && first.vertices.size() == 30);
}

// A mesh that is read with what a built one holds has the same neighbours, edges and strips.
TEST_F(Import, LinksAsTheBuild) {
    for (const TestMesh& test : MeshSuite()) {
        SCOPED_TRACE(test.name);
        TriNormalTable normals;
        CPart part(&normals);
        part.BeginTriMesh();
        for (std::size_t i = 0; i < test.soup.size(); i += 9) part.OpenMesh()->AddTriangle3P(&test.soup[i]);
        part.EndTriMesh();
        const auto& built = static_cast<const CTriMesh&>(*part.Elements()[0]);
        Writer writer{719};
        Floats vertices;
        for (const Vec3& v : built.Vertices()) vertices.insert(vertices.end(), {v.x, v.y, v.z});
        writer.Mesh(vertices, static_cast<std::uint32_t>(built.Triangles().size()));
        for (const TriMeshTriangle& t : built.Triangles()) writer.Put(t.normal, 12), writer.Put(t.vertex, 12);
        ReadWhole(part, writer);
        const auto& read = static_cast<const CTriMesh&>(*part.Elements()[1]);
        ASSERT_EQ(read.Triangles().size(), built.Triangles().size());
        for (TriangleIndex i = 0; i < read.Triangles().size(); ++i)
            for (int k = 0; k < 3; ++k) {
                EXPECT_EQ(read.Triangles()[i].neighbour[k], built.Triangles()[i].neighbour[k]);
                EXPECT_EQ(read.Triangles()[i].IsSmooth(k), built.Triangles()[i].IsSmooth(k));
            }
        EXPECT_EQ(read.StripLengths(), built.StripLengths());
        EXPECT_EQ(read.StripVertices(), built.StripVertices());
    }
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
    writer.Byte(17);
    EXPECT_EQ(Read(p, writer), writer.bytes.size());
    EXPECT_EQ(Ray({0.9F, 0.1F, 5}, {0, 0, -1}).picked, VARIANT_TRUE);
    EXPECT_EQ(Ray({0.1F, 0.9F, 5}, {0, 0, -1}).picked, 0);
    EXPECT_EQ(Height(p), 1);  // the vertices are all there
}

// What is not a count may be anything.
TEST_F(Import, StandsNonsense) {
    std::mt19937 random(1);
    const Lens lens({0.3F, 0.4F, 9}, {0.5F, 0.5F, 0});
    for (int round = 0; round < 300; ++round) {
        ImportNormals({std::nanf(""), 1e30F, 0, 0, 0, 1});
        const Placed p = scene.AddEmptyPart();
        Writer writer{round % 2 ? 719 : 423};
        writer.Mesh({}, 1);
        const std::size_t indices = writer.bytes.size();
        writer.Triangle({0, 0, 0}, Floats(9), {0, 0, 0});
        writer.Square();
        const std::size_t end = writer.bytes.size();
        writer.Byte(17);
        const std::size_t triangles = end - (round % 2 ? 48 : 96), vertices = triangles - (round % 2 ? 53 : 52);
        for (int change = 0; change < 12; ++change) {
            const std::size_t from = std::array{vertices, triangles, indices}[static_cast<std::size_t>(change % 3)];
            writer.bytes[from + random() % 24] = static_cast<unsigned char>(random() % 4 ? random() % 4 : 0xff);
        }
        EXPECT_EQ(Read(p, writer), end + round % 2);
        for (const int mode : {0, 1, 2, 4, 6}) {
            scene.SetShadeMode(p.instance, mode);
            scene.Draw();
            const Point at{0.5F, 0.5F, 0};
            PickPoint(lens, at), PickEdge(lens, at), PickSurface(lens, at), PickSegment(lens, at), PickArc(lens, at);
        }
        host->SetThresholdAngle(p.instance, 20, &error);
        host->Remove(p.instance, &error);
    }
}

}  // namespace
}  // namespace tessera::test
