#pragma once

#include <tessera/tessera.h>

#include <string>
#include <string_view>

namespace tessera::host {

// Bytes that are no UTF-8 become the replacement character, here and back.
std::u16string ToUtf16(std::string_view utf8);
std::string ToUtf8(std::u16string_view utf16);

// A string to hand to the engine, freed with this object.
class EngineText {
public:
    explicit EngineText(std::string_view utf8);
    ~EngineText() { SysFreeString(text_); }
    EngineText(const EngineText&) = delete;
    EngineText& operator=(const EngineText&) = delete;
    BSTR Get() const { return text_; }

private:
    BSTR text_;
};

// Takes over a string that the engine handed out and frees it.
std::string TakeText(BSTR text);

}  // namespace tessera::host
