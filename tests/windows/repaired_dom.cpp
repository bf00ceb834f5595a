#include "repaired_dom.h"

#include <msxml2.h>

#include <string>

namespace {

constexpr GUID kDocumentClass = {0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
constexpr int kPutNodeTypedValue = 31;  // entry of the table

using Function = HRESULT(WINAPI*)(void*, VARIANT);
Function g_former = nullptr;

HRESULT WINAPI PutText(void* element, VARIANT value) {
    if (value.vt != VT_BSTR) return g_former(element, value);
    std::wstring escaped;
    for (const wchar_t unit : std::wstring_view(value.bstrVal, SysStringLen(value.bstrVal))) {
        escaped += unit == L'&' ? L"&amp;" : unit == L'<' ? L"&lt;" : std::wstring(1, unit);
    }
    VARIANT text = {};
    text.vt = VT_BSTR;
    text.bstrVal = SysAllocStringLen(escaped.data(), static_cast<UINT>(escaped.size()));
    const HRESULT result = g_former(element, text);
    VariantClear(&text);
    return result;
}

}  // namespace

RepairedDom::RepairedDom() {
    IXMLDOMDocument* document = nullptr;
    IXMLDOMElement* element = nullptr;
    CoCreateInstance(kDocumentClass, nullptr, CLSCTX_INPROC_SERVER, IID_IXMLDOMDocument,
                     reinterpret_cast<void**>(&document));
    BSTR name = SysAllocString(L"a");
    document->createElement(name, &element);
    SysFreeString(name);
    g_former = reinterpret_cast<Function>((*reinterpret_cast<void***>(element))[kPutNodeTypedValue]);
    m_patch.emplace(element, kPutNodeTypedValue, reinterpret_cast<void*>(PutText));
    element->Release();
    document->Release();
}
