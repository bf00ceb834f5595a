#include "export/kest_c2xml.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/text.h"
#include "xml/msxml_helper.h"

namespace {

bool IsText(std::uint32_t type) {
    return type == PARVEL_TEXT || type == PARVEL_CDATA;
}

// The names of a tree as the DOM takes them. A few names come again and again, and always from the same place: as
// nobody edits the tree meanwhile, the address of a name says which one it is.
class CExportedNames {
public:
    struct Name {
        const WCHAR* address = nullptr;
        CBstr text;
        bool isScript = false;
    };

    /// Stays as it is until the next call.
    const Name& Find(const WCHAR* address) {
        Name& name = m_names[reinterpret_cast<std::uintptr_t>(address) / sizeof(WCHAR) % kCount];
        if (name.address == address && address) return name;
        name.address = nullptr;  // should there be no memory
        const TextView text = ViewOf(address);
        name.text.Assign(text);
        name.isScript = EqualsIgnoringCase(text, WTEXT("script"));
        name.address = address;
        return name;
    }

private:
    static constexpr std::size_t kCount = 256;
    Name m_names[kCount];
};

// The walk that builds the DOM's tree: one step per child, with the open elements on a stack.
class CElementBuilder {
public:
    CElementBuilder(IXMLDOMDocument2& document, bool isUnedited) : m_document(document), m_isUnedited(isUnedited) {}

    void Build(IXMLDOMNode* parent, IBinNode* node, std::int32_t depth);

private:
    struct OpenElement {
        OpenElement(CComRef<IBinNode> of, CComRef<IXMLDOMElement> made, std::int32_t at, bool holdsScript)
            : node(std::move(of)), element(std::move(made)), depth(at), isScript(holdsScript) {}

        CComRef<IBinNode> node;
        CComRef<IXMLDOMElement> element;
        std::int32_t depth;
        std::int32_t childCount = 0;
        std::int32_t nextChild = 0;
        bool isScript;
        bool isTextSet = false;
        const WCHAR* content = nullptr;  // the text that is all the element holds, if it is known
    };

    void Open(IXMLDOMNode* parent, CComRef<IBinNode> node, std::int32_t depth) noexcept;
    void Advance();
    void AddText(OpenElement& open, const WCHAR* text);
    void SetAttributes(IXMLDOMElement& element, IBinNode& node);
    void SetContent(OpenElement& open, const WCHAR* text);
    void AppendIndentation(IXMLDOMNode& parent, std::int32_t depth);
    template <class Node>
    void Append(IXMLDOMNode& parent, const CComRef<Node>& child) {
        CheckCom(parent.appendChild(&child.Need(), nullptr));
    }

