// 3DG and VRML, byte for byte.
#include <cmath>
#include <cstring>
#include <limits>

#include "exchange/text_output.h"
#include "folder.h"

namespace tessera::test {
namespace {

class Files : public FolderTest {
protected:
    // Under a frame that mirrors: a triangle, a curve and a point, and a second instance of the part, itself mirrored.
    void Build() {
        frame_ = scene.AddAssembly();
        placed_ = scene.AddEmptyPart(frame_);
        scene.AddMeshTo(placed_.part, {0, 0, 0, 1, 0, 0, 0, 1, 0});
        scene.AddCurveTo(placed_.part, {{1, 2, 3}, {4, 5, 6}});
        scene.AddPointsTo(placed_.part, {{7, 8, 9}});
        again_ = scene.AddInstance(placed_.part, frame_);
        scene->SetMirrorFlag(frame_, 1, &error);
        scene->SetMirrorFlag(again_, 1, &error);
        scene.Translate(frame_, 0, 0, 1000);
        scene->SetExternalColor(placed_.instance, 0.25F, 0.5F, 0.75F, &error);
    }
    std::string Written(HRESULT (ITessera::*write)(BSTR)) {
        EXPECT_EQ(((*scene.operator->()).*write)(Name("scene.wrl")), STATUS_OK);
        return Content("scene.wrl");
    }

    Placed placed_;
    int frame_ = 0, again_ = 0;
};

struct Bytes {
    std::string text = {};

