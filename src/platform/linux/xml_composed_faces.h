// The interface objects of nodes that are being put together: they write, and can be asked for little more than their
// type.
#pragma once

#include "platform/linux/xml_composer.h"
#include "platform/xmldom.h"

class CXmlDocument;

/// {0E0B8D52-6C1B-4E86-9D0B-3F6E0C7B5A17}: stores the ComposedNode behind the object, without a reference on it.
inline constexpr IID kIidComposedNode = {0x0E0B8D52, 0x6C1B, 0x4E86, {0x9D, 0x0B, 0x3F, 0x6E, 0x0C, 0x7B, 0x5A, 0x17}};

/// A node as one of the node interfaces.
template <class Interface>
class CComposedFace : public Interface {
public:
    explicit CComposedFace(CXmlDocument& document) : m_document(document) {}

    /// Of no type, until the composer has made it.
    ComposedNode& Node() { return m_node; }

    HRESULT QueryInterface(const IID& iid, void** out) final;
    ULONG AddRef() final { return ++m_references; }
    ULONG Release() final;
    HRESULT get_nodeName(BSTR* name) final;
    HRESULT get_nodeValue(VARIANT*) final { return E_NOTIMPL; }
    HRESULT get_nodeType(DOMNodeType* type) final;
    HRESULT get_childNodes(IXMLDOMNodeList**) final { return E_NOTIMPL; }
    HRESULT get_attributes(IXMLDOMNamedNodeMap**) final { return E_NOTIMPL; }
    HRESULT appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) final;
    HRESULT put_nodeTypedValue(VARIANT value) final;

protected:
    ~CComposedFace() = default;

    CXmlDocument& m_document;
    ComposedNode m_node;
    ULONG m_references = 1;
};

class CComposedElement final : public CComposedFace<IXMLDOMElement> {
public:
    using CComposedFace::CComposedFace;
    HRESULT setAttribute(BSTR name, VARIANT value) override;
};

/// Texts and CDATA sections.
class CComposedText final : public CComposedFace<IXMLDOMCDATASection> {
public:
    using CComposedFace::CComposedFace;
};

class CComposedInstruction final : public CComposedFace<IXMLDOMProcessingInstruction> {
public:
    using CComposedFace::CComposedFace;
};
