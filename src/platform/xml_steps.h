// A short cut past the XML DOM, for who reads a file once from front to back: a document object that has the interface
// below hands over what the tree would hold, and keeps no tree. Ours has it; the system's own on Windows has not.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/com.h"

/// One step through a document's element and all below it, in document order. Comments, processing instructions and
/// entity references are passed over.
struct XmlStep {
    enum Kind : std::uint32_t {
        kName,       // with a text, the name of this number: once, right before the first step that refers to it
        kElement,    // with so many attributes, which follow at once, in their order
        kAttribute,  // with a text, its value
        kText,       // with a text
        kCData,      // with a text
        kEnd,        // of an element
    };
    Kind kind;
    std::uint32_t name;  // number of the name of an element or attribute
    std::uint32_t attrCount;
};

/// Some steps, and apart from them the texts of those that have one, in the same order.
struct XmlSteps {
    const XmlStep* steps;
    std::size_t count;
    const TextView* texts;
    std::size_t textCount;
};

/// Who takes the steps, some at a time; they and their texts live until Take returns. Take may throw std::bad_alloc,
/// which fails the load.
class CXmlStepReceiver {
public:
    /// Before the first step: the size of the XML in UTF-8, or about that.
    virtual void Expect(std::size_t sourceBytes) noexcept = 0;
    virtual void Take(const XmlSteps& some) = 0;

protected:
    ~CXmlStepReceiver() = default;
};

/// {F1DF647B-9F1A-4BF2-B655-876EC33FA6AC}
inline constexpr IID IID_IXmlStepSource = {
    0xF1DF647B, 0x9F1A, 0x4BF2, {0xB6, 0x55, 0x87, 0x6E, 0xC3, 0x3F, 0xA6, 0xAC}};

struct IXmlStepSource : IUnknown {
    /// As IXMLDOMDocument::load, with the same results, the parse error included; but the document stays empty. After a
    /// failure the receiver may have taken some steps already.
    virtual HRESULT loadSteps(VARIANT path, CXmlStepReceiver* receiver, VARIANT_BOOL* done) = 0;

protected:
    ~IXmlStepSource() = default;
};
