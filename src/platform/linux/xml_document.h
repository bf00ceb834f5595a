// The document object behind IXMLDOMDocument2: either a loaded tree to read, or a text in the making. It owns the free
// list of node objects and the last parse error, too.
#pragma once

#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "platform/linux/xml_composed_faces.h"
#include "platform/linux/xml_composer.h"
#include "platform/linux/xml_faces.h"
#include "platform/linux/xml_reader.h"
#include "platform/linux/xml_tree.h"
#include "platform/xml_steps.h"

/// Nothing is thrown at a caller: what runs out of memory says so.
template <class Operation>
HRESULT Guarded(Operation operation) noexcept {
    try {
        return operation();
    } catch (...) {
        return E_OUTOFMEMORY;
    }
}

class CXmlDocument final : public IXMLDOMDocument2, public IXmlStepSource {
public:
    CXmlDocument();

    CXmlTree& Tree() { return *m_tree; }
    /// Of a document that is not loaded. Throws std::bad_alloc.
    CXmlComposer& Composer() {
        if (!m_composer) MakeComposer();
        return *m_composer;
    }
    /// Guarded, for operations that make the document: one that memory did not suffice for is never saved as if it were
    /// whole.
    template <class Operation>
    HRESULT Compose(Operation operation) noexcept {
        const HRESULT result = Guarded(operation);
        if (result == E_OUTOFMEMORY) m_isIncomplete = true;
        return result;
    }

    /// A new node object with one reference, which holds one on this document; null when memory runs out.
    template <class Face, class... Arguments>
    Face* MakeFace(Arguments&&... arguments);
    /// The node as the interface that its type has.
    IXMLDOMNode* MakeNodeFace(XmlNodeId id);
    /// Takes a node object back, and its reference on this document.
    void Recycle(void* face);

    /// Appends to an element that is being put together; to the document when `parent` is null.
    HRESULT AppendTo(const ComposedNode* parent, IXMLDOMNode* child, IXMLDOMNode** appended);

    HRESULT QueryInterface(const IID& iid, void** out) override;
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override;
    HRESULT get_nodeName(BSTR* name) override;
    HRESULT get_nodeValue(VARIANT* value) override;
    HRESULT get_nodeType(DOMNodeType* type) override;
    HRESULT get_childNodes(IXMLDOMNodeList** children) override;
    HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) override;
    HRESULT appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) override;
    HRESULT put_nodeTypedValue(VARIANT value) override;
    HRESULT get_documentElement(IXMLDOMElement** element) override;
    HRESULT createElement(BSTR name, IXMLDOMElement** element) override;
    HRESULT createTextNode(BSTR text, IXMLDOMText** node) override;
    HRESULT createCDATASection(BSTR text, IXMLDOMCDATASection** node) override;
    HRESULT createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** node) override;
    HRESULT load(VARIANT path, VARIANT_BOOL* done) override;
    HRESULT loadSteps(VARIANT path, CXmlStepReceiver* receiver, VARIANT_BOOL* done) override;
    HRESULT get_parseError(IXMLDOMParseError** error) override;
    HRESULT put_async(VARIANT_BOOL async) override;
    HRESULT save(VARIANT path) override;

private:
    ~CXmlDocument() = default;

    // Room for any node object, or a link of the free list.
    union FaceSlot {
        FaceSlot* next;
        alignas(CElementFace) unsigned char element[sizeof(CElementFace)];
        alignas(CTextFace) unsigned char text[sizeof(CTextFace)];
        alignas(CInstructionFace) unsigned char instruction[sizeof(CInstructionFace)];
        alignas(CAttrFace) unsigned char attr[sizeof(CAttrFace)];
        alignas(CComposedElement) unsigned char composed[sizeof(CComposedElement)];
    };
    bool AddFreeFaces();
    void MakeComposer();
    HRESULT LoadInto(CXmlSink& sink, const VARIANT& path);
    template <class Face, class Interface, class Operation>
    HRESULT Create(Interface** out, Operation operation);

    ULONG m_references = 0;  // of node objects too
    bool m_isLoaded = false;
    bool m_isIncomplete = false;  // memory ran out while it was made
    std::unique_ptr<CXmlTree> m_tree;
    std::unique_ptr<CXmlTree> m_emptyTree;     // from before the load: node objects may look at it
    std::unique_ptr<CXmlComposer> m_composer;  // when something has been made by hand
    std::unique_ptr<XmlFault> m_fault;         // of the last load, or null
    FaceSlot* m_freeFaces = nullptr;
    std::vector<std::unique_ptr<FaceSlot[]>> m_faceSlabs;
};

template <class Face, class... Arguments>
Face* CXmlDocument::MakeFace(Arguments&&... arguments) {
    if (!m_freeFaces && !AddFreeFaces()) return nullptr;
    FaceSlot* slot = m_freeFaces;
    m_freeFaces = slot->next;
    ++m_references;
    return new (slot) Face(*this, std::forward<Arguments>(arguments)...);
}

inline void CXmlDocument::Recycle(void* face) {
    FaceSlot* slot = static_cast<FaceSlot*>(face);
    slot->next = m_freeFaces;
    m_freeFaces = slot;
    Release();
}

inline ULONG CXmlDocument::Release() {
    const ULONG left = --m_references;
    if (left == 0) delete this;
    return left;
}
