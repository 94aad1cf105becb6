// Names, paths, user names, properties and dates.
#include <ctime>

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
        EXPECT_EQ(scene->GetNodeIDFromName(start, Text(name).get(), &id, &error), STATUS_OK);
        EXPECT_EQ(error, 1);
        return id;
    }
    std::u16string FullName(int node) { return Say(&T::GetFullNodeName, node); }
    std::u16string UserName(int node) { return Say(&T::GetNodeUserName, node); }
    std::u16string PartName(const Placed& placed, const char16_t* name = nullptr) {
        if (name) scene->SetPartName(placed.part, Text(name).get(), &error);
        return Say(&T::GetPartName, placed.instance);
    }
};

TEST_F(Names, AreNumberedUntilUniqueAmongSiblings) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(), c = scene.AddAssembly(), d = scene.AddAssembly();
    EXPECT_EQ(Name(a), u"No Name");
    EXPECT_EQ(Name(d), u"No Name (3)");
    const struct {
        int node;
        const char16_t *wanted, *expected;
    } steps[] = {
        {a, u"Planet gear", u"Planet gear"},
        {b, u"Planet gear", u"Planet gear (1)"},
        {c, u"Planet gear", u"Planet gear (2)"},
        {d, u"Planet gear", u"Planet gear (3)"},
        {b, u"Planet gear", u"Planet gear (1)"},
        {a, u"Planet gear", u"Planet gear"},
        {c, u"Planet gear", u"Planet gear (2)"},
        {b, u"planet gear", u"planet gear"},
        {c, u"Planet gear", u"Planet gear (1)"},
        {b, u"Planet gear (1)", u"Planet gear (1) (1)"},
        {d, u"Planet gear", u"Planet gear (2)"},
        {a, u"Wheel", u"Wheel"},
        {c, u"Planet gear", u"Planet gear"},
        {d, u"Planet gear", u"Planet gear (1)"},
        {a, u"", u""},
        {b, u"", u" (1)"},
        {a, u"", u""},
        {c, u"Planet gear (3)", u"Planet gear (3)"},
        {a, u"Planet gear", u"Planet gear"},
        {b, u"Planet gear", u"Planet gear (2)"},
    };
    for (const auto& [node, wanted, expected] : steps) EXPECT_EQ(Rename(node, wanted), expected);
    // A freed number is taken again; the root and nodes elsewhere do not count.
    scene->Remove(d, &error);
    const int e = scene.AddAssembly();
    EXPECT_EQ(Rename(e, u"Planet gear"), u"Planet gear (1)");
    EXPECT_EQ(Rename(scene.AddAssembly(e), u"Planet gear"), u"Planet gear");
    EXPECT_EQ(Rename(scene.AddAssembly(), u"/"), u"/");
}

TEST_F(Names, ChangeWhenANodeMovesBesideItsNamesake) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly();
    const int inA = scene.AddEmptyPart(a).instance, inB = scene.AddEmptyPart(b).instance;
    Rename(inA, u"Gear");
    Rename(inB, u"Gear");
    scene->SetParent(inA, b, &error);
    EXPECT_EQ(Name(inA), u"Gear (1)");
    scene->SetParent(inA, a, &error);
    EXPECT_EQ(Name(inA), u"Gear (1)");
    scene->SetParent(inB, b, &error);
    EXPECT_EQ(Name(inB), u"Gear");
}

TEST_F(Names, MakePathsThatFindTheNode) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly(a);
    const int c = scene.AddEmptyPart(b).instance;
    Rename(a, u"Box");
    Rename(b, u"Shaft");
    Rename(c, u"Key \u00e9\U0001f529");
    EXPECT_EQ(FullName(0), u"/");
    EXPECT_EQ(FullName(c), u"//Box/Shaft/Key \u00e9\U0001f529");
    const struct {
        std::u16string path;
        int id;
    } cases[] = {
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
    EXPECT_EQ(AtPath(u"//Box"), a);
    EXPECT_EQ(AtPath(u"Top/Box"), -1);
}

TEST_F(Names, AreSearchedDepthFirstFromTheStartNode) {
    const int a = scene.AddAssembly(), b = scene.AddAssembly();
    const int inA = scene.AddEmptyPart(a).instance, inB = scene.AddEmptyPart(b).instance;
    const int last = scene.AddEmptyPart().instance;
    for (const int node : {inA, inB, last}) Rename(node, u"Pin");
    Rename(a, u"Pin");
    EXPECT_EQ(Name(a), u"Pin (1)");
    const struct {
        int start;
        const char16_t* name;
        int id;
    } cases[] = {{0, u"Pin", inB},    {a, u"Pin", inA}, {last, u"Pin", last}, {0, u"Pin (1)", a}, {a, u"Pin (1)", a},
                 {b, u"Pin (1)", -1}, {0, u"/", 0},     {0, u"pin", -1},      {inA, u"/", -1}};
    for (const auto& [start, name, id] : cases) EXPECT_EQ(Named(start, name), id) << start;
    // Code units beyond a zero count.
    Rename(last, u"a\0b"s);
    EXPECT_EQ(Name(last), u"a\0b"s);
    EXPECT_EQ(Named(0, u"a\0b"s), last);
    EXPECT_EQ(Named(0, u"a"), -1);
}

