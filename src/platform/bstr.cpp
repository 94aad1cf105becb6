// Strings with the length in front, for systems that have none of their own.
#include <tessera/platform.h>

#if !defined(_WIN32)

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace tessera {

namespace {

// What a signed 32-bit reader of the length can still take.
constexpr std::uint64_t kMaxBytes = std::numeric_limits<std::int32_t>::max() - sizeof(ULONG) - sizeof(OLECHAR);

ULONG* LengthOf(BSTR text) { return reinterpret_cast<ULONG*>(text) - 1; }

// A string of that many bytes, not written yet but for the length and the terminating zero.
BSTR Allocate(std::uint64_t bytes) {
    if (bytes > kMaxBytes) return nullptr;
    auto* block = static_cast<char*>(std::malloc(sizeof(ULONG) + bytes + sizeof(OLECHAR)));
    if (!block) return nullptr;
    const ULONG length = static_cast<ULONG>(bytes);
    std::memcpy(block, &length, sizeof length);
    std::memset(block + sizeof length + bytes, 0, sizeof(OLECHAR));  // unaligned behind an odd number of bytes
    return reinterpret_cast<BSTR>(block + sizeof length);
}

}  // namespace

BSTR SysAllocString(const OLECHAR* text) {
    if (!text) return nullptr;
    const std::uint64_t length = std::char_traits<OLECHAR>::length(text);
    const BSTR result = Allocate(length * sizeof(OLECHAR));
    if (result) std::copy_n(text, length, result);
    return result;
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
    const BSTR result = Allocate(std::uint64_t{length} * sizeof(OLECHAR));
    if (result && text) std::copy_n(text, length, result);
    return result;
}

BSTR SysAllocStringByteLen(const char* bytes, UINT length) {
    const BSTR result = Allocate(length);
    if (result && bytes) std::memcpy(result, bytes, length);
    return result;
}

void SysFreeString(BSTR text) {
    if (text) std::free(LengthOf(text));
}

UINT SysStringLen(BSTR text) { return SysStringByteLen(text) / sizeof(OLECHAR); }

UINT SysStringByteLen(BSTR text) { return text ? *LengthOf(text) : 0; }

HRESULT VarBstrCmp(BSTR left, BSTR right, ULONG, ULONG) {
    const UINT leftLength = SysStringLen(left);
    const UINT rightLength = SysStringLen(right);
    const UINT common = std::min(leftLength, rightLength);
    int order = common ? std::char_traits<OLECHAR>::compare(left, right, common) : 0;
    if (order == 0 && leftLength != rightLength) order = leftLength < rightLength ? -1 : 1;
    return order < 0 ? VARCMP_LT : order > 0 ? VARCMP_GT : VARCMP_EQ;
}

HRESULT VarBstrCat(BSTR left, BSTR right, BSTR* result) {
    if (!result) return STATUS_FAIL;
    const std::uint64_t leftBytes = SysStringByteLen(left);
    const std::uint64_t rightBytes = SysStringByteLen(right);
    *result = Allocate(leftBytes + rightBytes);
    if (!*result) return STATUS_OUT_OF_MEMORY;
    if (left) std::memcpy(*result, left, leftBytes);
    if (right) std::memcpy(reinterpret_cast<char*>(*result) + leftBytes, right, rightBytes);
    return STATUS_OK;
}

}  // namespace tessera

#endif
