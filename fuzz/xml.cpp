#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "convert/trans_xml2bin.h"
#include "model/word_dict.h"
#include "support.h"
#include "xml/msxml_helper.h"

namespace {

// A word longer than this is refused by the reader of binary documents.
constexpr std::size_t kMostWordUnits = 512'000;

/// The DOM's tree, as Describe tells the document that it is to become.
class CDomDescriber {
public:
    explicit CDomDescriber(IXMLDOMNode* root) {
        Enter(CComRef<IXMLDOMNode>::Share(root));
        while (!m_path.empty()) {
            Step& step = m_path.back();
            if (step.next == step.children.size()) {
                m_path.pop_back();
            } else {
                Enter(std::move(step.children[step.next++]));
            }
        }
    }

    const std::string& Description() const { return m_description; }
    bool HasLongWord() const { return m_hasLongWord; }

private:
    struct Step {
        std::vector<CComRef<IXMLDOMNode>> children;  // those that are converted
        std::size_t next = 0;
    };

    static DOMNodeType TypeOf(IXMLDOMNode* node) {
        DOMNodeType type = NODE_INVALID;
        Require(node->get_nodeType(&type) == S_OK, "a node has a type");
        return type;
    }

    Text NameOf(IXMLDOMNode* node) {
        BSTR name = nullptr;
        Require(node->get_nodeName(&name) == S_OK, "a node has a name");
        return Keep(TextView(name, SysStringLen(name)));
    }

    Text ValueOf(IXMLDOMNode* node) {
        VARIANT value = {};
        Require(node->get_nodeValue(&value) == S_OK && value.vt == VT_BSTR, "a text or attribute has a value");
        return Keep(TextView(value.bstrVal, SysStringLen(value.bstrVal)));
    }

    Text Keep(TextView text) {
        m_hasLongWord = m_hasLongWord || text.size() > kMostWordUnits;
        Require(text.find(WCHAR(0)) == TextView::npos, "no text of XML holds a zero");
        return Text(text);
    }

    static std::vector<CComRef<IXMLDOMNode>> ChildrenOf(IXMLDOMNode* node) {
        CComRef<IXMLDOMNodeList> list;
        LONG length = 0;
        Require(node->get_childNodes(list.Out()) == S_OK, "a node has a child list");
        Require(list->get_length(&length) == S_OK, "a child list has a length");
        std::vector<CComRef<IXMLDOMNode>> children;
        for (LONG i = 0; i < length; ++i) {
            CComRef<IXMLDOMNode> child;
            Require(list->get_item(i, child.Out()) == S_OK && child.Get(), "a child list has its items");
            const DOMNodeType type = TypeOf(child.Get());
            if (type == NODE_ELEMENT || type == NODE_TEXT || type == NODE_CDATA_SECTION) {
                children.push_back(std::move(child));
            }
        }
        return children;
    }

    void AppendAttributes(IXMLDOMNode* element) {
        CComRef<IXMLDOMNamedNodeMap> map;
        LONG length = 0;
        Require(element->get_attributes(map.Out()) == S_OK, "an element has an attribute map");
        Require(map->get_length(&length) == S_OK, "an attribute map has a length");
        std::vector<std::pair<Text, Text>> attributes;
        for (LONG i = 0; i < length; ++i) {
            CComRef<IXMLDOMNode> item;
            Require(map->get_item(i, item.Out()) == S_OK && item.Get(), "an attribute map has its items");
            attributes.emplace_back(NameOf(item.Get()), ValueOf(item.Get()));
        }
        std::sort(attributes.begin(), attributes.end());
        for (const auto& [name, value] : attributes) {
            m_description += " @";
            AppendText(name.c_str(), m_description);
            AppendText(value.c_str(), m_description);
        }
    }

    void Enter(CComRef<IXMLDOMNode> node) {
        const DOMNodeType type = TypeOf(node.Get());
        m_description += std::to_string(type);
        if (type != NODE_ELEMENT) {
            const Text value = ValueOf(node.Get());
            AppendText(value.c_str(), m_description);
            AppendText(value.c_str(), m_description);
            m_description += " (0)\n";
            return;
        }
        AppendText(NameOf(node.Get()).c_str(), m_description);
        std::vector<CComRef<IXMLDOMNode>> children = ChildrenOf(node.Get());
        const bool isOnlyText = children.size() == 1 && TypeOf(children[0].Get()) == NODE_TEXT;
        AppendText(isOnlyText ? ValueOf(children[0].Get()).c_str() : nullptr, m_description);
        AppendAttributes(node.Get());
        m_description += " (" + std::to_string(children.size()) + ")\n";
        m_path.push_back({std::move(children)});
    }

    std::string m_description;
    bool m_hasLongWord = false;
    std::vector<Step> m_path;
};

std::string Load(const CMemoryFile& file, bool& isLoaded) {
    const CComRef<IBinDocument> document = NewDocument();
    isLoaded = document->LoadFromFile(file.Path());
    CComRef<IBinNode> root;
    document->GetRoot(root.Out());
    return Describe(root.Get());
}

std::ptrdiff_t LineCount(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

}  // namespace

void FuzzXml(FuzzBytes bytes) {
    static CMemoryFile xml;
    static CMemoryFile binary;
    xml.Write(bytes);
    XmlLoadFault fault;
    const auto document = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlDocument(xml.Path(), &fault));
    if (!document) {
        Require(!fault.reason.empty(), "what does not load has a reason");
        Require(fault.byteOffset >= 0 && fault.byteOffset <= static_cast<std::int64_t>(bytes.size()),
                "the place of a fault lies in the file");
        Require(!TransXml2Bin(xml.Path(), binary.Path()), "what does not load is not converted");
        return;
    }
    CComRef<IXMLDOMElement> root;
    Require(document->get_documentElement(root.Out()) == S_OK && root.Get(), "a document that loads has an element");
    const CDomDescriber dom(root.Get());

    for (const std::int32_t lower : {0, 1}) {
        g_lower = lower;
        Require(TransXml2Bin(xml.Path(), binary.Path()), "what loads is converted");
        bool isLoaded = false;
        const std::string tree = Load(binary, isLoaded);
        g_lower = 0;
        Require(isLoaded || dom.HasLongWord(), "what was converted loads");
        if (!isLoaded) continue;
        Require(LineCount(tree) == LineCount(dom.Description()), "the document has the DOM's nodes");
        // Folded names have another order, and may come out as a word of another spelling.
        if (lower == 0) RequireEqual(tree, dom.Description(), "the document is the DOM's tree");
    }
}
