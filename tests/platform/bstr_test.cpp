// The strings of the interface, as a host uses them.
#include <gtest/gtest.h>
#include <tessera/platform.h>

#include <cstring>
#include <string>
#include <tuple>

namespace tessera::test {
namespace {

using namespace std::string_literals;

BSTR Make(const std::u16string& text) { return SysAllocStringLen(text.data(), static_cast<UINT>(text.size())); }

TEST(Bstr, KeepsLengthInFrontAndZeroBehind) {
    for (const std::u16string& text : {u""s, u"bolt M8"s, u"a\0b\0"s, u"\U0001f529 \u00e9"s}) {
        const BSTR string = Make(text);
        std::uint32_t stored = 0;
        std::memcpy(&stored, reinterpret_cast<const char*>(string) - 4, 4);
        EXPECT_TRUE(stored == 2 * text.size() && SysStringByteLen(string) == stored && string[text.size()] == 0);
        EXPECT_EQ(std::u16string(string, SysStringLen(string)), text);
        SysFreeString(string);
    }
    const BSTR cut = SysAllocString(u"ab\0cd"), odd = SysAllocStringByteLen("uvwxyz", 5);
    EXPECT_TRUE(SysStringLen(cut) == 2 && SysStringByteLen(odd) == 5 && SysStringLen(odd) == 2);
    EXPECT_EQ(std::memcmp(odd, "uvwxy\0", 7), 0);
    const BSTR room = SysAllocStringLen(nullptr, 3);
    EXPECT_TRUE(SysStringLen(room) == 3 && room[3] == 0);
    for (const BSTR string : {cut, odd, room, BSTR{nullptr}}) SysFreeString(string);
    EXPECT_FALSE(SysAllocString(nullptr) || SysStringLen(nullptr) > 0 || SysStringByteLen(nullptr) > 0);
    for (const UINT tooLong : {0x3fffffffu, 0x40000000u, 0x7fffffffu, 0x80000000u, 0xfffffffdu, 0xffffffffu})
        EXPECT_FALSE(SysAllocStringLen(nullptr, tooLong)) << tooLong;
    for (const UINT tooLong : {0x7fffffffu, 0xfffffffau, 0xffffffffu})
        EXPECT_FALSE(SysAllocStringByteLen(nullptr, tooLong)) << tooLong;
}

TEST(Bstr, ComparesByCodeUnitsAndJoins) {
    const std::tuple<std::u16string, std::u16string, HRESULT> cases[] = {
        {u"", u"", VARCMP_EQ},
        {u"Gear", u"gear", VARCMP_LT},
        {u"gear", u"gears", VARCMP_LT},
        {u"gear", u"", VARCMP_GT},
        {u"a\0b"s, u"a\0c"s, VARCMP_LT},
        {u"a\0b"s, u"a", VARCMP_GT},
        {u"\U0001f529", u"\uff01", VARCMP_LT}};  // by code points the pair would be the greater
    for (const auto& [left, right, expected] : cases) {
        const BSTR a = Make(left), b = right.empty() ? nullptr : Make(right);
        BSTR both = nullptr;
        EXPECT_EQ(VarBstrCmp(a, b, 0x400, 0), expected);
        EXPECT_EQ(VarBstrCmp(b, a, 0x400, 0), VARCMP_EQ + VARCMP_EQ - expected);
        ASSERT_EQ(VarBstrCat(a, b, &both), STATUS_OK);
        EXPECT_EQ(std::u16string(both, SysStringLen(both) + 1), left + right + u'\0');
        for (const BSTR string : {a, b, both}) SysFreeString(string);
    }
}

}  // namespace
}  // namespace tessera::test
