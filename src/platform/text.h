// Strings inside the engine, and their passage to and from the interface.
#pragma once

#include <string>

#include "tessera/platform.h"

namespace tessera {

using String = std::basic_string<OLECHAR>;

// Null counts as empty. Raises ComError when memory is short.
String ToString(BSTR text);
// A fresh copy that the caller frees. Raises ComError when memory is short.
BSTR ToBstr(const String& text);
// The text from a literal.
String FromAscii(const char* text);
// "base (number)".
String Numbered(const String& base, int number);
// Splits what Numbered has made; false for any other text.
bool SplitNumbered(const String& text, String& base, int& number);
// UTF-8, as file systems take it. Halves of surrogate pairs become U+FFFD.
std::string ToUtf8(const String& text);
// The text up to its first zero in the system's code page for narrow characters; UTF-8 where there is none.
std::string ToCodePage(const String& text);

}  // namespace tessera
