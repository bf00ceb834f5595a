// The records of an XML tree.
#pragma once

#include "model/grow_array.h"
#include "model/word_dict.h"
#include "platform/xmldom.h"

using RecordBytes = CGrowArray<unsigned char>;

/// Appends the record of one element, text or CDATA section; its words are looked up and, where they are new, added. An
/// element's child count is left 0. Gives the record's place.
std::size_t BuildXmlNodeRecord(IXMLDOMNode& node, DOMNodeType type, CWordDict& words, RecordBytes& records);

/// Appends the record of a node, and those of all below it that is converted, with their child counts.
void WriteXmlNode(IXMLDOMNode* root, CWordDict& words, RecordBytes& records);
