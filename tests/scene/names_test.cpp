// Names, paths, user names, properties and dates.
#include <ctime>
#include <tuple>

#include "component/host.h"

namespace tessera::test {
namespace {

using namespace std::string_literals;

class Names : public HostTest {
protected:
    int AtPath(const std::u16string& path) {
        int id = 99;
        EXPECT_EQ(scene->GetNodeIDFromPath(Text(path).get(), &id, &error), STATUS_OK);
        EXPECT_EQ(error, id == -1 ? 0 : 1);
        return id;
    }
    int Named(int start, const std::u16string& name) {
        int id = 99;
        EXPECT_EQ(Code(scene->GetNodeIDFromName(start, Text(name).get(), &id, &error)), 1);
        return id;
    }
    std::u16string FullName(int node) { return Say(&T::GetFullNodeName, node); }
    std::u16string PartName(const Placed& placed, const char16_t* name = nullptr) {
        if (name) scene->SetPartName(placed.part, Text(name).get(), &error);
        return Say(&T::GetPartName, placed.instance);
    }
};

TEST_F(Names, AreNumberedUntilUniqueAmongSiblings) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(), c = scene.AddAssembly(), d = scene.AddAssembly();
    EXPECT_EQ(Name(a) + u'|' + Name(d), u"No Name|No Name (3)");
    const auto step = [&](int node, const char16_t* wanted, const char16_t* expected) {
        EXPECT_EQ(Rename(node, wanted), expected);
    };
    step(a, u"Gear", u"Gear"), step(b, u"Gear", u"Gear (1)"), step(c, u"Gear", u"Gear (2)"),
        step(d, u"Gear", u"Gear (3)"), step(b, u"Gear", u"Gear (1)"), step(a, u"Gear", u"Gear"),
        step(c, u"Gear", u"Gear (2)"), step(b, u"gear", u"gear"), step(c, u"Gear", u"Gear (1)"),
        step(b, u"Gear (1)", u"Gear (1) (1)"), step(d, u"Gear", u"Gear (2)"), step(a, u"Wheel", u"Wheel"),
        step(c, u"Gear", u"Gear"), step(d, u"Gear", u"Gear (1)"), step(a, u"", u""), step(b, u"", u" (1)"),
        step(a, u"", u""), step(c, u"Gear (3)", u"Gear (3)"), step(a, u"Gear", u"Gear"), step(b, u"Gear", u"Gear (2)");
    // A freed number is taken again; the root and nodes elsewhere do not count.
    Remove(d);
    const int e = scene.AddAssembly(), below = scene.AddAssembly(e);
    EXPECT_EQ(Rename(e, u"Gear") + u'|' + Rename(below, u"Gear"), u"Gear (1)|Gear");
    EXPECT_EQ(Rename(scene.AddAssembly(), u"/"), u"/");
    // Beside a namesake a node that moves is renamed, and stays so when it goes back.
    const int f = scene.AddEmptyPart(a).instance, g = scene.AddEmptyPart(b).instance;
    Rename(f, u"Pin"), Rename(g, u"Pin");
    for (const int parent : {b, a}) {
        SetParent(f, parent);
        EXPECT_EQ(Name(f), u"Pin (1)");
    }
    SetParent(g, b);
    EXPECT_EQ(Name(g), u"Pin");
}

TEST_F(Names, MakePathsThatFindTheNode) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a), c = scene.AddEmptyPart(b).instance;
    Rename(a, u"Box"), Rename(b, u"Shaft"), Rename(c, u"Key \u00e9\U0001f529");
    EXPECT_EQ(FullName(0) + FullName(c), u"///Box/Shaft/Key \u00e9\U0001f529");
    const std::pair<std::u16string, int> cases[] = {
        {u"/", 0},        {u"//", 0},      {FullName(a), a},      {FullName(b), b},         {FullName(c), c},
        {u"", -1},        {u"Box", -1},    {u"/Box", -1},         {u"//Box/", -1},          {u"//box", -1},
        {u"//Shaft", -1}, {u"///Box", -1}, {u"//Box//Shaft", -1}, {FullName(c) + u"/", -1}, {FullName(c) + u"/x", -1}};
    for (const auto& [path, id] : cases) EXPECT_EQ(AtPath(path), id) << std::string(path.begin(), path.end());
    // An empty name is a component like any other; a slash in a name hides the node.
    Rename(b, u"");
    EXPECT_EQ(AtPath(u"//Box/"), b);
    Rename(b, u"x/y");
    EXPECT_EQ(AtPath(FullName(b)), -1);
    // The root's name shows in full names, and is never compared.
    Rename(0, u"Top");
    EXPECT_EQ(FullName(a), u"Top/Box");
    EXPECT_EQ((Ids{AtPath(u"//Box"), AtPath(u"Top/Box")}), (Ids{a, -1}));
}

