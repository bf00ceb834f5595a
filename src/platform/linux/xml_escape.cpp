#include "platform/linux/xml_escape.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <string_view>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

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

#ifdef __SSE2__

// A bit for each of sixteen units: it is in ASCII, no control character and escaped nowhere.
unsigned PlainUnits(__m128i units, __m128i moreUnits) {
    const auto arePlain = [](__m128i eight) {
        const auto all = [](int unit) { return _mm_set1_epi16(static_cast<short>(unit)); };
        const __m128i isInRange =
            _mm_cmpeq_epi16(_mm_subs_epu16(_mm_sub_epi16(eight, all(' ')), all(0x7F - ' ')), _mm_setzero_si128());
        // Two at a time, which differ by one bit.
        static_assert(('"' | 4) == '&' && ('<' | 2) == '>');
        const __m128i isEscaped = _mm_or_si128(_mm_cmpeq_epi16(_mm_or_si128(eight, all('&' - '"')), all('&')),
                                               _mm_cmpeq_epi16(_mm_or_si128(eight, all('>' - '<')), all('>')));
        return _mm_andnot_si128(isEscaped, isInRange);
    };
    return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(arePlain(units), arePlain(moreUnits))));
}

// Writes the units up to the first that is not plain, sixteen, eight or four in a step, and tells how many these are;
// of less than four there are none. May write more than counts, but not more than there is room for.
std::ptrdiff_t NarrowPlain(const WCHAR* units, std::ptrdiff_t count, char* bytes) {
    const __m128i none = _mm_setzero_si128();  // which is not plain, so that a step ends in front of it
    const auto eightAt = [units](std::ptrdiff_t i) {
        return _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(units + i)));
    };
    const auto narrowEight = [&](std::ptrdiff_t i) {
        const __m128i eight = eightAt(i);
        _mm_storel_epi64(static_cast<__m128i*>(static_cast<void*>(bytes + i)), _mm_packus_epi16(eight, none));
        return i + std::countr_one(PlainUnits(eight, none));
    };
    const auto narrowFour = [&](std::ptrdiff_t i) {
        const __m128i four = _mm_loadl_epi64(static_cast<const __m128i*>(static_cast<const void*>(units + i)));
        const int word = _mm_cvtsi128_si32(_mm_packus_epi16(four, none));
        std::memcpy(bytes + i, &word, sizeof(word));
        return i + std::countr_one(PlainUnits(four, none));
    };
    std::ptrdiff_t done = 0;
    for (; count - done >= 16; done += 16) {
        const __m128i low = eightAt(done);
        const __m128i high = eightAt(done + 8);
        _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(bytes + done)), _mm_packus_epi16(low, high));
        const unsigned others = PlainUnits(low, high) ^ 0xFFFF;
        if (others) return done + std::countr_zero(others);
    }
    const std::ptrdiff_t step = count >= 8 ? 8 : 4;
    if (count - done >= step) {
        const std::ptrdiff_t plain = step == 8 ? narrowEight(done) : narrowFour(done);
        if (plain < done + step) return plain;
        done = plain;
    }
    // The last units in a step with plain ones before them, which come out the same again.
    if (done == count || done == 0) return done;
    return step == 8 ? narrowEight(count - step) : narrowFour(count - step);
}

#else

std::ptrdiff_t NarrowPlain(const WCHAR*, std::ptrdiff_t, char*) {
    return 0;
}

#endif

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

// Writes one unit of ASCII, or a run of others. Gives the unit behind; null when XML cannot hold it.
const WCHAR* EscapeNext(const WCHAR* unit, const WCHAR* end, XmlPlace place, char*& bytes) {
    const std::uint32_t first = *unit;
    if (first < 0x80) {
        const Escape& escape = kEscapes[first];
        if (escape.size == 0) return nullptr;
        if ((escape.places & static_cast<unsigned char>(place)) == 0) {
            *bytes++ = static_cast<char>(first);
        } else {
            std::memcpy(bytes, escape.bytes, kMostXmlBytesPerUnit);
            bytes += escape.size;
        }
        return unit + 1;
    }
    if (first < 0x800) return WriteTwoByteRun(unit, end, bytes);
    if (TakesThreeBytes(first)) return WriteThreeByteRun(unit, end, bytes);
    const bool isPair = end - unit >= 2 && IsHighSurrogate(unit[0]) && IsLowSurrogate(unit[1]);
    if (!isPair) return nullptr;
    const std::uint32_t point = 0x10000 + ((first & 0x3FF) << 10) + (unit[1] & 0x3FFu);
    *bytes++ = static_cast<char>(0xF0 | point >> 18);
    *bytes++ = Trail(point >> 12);
    *bytes++ = Trail(point >> 6);
    *bytes++ = Trail(point);
    return unit + 2;
}

}  // namespace

char* EscapeXml(TextView text, XmlPlace place, char* bytes) {
    const WCHAR* unit = text.data();
    const WCHAR* end = unit + text.size();
    while (unit != end) {
        const std::ptrdiff_t plain = NarrowPlain(unit, end - unit, bytes);
        unit += plain;
        bytes += plain;
        if (unit == end) break;
        unit = EscapeNext(unit, end, place, bytes);
        if (!unit) return nullptr;
    }
    return bytes;
}

char* EscapeXmlPortable(TextView text, XmlPlace place, char* bytes) {
    const WCHAR* unit = text.data();
    const WCHAR* end = unit + text.size();
    while (unit != end) {
        unit = EscapeNext(unit, end, place, bytes);
        if (!unit) return nullptr;
    }
    return bytes;
}
