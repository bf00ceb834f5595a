// Writes a tree as an XML file.
//
// UTF-8 without a byte order mark; CR LF after the declaration, nothing between other nodes that the tree does not hold.
// White-space-only text goes out as it stands. In any other text, and in attribute values, a carriage return is written
// as a character reference, in attribute values a line feed and a tab too, so that a reader gets back what the tree
// holds. A CDATA section with "]]>" in it is written as two. An empty element is <a/>.
#pragma once

#include "platform/linux/xml_tree.h"

/// False when the declaration names another encoding than UTF-8, the file cannot be opened, or a write fails; a file
/// that could not be written whole is removed. Needs memory for the tree's depth only.
bool WriteXmlFile(const WCHAR* path, const CXmlTree& tree);
