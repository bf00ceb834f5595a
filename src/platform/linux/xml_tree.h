// The XML tree in memory: nodes, attributes, names and texts, in a handful of large blocks.
//
// Nothing is allocated per node or text and nothing ever moves: nodes and attributes lie in slabs and are named by
// number, texts are BSTRs in an arena (borrowed ones, see platform/com.h), each distinct name is there once. Children
// and attributes of a node are runs, so that the i-th is found at once. All of it goes away together, without a walk.
// Memory exhaustion throws std::bad_alloc.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string_view>
#include <vector>

#include "platform/com.h"
#include "platform/linux/xml_transcode.h"
#include "platform/xmldom.h"

/// Growing storage of plain values that stay where they are, named by number.
template <class T>
class CSlabs {
public:
    std::uint32_t Size() const { return m_size; }

    T& operator[](std::uint32_t index) { return m_slabs[index >> kSlabBits][index & kSlabMask]; }
    const T& operator[](std::uint32_t index) const { return m_slabs[index >> kSlabBits][index & kSlabMask]; }

    /// Adds an undefined value and gives its number.
    std::uint32_t Add() {
        if ((m_size & kSlabMask) == 0 && m_size >> kSlabBits == m_slabs.size()) {
            if (m_size > kMostSize) throw std::bad_alloc();
            m_slabs.push_back(std::make_unique_for_overwrite<T[]>(kSlabMask + 1));
        }
        return m_size++;
    }

private:
    static constexpr unsigned kSlabBits = 12;
    static constexpr std::uint32_t kSlabMask = (1u << kSlabBits) - 1;
    static constexpr std::uint32_t kMostSize = 0xFFF00000;

    std::vector<std::unique_ptr<T[]>> m_slabs;
    std::uint32_t m_size = 0;
};

/// BSTR texts, one after another. One text at a time is open and takes bytes of UTF-8; Finish closes it.
class CTextArena {
public:
    void Begin() { m_write = m_text = m_free + kPrefixUnits; }

    /// Well-formed UTF-8.
    void Append(const char* bytes, std::size_t byteCount) {
        if (m_end - m_write <= static_cast<std::ptrdiff_t>(byteCount)) [[unlikely]]
            MakeRoom(byteCount);
        m_write = WidenUtf8(bytes, byteCount, m_write);
    }

    /// The white space that these bytes begin with. Gives how many that are.
    std::size_t AppendBlanks(const char* bytes, std::size_t byteCount) {
        if (m_end - m_write <= static_cast<std::ptrdiff_t>(byteCount)) [[unlikely]]
            MakeRoom(byteCount);
        const std::size_t blankCount = WidenBlanks(bytes, byteCount, m_write);
        m_write += blankCount;
        return blankCount;
    }

    /// The open text, which lives as long as the arena. Without Finish the next Begin drops it.
    const WCHAR* Finish() {
        const std::size_t length = static_cast<std::size_t>(m_write - m_text);
        if (length == 0) return kEmpty.text;
        const std::uint32_t prefix = static_cast<std::uint32_t>(length * sizeof(WCHAR)) | kBorrowedTextMark;
        std::memcpy(m_free, &prefix, sizeof(prefix));
        *m_write = 0;
        // The next prefix starts at a multiple of its size.
        m_free = m_text + length / kPrefixUnits * kPrefixUnits + kPrefixUnits;
        return m_text;
    }

    /// Takes the text that was finished last back.
    void DropLast() { m_free = m_text - kPrefixUnits; }

    /// More than one block is in use.
    bool HasGrown() const { return m_blocks.size() > 1; }

    /// Drops all texts. The next ones use the last block again.
    void Reuse();

private:
    static constexpr std::size_t kPrefixUnits = sizeof(std::uint32_t) / sizeof(WCHAR);
    static constexpr std::size_t kSpareUnits = 2 * kPrefixUnits;

    // A BSTR literal.
    struct EmptyText {
        std::uint32_t prefix;
        WCHAR text[2];
    };
    static constexpr EmptyText kEmpty = {kBorrowedTextMark, {0, 0}};

    void MakeRoom(std::size_t unitCount);

    std::vector<std::unique_ptr<WCHAR[]>> m_blocks;
    std::size_t m_totalUnits = 0;  // of all blocks
    WCHAR m_noBlock[kSpareUnits] = {};
    WCHAR* m_free = m_noBlock;  // where the next text's prefix goes
    WCHAR* m_text = nullptr;    // the open text
    WCHAR* m_write = nullptr;   // its end
    WCHAR* m_end = m_noBlock;   // of the block, with spare units behind it; a terminator always fits before it
};

