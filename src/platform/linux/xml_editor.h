// Builds a tree by hand: what the create, append and set operations of the DOM do.
//
// Nothing goes in that could not be saved as well-formed XML: a name that is none, or a text with a character that XML
// cannot hold, fails that one operation with E_INVALIDARG and changes nothing. Names are what the parser itself takes
// for names. A node has one place: one that is in the tree already, or an ancestor, is not appended. Memory exhaustion
// throws std::bad_alloc.
#pragma once

#include <expat.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/linux/xml_tree.h"

class CXmlTreeEditor {
public:
    explicit CXmlTreeEditor(CXmlTree& tree) : m_tree(tree) {}
    CXmlTreeEditor(const CXmlTreeEditor&) = delete;
    CXmlTreeEditor& operator=(const CXmlTreeEditor&) = delete;

    /// New nodes, not yet in the tree.
    HRESULT CreateElement(TextView name, XmlNodeId& id);
    HRESULT CreateText(DOMNodeType type, TextView text, XmlNodeId& id);
    HRESULT CreateInstruction(TextView target, TextView data, XmlNodeId& id);

    HRESULT Append(XmlNodeId parent, XmlNodeId child);
    /// Takes all children out of an element; unless the text is empty, one text node takes their place.
    HRESULT ReplaceByText(XmlNodeId element, TextView text);
    /// Changes the attribute of this name, or adds one.
    HRESULT SetAttribute(XmlNodeId element, TextView name, TextView value);

private:
    struct ParserDeleter {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };

    bool InternName(TextView name, std::uint32_t& number);
    bool IsName(std::string_view name);
    bool ParserTakesName(std::string_view name);
    const WCHAR* SharedIndentation(TextView text);
    bool IsAncestor(XmlNodeId candidate, XmlNodeId node) const;
    XmlAttr* FindAttr(XmlNodeId element, std::uint32_t name);
    static std::uint64_t AttrKey(XmlNodeId element, std::uint32_t name) {
        return std::uint64_t{element} << 32 | name;
    }

    CXmlTree& m_tree;
    std::string m_nameBytes;  // the name at hand, in UTF-8
    std::unique_ptr<XML_ParserStruct, ParserDeleter> m_nameParser;
    // Line break and tabs: one such text serves all indentations up to its depth.
    std::vector<std::unique_ptr<WCHAR[]>> m_indentations;
    std::size_t m_indentationUnits = 0;  // of the newest
    // Places of attributes in the runs of elements that have many.
    std::unordered_map<std::uint64_t, std::uint32_t> m_attrPlaces;
};
