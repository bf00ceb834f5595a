// The text of an XML document in the making: what the create, append and set operations of the DOM do, straight to
// bytes.
//
// A document grows at its end: an element takes attributes until it has content, and content until its parent gets the
// next child; what comes later fails with E_UNEXPECTED. No name, text or value goes in that could not be saved as
// well-formed XML: a name that is none, or a text with a character that XML cannot hold, fails that one operation with
// E_INVALIDARG and changes nothing. Names are what the parser itself takes for names. Memory exhaustion throws
// std::bad_alloc.
//
// What is written. UTF-8 without a byte order mark; CR LF after the declaration, nothing between other nodes that was
// not appended. White-space-only text goes out as it stands. In any other text, and in attribute values, a carriage
// return is written as a character reference, in attribute values a line feed and a tab too, so that a reader gets back
// what was set. A CDATA section stands as it is, which a reader takes with plain line feeds; with "]]>" in it it is
// written as two. An empty element is <a/>.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "platform/linux/xml_composer_names.h"
#include "platform/xmldom.h"

/// A growing block of bytes.
class CXmlBytes {
public:
    CXmlBytes() = default;
    CXmlBytes(const CXmlBytes&) = delete;
    CXmlBytes& operator=(const CXmlBytes&) = delete;
    ~CXmlBytes();

    const char* Data() const { return m_bytes; }
    std::size_t Size() const { return m_size; }

    /// Room for `count` bytes more; what is written there counts once Grow has told of it.
    char* Reserve(std::size_t count) {
        if (m_capacity - m_size < count) [[unlikely]]
            Enlarge(count);
        return m_bytes + m_size;
    }
    void Grow(std::size_t count) { m_size += count; }
    void Truncate(std::size_t size) { m_size = size; }

    void Append(std::string_view bytes) {
        std::memcpy(Reserve(bytes.size()), bytes.data(), bytes.size());
        m_size += bytes.size();
    }
    void Append(char byte) {
        *Reserve(1) = byte;
        ++m_size;
    }
    /// Moves the bytes from `from` to the end down to `to`, and ends there.
    void MoveEndDown(std::size_t from, std::size_t to);

private:
    void Enlarge(std::size_t count);

    char* m_bytes = nullptr;
    std::size_t m_size = 0;
    std::size_t m_capacity = 0;
};

/// Takes back what was appended since, unless Keep is called.
class CXmlBytesMark {
public:
    explicit CXmlBytesMark(CXmlBytes& bytes) : m_bytes(bytes), m_size(bytes.Size()) {}
    CXmlBytesMark(const CXmlBytesMark&) = delete;
    CXmlBytesMark& operator=(const CXmlBytesMark&) = delete;
    ~CXmlBytesMark() {
        if (!m_isKept) m_bytes.Truncate(m_size);
    }

    std::size_t Size() const { return m_size; }
    void Keep() { m_isKept = true; }

private:
    CXmlBytes& m_bytes;
    std::size_t m_size;
    bool m_isKept = false;
};

class CXmlComposer;

/// A node as its object holds it: before it is appended what it is made of, then, for an element, where it is.
struct ComposedNode {
    const CXmlComposer* owner = nullptr;
    DOMNodeType type = NODE_INVALID;
    std::uint32_t name = 0;  // of an element or a processing instruction
    bool isAppended = false;
    bool isIndentation = false;  // which has no bytes but tabs
    std::uint32_t tabs = 0;
    std::size_t offset = 0;  // of the bytes waiting to be appended
    std::size_t byteCount = 0;
    std::size_t level = 0;  // of an appended element: its place on the path, and its number
    std::uint64_t serial = 0;
};

class CXmlComposer {
public:
    CXmlComposer() = default;
    CXmlComposer(const CXmlComposer&) = delete;
    CXmlComposer& operator=(const CXmlComposer&) = delete;

    /// New nodes, into an untouched ComposedNode, which is to be given to Drop in the end. Its type stays invalid, and
    /// it is not dropped, where this fails.
    HRESULT MakeElement(TextView name, ComposedNode& node);
    HRESULT MakeText(DOMNodeType type, TextView text, ComposedNode& node);
    HRESULT MakeInstruction(TextView target, TextView data, ComposedNode& node);
    void Drop(const ComposedNode& node);

    /// Appends to the document; or to an element that was appended itself.
    HRESULT Append(ComposedNode& child);
    HRESULT Append(const ComposedNode& parent, ComposedNode& child);
    /// Takes everything out of an element; unless the text is empty, it takes its place.
    HRESULT ReplaceByText(const ComposedNode& element, TextView text);
    /// Changes the attribute of this name, or adds one.
    HRESULT SetAttribute(const ComposedNode& element, TextView name, TextView value);

    /// Closes all elements and writes the document. False when the declaration names another encoding than UTF-8, the
    /// file cannot be opened, or a write fails; a file that could not be written whole is removed.
    bool Save(const WCHAR* path);

    /// Of an element or a processing instruction.
    TextView NameOf(const ComposedNode& node) const { return m_names.UnitsOf(m_names[node.name]); }

private:
    // An element that may still get content.
    struct OpenElement {
        std::uint32_t name;
        bool hasContent;  // the tag's end has been written
        std::size_t contentStart;
        std::uint64_t serial;
    };
    // An attribute of the element whose tag is being written: " name="value"", where it stands.
    struct AttrSpan {
        std::size_t begin;
        std::size_t end;
    };
    // Many tabs at one place of the text, which has none of them.
    struct TabRun {
        std::size_t offset;
        std::uint32_t count;
    };

    bool IsOpen(const ComposedNode& element) const;
    void CloseDownTo(std::size_t levels);
    void EndTag(OpenElement& element);
    void AppendElement(ComposedNode& child);
    void AppendWaiting(const ComposedNode& child);
    void AppendIndentation(std::uint32_t tabs);
    void KeepWaiting(DOMNodeType type, ComposedNode& node, CXmlBytesMark& mark);
    void PutAttributesInPlace() {
        if (m_isAttrReplaced) MoveAttributesInPlace();
    }
    void MoveAttributesInPlace();

    CXmlComposerNames m_names;
    CXmlBytes m_text;
    CXmlBytes m_waiting;              // what nodes not appended yet are made of
    std::size_t m_waitingCount = 0;   // nodes that have bytes there
    std::vector<OpenElement> m_path;  // from the document element down
    std::vector<TabRun> m_tabRuns;    // in the order of the text
    std::uint64_t m_serial = 0;       // of the newest element
    std::vector<AttrSpan> m_attrs;    // of the element whose tag is being written
    std::size_t m_attrsStart = 0;     // where they begin in the text
    bool m_isAttrReplaced = false;    // not all of them stand one after another
    bool m_hasElement = false;
    bool m_isOtherEncoding = false;
};
