// 3DG and VRML, byte for byte.
#include <bit>
#include <cmath>
#include <ctime>
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
    // As it was once found right, but for the day of writing.
    static std::string Golden(const std::string& name) {
        char date[9];
        const std::time_t now = std::time(nullptr);
        std::strftime(date, sizeof date, "%m/%d/%y", std::localtime(&now));
        std::string text = ContentOf(std::string(GOLDEN_FOLDER) + "/" + name);
        const std::size_t at = text.find("DATE");
        return at == std::string::npos ? text : text.replace(at, 4, date);
    }

    Placed placed_;
    int frame_ = 0, again_ = 0;
};

struct Bytes {
    std::string text;

    template <class... Values>
    Bytes& Put(Values... values) {
        (text.append(reinterpret_cast<const char*>(&values), sizeof values), ...);
        return *this;
    }
    Bytes& Text(const std::string& t) {
        Put(static_cast<std::uint32_t>(t.size()));
        text += t;
        return *this;
    }
    Bytes& Node(char tag, const std::string& name, const std::string& properties, int mirrored, double z) {
        Put(tag).Text(name).Text("Unset").Text(properties).Put(mirrored);
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

    Bytes b{std::string("3DG00719\xcf\x02", 10)};
    b.Node('\x09', "No Name", "", 1, 1000);
    b.Node('\x0b', "\xc3\xa4\xf0\x9f\x98\x80\xef\xbf\xbd", "", 0, 0).Put(placed_.part, '\x0c');
    b.Node('\x0b', "No Name (1)", "a=\"b\"", 1, 0).Put(placed_.part, '\x0c');
    b.Put('\x0a', '\x0d', 1, 0.0F, 0.0F, 1.0F);
    b.Put('\1', placed_.part).Text(std::string(6000, 'n'));
    b.Put(0.25F, 0.5F, 0.75F, 0.0F, 0.85F, 0.0F, 1.0F, 0.5F, 0.0F, 1.0F, 1.0F, 0.0F, 0.99F, 1, 1);
    b.Put('\3', 0.25F, 0.5F, 0.75F, 0.2F, 0.85F, 0.2F);
    b.Put(3, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F, 0.0F, 0.0F, 1.0F, 0.0F, '\x0f', 1, 0, 0, 0, 0, 1, 2);
    b.Put('\7', 0.25F, 0.5F, 0.75F, 2, 1.0F, 2.0F, 3.0F, '\0', 4.0F, 5.0F, 6.0F, '\0');
    b.Put('\x08', 0.25F, 0.5F, 0.75F, 1, 7.0F, 8.0F, 9.0F);
    b.Put('\x11', '\2', '\6');
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

TEST_F(Files, Vrml1IsFlatAndTurnsWhatIsMirrored) {
    const std::string nothing = "#VRML V1.0 ascii\n\r\nSeparator {\r\n}\r\n";
    EXPECT_EQ(Written(&ITessera::WriteVRML), nothing);
    Build();
    EXPECT_EQ(Written(&ITessera::WriteVRML), Golden("flat.wrl"));
    scene->EnableDrawing(frame_, 0, &error);
    EXPECT_EQ(Written(&ITessera::WriteVRML), nothing);
    // An open that fails leaves what was there.
    EXPECT_EQ(scene->WriteVRML(Name("none/x.wrl")), STATUS_OK);
    EXPECT_EQ(FilesLeft(), 1U);
}

TEST_F(Files, Vrml2HasAHeadAndPointSets) {
    EXPECT_EQ(Written(&ITessera::WriteVRML_2), Golden("empty2.wrl"));
    Build();
    scene->SetUserName(0, Text(u"Zoe"), &error);
    scene->EnableDrawing(again_, 0, &error);
    EXPECT_EQ(Written(&ITessera::WriteVRML_2), Golden("full2.wrl"));
}

TEST_F(Files, NumbersAreThoseOfPrintf) {
    const float infinity = std::numeric_limits<float>::infinity();
    std::vector<float> values{0,          -0.0F,        0.5F,       1.0F / 3,     0.0000005F,
                              0.0000015F, -0.00000049F, 0.1249999F, 0.0009765625F};
    for (const float large : {999999.9F, 8796093022207.0F, 8796093022208.0F, 3e38F, 1e-38F, 1e-45F, infinity})
        values.push_back(large);
    std::mt19937 random(3);
    for (int i = 0; i < 20000; ++i) {
        const float value = std::bit_cast<float>(static_cast<std::uint32_t>(random()));
        if (std::isfinite(value)) values.push_back(value);
        values.push_back(std::ldexp(static_cast<float>(random() % 2048), -static_cast<int>(random() % 24)));  // ties
    }
    std::string expected;
    {
        OutputFile file(Full("numbers"));
        TextOutput out(file);
        for (const float v : values) {
            char text[400];
            std::snprintf(text, sizeof text, "%.3f %f %.3f\n", double{v}, double{v}, v * 0.7);
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