/// A name of elements and attributes.
struct XmlName {
    std::string_view bytes;  // UTF-8, zero-terminated
    const WCHAR* text;       // the same as BSTR
    std::uint32_t hash;
};

/// Every distinct name once, by number. A new name goes through the arena: no text may be open there.
class CXmlNames {
public:
    explicit CXmlNames(CTextArena& texts) : m_texts(texts) {}

    /// The number of a name given in well-formed UTF-8.
    std::uint32_t Intern(std::string_view name);

    XmlName& operator[](std::uint32_t number) { return m_names[number]; }
    const XmlName& operator[](std::uint32_t number) const { return m_names[number]; }

private:
    std::uint32_t Add(std::string_view name, std::uint32_t hash);
    void Rehash();

    CTextArena& m_texts;
    CSlabs<XmlName> m_names;
    std::vector<std::uint32_t> m_slots;  // numbers, open addressing, a power of two at most half full
    std::vector<std::unique_ptr<char[]>> m_blocks;
    char* m_free = nullptr;  // where the next name's bytes go
    std::size_t m_room = 0;  // bytes left there
};

using XmlNodeId = std::uint32_t;
inline constexpr XmlNodeId kNoXmlNode = 0xFFFFFFFF;
inline constexpr XmlNodeId kXmlDocumentNode = 0;

struct XmlElementData {
    std::uint32_t firstChild;  // in the table of children
    std::uint32_t childCount;
    std::uint32_t firstAttr;
    std::uint32_t attrCount;
};

/// One node. Elements and the document have `element`, all others `text`, a BSTR.
struct XmlNode {
    std::uint32_t typeAndName;  // see below
    union {
        XmlElementData element;
        const WCHAR* text;
    };

    static constexpr std::uint32_t kTypeMask = 0xF;
    static constexpr unsigned kNameShift = 4;
    static constexpr std::uint32_t kMostNames = 1u << (32 - kNameShift);

    DOMNodeType Type() const { return static_cast<DOMNodeType>(typeAndName & kTypeMask); }
    std::uint32_t Name() const { return typeAndName >> kNameShift; }
    bool HoldsChildren() const { return Type() == NODE_ELEMENT || Type() == NODE_DOCUMENT; }
};
static_assert(sizeof(XmlNode) == 24);

struct XmlAttr {
    const WCHAR* value;  // a BSTR
    std::uint32_t name;
};

class CXmlTree {
public:
    CXmlTree();
    CXmlTree(const CXmlTree&) = delete;
    CXmlTree& operator=(const CXmlTree&) = delete;

    const XmlNode& Node(XmlNodeId id) const { return m_nodes[id]; }
    XmlNodeId ChildId(const XmlNode& parent, std::uint32_t index) const {
        return m_children[parent.element.firstChild + index];
    }
    const XmlAttr& Attr(std::uint32_t number) const { return m_attrs[number]; }
    CXmlNames& Names() { return m_names; }
    const CXmlNames& Names() const { return m_names; }
    CTextArena& Texts() { return m_texts; }

    /// The document's element, or kNoXmlNode.
    XmlNodeId DocumentElement() const { return m_documentElement; }
    void SetDocumentElement(XmlNodeId id) { m_documentElement = id; }

    /// A new element without attributes and children, or a new node with a BSTR of the arena. It becomes its parent's
    /// child through SetChildren.
    XmlNodeId AddElement(std::uint32_t name);
    XmlNodeId AddTextNode(DOMNodeType type, std::uint32_t name, const WCHAR* text);

    /// Only while the element is the newest one.
    void AddAttr(XmlNodeId element, std::uint32_t name, const WCHAR* value);

    /// Gives a node its children, all of them at once.
    void SetChildren(XmlNodeId parent, const XmlNodeId* children, std::size_t count);

private:
    XmlNodeId AddNode(DOMNodeType type, std::uint32_t name);

    CSlabs<XmlNode> m_nodes;
    CSlabs<XmlAttr> m_attrs;
    std::vector<XmlNodeId> m_children;  // the children of each node, one run per node
    CTextArena m_texts;
    CXmlNames m_names{m_texts};
    XmlNodeId m_documentElement = kNoXmlNode;
};
