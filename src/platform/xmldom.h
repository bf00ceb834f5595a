// The platform's XML document object model.
//
// On Windows it is the system's own, MSXML 3.0. Elsewhere these are interfaces of the same names with the same
// signatures, holding only the operations that the library calls; linux/xml_dom.h says how they behave there.
//
// Operations give S_OK, or a failure code and leave the tree as it was. An interface pointer in an out argument carries
// one reference for the caller; BSTR and VARIANT results are freed by SysFreeString and VariantClear.
#pragma once

#include "platform/com.h"

#ifdef _WIN32

#include <msxml2.h>

#else

/// {F5078F32-C551-11D3-89B9-0000F81FE221}
inline constexpr CLSID CLSID_DOMDocument30 = {
    0xF5078F32, 0xC551, 0x11D3, {0x89, 0xB9, 0x00, 0x00, 0xF8, 0x1F, 0xE2, 0x21}};
/// {2933BF80-7B36-11D2-B20E-00C04F983E60}
inline constexpr IID IID_IXMLDOMNode = {0x2933BF80, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
/// {2933BF81-7B36-11D2-B20E-00C04F983E60}
inline constexpr IID IID_IXMLDOMDocument = {
    0x2933BF81, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
/// {2933BF82-7B36-11D2-B20E-00C04F983E60}
inline constexpr IID IID_IXMLDOMNodeList = {
    0x2933BF82, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
/// {2933BF83-7B36-11D2-B20E-00C04F983E60}
inline constexpr IID IID_IXMLDOMNamedNodeMap = {
    0x2933BF83, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
/// {2933BF86-7B36-11D2-B20E-00C04F983E60}
inline constexpr IID IID_IXMLDOMElement = {
    0x2933BF86, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
/// {2933BF95-7B36-11D2-B20E-00C04F983E60}
inline constexpr IID IID_IXMLDOMDocument2 = {
    0x2933BF95, 0x7B36, 0x11D2, {0xB2, 0x0E, 0x00, 0xC0, 0x4F, 0x98, 0x3E, 0x60}};
/// {3EFAA426-272F-11D2-836F-0000F87A7782}
inline constexpr IID IID_IXMLDOMParseError = {
    0x3EFAA426, 0x272F, 0x11D2, {0x83, 0x6F, 0x00, 0x00, 0xF8, 0x7A, 0x77, 0x82}};

enum DOMNodeType {
    NODE_INVALID = 0,
    NODE_ELEMENT = 1,
    NODE_ATTRIBUTE = 2,
    NODE_TEXT = 3,
    NODE_CDATA_SECTION = 4,
    NODE_ENTITY_REFERENCE = 5,
    NODE_PROCESSING_INSTRUCTION = 7,
    NODE_COMMENT = 8,
    NODE_DOCUMENT = 9,
};

struct IXMLDOMNode;
struct IXMLDOMElement;

/// Children, in document order.
struct IXMLDOMNodeList : IUnknown {
    /// Child `index` from 0; past either end S_FALSE and null.
    virtual HRESULT get_item(LONG index, IXMLDOMNode** item) = 0;
    virtual HRESULT get_length(LONG* length) = 0;

protected:
    ~IXMLDOMNodeList() = default;
};

/// Attributes, in the order of the source.
struct IXMLDOMNamedNodeMap : IUnknown {
    virtual HRESULT get_item(LONG index, IXMLDOMNode** item) = 0;
    virtual HRESULT get_length(LONG* length) = 0;

protected:
    ~IXMLDOMNamedNodeMap() = default;
};

struct IXMLDOMNode : IUnknown {
    virtual HRESULT get_nodeName(BSTR* name) = 0;
    /// A VT_BSTR for attributes, texts and what else holds a text; otherwise S_FALSE and VT_NULL.
    virtual HRESULT get_nodeValue(VARIANT* value) = 0;
    virtual HRESULT get_nodeType(DOMNodeType* type) = 0;
    virtual HRESULT get_childNodes(IXMLDOMNodeList** children) = 0;
    /// S_FALSE and null unless an element.
    virtual HRESULT get_attributes(IXMLDOMNamedNodeMap** attributes) = 0;
    /// Appends; `appended`, which may be null, gets the node once more.
    virtual HRESULT appendChild(IXMLDOMNode* child, IXMLDOMNode** appended) = 0;
    /// Replaces everything that an element holds by one text. Here only while the element can still get content.
    virtual HRESULT put_nodeTypedValue(VARIANT value) = 0;

protected:
    ~IXMLDOMNode() = default;
};

struct IXMLDOMElement : IXMLDOMNode {
    /// Sets or adds; the value must be a VT_BSTR. Here only on an appended element without content.
    virtual HRESULT setAttribute(BSTR name, VARIANT value) = 0;

protected:
    ~IXMLDOMElement() = default;
};

struct IXMLDOMText : IXMLDOMNode {
protected:
    ~IXMLDOMText() = default;
};

struct IXMLDOMCDATASection : IXMLDOMText {
protected:
    ~IXMLDOMCDATASection() = default;
};

struct IXMLDOMProcessingInstruction : IXMLDOMNode {
protected:
    ~IXMLDOMProcessingInstruction() = default;
};

/// What was wrong with the last load.
struct IXMLDOMParseError : IUnknown {
    virtual HRESULT get_reason(BSTR* reason) = 0;
    /// The line of the source that holds the place.
    virtual HRESULT get_srcText(BSTR* text) = 0;
    /// From 1; 0 when there is no place, as with a file that cannot be read.
    virtual HRESULT get_line(LONG* line) = 0;
    /// Character within the line, from 1.
    virtual HRESULT get_linepos(LONG* position) = 0;
    /// Byte within the file, from 0.
    virtual HRESULT get_filepos(LONG* position) = 0;

protected:
    ~IXMLDOMParseError() = default;
};

struct IXMLDOMDocument : IXMLDOMNode {
    virtual HRESULT get_documentElement(IXMLDOMElement** element) = 0;
    virtual HRESULT createElement(BSTR name, IXMLDOMElement** element) = 0;
    virtual HRESULT createTextNode(BSTR text, IXMLDOMText** node) = 0;
    virtual HRESULT createCDATASection(BSTR text, IXMLDOMCDATASection** node) = 0;
    virtual HRESULT createProcessingInstruction(BSTR target, BSTR data, IXMLDOMProcessingInstruction** node) = 0;
    /// Loads the file of this path, a VT_BSTR. A file that cannot be read or is no XML gives S_FALSE and VARIANT_FALSE.
    virtual HRESULT load(VARIANT path, VARIANT_BOOL* done) = 0;
    virtual HRESULT get_parseError(IXMLDOMParseError** error) = 0;
    virtual HRESULT put_async(VARIANT_BOOL async) = 0;
    /// Writes the document to the file of this path, a VT_BSTR.
    virtual HRESULT save(VARIANT path) = 0;

protected:
    ~IXMLDOMDocument() = default;
};

struct IXMLDOMDocument2 : IXMLDOMDocument {
protected:
    ~IXMLDOMDocument2() = default;
};

#endif