TEST_F(Names, AreSearchedDepthFirstFromTheStartNode) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(), last = scene.AddEmptyPart().instance;
    const int inA = scene.AddEmptyPart(a).instance, inB = scene.AddEmptyPart(b).instance;
    for (const int node : {inA, inB, last, a}) Rename(node, u"Pin");
    const std::tuple<int, const char16_t*, int> cases[] = {{0, u"Pin", inB},   {a, u"Pin", inA},   {last, u"Pin", last},
                                                           {0, u"Pin (1)", a}, {a, u"Pin (1)", a}, {b, u"Pin (1)", -1},
                                                           {0, u"/", 0},       {0, u"pin", -1},    {inA, u"/", -1}};
    for (const auto& [start, name, id] : cases) EXPECT_EQ(Named(start, name), id) << start;
    // Code units beyond a zero count.
    EXPECT_EQ(Rename(last, u"a\0b"s), u"a\0b"s);
    EXPECT_EQ((Ids{Named(0, u"a\0b"s), Named(0, u"a")}), (Ids{last, -1}));
    // Of any length.
    const std::u16string huge(1 << 20, u'\u00e9');
    EXPECT_TRUE(Rename(a, huge) == huge && Rename(b, huge) == huge + u" (1)" && AtPath(FullName(b)) == b);
}

TEST_F(Names, OfPartsAreNumberedByOneCounter) {
    const Placed p = scene.AddEmptyPart(), q = scene.AddEmptyPart(), r = scene.AddEmptyPart();
    EXPECT_EQ(PartName(p) + PartName(q) + PartName({AddBareInstance(), 0}), u"No NameNo Name");
    EXPECT_EQ(PartName(p, u"Rim") + PartName(p, u"Rim") + PartName(q, u"rim"), u"RimRimrim");
    const auto number = [](const std::u16string& text, const std::u16string& start) {
        EXPECT_EQ(text.substr(0, start.size()), start);
        return std::stoi(std::string(text.begin() + static_cast<std::ptrdiff_t>(start.size()), text.end()));
    };
    const int first = number(PartName(q, u"default"), u"default (");
    EXPECT_EQ(number(PartName(q, u"Rim"), u"Rim ("), first + 1);
    EXPECT_EQ(number(PartName(r, u"default"), u"default ("), first + 2);
    Scene other;
    const Placed s = other.AddEmptyPart();
    BSTR name = nullptr;
    other->SetPartName(s.part, Text(u"default").get(), &error);
    other->GetPartName(s.instance, &name, &error);
    EXPECT_EQ(number(name, u"default ("), first + 3);
    SysFreeString(name);
}

TEST_F(Names, OfUsersGoDownAndPropertiesStay) {
    const int a = scene.AddAssembly(), b = scene.AddEmptyPart(a).instance, c = scene.AddEmptyPart().instance;
    const auto said = [&](HRESULT (T::*get)(int, BSTR*, int*)) {
        return Say(get, 0) + u'|' + Say(get, a) + u'|' + Say(get, b) + u'|' + Say(get, c);
    };
    scene->SetUserName(a, Text(u"Ada").get(), &error);
    scene->SetUserName(c, Text(u"Bob").get(), &error);
    scene->SetPropertyString(a, Text(u"steel").get(), &error);
    EXPECT_EQ(said(&T::GetNodeUserName), u"Unset|Ada|Ada|Bob");
    EXPECT_EQ(said(&T::GetPropertyString), u"|steel||");
    // The list of user names is always empty.
    const int empty = scene.AddAssembly();
    BSTR text = nullptr;
    for (const auto& [node, count] : {std::pair{0, 2}, {a, 1}, {b, 1}, {empty, 0}}) {
        EXPECT_EQ(Get(&T::GetNumberOfPartInstance, node), count) << node;
        EXPECT_TRUE(scene->GetFirstUsername(node, &text, &error) == STATUS_OK && error == -1);
    }
    EXPECT_EQ(Code(scene->GetFirstUsername(777, &text, &error)), 0);
    EXPECT_TRUE(scene->GetNextUsername(&text, &error) == STATUS_OK && error == -1);
}

TEST_F(Names, DatesAreTheClocksLocalTime) {
    const int a = scene.AddAssembly();
    for (const bool set : {true, false}) {
        const std::time_t before = std::time(nullptr);
        set ? scene->SetDateAsNow(0, &error) : scene.AddAssembly();
        std::tm t{}, now = *std::localtime(&before);
        scene->GetLastModifiedDate(a, &t.tm_sec, &t.tm_min, &t.tm_hour, &t.tm_wday, &t.tm_mon, &t.tm_year, &error);
        EXPECT_EQ((Ids{t.tm_wday, t.tm_mon, t.tm_year}), (Ids{now.tm_wday, now.tm_mon, now.tm_year}));
        const int hours = t.tm_hour - now.tm_hour, minutes = t.tm_min - now.tm_min, seconds = t.tm_sec - now.tm_sec;
        EXPECT_LE(std::abs(hours * 3600 + minutes * 60 + seconds), 60);
    }
}

}  // namespace
}  // namespace tessera::test
