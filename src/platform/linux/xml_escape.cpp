#include "platform/linux/xml_escape.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace {

constexpr unsigned char kText = static_cast<unsigned char>(XmlPlace::kText);
constexpr unsigned char kAttr = static_cast<unsigned char>(XmlPlace::kAttr);

// What becomes of the characters up to U+007F.
struct Escape {
    char bytes[7] = {};
    unsigned char size = 0;    // 0: XML cannot hold the character
    unsigned char places = 0;  // where it is escaped, bits of XmlPlace
};

constexpr std::array<Escape, 0x80> kEscapes = [] {
    std::array<Escape, 0x80> escapes;
    for (Escape& escape : escapes) escape.size = 1;
    for (std::size_t i = 0; i < 0x20; ++i) escapes[i].size = i == '\t' || i == '\n' || i == '\r';
    const auto set = [&](char c, std::string_view bytes, unsigned char places) {
        Escape& escape = escapes[static_cast<std::size_t>(c)];
        for (std::size_t i = 0; i < bytes.size(); ++i) escape.bytes[i] = bytes[i];
        escape.size = static_cast<unsigned char>(bytes.size());
        escape.places = places;
    };
    set('&', "&amp;", kText | kAttr);
    set('<', "&lt;", kText | kAttr);
    set('>', "&gt;", kText | kAttr);
    set('"', "&quot;", kAttr);
    set('\r', "&#13;", kText | kAttr);
    set('\n', "&#10;", kAttr);
    set('\t', "&#9;", kAttr);
    return escapes;
}();

using UnitVector = std::uint16_t __attribute__((vector_size(16)));
using ByteVector = unsigned char __attribute__((vector_size(8)));
constexpr std::size_t kVectorUnits = sizeof(UnitVector) / sizeof(WCHAR);

// Eight units in one step where none is outside ASCII, a control character or escaped anywhere.
bool NarrowEight(const WCHAR* units, char* bytes) {
    UnitVector vector;
    std::memcpy(&vector, units, sizeof(vector));
    const auto odd =
        ((vector - 0x20) >= (0x80 - 0x20)) | (vector == '&') | (vector == '<') | (vector == '>') | (vector == '"');
    std::uint64_t halves[2];
    std::memcpy(halves, &odd, sizeof(halves));
    if ((halves[0] | halves[1]) != 0) return false;
    const ByteVector narrow = __builtin_convertvector(vector, ByteVector);
    std::memcpy(bytes, &narrow, sizeof(narrow));
    return true;
}

char Trail(std::uint32_t point) {
    return static_cast<char>(0x80 | (point & 0x3F));
}

constexpr bool TakesThreeBytes(std::uint32_t unit) {
    return unit >= 0x800 && (unit & 0xF800) != 0xD800 && unit < 0xFFFE;
}

// Texts stay in their script for a while, so each length has a loop of its own. One store of four bytes writes a
// character; there is room for more of it than counts.
const WCHAR* WriteTwoByteRun(const WCHAR* unit, const WCHAR* end, char*& bytes) {
    do {
        const std::uint32_t point = *unit++;
        const std::uint16_t encoded = static_cast<std::uint16_t>(0x80C0 | point >> 6 | (point & 0x3F) << 8);
        std::memcpy(bytes, &encoded, sizeof(encoded));
        bytes += 2;
    } while (unit != end && *unit >= 0x80 && *unit < 0x800);
    return unit;
}

const WCHAR* WriteThreeByteRun(const WCHAR* unit, const WCHAR* end, char*& bytes) {
    do {
        const std::uint32_t point = *unit++;
        const std::uint32_t encoded = 0x8080E0 | point >> 12 | (point << 2 & 0x3F00) | (point & 0x3F) << 16;
        std::memcpy(bytes, &encoded, sizeof(encoded));
        bytes += 3;
    } while (unit != end && TakesThreeBytes(*unit));
    return unit;
}

}  // namespace

char* EscapeXml(TextView text, XmlPlace place, char* bytes) {
    const unsigned char placeBit = static_cast<unsigned char>(place);
    const WCHAR* unit = text.data();
    const WCHAR* end = unit + text.size();
    bool isBehindEight = false;
    while (unit != end) {
        if (end - unit >= static_cast<std::ptrdiff_t>(kVectorUnits) && NarrowEight(unit, bytes)) {
            unit += kVectorUnits;
            bytes += kVectorUnits;
            isBehindEight = true;
            continue;
        }
        // The last few units in one step with some before them, which give the same bytes again: those, when the step
        // before was one of eight, were plain.
        const std::ptrdiff_t rest = end - unit;
        if (rest < static_cast<std::ptrdiff_t>(kVectorUnits) && isBehindEight &&
            NarrowEight(end - kVectorUnits, bytes + rest - kVectorUnits)) {
            return bytes + rest;
        }
        isBehindEight = false;
        // Up to where the next step of eight may fit again.
        const WCHAR* stop = end - unit > static_cast<std::ptrdiff_t>(kVectorUnits) ? unit + kVectorUnits : end;
        while (unit < stop) {
            const std::uint32_t first = *unit;
            if (first < 0x80) {
                const Escape& escape = kEscapes[first];
                if (escape.size == 0) return nullptr;
                if ((escape.places & placeBit) == 0) {
                    *bytes++ = static_cast<char>(first);
                } else {
                    std::memcpy(bytes, escape.bytes, kMostXmlBytesPerUnit);
                    bytes += escape.size;
                }
                ++unit;
            } else if (first < 0x800) {
                unit = WriteTwoByteRun(unit, end, bytes);
            } else if (TakesThreeBytes(first)) {
                unit = WriteThreeByteRun(unit, end, bytes);
            } else {
                const bool isPair = end - unit >= 2 && IsHighSurrogate(unit[0]) && IsLowSurrogate(unit[1]);
                if (!isPair) return nullptr;
                const std::uint32_t point = 0x10000 + ((first & 0x3FF) << 10) + (unit[1] & 0x3FFu);
                *bytes++ = static_cast<char>(0xF0 | point >> 18);
                *bytes++ = Trail(point >> 12);
                *bytes++ = Trail(point >> 6);
                *bytes++ = Trail(point);
                unit += 2;
            }
        }
    }
    return bytes;
}