    template <class T>
    Bytes& Put(T value) {
        text.append(reinterpret_cast<const char*>(&value), sizeof value);
        return *this;
    }
    Bytes& Tag(int tag) { return Put(static_cast<unsigned char>(tag)); }
    Bytes& Count(std::size_t n) { return Put(static_cast<std::uint32_t>(n)); }
    Bytes& Floats(const std::vector<float>& values) {
        for (const float v : values) Put(v);
        return *this;
    }
    Bytes& Text(const std::string& t) {
        Count(t.size());
        text += t;
        return *this;
    }
    Bytes& Head(const std::string& name, const std::string& user, const std::string& properties, int mirrored,
                double z) {
        Text(name).Text(user).Text(properties).Count(static_cast<std::size_t>(mirrored));
        for (const double moved : {z, 0.0})
            for (int i = 0; i < 16; ++i) Put(i % 5 == 0 ? 1.0 : i == 14 ? moved : 0.0);
        return *this;
    }
};

TEST_F(Files, TdpmHoldsTreeNormalsAndEachPartOnce) {
    scene->WriteTDPM(Name("empty.3dg"), &error);
    EXPECT_EQ(Content("empty.3dg"), std::string("3DG00719\xcf\x02\x0d\0\0\0\0\x06", 16));
    Build();
    int lost = 0;  // without a part
    scene->CreatePartInstance(&lost);
    scene->SetParent(lost, 0, &error);
    scene->SetNodeName(placed_.instance, Text(u"\u00e4\xd83d\xde00\xd800"), &error);
    const std::u16string longName(6000, u'n');
    scene->SetPartName(placed_.part, Text(longName), &error);
    scene->SetPropertyString(again_, Text(u"a=\"b\""), &error);
    scene->EnableDrawing(again_, 0, &error);
    scene->SetBorderColor(again_, 1, 0.5F, 0, &error);
    scene->EnableCrossSectionCapping(again_, 1, &error);
    scene->WriteTDPM(Name("full.3dg"), &error);
    EXPECT_EQ(error, 1);

    Bytes b;
    const std::size_t id = static_cast<std::size_t>(placed_.part);
    b.text = std::string("3DG00719\xcf\x02", 10);
    b.Tag(9).Head("No Name", "Unset", "", 1, 1000);
    b.Tag(11).Head("\xc3\xa4\xf0\x9f\x98\x80\xef\xbf\xbd", "Unset", "", 0, 0).Count(id).Tag(12);
    b.Tag(11).Head("No Name (1)", "Unset", "a=\"b\"", 1, 0).Count(id).Tag(12);
    b.Tag(10).Tag(13).Count(1).Floats({0, 0, 1});
    b.Tag(1).Count(id).Text(std::string(6000, 'n'));
    b.Floats({0.25F, 0.5F, 0.75F, 0, 0.85F, 0, 1, 0.5F, 0, 1, 1, 0, 0.99F}).Count(1).Count(1);
    b.Tag(3).Floats({0.25F, 0.5F, 0.75F, 0.2F, 0.85F, 0.2F});
    b.Count(3).Floats({0, 0, 0, 1, 0, 0, 0, 1, 0}).Tag(15).Count(1);
    for (const std::size_t index : {0, 0, 0, 0, 1, 2}) b.Count(index);
    b.Tag(7).Floats({0.25F, 0.5F, 0.75F}).Count(2).Floats({1, 2, 3}).Tag(0).Floats({4, 5, 6}).Tag(0);
    b.Tag(8).Floats({0.25F, 0.5F, 0.75F}).Count(1).Floats({7, 8, 9});
    b.Tag(17).Tag(2).Tag(6);
    EXPECT_EQ(Content("full.3dg"), b.text);

    // Twice the same, and nothing where it cannot be: not for the whole disk of a full device, nor half of it.
    scene->WriteTDPM(Name("full.3dg"), &error);
    EXPECT_EQ(Content("full.3dg"), b.text);
    for (const std::u16string& path : {Full("none/x.3dg"), Full("."), std::u16string(), std::u16string(u"/dev/full")}) {
        scene->WriteTDPM(Text(path), &error);
        EXPECT_EQ(error, 0);
    }
    scene->WriteTDPM(nullptr, &error);
    EXPECT_EQ(error, 0);
    scene->WriteTDPM(Name("\xc3\xa9t\xc3\xa9.3dg"), &error);
    EXPECT_EQ(Content("\xc3\xa9t\xc3\xa9.3dg"), b.text);
    EXPECT_EQ(FilesLeft(), 3U);
}

const std::string kTriangle1 =
    "\r\n\tSeparator {\r\n\r\n\t\tMaterial {\r\n\t\t\tdiffuseColor 0.250000 0.500000 0.750000\r\n\t\t}\r\n"
    "\r\n\t    NormalBinding {\r\n\t\tvalue PER_VERTEX_INDEXED\r\n\t    }\r\n\r\n\tCoordinate3 {\r\n\t\tpoint [\r\n"
    "\t\t\t0.000000 0.000000 1.000000,\r\n\t\t\t0.001000 0.000000 1.000000,\r\n\t\t\t0.000000 0.001000 1.000000,\r\n"
    "  \t\t\t]}\r\n\r\n\tNormal {\r\n\t\tvector [\r\n\t\t\t0.000000 0.000000 1.000000,\r\n"
    "\t\t\t0.000000 0.000000 1.000000,\r\n\t\t\t0.000000 0.000000 1.000000,\r\n \t\t]}\r\n"
    "\r\n\t\tIndexedFaceSet {\r\n\t\t\tcoordIndex [\r\n \t\t\t\t\t0, 1, 2, -1,\r\n"
    "\t\t\t\t\t]\r\n\t\t\t\tnormalIndex\t [\r\n\t\t\t\t\t0, 1, 2, -1,\r\n\t\t\t\t\t]}\r\n\t\t\t}\r\n";
const std::string kCurve1 =
    "\r\n\tSeparator {\r\n\r\n\t\tMaterial {\r\n\t\t\tdiffuseColor 0.250000 0.500000 0.750000\r\n\t\t}\r\n"
    "\r\n\t    NormalBinding {\r\n\t\tvalue PER_VERTEX_INDEXED\r\n\t    }\r\n\r\n\tCoordinate3 {\r\n\t\tpoint [\r\n"
    "\t\t\t0.001000 0.002000 1.003000,\r\n\t\t\t0.004000 0.005000 1.006000,\r\n  \t\t\t]}\r\n"
    "\r\n\t\tIndexedLineSet {\r\n\t\t\tcoordIndex [\r\n \t\t\t\t\t0,\r\n \t\t\t\t\t1,\r\n\t\t\t\t  -1 ]\r\n"
    "\t\t\t\t}\r\n\t\t\t}\r\n";

std::string Hints(const std::string& order) {
    return "\r\n\tShapeHints {\r\n\t\tvertexOrdering  " + order +
           "\r\n\t\tshapeType       UNKNOWN_SHAPE_TYPE\r\n\t\tfaceType        CONVEX\r\n\t}\r\n";
}

TEST_F(Files, Vrml1IsFlatAndTurnsWhatIsMirrored) {
    EXPECT_EQ(Written(&ITessera::WriteVRML), "#VRML V1.0 ascii\n\r\nSeparator {\r\n}\r\n");
    Build();
    const std::string shapes = kTriangle1 + kCurve1;
    EXPECT_EQ(Written(&ITessera::WriteVRML), "#VRML V1.0 ascii\n\r\nSeparator {\r\n" + Hints("CLOCKWISE") + shapes +
                                                 Hints("COUNTERCLOCKWISE") + shapes + "}\r\n");
    scene->EnableDrawing(frame_, 0, &error);
    EXPECT_EQ(Written(&ITessera::WriteVRML), "#VRML V1.0 ascii\n\r\nSeparator {\r\n}\r\n");
    // An open that fails leaves what was there.
    EXPECT_EQ(scene->WriteVRML(Name("none/x.wrl")), STATUS_OK);
    EXPECT_EQ(FilesLeft(), 1U);
}

std::string Shape2(const std::string& color, const std::string& kind, const std::string& content) {
    return "\r\n\tShape {\r\n\t\tappearance Appearance {\r\n\t\t    material Material {\r\n\t\t\t\t" + color +
           " 0.250000 0.500000 0.750000\r\n\t\t\t\tshininess 0.1\r\n\t\t      }\r\n\t\t}\r\n\t\tgeometry " + kind +
           "\r\n\t\t{\r\n" + content + "\t    }\r\n\t }\r\n";
}

std::string Coord2(const std::string& points) {
    return "\t\t   coord Coordinate\r\n\t\t   {\r\n\t\t      point\r\n\t\t      [\r\n" + points +
           "\t\t      ]\r\n\t\t   }\r\n";
}

TEST_F(Files, Vrml2HasAHeadAndPointSets) {
    const auto head = [](const char* user, const char* view) {
        char date[9];
        const std::time_t now = std::time(nullptr);
        std::strftime(date, sizeof date, "%m/%d/%y", std::localtime(&now));
        return std::string(
                   "#VRML V2.0 utf8\r\nWorldInfo {\r\n\tinfo \"Panoptel export VRML 2.0,\r\n"
                   "\t\tBrelta, Inc.\r\n\t\tAuthor: ") +
               user + "\r\n\t\tDate: " + date + "\"\r\n\ttitle \"\"\r\n\t}\r\nTransform\r\n{\r\n\ttranslation " + view +
               "\r\n\t\t}\r\n\t]\r\n}\r\nGroup\r\n{\r\nchildren\r\n\t[\r\n";
    };
    EXPECT_EQ(Written(&ITessera::WriteVRML_2),
              head("U",
                   "0.000 0.000 0\r\n\tchildren\r\n\t[\r\n\tViewpoint {\r\n\t\tposition 0 -0.004 0.006\r\n"
                   "\t\torientation 1 0 0 0.615") +
                  "\t]\r\n}\r\n");
    Build();
    scene->SetUserName(0, Text(u"Zoe"), &error);
    scene->EnableDrawing(again_, 0, &error);
    const std::string p = "\t\t         ", normal = p + "0.000000 0.000000 1.000000,\r\n";
    const std::string mesh =
        "\t\t   coordIndex\r\n\t\t   [\r\n\t\t      0, 1, 2, -1,\r\n\t\t   ]\r\n\t\t   normalIndex\r\n\t\t   [\r\n"
        "\t\t      0, 1, 2, -1,\r\n\t\t   ]\r\n" +
        Coord2(p + "0.000000 0.000000 1.000000,\r\n" + p + "0.001000 0.000000 1.000000,\r\n" + p +
               "0.000000 0.001000 1.000000,\r\n") +
        "\t\t   normal Normal\r\n\t\t   {\r\n\t\t      vector\r\n\t\t      [\r\n" + normal + normal + normal +
        "\t\t      ]\r\n\t\t   }\r\n";
    const std::string curve =
        "\t\t   coordIndex\r\n\t\t   [\r\n\t\t      0,\r\n\t\t      1,\r\n\t\t      -1\r\n\t\t   ]\r\n" +
        Coord2(p + "0.001000 0.002000 1.003000,\r\n" + p + "0.004000 0.005000 1.006000,\r\n");
    const std::string points = Coord2(p + "0.007000 0.008000 1.009000,\r\n");
    EXPECT_EQ(Written(&ITessera::WriteVRML_2),
              head("Z",
                   "0.004 0.004 0\r\n\tchildren\r\n\t[\r\n\tViewpoint {\r\n\t\tposition 0 -0.016 0.021\r\n"
                   "\t\torientation 1 0 0 0.645") +
                  Shape2("diffuseColor", "IndexedFaceSet", mesh) + Shape2("emissiveColor", "IndexedLineSet", curve) +
                  Shape2("diffuseColor", "PointSet", points) + "\t]\r\n}\r\n");
}

TEST_F(Files, NumbersAreThoseOfPrintf) {
    std::vector<float> values = {0,
                                 -0.0F,
                                 0.5F,
                                 1.0F / 3,
                                 0.0000005F,
                                 0.0000015F,
                                 -0.00000049F,
                                 0.1249999F,
                                 0.0009765625F,
                                 999999.9F,
                                 8796093022207.0F,
                                 8796093022208.0F,
                                 3e38F,
                                 1e-38F,
                                 1e-45F,
                                 std::numeric_limits<float>::infinity()};
    std::mt19937 random(3);
    for (int i = 0; i < 20000; ++i) {
        const std::uint32_t bits = static_cast<std::uint32_t>(random());
        float value;
        std::memcpy(&value, &bits, sizeof value);
        if (std::isfinite(value)) values.push_back(value);
        values.push_back(std::ldexp(static_cast<float>(random() % 2048), -static_cast<int>(random() % 24)));  // ties
    }
    std::string expected;
    {
        OutputFile file(Full("numbers"));
        TextOutput out(file);
        for (const float v : values) {
            char text[400];
            std::snprintf(text, sizeof text, "%.3f %f %.3f\n", static_cast<double>(v), static_cast<double>(v), v * 0.7);
            expected += text;
            out.Fixed(v, 3).Text(" ").Fixed(v, 6).Text(" ").Fixed(v * 0.7, 3).Text("\n");
        }
        out.Flush();
        EXPECT_EQ(FilesLeft(), 1U);
        ASSERT_TRUE(file.Commit());
    }
    EXPECT_TRUE(Content("numbers") == expected);
    EXPECT_EQ(FilesLeft(), 1U);
}

}  // namespace
}  // namespace tessera::test
