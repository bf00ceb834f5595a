// The words that XML nodes bring to the dictionary: names, which ask for folding, and values, which do not.
#pragma once

#include "model/word_dict.h"
#include "platform/com_ptr.h"
#include "platform/xmldom.h"

inline std::uint32_t AddNodeName(IXMLDOMNode& node, CWordDict& words) {
    CBstr name;
    CheckCom(node.get_nodeName(name.Out()));
    return words.AddWord(name.View(), true);
}

inline std::uint32_t AddNodeValue(IXMLDOMNode& node, CWordDict& words) {
    CVariant value;
    CheckCom(node.get_nodeValue(value.Out()));
    return words.AddWord(value.View(), false);
}

/// Calls visit(attribute) for each attribute of an element, in the order of its map. `count` gets their number before
/// the first call; an element may have no map.
template <class Prepare, class Visit>
void ForEachAttr(IXMLDOMNode& element, Prepare prepare, Visit visit) {
    CComRef<IXMLDOMNamedNodeMap> attributes;
    LONG count = 0;
    CheckCom(element.get_attributes(attributes.Out()));
    if (attributes) CheckCom(attributes->get_length(&count));
    prepare(count);
    for (LONG i = 0; i < count; ++i) {
        CComRef<IXMLDOMNode> attribute;
        CheckCom(attributes->get_item(i, attribute.Out()));
        visit(attribute.Need());
    }
}

/// Adds every name and value of the tree, in the order of the walk.
void CollectXmlWords(IXMLDOMNode* root, CWordDict& words);
