// The interface objects of loaded nodes, for reading: small, made on request, kept on a free list of their document.
//
// One object serves as node, as list of its children and as map of its attributes, so that asking for these costs no
// object; which makes IUnknown identity of the three the same.
#pragma once

#include <type_traits>

#include "platform/linux/xml_tree.h"
#include "platform/xmldom.h"

class CXmlDocument;

/// What the parts of a node's object share.
struct XmlFace {
    CXmlDocument* document;
    const XmlNode* node;
    ULONG references;
};

/// Name and value of a node as its object gives them: the tree's own strings.
BSTR XmlNodeNameOf(const CXmlTree& tree, const XmlNode& node);
HRESULT XmlNodeValueOf(const XmlNode& node, VARIANT* value);

/// The list of children that a node's object also is.
template <class Face>
class CChildListPart : public IXMLDOMNodeList {
public:
    HRESULT get_item(LONG index, IXMLDOMNode** item) final;
    HRESULT get_length(LONG* length) final;

protected:
    ~CChildListPart() = default;
};

/// The map of attributes that a node's object also is.
template <class Face>
class CAttrMapPart : public IXMLDOMNamedNodeMap {
public:
    HRESULT get_item(LONG index, IXMLDOMNode** item) final;
    HRESULT get_length(LONG* length) final;

protected:
    ~CAttrMapPart() = default;
};

/// A node as one of the node interfaces.
template <class Interface>
class CNodeFace : public Interface,
                  public CChildListPart<CNodeFace<Interface>>,
                  public CAttrMapPart<CNodeFace<Interface>>,
                  public XmlFace {
public:
    CNodeFace(CXmlDocument& owner, XmlNodeId nodeId);

    HRESULT QueryInterface(const IID& iid, void** out) final;
    ULONG AddRef() final { return ++references; }
    ULONG Release() final;
    HRESULT get_nodeName(BSTR* name) final;
    HRESULT get_nodeValue(VARIANT* value) final;
    HRESULT get_nodeType(DOMNodeType* type) final;
    HRESULT get_childNodes(IXMLDOMNodeList** children) final;
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) final;
    HRESULT appendChild(IXMLDOMNode*, IXMLDOMNode**) final { return E_NOTIMPL; }
    HRESULT put_nodeTypedValue(VARIANT) final { return E_NOTIMPL; }

protected:
    ~CNodeFace() = default;
};

class CElementFace final : public CNodeFace<IXMLDOMElement> {
public:
    using CNodeFace::CNodeFace;
    HRESULT setAttribute(BSTR, VARIANT) override { return E_NOTIMPL; }
};

/// Texts and CDATA sections.
class CTextFace final : public CNodeFace<IXMLDOMCDATASection> {
public:
    using CNodeFace::CNodeFace;
};

/// Processing instructions; comments and references too, which have no interface of their own here.
class CInstructionFace final : public CNodeFace<IXMLDOMProcessingInstruction> {
public:
    using CNodeFace::CNodeFace;
};

/// An attribute. It has neither children nor attributes to show.
class CAttrFace final : public IXMLDOMNode {
public:
    CAttrFace(CXmlDocument& owner, const XmlAttr& attr) : m_document(owner), m_attr(attr) {}

    HRESULT QueryInterface(const IID& iid, void** out) override;
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override;
    HRESULT get_nodeName(BSTR* name) override;
    HRESULT get_nodeValue(VARIANT* value) override;
    HRESULT get_nodeType(DOMNodeType* type) override;
    HRESULT get_childNodes(IXMLDOMNodeList**) override { return E_NOTIMPL; }
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;
    HRESULT appendChild(IXMLDOMNode*, IXMLDOMNode**) override { return E_NOTIMPL; }
    HRESULT put_nodeTypedValue(VARIANT) override { return E_NOTIMPL; }

private:
    CXmlDocument& m_document;
    const XmlAttr& m_attr;
    ULONG m_references = 1;
};
