#include "platform/linux/xml_writer.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <vector>

#include "platform/file.h"

namespace {

// Which characters a place must escape: bits of kEscapes[].places.
enum Place : unsigned char {
    kInText = 1,
    kInBlankText = 2,
    kInAttr = 4,
    kInCData = 8,
};

struct Escape {
    std::string_view bytes;
    unsigned char places = 0;
};

constexpr std::array<Escape, 0x80> kEscapes = [] {
    std::array<Escape, 0x80> escapes;
    escapes['&'] = {"&amp;", kInText | kInAttr};
    escapes['<'] = {"&lt;", kInText | kInAttr};
    escapes['>'] = {"&gt;", kInText | kInAttr};
    escapes['"'] = {"&quot;", kInAttr};
    escapes['\r'] = {"&#13;", kInText | kInAttr};
    escapes['\n'] = {"&#10;", kInAttr};
    escapes['\t'] = {"&#9;", kInAttr};
    return escapes;
}();
constexpr std::size_t kMostBytesPerUnit = 6;  // "&quot;"; a unit of UTF-16 alone takes at most three

using UnitVector = std::uint16_t __attribute__((vector_size(16)));
using ByteVector = unsigned char __attribute__((vector_size(8)));
constexpr std::size_t kVectorUnits = sizeof(UnitVector) / sizeof(WCHAR);

// Eight units in one step where none is outside ASCII, a control character or escaped anywhere.
bool NarrowEight(const WCHAR* units, char* bytes) {
    UnitVector vector;
    std::memcpy(&vector, units, sizeof(vector));
    const auto odd = ((vector - 0x20) >= (0x80 - 0x20)) | (vector == '&') | (vector == '<') | (vector == '>') |
                     (vector == '"');
    std::uint64_t halves[2];
    std::memcpy(halves, &odd, sizeof(halves));
    if ((halves[0] | halves[1]) != 0) return false;
    const ByteVector narrow = __builtin_convertvector(vector, ByteVector);
    std::memcpy(bytes, &narrow, sizeof(narrow));
    return true;
}

bool IsBlank(TextView text) {
    return std::all_of(text.begin(), text.end(), [](WCHAR unit) {
        return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r';
    });
}

// Collects bytes in one large block on their way to the file.
class CXmlSink {
public:
    explicit CXmlSink(COutputFile& file)
        : m_file(file), m_block(std::make_unique_for_overwrite<char[]>(kBlockBytes)), m_next(m_block.get()) {}

    void Put(char byte) {
        if (Room() == 0) Flush();
        *m_next++ = byte;
    }

    void Put(std::string_view bytes) {
        if (Room() < bytes.size()) {
            Flush();
            if (Room() < bytes.size()) {
                m_file.Write(bytes.data(), bytes.size());
                return;
            }
        }
        std::memcpy(m_next, bytes.data(), bytes.size());
        m_next += bytes.size();
    }

    void PutText(TextView text, Place place);
    void PutTabs(std::size_t count);

    bool HasFailed() const { return m_file.HasFailed(); }

    void Flush() {
        m_file.Write(m_block.get(), static_cast<std::size_t>(m_next - m_block.get()));
        m_next = m_block.get();
    }

private:
    // Larger than the file's own buffer, which then passes it on without a copy.
    static constexpr std::size_t kBlockBytes = 512 * 1024;
    static constexpr std::size_t kMostUnitsAtOnce = kBlockBytes / kMostBytesPerUnit;

    std::size_t Room() const { return static_cast<std::size_t>(m_block.get() + kBlockBytes - m_next); }
    void PutPiece(TextView text, Place place);

