#include <algorithm>
#include <cstdio>
#include <cstring>
#include <limits>

#include "platform/com.h"
#include "platform/linux/xml_dom.h"
#include "platform/xmldom.h"

namespace {

// In front of an own text: the room behind it in code units, then the length that every BSTR has there.
struct TextHeader {
    std::uint32_t capacity;
    std::uint32_t byteLength;
};

constexpr UINT kMostUnits = std::numeric_limits<std::uint32_t>::max() / sizeof(WCHAR) - sizeof(TextHeader);

TextHeader* HeaderOf(BSTR text) {
    return reinterpret_cast<TextHeader*>(text) - 1;
}

bool IsOwn(BSTR text) {
    return text && (BstrPrefix(text) & kBorrowedTextMark) == 0;
}

BSTR AllocateText(UINT capacity) {
    if (capacity > kMostUnits) return nullptr;
    void* block = std::malloc(sizeof(TextHeader) + (std::size_t{capacity} + 1) * sizeof(WCHAR));
    if (!block) return nullptr;
    TextHeader* header = static_cast<TextHeader*>(block);
    header->capacity = capacity;
    return reinterpret_cast<BSTR>(header + 1);
}

void FillText(BSTR target, const WCHAR* text, UINT length) {
    if (text && length > 0) std::memmove(target, text, length * sizeof(WCHAR));
    target[length] = 0;
    HeaderOf(target)->byteLength = static_cast<std::uint32_t>(length * sizeof(WCHAR));
}

}  // namespace

BSTR SysAllocString(const WCHAR* text) {
    return text ? SysAllocStringLen(text, static_cast<UINT>(TextLength(text))) : nullptr;
}

BSTR SysAllocStringLen(const WCHAR* text, UINT length) {
    BSTR target = AllocateText(length);
    if (target) FillText(target, text, length);
    return target;
}

int SysReAllocStringLen(BSTR* text, const WCHAR* replacement, UINT length) {
    if (IsOwn(*text) && HeaderOf(*text)->capacity >= length) {
        FillText(*text, replacement, length);
        return 1;
    }
    // Room for half as much again: the callers that replace a text do so over and over.
    BSTR target = AllocateText(length < kMostUnits / 2 ? length + length / 2 : length);
    if (!target) return 0;
    if (!replacement && *text) std::memcpy(target, *text, std::min(length, SysStringLen(*text)) * sizeof(WCHAR));
    FillText(target, replacement, length);
    SysFreeString(*text);
    *text = target;
    return 1;
}

void FreeOwnText(BSTR text) {
    std::free(HeaderOf(text));
}

HRESULT VariantChangeType(VARIANT* target, const VARIANT* source, USHORT, VARTYPE type) {
    if (type != VT_BSTR) return DISP_E_TYPEMISMATCH;
    BSTR text = nullptr;
    if (source->vt == VT_BSTR) {
        text = SysAllocStringLen(source->bstrVal, SysStringLen(source->bstrVal));
    } else if (source->vt == VT_EMPTY) {
        text = SysAllocStringLen(nullptr, 0);
    } else if (source->vt == VT_I4) {
        char digits[16];
        const int count = std::snprintf(digits, sizeof(digits), "%d", source->lVal);
        text = SysAllocStringLen(Text(digits, digits + count).c_str(), static_cast<UINT>(count));
    } else {
        return DISP_E_TYPEMISMATCH;
    }
    if (!text) return E_OUTOFMEMORY;
    VariantClear(target);
    target->vt = VT_BSTR;
    target->bstrVal = text;
    return S_OK;
}

void _com_issue_error(HRESULT result) {
    throw _com_error(result);
}

HRESULT CoCreateInstance(REFCLSID classId, IUnknown* outer, DWORD, REFIID iid, void** out) {
    if (!out) return E_POINTER;
    *out = nullptr;
    if (outer) return CLASS_E_NOAGGREGATION;
    return classId == CLSID_DOMDocument30 ? CreateXmlDocumentObject(iid, out) : REGDB_E_CLASSNOTREG;
}

HRESULT OleRun(IUnknown* object) {
    return object ? S_OK : E_INVALIDARG;
}
