#include "platform/linux/xml_composed_faces.h"

#include <type_traits>

#include "platform/linux/xml_document.h"

namespace {

HRESULT CopyOut(TextView text, BSTR* out) {
    *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
    return *out ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

template <class Interface>
HRESULT CComposedFace<Interface>::QueryInterface(const IID& iid, void** out) {
    *out = nullptr;
    if (iid == kIidComposedNode) {
        *out = &m_node;
        return S_OK;
    }
    if (iid == IID_IUnknown || iid == IID_IXMLDOMNode) {
        *out = static_cast<IXMLDOMNode*>(this);
    } else if (iid == IID_IXMLDOMElement && std::is_same_v<Interface, IXMLDOMElement>) {
        *out = static_cast<Interface*>(this);
    } else {
        return E_NOINTERFACE;
    }
    AddRef();
    return S_OK;
}

template <class Interface>
ULONG CComposedFace<Interface>::Release() {
    if (m_references > 1) return --m_references;
    if (m_node.type != NODE_INVALID) m_document.Composer().Drop(m_node);
    m_document.Recycle(this);
    return 0;
}

template <class Interface>
HRESULT CComposedFace<Interface>::get_nodeName(BSTR* name) {
    switch (m_node.type) {
        case NODE_TEXT:
            return CopyOut(WTEXT("#text"), name);
        case NODE_CDATA_SECTION:
            return CopyOut(WTEXT("#cdata-section"), name);
        default:
            return CopyOut(m_document.Composer().NameOf(m_node), name);
    }
}

template <class Interface>
HRESULT CComposedFace<Interface>::get_nodeType(DOMNodeType* type) {
    *type = m_node.type;
    return S_OK;
}

template <class Interface>
HRESULT CComposedFace<Interface>::appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) {
    return m_document.AppendTo(&m_node, child, appended);
}

template <class Interface>
HRESULT CComposedFace<Interface>::put_nodeTypedValue(VARIANT value) {
    if (value.vt != VT_BSTR) return E_INVALIDARG;
    if (m_node.type != NODE_ELEMENT) return E_NOTIMPL;
    const TextView text(value.bstrVal, SysStringLen(value.bstrVal));
    return m_document.Compose([&] { return m_document.Composer().ReplaceByText(m_node, text); });
}

HRESULT CComposedElement::setAttribute(BSTR name, VARIANT value) {
    if (value.vt != VT_BSTR) return E_INVALIDARG;
    const TextView nameText(name, SysStringLen(name));
    const TextView valueText(value.bstrVal, SysStringLen(value.bstrVal));
    return m_document.Compose([&] { return m_document.Composer().SetAttribute(m_node, nameText, valueText); });
}

template class CComposedFace<IXMLDOMElement>;
template class CComposedFace<IXMLDOMCDATASection>;
template class CComposedFace<IXMLDOMProcessingInstruction>;
