// What the bytes of an XML file are written in, and their conversion to UTF-8.
//
// A byte order mark decides, then the first four bytes (UTF-16 and UTF-32 without a mark), then the name in the XML
// declaration; without any of these it is UTF-8. A name may not contradict the width of the file's units, which is how
// files that were converted without changing the declaration give themselves away. Names go through a list of encodings
// that may occur in XML files, each with the iconv name that reads what such files hold in practice (a file that says
// gb2312 is read as CP936). Nothing is ever substituted: a byte sequence that means nothing is a fault at its place.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

/// A block of bytes. Its size is what is in use.
struct XmlBytes {
    std::unique_ptr<char[]> bytes;
    std::size_t size = 0;
};

struct XmlEncoding {
    enum class Kind {
        kUtf8,       // the bytes are taken as they are
        kConverted,  // through iconv
        kUnknown,    // the declaration names an encoding that is not on the list
        kOtherWidth  // the declaration names an encoding of other units than the file's
    };
    Kind kind = Kind::kUtf8;
    const char* iconvName = nullptr;  // for kConverted
    std::string declaredName;         // from the XML declaration, and its place
    std::size_t declaredOffset = 0;
};

/// How much of a file's start DetectXmlEncoding wants to see.
inline constexpr std::size_t kXmlEncodingHeadBytes = 1024;

XmlEncoding DetectXmlEncoding(const char* head, std::size_t byteCount);

/// The name in the XML declaration at the start of some UTF-8, a part of it: empty when there is none.
std::string_view DeclaredXmlEncoding(std::string_view utf8);

/// Whether a name is that of a known encoding whose units are bytes.
bool IsByteEncoding(std::string_view name);

enum class XmlConversion {
    kDone,
    kMeaningless,  // a sequence means nothing, or is cut short by the end
    kNoConverter   // the system has none for this encoding, or cannot open it now
};

/// Converts everything, a byte order mark too. When it stops at a sequence that means nothing, `utf8` holds what is in
/// front of it and `badOffset` is its place in `bytes`.
XmlConversion ConvertXmlToUtf8(const XmlEncoding& encoding, const char* bytes, std::size_t byteCount, XmlBytes& utf8,
                               std::size_t& badOffset);

/// The place in the source whose conversion starts at `utf8Offset` of the converted bytes.
std::size_t SourceOffsetOf(const XmlEncoding& encoding, const char* bytes, std::size_t byteCount,
                           std::size_t utf8Offset);
