#include "text.h"

#include <gtest/gtest.h>

namespace {

using tessera::host::ToUtf16;
using tessera::host::ToUtf8;

TEST(Text, GoesToUtf16AndBackWithoutWhatIsNoCharacter) {
    for (const char* text :
         {"", "gear", "Zahnr\xC3\xA4\x64\x65r", "\xE6\xAD\xAF\xE8\xBD\xA6", "\xF0\x9F\x98\x80 end", "\xEF\xBF\xBD"})
        EXPECT_EQ(ToUtf8(ToUtf16(text)), text);
    const std::pair<const char*, const char16_t*> cases[] = {
        {"\xF0\x9F\x98\x80", u"\U0001F600"},
        {"\xC3", u"\uFFFD"},
        {"a\x80z", u"a\uFFFDz"},
        {"\xC0\xAF", u"\uFFFD\uFFFD"},                      // longer than needed
        {"\xED\xA0\x80", u"\uFFFD"},                        // half of a pair
        {"\xF5\x80\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond the last character
        {"\xE6\xADz", u"\uFFFDz"},
    };
    for (const auto& [text, expected] : cases) EXPECT_EQ(ToUtf16(text), expected) << text;
    EXPECT_EQ(ToUtf8(std::u16string(1, char16_t{0xD83D})), "\xEF\xBF\xBD");
}

}  // namespace
