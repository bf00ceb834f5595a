// Between UTF-8 and UTF-16, as fast as the XML tree is read and written.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "platform/text.h"

/// True when eight bytes are all below 0x80.
inline bool AreEightAscii(const char* bytes) {
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof(word));
    return (word & 0x8080808080808080u) == 0;
}

/// Eight bytes to eight code units of the same values.
inline void WidenEight(const char* bytes, WCHAR* units) {
    using ByteVector = unsigned char __attribute__((vector_size(8)));
    using UnitVector = std::uint16_t __attribute__((vector_size(16)));
    ByteVector narrow;
    std::memcpy(&narrow, bytes, sizeof(narrow));
    const UnitVector wide = __builtin_convertvector(narrow, UnitVector);
    std::memcpy(units, &wide, sizeof(wide));
}

/// Converts the white space of XML that some bytes begin with, and gives how many that are. Most files are full of line
/// ends with a few spaces behind them.
inline std::size_t WidenBlanks(const char* bytes, std::size_t byteCount, WCHAR* units) {
    constexpr std::uint64_t kEightSpaces = 0x2020202020202020;
    const auto isBlank = [](char byte) { return byte == ' ' || byte == '\n' || byte == '\t' || byte == '\r'; };
    std::size_t done = 0;
    for (std::uint64_t word; byteCount - done >= sizeof(word); done += sizeof(word)) {
        std::memcpy(&word, bytes + done, sizeof(word));
        if (word != kEightSpaces) break;
        WidenEight(bytes + done, units + done);
    }
    for (; done < byteCount && isBlank(bytes[done]); ++done) units[done] = static_cast<WCHAR>(bytes[done]);
    return done;
}

/// Converts well-formed UTF-8. `units` has room for `byteCount` code units; gives the end of what was written.
WCHAR* WidenUtf8(const char* bytes, std::size_t byteCount, WCHAR* units);

/// Converts bytes of which nothing is known, for people to read: what is not UTF-8 becomes U+FFFD.
Text Utf8ForDisplay(const char* bytes, std::size_t byteCount);
