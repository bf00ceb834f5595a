#include "platform/linux/xml_dom.h"

#include <algorithm>
#include <limits>

#include "platform/com_ptr.h"
#include "platform/linux/xml_document.h"

namespace {

constexpr std::size_t kFacesPerSlab = 128;

TextView BstrView(BSTR text) {
    return TextView(text, SysStringLen(text));
}

LONG Saturated(std::uint64_t number) {
    return static_cast<LONG>(std::min<std::uint64_t>(number, std::numeric_limits<LONG>::max()));
}

// What was wrong with the last load, as it stood when it was asked for.
class CXmlParseError final : public IXMLDOMParseError {
public:
    explicit CXmlParseError(const XmlFault& fault) : m_fault(fault) {}

    HRESULT QueryInterface(const IID& iid, void** out) override {
        const bool isKnown = iid == IID_IUnknown || iid == IID_IXMLDOMParseError;
        *out = isKnown ? this : nullptr;
        if (isKnown) AddRef();
        return isKnown ? S_OK : E_NOINTERFACE;
    }
    ULONG AddRef() override { return ++m_references; }
    ULONG Release() override {
        const ULONG left = --m_references;
        if (left == 0) delete this;
        return left;
    }

    HRESULT get_reason(BSTR* reason) override { return CopyOut(m_fault.reason, reason); }
    HRESULT get_srcText(BSTR* text) override { return CopyOut(m_fault.sourceLine, text); }
    HRESULT get_line(LONG* line) override { return NumberOut(m_fault.line, line); }
    HRESULT get_linepos(LONG* position) override { return NumberOut(m_fault.column, position); }
    HRESULT get_filepos(LONG* position) override { return NumberOut(m_fault.byteOffset, position); }

private:
    ~CXmlParseError() = default;

    static HRESULT CopyOut(const Text& text, BSTR* out) {
        *out = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
        return *out ? S_OK : E_OUTOFMEMORY;
    }
    static HRESULT NumberOut(std::uint64_t number, LONG* out) {
        *out = Saturated(number);
        return S_OK;
    }

    XmlFault m_fault;
    ULONG m_references = 1;
};

}  // namespace

HRESULT CreateXmlDocumentObject(REFIID iid, void** out) {
    return Guarded([&] {
        CXmlDocument* document = new CXmlDocument;
        document->AddRef();
        const HRESULT result = document->QueryInterface(iid, out);
        document->Release();
        return result;
    });
}

CXmlDocument::CXmlDocument() : m_tree(std::make_unique<CXmlTree>()) {}

void CXmlDocument::MakeComposer() {
    m_composer = std::make_unique<CXmlComposer>();
}

bool CXmlDocument::AddFreeFaces() {
    return SUCCEEDED(Guarded([this] {
        auto slab = std::make_unique_for_overwrite<FaceSlot[]>(kFacesPerSlab);
        FaceSlot* slots = slab.get();
        m_faceSlabs.push_back(std::move(slab));
        for (std::size_t i = 0; i < kFacesPerSlab; ++i) {
            slots[i].next = m_freeFaces;
            m_freeFaces = slots + i;
        }
        return S_OK;
    }));
}

IXMLDOMNode* CXmlDocument::MakeNodeFace(XmlNodeId id) {
    switch (m_tree->Node(id).Type()) {
        case NODE_ELEMENT:
            return MakeFace<CElementFace>(id);
        case NODE_TEXT:
        case NODE_CDATA_SECTION:
            return MakeFace<CTextFace>(id);
        default:
            return MakeFace<CInstructionFace>(id);
    }
}

// Makes a node by one of the composer's operations, and its object.
template <class Face, class Interface, class Operation>
HRESULT CXmlDocument::Create(Interface** out, Operation operation) {
    *out = nullptr;
    if (m_isLoaded) return E_NOTIMPL;
    return Compose([&] {
        auto face = CComRef<Face>::Adopt(MakeFace<Face>());
        if (!face) return E_OUTOFMEMORY;
        const HRESULT result = operation(face->Node());
        if (SUCCEEDED(result)) *out = face.Detach();
        return result;
    });
}

HRESULT CXmlDocument::AppendTo(const ComposedNode* parent, IXMLDOMNode* child, IXMLDOMNode** appended) {
    if (appended) *appended = nullptr;
    void* found = nullptr;
    if (!child || FAILED(child->QueryInterface(kIidComposedNode, &found))) return E_INVALIDARG;
    ComposedNode& node = *static_cast<ComposedNode*>(found);
    if (node.owner != m_composer.get()) return E_INVALIDARG;
    const HRESULT result =
        Compose([&] { return parent ? m_composer->Append(*parent, node) : m_composer->Append(node); });
    if (SUCCEEDED(result) && appended) {
        child->AddRef();
        *appended = child;
    }
    return result;
}

HRESULT CXmlDocument::QueryInterface(const IID& iid, void** out) {
    if (iid == IID_IXmlStepSource) {
        *out = static_cast<IXmlStepSource*>(this);
        AddRef();
        return S_OK;
    }
    const bool isKnown =
        iid == IID_IUnknown || iid == IID_IXMLDOMNode || iid == IID_IXMLDOMDocument || iid == IID_IXMLDOMDocument2;
    *out = isKnown ? static_cast<IXMLDOMDocument2*>(this) : nullptr;
    if (isKnown) AddRef();
    return isKnown ? S_OK : E_NOINTERFACE;
}