    COutputFile& m_file;
    std::unique_ptr<char[]> m_block;
    char* m_next;
};

void CXmlSink::PutTabs(std::size_t count) {
    while (count > 0) {
        if (Room() == 0) Flush();
        const std::size_t piece = std::min(count, Room());
        std::memset(m_next, '\t', piece);
        m_next += piece;
        count -= piece;
    }
}

void CXmlSink::PutText(TextView text, Place place) {
    while (text.size() > kMostUnitsAtOnce) {
        std::size_t piece = kMostUnitsAtOnce;
        if (IsHighSurrogate(text[piece - 1])) --piece;
        PutPiece(text.substr(0, piece), place);
        text.remove_prefix(piece);
    }
    PutPiece(text, place);
}

void CXmlSink::PutPiece(TextView text, Place place) {
    if (Room() < text.size() * kMostBytesPerUnit) Flush();
    const WCHAR* unit = text.data();
    const WCHAR* end = unit + text.size();
    char* next = m_next;
    while (unit != end) {
        if (end - unit >= static_cast<std::ptrdiff_t>(kVectorUnits) && NarrowEight(unit, next)) {
            unit += kVectorUnits;
            next += kVectorUnits;
            continue;
        }
        // Up to where the next step of eight may fit again.
        const WCHAR* stop = end - unit > static_cast<std::ptrdiff_t>(kVectorUnits) ? unit + kVectorUnits : end;
        while (unit < stop) {
            const std::uint32_t first = *unit++;
            if (first < 0x80) {
                const Escape& escape = kEscapes[first];
                if ((escape.places & place) == 0) {
                    *next++ = static_cast<char>(first);
                } else {
                    std::memcpy(next, escape.bytes.data(), escape.bytes.size());
                    next += escape.bytes.size();
                }
            } else if (first < 0x800) {
                *next++ = static_cast<char>(0xC0 | first >> 6);
                *next++ = static_cast<char>(0x80 | (first & 0x3F));
            } else if (!IsHighSurrogate(static_cast<WCHAR>(first))) {
                *next++ = static_cast<char>(0xE0 | first >> 12);
                *next++ = static_cast<char>(0x80 | (first >> 6 & 0x3F));
                *next++ = static_cast<char>(0x80 | (first & 0x3F));
            } else {
                // The tree holds no lone surrogates.
                const std::uint32_t point = 0x10000 + ((first & 0x3FF) << 10) + (*unit++ & 0x3FFu);
                *next++ = static_cast<char>(0xF0 | point >> 18);
                *next++ = static_cast<char>(0x80 | (point >> 12 & 0x3F));
                *next++ = static_cast<char>(0x80 | (point >> 6 & 0x3F));
                *next++ = static_cast<char>(0x80 | (point & 0x3F));
            }
        }
    }
    m_next = next;
}

// Walks the tree with a stack of its own.
class CXmlWriter {
public:
    CXmlWriter(const CXmlTree& tree, CXmlSink& sink) : m_tree(tree), m_sink(sink) {}

    void WriteDocument();

private:
    struct Frame {
        const XmlNode* node;
        std::uint32_t nextChild;
    };

    std::string_view NameOf(const XmlNode& node) const { return m_tree.Names()[node.Name()].bytes; }
    void WriteLeaf(const XmlNode& node);
    void WriteCData(TextView text);
    void OpenElement(const XmlNode& node);

