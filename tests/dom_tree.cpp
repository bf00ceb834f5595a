#include "dom_tree.h"

#include "convert/trans_xml2bin.h"
#include "platform/utf8.h"
#include "xml/msxml_helper.h"

namespace {

std::string Shown(const Text& text) {
    std::string shown;
    for (const char c : TextToUtf8(text)) {
        shown += c == '\r' ? "\\r" : c == '\n' ? "\\n" : c == '\t' ? "\\t" : std::string(1, c);
    }
    return shown;
}

}  // namespace

SmallTree ReadDom(IXMLDOMNode& node) {
    DOMNodeType type = NODE_INVALID;
    CheckCom(node.get_nodeType(&type));
    CBstr name;
    CheckCom(node.get_nodeName(name.Out()));
    SmallTree tree = {static_cast<int>(type), Text(name.View()), {}, {}};
    if (type == NODE_ENTITY_REFERENCE) return tree;
    if (type != NODE_ELEMENT) {
        CVariant value;
        CheckCom(node.get_nodeValue(value.Out()));
        tree.text = type == NODE_PROCESSING_INSTRUCTION ? tree.text + WCHAR(' ') : Text();
        tree.text += value.View();
        return tree;
    }
    LONG count = 0;
    CComRef<IXMLDOMNamedNodeMap> attrs;
    CheckCom(node.get_attributes(attrs.Out()));
    CheckCom(attrs->get_length(&count));
    for (LONG i = 0; i < count; ++i) {
        CComRef<IXMLDOMNode> attr;
        CheckCom(attrs->get_item(i, attr.Out()));
        CVariant value;
        CheckCom(attr->get_nodeName(name.Out()));
        CheckCom(attr->get_nodeValue(value.Out()));
        tree.attrs.emplace_back(Text(name.View()), Text(value.View()));
    }
    CComRef<IXMLDOMNodeList> children;
    CheckCom(node.get_childNodes(children.Out()));
    CheckCom(children->get_length(&count));
    for (LONG i = 0; i < count; ++i) {
        CComRef<IXMLDOMNode> child;
        CheckCom(children->get_item(i, child.Out()));
        tree.children.push_back(ReadDom(*child.Get()));
    }
    return tree;
}

std::string Notation(const SmallTree& tree) {
    const std::string text = Shown(tree.text);
    if (tree.type == NODE_TEXT) return "'" + text + "'";
    if (tree.type == NODE_CDATA_SECTION) return "[" + text + "]";
    if (tree.type == NODE_ENTITY_REFERENCE) return "&" + text + ";";
    if (tree.type == NODE_PROCESSING_INSTRUCTION) return "<?" + text + "?>";
    if (tree.type == NODE_COMMENT) return "<!--" + text + "-->";
    std::string shown = "<" + text;
    for (const auto& [name, value] : tree.attrs) shown += " " + Shown(name) + "=\"" + Shown(value) + "\"";
    shown += ">";
    for (const SmallTree& child : tree.children) shown += Notation(child);
    return shown + "</" + text + ">";
}

Text XmlTest::Write(std::string_view xml) const {
    WriteBytes(m_folder.File("in.xml"), xml);
    return m_folder.Path("in.xml");
}

CComRef<IXMLDOMDocument> XmlTest::Load(std::string_view xml) const {
    return CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::LoadXmlDocument(Write(xml).c_str()));
}

std::string XmlTest::Loaded(std::string_view xml) const {
    const auto document = Load(xml);
    if (!document) return "(refused)";
    CComRef<IXMLDOMElement> root;
    CheckCom(document->get_documentElement(root.Out()));
    return Notation(ReadDom(root.Need()));
}

std::vector<unsigned char> XmlTest::Converted(std::string_view xml) const {
    const Text out = m_folder.Path("out.bdoc");
    std::filesystem::remove(m_folder.File("out.bdoc"));
    if (!TransformXmlToBinary(Write(xml).c_str(), out.c_str())) return {};
    return ReadBytes(m_folder.File("out.bdoc"));
}