HRESULT CXmlDocument::get_nodeName(BSTR* name) {
    *name = XmlNodeNameOf(*m_tree, m_tree->Node(kXmlDocumentNode));
    return S_OK;
}

HRESULT CXmlDocument::get_nodeValue(VARIANT* value) {
    return XmlNodeValueOf(m_tree->Node(kXmlDocumentNode), value);
}

HRESULT CXmlDocument::get_nodeType(DOMNodeType* type) {
    *type = NODE_DOCUMENT;
    return S_OK;
}

HRESULT CXmlDocument::get_childNodes(IXMLDOMNodeList** children) {
    *children = nullptr;
    if (m_composer) return E_NOTIMPL;
    CInstructionFace* face = MakeFace<CInstructionFace>(kXmlDocumentNode);
    if (!face) return E_OUTOFMEMORY;
    *children = face;
    return S_OK;
}

HRESULT CXmlDocument::get_attributes(IXMLDOMNamedNodeMap** attributes) {
    *attributes = nullptr;
    return S_FALSE;
}

HRESULT CXmlDocument::appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) {
    return AppendTo(nullptr, child, appended);
}

HRESULT CXmlDocument::put_nodeTypedValue(VARIANT) {
    return E_NOTIMPL;
}

HRESULT CXmlDocument::get_documentElement(IXMLDOMElement** element) {
    *element = nullptr;
    if (m_composer) return E_NOTIMPL;
    const XmlNodeId id = m_tree->DocumentElement();
    if (id == kNoXmlNode) return S_FALSE;
    *element = MakeFace<CElementFace>(id);
    return *element ? S_OK : E_OUTOFMEMORY;
}

HRESULT CXmlDocument::createElement(BSTR name, IXMLDOMElement** element) {
    return Create<CComposedElement>(element,
                                    [&](ComposedNode& node) { return Composer().MakeElement(BstrView(name), node); });
}

HRESULT CXmlDocument::createTextNode(BSTR text, IXMLDOMText** node) {
    return Create<CComposedText>(
        node, [&](ComposedNode& made) { return Composer().MakeText(NODE_TEXT, BstrView(text), made); });
}

HRESULT CXmlDocument::createCDATASection(BSTR text, IXMLDOMCDATASection** node) {
    return Create<CComposedText>(
        node, [&](ComposedNode& made) { return Composer().MakeText(NODE_CDATA_SECTION, BstrView(text), made); });
}

HRESULT CXmlDocument::createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** node) {
    return Create<CComposedInstruction>(
        node, [&](ComposedNode& made) { return Composer().MakeInstruction(BstrView(target), BstrView(data), made); });
}

// S_FALSE for a file that is refused.
HRESULT CXmlDocument::LoadInto(CXmlSink& sink, const VARIANT& path) {
    auto fault = std::make_unique<XmlFault>();
    if (!ReadXmlFile(path.bstrVal, sink, *fault)) {
        m_fault = std::move(fault);
        return S_FALSE;
    }
    m_isLoaded = true;
    m_fault.reset();
    return S_OK;
}

HRESULT CXmlDocument::load(VARIANT path, VARIANT_BOOL* done) {
    if (done) *done = VARIANT_FALSE;
    if (path.vt != VT_BSTR) return E_INVALIDARG;
    if (m_isLoaded || m_composer) return E_UNEXPECTED;
    return Guarded([&] {
        auto tree = std::make_unique<CXmlTree>();
        CXmlTreeSink sink(*tree);
        const HRESULT result = LoadInto(sink, path);
        if (result != S_OK) return result;
        m_emptyTree = std::exchange(m_tree, std::move(tree));
        if (done) *done = VARIANT_TRUE;
        return S_OK;
    });
}

HRESULT CXmlDocument::loadSteps(VARIANT path, CXmlStepReceiver* receiver, VARIANT_BOOL* done) {
    if (done) *done = VARIANT_FALSE;
    if (path.vt != VT_BSTR || !receiver) return E_INVALIDARG;
    if (m_isLoaded || m_composer) return E_UNEXPECTED;
    return Guarded([&] {
        CXmlStepSink sink(*receiver);
        const HRESULT result = LoadInto(sink, path);
        if (done && result == S_OK) *done = VARIANT_TRUE;
        return result;
    });
}

HRESULT CXmlDocument::get_parseError(IXMLDOMParseError** error) {
    *error = nullptr;
    return Guarded([&] {
        *error = new CXmlParseError(m_fault ? *m_fault : XmlFault());
        return S_OK;
    });
}

HRESULT CXmlDocument::put_async(VARIANT_BOOL) {
    return S_OK;
}

HRESULT CXmlDocument::save(VARIANT path) {
    if (path.vt != VT_BSTR) return E_INVALIDARG;
    if (m_isLoaded) return E_NOTIMPL;
    if (m_isIncomplete) return E_OUTOFMEMORY;
    return Guarded([&] { return Composer().Save(path.bstrVal) ? S_OK : E_FAIL; });
}
