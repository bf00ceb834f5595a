// Owners for what COM counts or frees: interface pointers, BSTR strings, VARIANT values.
//
// They keep AddRef, Release and SysFreeString out of ordinary code. CComRef serves any interface, Parvel's own
// included. What goes wrong is raised as _com_error.
#pragma once

#include <utility>

#include "platform/com.h"

/// Raises a failure code.
inline void CheckCom(HRESULT result) {
    if (FAILED(result)) [[unlikely]]
        _com_issue_error(result);
}

/// One counted reference, or null.
template <class Interface>
class CComRef {
public:
    CComRef() = default;
    CComRef(const CComRef& other) : m_object(other.m_object) {
        if (m_object) m_object->AddRef();
    }
    CComRef(CComRef&& other) noexcept : m_object(std::exchange(other.m_object, nullptr)) {}
    CComRef& operator=(CComRef other) noexcept {
        std::swap(m_object, other.m_object);
        return *this;
    }
    ~CComRef() { Reset(); }

    /// Takes over the reference that comes with a pointer.
    static CComRef Adopt(Interface* object) {
        CComRef reference;
        reference.m_object = object;
        return reference;
    }
    /// Adds a reference of its own.
    static CComRef Share(Interface* object) {
        if (object) object->AddRef();
        return Adopt(object);
    }

    Interface* Get() const { return m_object; }
    Interface* operator->() const { return m_object; }
    explicit operator bool() const { return m_object != nullptr; }

    /// The object, which must be there: null raises E_POINTER.
    Interface& Need() const {
        if (!m_object) [[unlikely]]
            _com_issue_error(E_POINTER);
        return *m_object;
    }

    /// For out arguments: empties this and gives the place to store to.
    Interface** Out() {
        Reset();
        return &m_object;
    }

    /// Hands the reference to the caller.
    Interface* Detach() { return std::exchange(m_object, nullptr); }

    void Reset() {
        if (m_object) std::exchange(m_object, nullptr)->Release();
    }

private:
    Interface* m_object = nullptr;
};

/// One BSTR; null is the empty text.
class CBstr {
public:
    CBstr() = default;
    explicit CBstr(TextView text) { Assign(text); }
    CBstr(const CBstr&) = delete;
    CBstr& operator=(const CBstr&) = delete;
    ~CBstr() { SysFreeString(m_text); }

    void Assign(TextView text) {
        if (!SysReAllocStringLen(&m_text, text.data(), static_cast<UINT>(text.size()))) _com_issue_error(E_OUTOFMEMORY);
    }

    /// Cuts the text, or lengthens it by `fill`; with our own BSTRs at the cost of the difference.
    void Resize(std::size_t length, WCHAR fill) {
#ifdef _WIN32
        Text units(View());
        units.resize(length, fill);
        Assign(units);
#else
        const std::size_t former = View().size();
        if (!SysReAllocStringLen(&m_text, nullptr, static_cast<UINT>(length))) _com_issue_error(E_OUTOFMEMORY);
        for (std::size_t i = former; i < length; ++i) m_text[i] = fill;
#endif
    }

    BSTR Get() const {
        return m_text;
    }
    TextView View() const {
        return TextView(m_text, SysStringLen(m_text));
    }

    BSTR* Out() {
        SysFreeString(std::exchange(m_text, nullptr));
        return &m_text;
    }

private:
    BSTR m_text = nullptr;
};

/// One VARIANT.
class CVariant {
public:
    CVariant() { VariantInit(&m_value); }
    explicit CVariant(TextView text) : CVariant() { Assign(text); }
    CVariant(const CVariant&) = delete;
    CVariant& operator=(const CVariant&) = delete;
    ~CVariant() { VariantClear(&m_value); }

    /// Makes this a text, a copy of the given one.
    void Assign(TextView text) {
        if (m_value.vt != VT_BSTR) {
            VariantClear(&m_value);
            m_value.bstrVal = nullptr;
            m_value.vt = VT_BSTR;
        }
        if (!SysReAllocStringLen(&m_value.bstrVal, text.data(), static_cast<UINT>(text.size()))) {
            _com_issue_error(E_OUTOFMEMORY);
        }
    }

    /// For by-value arguments, which borrow.
    const VARIANT& Get() const { return m_value; }

    VARIANT* Out() {
        VariantClear(&m_value);
        return &m_value;
    }

    /// The value as a text that lives as long as this value stays; what is no text is converted.
    TextView View() {
        if (m_value.vt != VT_BSTR) [[unlikely]]
            CheckCom(VariantChangeType(&m_value, &m_value, 0, VT_BSTR));
        return TextView(m_value.bstrVal, SysStringLen(m_value.bstrVal));
    }

private:
    VARIANT m_value;
};
