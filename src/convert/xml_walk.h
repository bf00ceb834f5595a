// The walk over an XML tree that the conversion is made of: the document element and all below it that is converted,
// which are elements, texts and CDATA sections, in document order. Needs memory for the tree's depth, no native stack.
//
// What the DOM refuses is raised as _com_error, and so is an object that it ought to have given and did not.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "platform/com_ptr.h"
#include "platform/xmldom.h"

inline bool IsConverted(DOMNodeType type) {
    return type == NODE_ELEMENT || type == NODE_TEXT || type == NODE_CDATA_SECTION;
}

/// A node whose type cannot be read counts as none that is converted.
inline DOMNodeType TypeOf(IXMLDOMNode& node) {
    DOMNodeType type = NODE_INVALID;
    return SUCCEEDED(node.get_nodeType(&type)) ? type : NODE_INVALID;
}

/// Calls visitor.Enter(node, type) for each node, and after the children of an element visitor.Leave(childCount) with
/// the number of its children that are converted.
template <class Visitor>
void WalkXml(IXMLDOMNode* root, Visitor& visitor) {
    struct Level {
        CComRef<IXMLDOMNodeList> children;
        LONG length = 0;
        LONG next = 0;
        std::uint32_t convertedCount = 0;
    };
    std::vector<Level> levels;
    const auto enter = [&](IXMLDOMNode& node, DOMNodeType type) {
        visitor.Enter(node, type);
        if (type != NODE_ELEMENT) return;
        Level level;
        CheckCom(node.get_childNodes(level.children.Out()));
        CheckCom(level.children.Need().get_length(&level.length));
        levels.push_back(std::move(level));
    };

    if (!root) _com_issue_error(E_POINTER);
    const DOMNodeType rootType = TypeOf(*root);
    if (!IsConverted(rootType)) _com_issue_error(E_UNEXPECTED);
    enter(*root, rootType);
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next >= level.length) {
            visitor.Leave(level.convertedCount);
            levels.pop_back();
            continue;
        }
        CComRef<IXMLDOMNode> child;
        CheckCom(level.children->get_item(level.next++, child.Out()));
        const DOMNodeType type = TypeOf(child.Need());
        if (!IsConverted(type)) continue;
        ++level.convertedCount;
        enter(*child.Get(), type);
    }
}
