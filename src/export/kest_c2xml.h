// Binary to XML: mirrors a tree of nodes into a document of the platform's XML DOM, indents it, and has the DOM save
// it.
//
// Elements become elements, with their attributes in the order of the pairs. A text or CDATA child replaces all that
// its element held so far; in a "script" element (in any letter case) it becomes a CDATA section instead. Nodes of
// other types are left out with their subtrees. Each element below the root stands on a line of its own, one tab per
// level; so does the end of an element with children, unless a text was set as its content.
//
// What fails (a name or a text that XML cannot hold, memory that runs out) cuts the element concerned short: it keeps
// what it had by then, and its siblings follow. Needs memory for the tree's depth beside the DOM's, no native stack.
// The time is that of all texts met, those that another one replaces included.
#pragma once

#include <cstdint>

#include "parvel/parvel.h"
#include "platform/xmldom.h"

class CKestC2XML {
public:
    virtual ~CKestC2XML() = default;

    /// Writes the tree to a file in UTF-8. False when there is no root, no DOM, or the file cannot be saved. Nothing
    /// throws. Of a tree without pending edits (`isUnedited`) an element with a value and one child has it from that
    /// child, a text: the child is then not asked for, which saves the making of a good part of all nodes.
    bool Export(const WCHAR* path, IBinNode* root, bool isUnedited = false) noexcept;

    /// Builds the element of a node, with all below it, as the last child of `parent`, or of the document when that is
    /// null. Builds nothing for a null node and for one that is no element.
    void BuildElement(IXMLDOMDocument2* document, IXMLDOMNode* parent, IBinNode* node, std::int32_t depth) noexcept;
};
