#include "platform/linux/xml_faces.h"

#include "platform/linux/xml_document.h"

namespace {

// A BSTR that is always there.
template <std::size_t unitCount>
struct FixedText {
    std::uint32_t prefix;
    WCHAR units[unitCount];

    explicit constexpr FixedText(const WCHAR (&literal)[unitCount])
        : prefix((unitCount - 1) * sizeof(WCHAR) | kBorrowedTextMark), units() {
        for (std::size_t i = 0; i < unitCount; ++i) units[i] = literal[i];
    }
};

constexpr FixedText kTextName(WTEXT("#text"));
constexpr FixedText kCDataName(WTEXT("#cdata-section"));
constexpr FixedText kCommentName(WTEXT("#comment"));
constexpr FixedText kDocumentName(WTEXT("#document"));

// The tree's own strings go out as they are: SysFreeString knows them.
BSTR Lend(const WCHAR* text) {
    return const_cast<BSTR>(text);
}

// The interface of a node object that an identifier names; null when it has no such interface.
template <class Interface>
void* FindInterface(CNodeFace<Interface>& face, const IID& iid) {
    if (iid == IID_IUnknown || iid == IID_IXMLDOMNode) return static_cast<IXMLDOMNode*>(&face);
    if (iid == IID_IXMLDOMElement && std::is_same_v<Interface, IXMLDOMElement>) return static_cast<Interface*>(&face);
    if (iid == IID_IXMLDOMNodeList) return static_cast<IXMLDOMNodeList*>(&face);
    if (iid == IID_IXMLDOMNamedNodeMap && std::is_same_v<Interface, IXMLDOMElement>) {
        return static_cast<IXMLDOMNamedNodeMap*>(&face);
    }
    return nullptr;
}

}  // namespace

BSTR XmlNodeNameOf(const CXmlTree& tree, const XmlNode& node) {
    switch (node.Type()) {
        case NODE_TEXT:
            return Lend(kTextName.units);
        case NODE_CDATA_SECTION:
            return Lend(kCDataName.units);
        case NODE_COMMENT:
            return Lend(kCommentName.units);
        case NODE_DOCUMENT:
            return Lend(kDocumentName.units);
        default:
            return Lend(tree.Names()[node.Name()].text);
    }
}

HRESULT XmlNodeValueOf(const XmlNode& node, VARIANT* value) {
    value->vt = VT_NULL;
    if (node.HoldsChildren() || node.Type() == NODE_ENTITY_REFERENCE) return S_FALSE;
    value->vt = VT_BSTR;
    value->bstrVal = Lend(node.text);
    return S_OK;
}

template <class Face>
HRESULT CChildListPart<Face>::get_item(LONG index, IXMLDOMNode** item) {
    const Face& face = static_cast<const Face&>(*this);
    const XmlNode& node = *face.node;
    const std::uint32_t count = node.HoldsChildren() ? node.element.childCount : 0;
    if (index < 0 || static_cast<std::uint32_t>(index) >= count) {
        *item = nullptr;
        return S_FALSE;
    }
    CXmlDocument& document = *face.document;
    *item = document.MakeNodeFace(document.Tree().ChildId(node, static_cast<std::uint32_t>(index)));
    return *item ? S_OK : E_OUTOFMEMORY;
}

template <class Face>
HRESULT CChildListPart<Face>::get_length(LONG* length) {
    const XmlNode& node = *static_cast<const Face&>(*this).node;
    *length = node.HoldsChildren() ? static_cast<LONG>(node.element.childCount) : 0;
    return S_OK;
}

template <class Face>
HRESULT CAttrMapPart<Face>::get_item(LONG index, IXMLDOMNode** item) {
    const Face& face = static_cast<const Face&>(*this);
    const XmlElementData& element = face.node->element;
    if (index < 0 || static_cast<std::uint32_t>(index) >= element.attrCount) {
        *item = nullptr;
        return S_FALSE;
    }
    CXmlDocument& document = *face.document;
    *item = document.MakeFace<CAttrFace>(document.Tree().Attr(element.firstAttr + static_cast<std::uint32_t>(index)));
    return *item ? S_OK : E_OUTOFMEMORY;
}

template <class Face>
HRESULT CAttrMapPart<Face>::get_length(LONG* length) {
    *length = static_cast<LONG>(static_cast<const Face&>(*this).node->element.attrCount);
    return S_OK;
}

template <class Interface>
CNodeFace<Interface>::CNodeFace(CXmlDocument& owner, XmlNodeId nodeId)
    : XmlFace{&owner, &owner.Tree().Node(nodeId), 1} {}

template <class Interface>
HRESULT CNodeFace<Interface>::QueryInterface(const IID& iid, void** out) {
    *out = FindInterface(*this, iid);
    if (!*out) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

template <class Interface>
ULONG CNodeFace<Interface>::Release() {
    if (references > 1) return --references;
    document->Recycle(this);
    return 0;
}

template <class Interface>
HRESULT CNodeFace<Interface>::get_nodeName(BSTR* name) {
    *name = XmlNodeNameOf(document->Tree(), *node);
    return S_OK;
}

template <class Interface>
HRESULT CNodeFace<Interface>::get_nodeValue(VARIANT* value) {
    return XmlNodeValueOf(*node, value);
}

template <class Interface>
HRESULT CNodeFace<Interface>::get_nodeType(DOMNodeType* type) {
    *type = node->Type();
    return S_OK;
}

template <class Interface>
HRESULT CNodeFace<Interface>::get_childNodes(IXMLDOMNodeList** children) {
    *children = this;
    AddRef();
    return S_OK;
}

template <class Interface>
HRESULT CNodeFace<Interface>::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    *attributes = nullptr;
    if (node->Type() != NODE_ELEMENT) return S_FALSE;
    *attributes = this;
    AddRef();
    return S_OK;
}

HRESULT CAttrFace::QueryInterface(const IID& iid, void** out) {
    const bool isKnown = iid == IID_IUnknown || iid == IID_IXMLDOMNode;
    *out = isKnown ? static_cast<IXMLDOMNode*>(this) : nullptr;
    if (isKnown) AddRef();
    return isKnown ? S_OK : E_NOINTERFACE;
}

ULONG CAttrFace::Release() {
    if (m_references > 1) return --m_references;
    m_document.Recycle(this);
    return 0;
}

HRESULT CAttrFace::get_nodeName(BSTR* name) {
    *name = Lend(m_document.Tree().Names()[m_attr.name].text);
    return S_OK;
}

HRESULT CAttrFace::get_nodeValue(VARIANT* value) {
    value->vt = VT_BSTR;
    value->bstrVal = Lend(m_attr.value);
    return S_OK;
}

HRESULT CAttrFace::get_nodeType(DOMNodeType* type) {
    *type = NODE_ATTRIBUTE;
    return S_OK;
}

HRESULT CAttrFace::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    *attributes = nullptr;
    return S_FALSE;
}

template class CNodeFace<IXMLDOMElement>;
template class CNodeFace<IXMLDOMCDATASection>;
template class CNodeFace<IXMLDOMProcessingInstruction>;