TEST_F(Names, OfPartsAreNumberedByOneCounter) {
    Placed p = scene.AddEmptyPart(), q = scene.AddEmptyPart(), r = scene.AddEmptyPart();
    EXPECT_EQ(PartName(p), u"No Name");
    EXPECT_EQ(PartName(q), u"No Name");
    EXPECT_EQ(PartName(p, u"Rim"), u"Rim");
    EXPECT_EQ(PartName(p, u"Rim"), u"Rim");
    EXPECT_EQ(PartName(q, u"rim"), u"rim");
    const std::u16string first = PartName(q, u"default");
    ASSERT_EQ(first.substr(0, 9), u"default (");
    const auto number = [](const std::u16string& text) {
        return std::stoi(std::string(text.begin() + static_cast<std::ptrdiff_t>(text.rfind(u'(')) + 1, text.end()));
    };
    const int start = number(first);
    const std::u16string second = PartName(q, u"Rim"), third = PartName(r, u"default");
    EXPECT_EQ(second.substr(0, 5), u"Rim (");
    EXPECT_EQ(third.substr(0, 9), u"default (");
    EXPECT_EQ((Ids{number(second), number(third)}), (Ids{start + 1, start + 2}));
    Scene other;
    const Placed s = other.AddEmptyPart();
    BSTR name = nullptr;
    other->SetPartName(s.part, Text(u"default").get(), &error);
    other->GetPartName(s.instance, &name, &error);
    EXPECT_EQ(number(name), start + 3);
    SysFreeString(name);
    EXPECT_EQ(PartName({AddBareInstance(), 0}), u"");
}

TEST_F(Names, OfUsersGoDownAndPropertiesStay) {
    const int a = scene.AddAssembly(), b = scene.AddEmptyPart(a).instance, c = scene.AddEmptyPart().instance;
    EXPECT_EQ(UserName(b), u"Unset");
    scene->SetUserName(a, Text(u"Ada").get(), &error);
    scene->SetUserName(c, Text(u"Bob").get(), &error);
    EXPECT_EQ(UserName(0) + u' ' + UserName(a) + u' ' + UserName(b) + u' ' + UserName(c), u"Unset Ada Ada Bob");
    scene->SetPropertyString(a, Text(u"steel").get(), &error);
    EXPECT_EQ(Say(&T::GetPropertyString, a) + u'|' + Say(&T::GetPropertyString, b), u"steel|");
    BSTR text = nullptr;
    // The list of user names is always empty.
    int empty = scene.AddAssembly();
    for (const int node : {0, a, b, empty}) {
        EXPECT_EQ(scene->GetFirstUsername(node, &text, &error), STATUS_OK);
        EXPECT_EQ(error, -1);
    }
    EXPECT_EQ(scene->GetFirstUsername(777, &text, &error), STATUS_FAIL);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(scene->GetNextUsername(&text, &error), STATUS_OK);
    EXPECT_EQ(error, -1);
    int count = 99;
    for (const auto& [node, expected] : {std::pair{0, 2}, {a, 1}, {b, 1}, {empty, 0}}) {
        scene->GetNumberOfPartInstance(node, &count, &error);
        EXPECT_EQ(count, expected) << node;
    }
}

TEST_F(Names, DatesAreTheClocksLocalTime) {
    const int a = scene.AddAssembly();
    for (int i = 0; i < 2; ++i) {
        const std::time_t before = std::time(nullptr);
        if (i == 0)
            scene->SetDateAsNow(0, &error);
        else
            scene.AddAssembly();
        std::tm got{};
        scene->GetLastModifiedDate(a, &got.tm_sec, &got.tm_min, &got.tm_hour, &got.tm_wday, &got.tm_mon, &got.tm_year,
                                   &error);
        const std::tm now = *std::localtime(&before);
        EXPECT_EQ((Ids{got.tm_wday, got.tm_mon, got.tm_year}), (Ids{now.tm_wday, now.tm_mon, now.tm_year}));
        const int seconds =
            (got.tm_hour - now.tm_hour) * 3600 + (got.tm_min - now.tm_min) * 60 + got.tm_sec - now.tm_sec;
        EXPECT_LE(std::abs(seconds), 60);
    }
}

}  // namespace
}  // namespace tessera::test
