// The XML document object: the COM face of the tree (platform/xmldom.h).
//
// Loading. White-space-only text is dropped unless xml:space="preserve" is in force. Entities of the internal subset
// and character references become text; adjacent text is one node; CDATA sections stay apart, empty ones too; comments
// and processing instructions are nodes and part a text in two; so does an entity that is declared outside the file or
// not at all, which becomes an entity reference node without children: nothing outside the file is ever read.
// Attributes come in source order, those with default values last. A document loads once; by IXmlStepSource
// (platform/xml_steps.h) it does so without keeping a tree.
//
// Making. Nodes that are created and appended become text at once (linux/xml_composer.h): a document is filled from
// front to back, cannot be read back, and is either loaded or made.
//
// Interface pointers to nodes are small objects made on request; each holds a reference on its document. The strings
// that get_nodeName and get_nodeValue of loaded nodes give are the tree's own: they live as long as the document.
//
// Nothing recurses per tree level, and nothing throws.
#pragma once

#include "platform/com.h"

/// Makes an empty document and asks it for an interface.
HRESULT CreateXmlDocumentObject(REFIID iid, void** out);
