// The order of two terminated texts, which decides every search for an attribute.
#pragma once

#include "platform/text_length.h"

/// Orders two texts code unit by code unit, as unsigned numbers: below 0, 0 or above 0. Neither may be null.
inline int CompareTextsPortable(const WCHAR* a, const WCHAR* b) {
    while (*a != 0 && *a == *b) ++a, ++b;
    return static_cast<int>(static_cast<std::uint16_t>(*a)) - static_cast<int>(static_cast<std::uint16_t>(*b));
}

#ifdef PARVEL_MEASURES_BLOCKS

/// The same, eight units a step. A step reads 16 bytes of each text unless they reach into another page.
inline int CompareTexts(const WCHAR* a, const WCHAR* b) {
    constexpr std::uintptr_t kPageBytes = 4096;
    constexpr std::uintptr_t kBlockBytes = 16;
    constexpr std::size_t kBlockUnits = kBlockBytes / sizeof(WCHAR);
    const auto order = [](WCHAR unitA, WCHAR unitB) {
        return static_cast<int>(static_cast<std::uint16_t>(unitA)) - static_cast<std::uint16_t>(unitB);
    };
    const auto staysInPage = [](const WCHAR* text) {
        return reinterpret_cast<std::uintptr_t>(text) % kPageBytes <= kPageBytes - kBlockBytes;
    };
    const auto load = [](const WCHAR* text) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(text)); };
    for (;; a += kBlockUnits, b += kBlockUnits) {
        if (!staysInPage(a) || !staysInPage(b)) {
            for (std::size_t i = 0; i < kBlockUnits; ++i) {
                if (a[i] != b[i] || a[i] == 0) return order(a[i], b[i]);
            }
            continue;
        }
        const __m128i units = load(a);
        const __m128i same = _mm_cmpeq_epi16(units, load(b));
        const __m128i isZero = _mm_cmpeq_epi16(units, _mm_setzero_si128());
        // Bytes where the texts are the same and go on.
        const unsigned going = static_cast<unsigned>(_mm_movemask_epi8(_mm_andnot_si128(isZero, same)));
        if (going != 0xFFFF) {
            const unsigned i = static_cast<unsigned>(std::countr_one(going)) / sizeof(WCHAR);
            return order(a[i], b[i]);
        }
    }
}

#else

inline int CompareTexts(const WCHAR* a, const WCHAR* b) {
    return CompareTextsPortable(a, b);
}

#endif
