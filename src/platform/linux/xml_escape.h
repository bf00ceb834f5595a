// Texts as the bytes of an XML file: UTF-16 to UTF-8, with the escapes of the place where they stand.
#pragma once

#include <cstddef>

#include "platform/text.h"

enum class XmlPlace : unsigned char {
    kText = 1,      // & < > and carriage return are escaped
    kAttr = 2,      // " line feed and tab too
    kVerbatim = 4,  // nothing is: blank text, CDATA sections, processing instructions
};

inline constexpr std::size_t kMostXmlBytesPerUnit = 6;  // "&quot;"

/// Writes a text to `bytes`, which has room for kMostXmlBytesPerUnit bytes per unit. Gives the end of what was written;
/// null when XML cannot hold the text: for most control characters, U+FFFE and U+FFFF, lone surrogates.
char* EscapeXml(TextView text, XmlPlace place, char* bytes);

/// The same unit by unit, for comparison.
char* EscapeXmlPortable(TextView text, XmlPlace place, char* bytes);
