// The types, strings and task memory that the interface is made of: on Windows the system's own, elsewhere the same
// names with the same layout, in namespace tessera.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
// oleauto.h and objbase.h want windows.h before them.
#include <objbase.h>
#include <oleauto.h>
#endif

// Marks what the library exports. TESSERA_BUILDING is set while the library itself is compiled, TESSERA_STATIC for a
// static library and for its hosts.
#if defined(TESSERA_STATIC)
#define TESSERA_API
#elif defined(_WIN32)
#if defined(TESSERA_BUILDING)
#define TESSERA_API __declspec(dllexport)
#else
#define TESSERA_API __declspec(dllimport)
#endif
#elif defined(__GNUC__)
#define TESSERA_API __attribute__((visibility("default")))
#else
#define TESSERA_API
#endif

namespace tessera {

#if defined(_WIN32)

using ::BSTR;
using ::CoTaskMemAlloc;
using ::CoTaskMemFree;
using ::GUID;
using ::HRESULT;
using ::IID;
using ::IID_IUnknown;
using ::IStorage;
using ::IUnknown;
using ::LONG;
using ::OLECHAR;
using ::SysAllocString;
using ::SysAllocStringByteLen;
using ::SysAllocStringLen;
using ::SysFreeString;
using ::SysStringByteLen;
using ::SysStringLen;
using ::UINT;
using ::ULONG;
using ::VarBstrCat;
using ::VarBstrCmp;
using ::VARIANT_BOOL;

#else

using HRESULT = std::int32_t;  // negative: failed
using LONG = std::int32_t;
using UINT = std::uint32_t;
using ULONG = std::uint32_t;

using VARIANT_BOOL = std::int16_t;  // any value but VARIANT_TRUE counts as false
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

// A BSTR points at the first code unit of a UTF-16 string. Its length in bytes stands in the 32 bits in front, a
// terminating zero behind; zeros may stand inside. Null counts as the empty string everywhere.
using OLECHAR = char16_t;
using BSTR = OLECHAR*;

// Makes a BSTR of a zero-terminated string; of null, null. Null if there is no memory.
TESSERA_API BSTR SysAllocString(const OLECHAR* text);
// Makes a BSTR of length code units from text, zeros included. With text null the units are left for the caller to
// write. Null if there is no memory for so many.
TESSERA_API BSTR SysAllocStringLen(const OLECHAR* text, UINT length);
// Makes a BSTR of raw bytes, an odd number included; for the rest as SysAllocStringLen.
TESSERA_API BSTR SysAllocStringByteLen(const char* bytes, UINT length);
// Frees what the three above, or any method of the interface, handed out. Null does nothing.
TESSERA_API void SysFreeString(BSTR text);
// Length in code units, without the terminating zero; of null, 0.
TESSERA_API UINT SysStringLen(BSTR text);
// Length in bytes; of null, 0.
TESSERA_API UINT SysStringByteLen(BSTR text);

inline constexpr HRESULT VARCMP_LT = 0;
inline constexpr HRESULT VARCMP_EQ = 1;
inline constexpr HRESULT VARCMP_GT = 2;

// Orders two strings code unit by code unit, case included; gives VARCMP_LT, VARCMP_EQ or VARCMP_GT. locale and flags
// are taken for the sake of the signature: the order is the same in every locale.
TESSERA_API HRESULT VarBstrCmp(BSTR left, BSTR right, ULONG locale, ULONG flags);
// Gives left followed by right as a new string that the caller frees. Without memory *result is null and the status
// STATUS_OUT_OF_MEMORY.
TESSERA_API HRESULT VarBstrCat(BSTR left, BSTR right, BSTR* result);

// Memory that one side of the interface allocates and the other frees. Null if there is none.
TESSERA_API void* CoTaskMemAlloc(std::size_t bytes);
TESSERA_API void CoTaskMemFree(void* block);

struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];

    bool operator==(const GUID&) const = default;
};
using IID = GUID;

inline constexpr IID IID_IUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// The base of every interface. An object is made with one reference and deletes itself at its last Release, so the
// destructor is out of reach.
class IUnknown {
public:
    // Gives the object under another of its interfaces, with a reference added; a negative status and null in *object
    // if it has none of that id.
    virtual HRESULT QueryInterface(const IID& id, void** object) = 0;
    // Both give the number of references after the call.
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;

protected:
    ~IUnknown() = default;
};

struct IStorage;  // only named, by ITessera::Save

#endif

inline constexpr HRESULT STATUS_OK = 0;
inline constexpr HRESULT STATUS_FAIL = static_cast<HRESULT>(0x80004005u);
inline constexpr HRESULT STATUS_OUT_OF_MEMORY = static_cast<HRESULT>(0x8007000Eu);

// What a method throws when it cannot return its status: no memory for what it was to make.
struct TESSERA_API ComError : std::bad_alloc {
    explicit ComError(HRESULT code) noexcept : status(code) {}
    const char* what() const noexcept override {
        return status == STATUS_OUT_OF_MEMORY ? "tessera: out of memory" : "tessera: failed";
    }

    HRESULT status;
};

}  // namespace tessera