    const CXmlTree& m_tree;
    CXmlSink& m_sink;
    std::vector<Frame> m_frames;
};

TextView TextOf(const XmlNode& node) {
    return TextView(node.text.units, node.text.length);
}

bool IsDeclaration(const CXmlTree& tree, const XmlNode& node) {
    return node.Type() == NODE_PROCESSING_INSTRUCTION && tree.Names()[node.Name()].bytes == "xml";
}

void CXmlWriter::WriteDocument() {
    m_frames.push_back({&m_tree.Node(kXmlDocumentNode), 0});
    while (!m_frames.empty() && !m_sink.HasFailed()) {
        Frame& frame = m_frames.back();
        const XmlNode& parent = *frame.node;
        if (frame.nextChild == parent.element.childCount) {
            if (parent.Type() == NODE_ELEMENT) {
                m_sink.Put("</");
                m_sink.Put(NameOf(parent));
                m_sink.Put('>');
            }
            m_frames.pop_back();
            continue;
        }
        const XmlNode& child = m_tree.Node(m_tree.ChildId(parent, frame.nextChild++));
        if (child.Type() == NODE_ELEMENT) {
            OpenElement(child);
        } else {
            WriteLeaf(child);
        }
    }
}

void CXmlWriter::OpenElement(const XmlNode& node) {
    m_sink.Put('<');
    m_sink.Put(NameOf(node));
    const XmlElementData& element = node.element;
    for (std::uint32_t i = 0; i < element.attrCount; ++i) {
        const XmlAttr& attr = m_tree.Attr(element.firstAttr + i);
        m_sink.Put(' ');
        m_sink.Put(m_tree.Names()[attr.name].bytes);
        m_sink.Put("=\"");
        m_sink.PutText(TextView(attr.value, SysStringLen(const_cast<BSTR>(attr.value))), kInAttr);
        m_sink.Put('"');
    }
    if (element.childCount == 0) {
        m_sink.Put("/>");
        return;
    }
    m_sink.Put('>');
    m_frames.push_back({&node, 0});
}

void CXmlWriter::WriteLeaf(const XmlNode& node) {
    const TextView text = TextOf(node);
    switch (node.Type()) {
        case NODE_TEXT:
            if (node.text.isShared) {
                m_sink.Put("\r\n");
                m_sink.PutTabs(text.size() - kLineBreakUnits);
            } else {
                m_sink.PutText(text, IsBlank(text) ? kInBlankText : kInText);
            }
            break;
        case NODE_CDATA_SECTION:
            WriteCData(text);
            break;
        case NODE_PROCESSING_INSTRUCTION:
            m_sink.Put("<?");
            m_sink.Put(NameOf(node));
            if (!text.empty()) m_sink.Put(' ');
            m_sink.PutText(text, kInCData);
            m_sink.Put("?>");
            if (IsDeclaration(m_tree, node)) m_sink.Put("\r\n");
            break;
        default:
            break;
    }
}

void CXmlWriter::WriteCData(TextView text) {
    constexpr std::string_view kOpening = "<![CDATA[";
    constexpr std::string_view kClosing = "]]>";
    m_sink.Put(kOpening);
    // What would close the section is parted between its second and its third character.
    constexpr std::size_t kPartedUnits = 2;
    for (std::size_t end = text.find(WTEXT("]]>")); end != TextView::npos; end = text.find(WTEXT("]]>"))) {
        m_sink.PutText(text.substr(0, end + kPartedUnits), kInCData);
        m_sink.Put(kClosing);
        m_sink.Put(kOpening);
        text.remove_prefix(end + kPartedUnits);
    }
    m_sink.PutText(text, kInCData);
    m_sink.Put(kClosing);
}

// True unless the declaration names another encoding.
bool IsUtf8Declared(const CXmlTree& tree) {
    const XmlNode& document = tree.Node(kXmlDocumentNode);
    if (document.element.childCount == 0) return true;
    const XmlNode& first = tree.Node(tree.ChildId(document, 0));
    if (!IsDeclaration(tree, first)) return true;
    const Text data = FoldedCase(TextOf(first));
    return data.find(WTEXT("encoding=")) == Text::npos || data.find(WTEXT("encoding=\"utf-8\"")) != Text::npos ||
           data.find(WTEXT("encoding='utf-8'")) != Text::npos;
}

}  // namespace

bool WriteXmlFile(const WCHAR* path, const CXmlTree& tree) {
    if (!IsUtf8Declared(tree)) return false;
    COutputFile file;
    CXmlSink sink(file);
    if (!file.Open(path)) return false;
    CXmlWriter(tree, sink).WriteDocument();
    sink.Flush();
    if (file.Close()) return true;
    RemoveFile(path);
    return false;
}
