#include "platform/linux/xml_reader.h"

#include <expat.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <utility>

#include "platform/file.h"
#include "platform/linux/xml_builder.h"
#include "platform/linux/xml_encoding.h"

namespace {

// Up to here a file of UTF-8 is read straight into the parser's own buffer and parsed in one piece: each piece more
// costs the parser a pass to count lines, and another buffer a copy.
constexpr std::int64_t kMostBytesInOnePiece = std::int64_t{1} << 30;
// The parser takes at most 2 GiB at a time.
constexpr std::size_t kPieceBytes = std::size_t{512} << 20;

constexpr std::size_t kFirstReadBytes = 64 * 1024;

struct ParserDeleter {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ParserOwner = std::unique_ptr<XML_ParserStruct, ParserDeleter>;

Text TextOf(std::string_view utf8) {
    return Utf8ForDisplay(utf8.data(), utf8.size());
}

// Finds line and column of a place in UTF-8, and shows its line. A byte order mark is not counted.
void SetPlace(XmlFault& fault, std::string_view utf8, std::size_t offset) {
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (utf8.starts_with(kMark)) {
        utf8.remove_prefix(kMark.size());
        offset -= std::min(offset, kMark.size());
    }
    offset = std::min(offset, utf8.size());
    std::size_t lineStart = 0;
    fault.line = 1;
    for (std::size_t i = 0; i < offset; ++i) {
        const bool endsLine = utf8[i] == '\n' || (utf8[i] == '\r' && utf8.substr(i + 1, 1) != "\n");
        if (!endsLine) continue;
        ++fault.line;
        lineStart = i + 1;
    }
    fault.column = 1;
    for (std::size_t i = lineStart; i < offset; ++i) {
        if ((static_cast<unsigned char>(utf8[i]) & 0xC0) != 0x80) ++fault.column;
    }
    const std::size_t lineEnd = std::min(utf8.find_first_of("\r\n", offset), utf8.size());
    fault.sourceLine = TextOf(utf8.substr(lineStart, lineEnd - lineStart));
}

// One load, from the file's bytes to the nodes.
class CXmlReader {
public:
    CXmlReader(CXmlSink& sink, XmlFault& fault) : m_sink(sink), m_fault(fault) {}

    bool Read(const WCHAR* path);

private:
    bool ReadHead(CInputFile& file);
    bool ReadToEnd(CInputFile& file);
    bool ParseDirect(CInputFile& file, std::size_t size);
    bool ParseUtf8();
    bool ParseConverted();
    bool HasRightName();
    bool Finish(CXmlBuilder& builder, XML_Parser parser, bool isWhole, std::string_view utf8);
    bool FailUnreadable();
    bool FailEncoding(std::string_view utf8);

