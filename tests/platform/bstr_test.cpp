// The strings and the task memory of the interface, as a host uses them.
#include <gtest/gtest.h>
#include <tessera/platform.h>

#include <algorithm>
#include <cstring>
#include <string>

namespace tessera::test {
namespace {

using namespace std::string_literals;

BSTR Make(const std::u16string& text) { return SysAllocStringLen(text.data(), static_cast<UINT>(text.size())); }

// The length as a reader of the raw layout finds it.
std::uint32_t StoredLength(BSTR text) {
    std::uint32_t bytes = 0;
    std::memcpy(&bytes, reinterpret_cast<const char*>(text) - 4, 4);
    return bytes;
}

TEST(Bstr, KeepsLengthInFrontAndZeroBehind) {
    const std::u16string texts[] = {
        u"", u"a", u"bolt M8", u"a\0b\0"s, u"\0"s, u"\U0001f529 \u00e9", std::u16string(70000, u'x')};
    for (const std::u16string& text : texts) {
        const BSTR string = Make(text);
        ASSERT_TRUE(string);
        EXPECT_EQ(SysStringLen(string), text.size());
        EXPECT_EQ(SysStringByteLen(string), 2 * text.size());
        EXPECT_EQ(StoredLength(string), 2 * text.size());
        EXPECT_EQ(std::u16string(string, text.size()), text);
        EXPECT_EQ(string[text.size()], 0);
        SysFreeString(string);
    }
}

TEST(Bstr, StopsAtZeroWhenNoLengthIsGiven) {
    const BSTR string = SysAllocString(u"ab\0cd");
    EXPECT_EQ(SysStringLen(string), 2u);
    SysFreeString(string);
}

TEST(Bstr, TakesNull) {
    EXPECT_FALSE(SysAllocString(nullptr));
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
    const BSTR room = SysAllocStringLen(nullptr, 3);
    ASSERT_TRUE(room);
    EXPECT_EQ(SysStringLen(room), 3u);
    EXPECT_EQ(room[3], 0);
    std::fill_n(room, 3, u'q');
    EXPECT_EQ(std::u16string(room), u"qqq");
    SysFreeString(room);
}

TEST(Bstr, CountsBytesOfRawData) {
    for (const UINT bytes : {0u, 1u, 2u, 5u, 6u}) {
        const BSTR string = SysAllocStringByteLen("uvwxyz", bytes);
        ASSERT_TRUE(string);
        EXPECT_EQ(SysStringByteLen(string), bytes);
        EXPECT_EQ(SysStringLen(string), bytes / 2);
        const char* const raw = reinterpret_cast<const char*>(string);
        EXPECT_EQ(std::string(raw, bytes), std::string("uvwxyz").substr(0, bytes));
        EXPECT_EQ(raw[bytes], 0);
        EXPECT_EQ(raw[bytes + 1], 0);
        SysFreeString(string);
    }
}

TEST(Bstr, RefusesLengthsThatDoNotFit) {
    for (const UINT length : {0x3fffffffu, 0x40000000u, 0x7fffffffu, 0x80000000u, 0xfffffffdu, 0xffffffffu})
        EXPECT_FALSE(SysAllocStringLen(nullptr, length)) << length;
    for (const UINT length : {0x7fffffffu, 0xfffffffau, 0xffffffffu})
        EXPECT_FALSE(SysAllocStringByteLen(nullptr, length)) << length;
}

TEST(Bstr, ComparesByCodeUnits) {
    const struct {
        std::u16string left, right;
        HRESULT expected;
    } cases[] = {
        {u"", u"", VARCMP_EQ},
        {u"gear", u"gear", VARCMP_EQ},
        {u"Gear", u"gear", VARCMP_LT},
        {u"gear", u"gears", VARCMP_LT},
        {u"gear", u"", VARCMP_GT},
        {u"a\0b"s, u"a\0c"s, VARCMP_LT},
        {u"a\0b"s, u"a", VARCMP_GT},
        {u"z", u"\u00e9", VARCMP_LT},
        {u"\U0001f529", u"\uff01", VARCMP_LT},  // by units: by code points the pair would be the greater
    };
    for (const auto& [left, right, expected] : cases) {
        const BSTR a = Make(left), b = Make(right);
        EXPECT_EQ(VarBstrCmp(a, b, 0x400, 0), expected);
        EXPECT_EQ(VarBstrCmp(b, a, 0x400, 0), VARCMP_EQ + VARCMP_EQ - expected);
        SysFreeString(a);
        SysFreeString(b);
    }
    const BSTR empty = Make(u""), full = Make(u"a");
    EXPECT_EQ(VarBstrCmp(nullptr, nullptr, 0, 0), VARCMP_EQ);
    EXPECT_EQ(VarBstrCmp(nullptr, empty, 0, 0), VARCMP_EQ);
    EXPECT_EQ(VarBstrCmp(nullptr, full, 0, 0), VARCMP_LT);
    EXPECT_EQ(VarBstrCmp(full, nullptr, 0, 0), VARCMP_GT);
    SysFreeString(empty);
    SysFreeString(full);
}

TEST(Bstr, JoinsTwoIntoAThird) {
    const std::u16string texts[] = {u"", u"left", u"a\0b"s};
    for (const std::u16string& left : texts)
        for (const std::u16string& right : texts) {
            const BSTR a = left.empty() ? nullptr : Make(left), b = Make(right);
            BSTR both = nullptr;
            ASSERT_EQ(VarBstrCat(a, b, &both), STATUS_OK);
            EXPECT_EQ(std::u16string(both, SysStringLen(both)), left + right);
            EXPECT_EQ(both[SysStringLen(both)], 0);
            for (const BSTR string : {a, b, both}) SysFreeString(string);
        }
    const BSTR odd = SysAllocStringByteLen("xyz", 3);
    BSTR both = nullptr;
    ASSERT_EQ(VarBstrCat(odd, odd, &both), STATUS_OK);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(both), SysStringByteLen(both)), "xyzxyz");
    SysFreeString(odd);
    SysFreeString(both);
}

TEST(TaskMemory, IsWritableAndTakesNull) {
    void* const block = CoTaskMemAlloc(100);
    ASSERT_TRUE(block);
    std::memset(block, 0xa5, 100);
    CoTaskMemFree(block);
    CoTaskMemFree(nullptr);
}

TEST(Guid, EqualsOnlyItself) {
    GUID changed = IID_IUnknown;
    EXPECT_EQ(changed, IID_IUnknown);
    changed.Data4[7] ^= 1;
    EXPECT_FALSE(changed == IID_IUnknown);
}

}  // namespace
}  // namespace tessera::test
