// COM and OLE Automation: result codes, BSTR strings, VARIANT values, _com_error, the making of objects.
//
// On Windows all of it is the system's own. Elsewhere this is a small layer under the same names with the same
// signatures, holding only what the library calls, so that one source serves both. Objects are created by
// CoCreateInstance without any set-up by the host there.
#pragma once

#include "platform/text.h"

#ifdef _WIN32

#include <comdef.h>
#include <oleauto.h>

#else

#include <cstdint>
#include <cstring>

using LONG = std::int32_t;
using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using USHORT = std::uint16_t;
using VARTYPE = std::uint16_t;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFF);
inline constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002);
inline constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003);
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
inline constexpr HRESULT REGDB_E_CLASSNOTREG = static_cast<HRESULT>(0x80040154);
inline constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110);
inline constexpr HRESULT DISP_E_TYPEMISMATCH = static_cast<HRESULT>(0x80020005);

constexpr bool SUCCEEDED(HRESULT result) {
    return result >= 0;
}

constexpr bool FAILED(HRESULT result) {
    return result < 0;
}

/// {00000000-0000-0000-C000-000000000046}
inline constexpr IID IID_IUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

/// A text that knows its length: the four bytes in front of it hold the length in bytes, a zero unit follows it. Null
/// is the empty text. An odd length marks a borrowed text: it belongs to the object that handed it out, lives as long
/// as that object's XML document, may be passed to SysFreeString like any other, and is then left alone.
using BSTR = WCHAR*;

inline constexpr std::uint32_t kBorrowedTextMark = 1;

inline std::uint32_t BstrPrefix(const WCHAR* text) {
    std::uint32_t prefix;
    std::memcpy(&prefix, text - sizeof(prefix) / sizeof(WCHAR), sizeof(prefix));
    return prefix;
}

/// Length in code units.
inline UINT SysStringLen(BSTR text) {
    return text ? static_cast<UINT>(BstrPrefix(text) / sizeof(WCHAR)) : 0;
}

/// Null when memory runs out, and for a null text.
BSTR SysAllocString(const WCHAR* text);
BSTR SysAllocStringLen(const WCHAR* text, UINT length);
/// Replaces `*text`, in place when it fits. A null replacement changes the length only: the units up to the shorter of
/// both lengths stay, those behind them are undefined. False, and `*text` as it was, when memory runs out.
int SysReAllocStringLen(BSTR* text, const WCHAR* replacement, UINT length);
void FreeOwnText(BSTR text);

inline void SysFreeString(BSTR text) {
    if (text && (BstrPrefix(text) & kBorrowedTextMark) == 0) FreeOwnText(text);
}

using VARIANT_BOOL = std::int16_t;
inline constexpr VARIANT_BOOL VARIANT_TRUE = -1;
inline constexpr VARIANT_BOOL VARIANT_FALSE = 0;

enum VARENUM : VARTYPE {
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I4 = 3,
    VT_BSTR = 8,
};

struct VARIANT {
    VARTYPE vt;
    union {
        LONG lVal;
        BSTR bstrVal;
    };
};

inline void VariantInit(VARIANT* value) {
    value->vt = VT_EMPTY;
}

inline HRESULT VariantClear(VARIANT* value) {
    if (value->vt == VT_BSTR) SysFreeString(value->bstrVal);
    value->vt = VT_EMPTY;
    return S_OK;
}

/// To VT_BSTR, from a text, a number or nothing; all else is a mismatch. `target` and `source` may be the same.
HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, USHORT flags, VARTYPE type);

/// A failure code on its way to whoever catches it.
class _com_error {
public:
    explicit _com_error(HRESULT result) noexcept : m_result(result) {}
    _com_error(const _com_error&) noexcept = default;
    _com_error& operator=(const _com_error&) noexcept = default;
    virtual ~_com_error() = default;

    HRESULT Error() const noexcept { return m_result; }

private:
    HRESULT m_result;
};

[[noreturn]] void _com_issue_error(HRESULT result);

inline constexpr DWORD CLSCTX_INPROC_SERVER = 0x1;
inline constexpr DWORD CLSCTX_INPROC_HANDLER = 0x2;
inline constexpr DWORD CLSCTX_LOCAL_SERVER = 0x4;
inline constexpr DWORD CLSCTX_REMOTE_SERVER = 0x10;

/// Makes an object; the one class there is is that of XML documents (platform/xmldom.h).
HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD context, REFIID iid, void** out);
HRESULT OleRun(IUnknown* object);

#endif