    CXmlSink& m_sink;
    XmlFault& m_fault;
    XmlEncoding m_encoding;
    char m_head[kXmlEncodingHeadBytes] = {};
    std::size_t m_headBytes = 0;
    XmlBytes m_source;  // the whole file, unless it is parsed where it is read
};

bool CXmlReader::Read(const WCHAR* path) {
    CInputFile file;
    if (!file.Open(path) || !ReadHead(file)) return FailUnreadable();
    m_encoding = DetectXmlEncoding(m_head, m_headBytes);
    if (m_encoding.kind == XmlEncoding::Kind::kUnknown || m_encoding.kind == XmlEncoding::Kind::kOtherWidth) {
        return FailEncoding(std::string_view(m_head, m_headBytes));
    }
    const std::int64_t size = file.Size();
    if (m_encoding.kind == XmlEncoding::Kind::kUtf8 && size > 0 && size <= kMostBytesInOnePiece) {
        return ParseDirect(file, std::max(static_cast<std::size_t>(size), m_headBytes));
    }
    if (!ReadToEnd(file)) return FailUnreadable();
    return m_encoding.kind == XmlEncoding::Kind::kUtf8 ? ParseUtf8() : ParseConverted();
}

bool CXmlReader::ReadHead(CInputFile& file) {
    const std::int64_t got = file.Read(m_head, sizeof(m_head));
    m_headBytes = got > 0 ? static_cast<std::size_t>(got) : 0;
    return got >= 0;
}

bool CXmlReader::ReadToEnd(CInputFile& file) {
    const std::int64_t size = file.Size();
    std::size_t capacity = std::max(kFirstReadBytes, static_cast<std::size_t>(size > 0 ? size + 1 : 0));
    m_source = {std::make_unique_for_overwrite<char[]>(capacity), m_headBytes};
    std::memcpy(m_source.bytes.get(), m_head, m_headBytes);
    // UTF-8 with a zero in it is no XML, whatever follows; what follows may be without end, as with a device.
    if (m_encoding.kind == XmlEncoding::Kind::kUtf8 && std::memchr(m_head, 0, m_headBytes)) return true;
    while (true) {
        const std::int64_t got = file.Read(m_source.bytes.get() + m_source.size, capacity - m_source.size);
        if (got < 0) return false;
        m_source.size += static_cast<std::size_t>(got);
        if (m_source.size < capacity) return true;
        XmlBytes larger = {std::make_unique_for_overwrite<char[]>(capacity * 2), m_source.size};
        std::memcpy(larger.bytes.get(), m_source.bytes.get(), m_source.size);
        m_source = std::move(larger);
        capacity *= 2;
    }
}

bool CXmlReader::ParseDirect(CInputFile& file, std::size_t size) {
    const ParserOwner parser(XML_ParserCreate("UTF-8"));
    char* bytes = parser ? static_cast<char*>(XML_GetBuffer(parser.get(), static_cast<int>(size))) : nullptr;
    if (!bytes) throw std::bad_alloc();
    std::memcpy(bytes, m_head, m_headBytes);
    const std::int64_t got = file.Read(bytes + m_headBytes, size - m_headBytes);
    if (got < 0) return FailUnreadable();
    size = m_headBytes + static_cast<std::size_t>(got);
    CXmlBuilder builder(m_sink, parser.get(), size);
    const bool isWhole = XML_ParseBuffer(parser.get(), static_cast<int>(size), XML_TRUE) == XML_STATUS_OK;
    return Finish(builder, parser.get(), isWhole, std::string_view(bytes, size));
}

bool CXmlReader::ParseUtf8() {
    const ParserOwner parser(XML_ParserCreate("UTF-8"));
    if (!parser) throw std::bad_alloc();
    const std::string_view utf8(m_source.bytes.get(), m_source.size);
    CXmlBuilder builder(m_sink, parser.get(), utf8.size());
    std::size_t done = 0;
    bool isWhole = true;
    do {
        const std::size_t piece = std::min(kPieceBytes, utf8.size() - done);
        const bool isLast = done + piece == utf8.size();
        isWhole = XML_Parse(parser.get(), utf8.data() + done, static_cast<int>(piece), isLast) == XML_STATUS_OK;
        done += piece;
    } while (isWhole && done < utf8.size());
    return Finish(builder, parser.get(), isWhole, utf8);
}

bool CXmlReader::ParseConverted() {
    const XmlBytes original = std::exchange(m_source, {});
    std::size_t badOffset = 0;
    const XmlConversion outcome =
        ConvertXmlToUtf8(m_encoding, original.bytes.get(), original.size, m_source, badOffset);
    if (outcome != XmlConversion::kDone) {
        const std::string name = m_encoding.declaredName.empty() ? m_encoding.iconvName : m_encoding.declaredName;
        if (outcome == XmlConversion::kNoConverter) {
            m_fault.reason = TextOf("this system cannot convert from the encoding " + name);
            return false;
        }
        SetPlace(m_fault, std::string_view(m_source.bytes.get(), m_source.size), m_source.size);
        m_fault.reason = TextOf("the bytes here mean nothing in the encoding " + name);
        m_fault.byteOffset = badOffset;
        return false;
    }
    if (HasRightName() ? ParseUtf8() : FailEncoding(std::string_view(m_source.bytes.get(), m_source.size))) return true;
    m_fault.byteOffset =
        SourceOffsetOf(m_encoding, original.bytes.get(), original.size, static_cast<std::size_t>(m_fault.byteOffset));
    return false;
}

bool CXmlReader::Finish(CXmlBuilder& builder, XML_Parser parser, bool isWhole, std::string_view utf8) {
    if (isWhole) {
        m_sink.Finish();
        return true;
    }
    const XML_Error code = XML_GetErrorCode(parser);
    if (builder.IsOutOfMemory() || code == XML_ERROR_NO_MEMORY) throw std::bad_alloc();

    std::string reason = builder.StopReason() ? builder.StopReason() : XML_ErrorString(code);
    const XmlName* open = builder.OpenElement();
    if (open && (code == XML_ERROR_TAG_MISMATCH || code == XML_ERROR_NO_ELEMENTS)) {
        reason += "; the element open here is <" + std::string(open->bytes) + ">";
    }
    m_fault.reason = TextOf(reason);
    const auto index = XML_GetCurrentByteIndex(parser);
    m_fault.byteOffset = index < 0 ? utf8.size() : static_cast<std::size_t>(index);
    SetPlace(m_fault, utf8, static_cast<std::size_t>(m_fault.byteOffset));
    return false;
}

bool CXmlReader::FailUnreadable() {
    m_fault.reason = WTEXT("the file cannot be read");
    return false;
}

// False for a file of wider units, known by its first bytes, that gives itself the name of an encoding of bytes.
bool CXmlReader::HasRightName() {
    if (!m_encoding.declaredName.empty()) return true;
    const std::string_view utf8(m_source.bytes.get(), m_source.size);
    const std::string_view name = DeclaredXmlEncoding(utf8);
    if (!IsByteEncoding(name)) return true;
    m_encoding.kind = XmlEncoding::Kind::kOtherWidth;
    m_encoding.declaredName = name;
    m_encoding.declaredOffset = static_cast<std::size_t>(name.data() - utf8.data());
    return false;
}

bool CXmlReader::FailEncoding(std::string_view utf8) {
    const std::string quoted = "\"" + m_encoding.declaredName + "\"";
    const bool isUnknown = m_encoding.kind == XmlEncoding::Kind::kUnknown;
    m_fault.reason = TextOf(isUnknown ? "the encoding " + quoted + " is not known"
                                      : "the encoding is not " + quoted + ", as the declaration says");
    m_fault.byteOffset = m_encoding.declaredOffset;
    SetPlace(m_fault, utf8, m_encoding.declaredOffset);
    return false;
}

}  // namespace

bool ReadXmlFile(const WCHAR* path, CXmlSink& sink, XmlFault& fault) {
    return CXmlReader(sink, fault).Read(path);
}