    IXMLDOMDocument2& m_document;
    const bool m_isUnedited;
    std::vector<OpenElement> m_path;  // from the outermost open element
    CExportedNames m_names;
    // Reused from call to call.
    CBstr m_indentation{TextView(WTEXT("\r\n"))};
    std::int32_t m_indentationDepth = 0;
    CBstr m_text;
    CVariant m_value;
};

void CElementBuilder::Build(IXMLDOMNode* parent, IBinNode* node, std::int32_t depth) {
    Open(parent, CComRef<IBinNode>::Share(node), std::max(depth, 0));
    while (!m_path.empty()) {
        try {
            Advance();
        } catch (...) {
            m_path.pop_back();  // cut short; its parent goes on
        }
    }
}

// Adds the element with its attributes and its value, unless that fails on the way; its children follow step by step.
void CElementBuilder::Open(IXMLDOMNode* parent, CComRef<IBinNode> node, std::int32_t depth) noexcept try {
    if (!node || node->GetType() != PARVEL_ELEMENT) return;
    // Asked for long before it is used, as it is seldom in the cache: up to a tenth of the time.
    const WCHAR* value = node->GetValue();
    __builtin_prefetch(value);
    const CExportedNames::Name& name = m_names.Find(node->GetName());
    CComRef<IXMLDOMElement> element;
    CheckCom(m_document.createElement(name.text.Get(), element.Out()));
    if (parent) {
        AppendIndentation(*parent, depth);
        Append(*parent, element);
    } else {
        Append(m_document, element);
    }
    OpenElement& open = m_path.emplace_back(std::move(node), std::move(element), depth, name.isScript);
    SetAttributes(*open.element.Get(), *open.node.Get());
    const bool hasValue = value && *value;
    if (hasValue) SetContent(open, value);
    const std::int32_t childCount = open.node->GetChildCount();
    if (m_isUnedited && hasValue && childCount == 1 && !open.isScript) return;  // the child's text is in already
    open.childCount = childCount;  // last: what fails on the way leaves it without children
} catch (...) {
}

// Takes the next child of the innermost open element, or closes it.
void CElementBuilder::Advance() {
    OpenElement& open = m_path.back();
    if (open.nextChild >= open.childCount) {
        if (open.childCount > 0 && !open.isTextSet) AppendIndentation(*open.element.Get(), open.depth);
        m_path.pop_back();
        return;
    }
    CComRef<IBinNode> child;
    open.node->GetChild(open.nextChild++, child.Out());
    if (!child) return;
    if (IsText(child->GetType())) {
        AddText(open, child->GetValue());
    } else {
        open.content = nullptr;
        Open(open.element.Get(), std::move(child), open.depth + 1);
    }
}

void CElementBuilder::AddText(OpenElement& open, const WCHAR* text) {
    if (open.isScript) {
        m_text.Assign(ViewOf(text));
        CComRef<IXMLDOMCDATASection> section;
        CheckCom(m_document.createCDATASection(m_text.Get(), section.Out()));
        Append(*open.element.Get(), section);
    } else if (text && *text) {
        SetContent(open, text);
        open.isTextSet = true;
    }
}

void CElementBuilder::SetContent(OpenElement& open, const WCHAR* text) {
    // The value of an element is most often the text of its only child, which then comes a second time.
    if (open.content && (open.content == text || ViewOf(open.content) == ViewOf(text))) return;
    m_value.Assign(ViewOf(text));
    CheckCom(open.element->put_nodeTypedValue(m_value.Get()));
    open.content = text;
}

void CElementBuilder::SetAttributes(IXMLDOMElement& element, IBinNode& node) {
    const std::int32_t count = node.GetAttrCount();
    for (std::int32_t i = 0; i < count; ++i) {
        CComRef<IAttrPair> pair;
        node.GetAttrPair(i, pair.Out());
        if (!pair) continue;
        const CExportedNames::Name& name = m_names.Find(pair->GetName());
        m_value.Assign(ViewOf(pair->GetValue()));
        CheckCom(element.setAttribute(name.text.Get(), m_value.Get()));
    }
}

void CElementBuilder::AppendIndentation(IXMLDOMNode& parent, std::int32_t depth) {
    constexpr std::size_t kLineBreakUnits = 2;
    if (depth != m_indentationDepth) {
        m_indentation.Resize(kLineBreakUnits + static_cast<std::size_t>(depth), WCHAR('\t'));
        m_indentationDepth = depth;
    }
    CComRef<IXMLDOMText> text;
    CheckCom(m_document.createTextNode(m_indentation.Get(), text.Out()));
    Append(parent, text);
}

}  // namespace

bool CKestC2XML::Export(const WCHAR* path, IBinNode* root, bool isUnedited) noexcept {
    if (!path || !*path || !root) return false;
    try {
        CComRef<IXMLDOMDocument2> document;
        {
            const auto made = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::CreateXmlDocument(WTEXT("utf-8")));
            if (!made) return false;
            void* asked = nullptr;
            CheckCom(made->QueryInterface(IID_IXMLDOMDocument2, &asked));
            document = CComRef<IXMLDOMDocument2>::Adopt(static_cast<IXMLDOMDocument2*>(asked));
        }
        CElementBuilder(document.Need(), isUnedited).Build(nullptr, root, 0);
        const CVariant target{TextView(path)};
        CheckCom(document->save(target.Get()));
        return true;
    } catch (...) {
        return false;
    }
}

void CKestC2XML::BuildElement(IXMLDOMDocument2* document, IXMLDOMNode* parent, IBinNode* node,
                              std::int32_t depth) noexcept try {
    if (document) CElementBuilder(*document, false).Build(parent, node, depth);
} catch (...) {  // no memory to begin with
}
