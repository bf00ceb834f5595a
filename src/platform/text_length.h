// The length of a terminated text, which is asked for each text that crosses an interface.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

// Whole blocks are looked at, which an address sanitizer would take for reading past the end, and a thread sanitizer
// for reading what another thread has beside the text.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define PARVEL_IS_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define PARVEL_IS_SANITIZED 1
#endif
#endif
#if defined(__SSE2__) && !defined(PARVEL_IS_SANITIZED)
#define PARVEL_MEASURES_BLOCKS 1
#include <emmintrin.h>
#endif

#include "parvel/types.h"

/// Number of code units before the terminating zero; `text` must not be null.
inline std::size_t TextLengthPortable(const WCHAR* text) {
    std::size_t length = 0;
    while (text[length] != 0) ++length;
    return length;
}

#ifdef PARVEL_MEASURES_BLOCKS

/// The same, eight units a step. It looks at whole blocks of 16 bytes at multiples of 16, which never reach into a page
/// that the text does not reach into.
inline std::size_t TextLength(const WCHAR* text) {
    constexpr std::uintptr_t kBlockBytes = 16;
    const auto skippedBytes = static_cast<unsigned>(reinterpret_cast<std::uintptr_t>(text) % kBlockBytes);
    const auto* block = reinterpret_cast<const __m128i*>(reinterpret_cast<std::uintptr_t>(text) - skippedBytes);
    const auto zeroBytes = [](const __m128i* units) {
        return static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi16(_mm_load_si128(units), _mm_setzero_si128())));
    };
    if (const unsigned found = zeroBytes(block) >> skippedBytes) {
        return static_cast<std::size_t>(std::countr_zero(found)) / sizeof(WCHAR);
    }
    for (std::size_t done = (kBlockBytes - skippedBytes) / sizeof(WCHAR);; done += kBlockBytes / sizeof(WCHAR)) {
        if (const unsigned found = zeroBytes(++block)) {
            return done + static_cast<std::size_t>(std::countr_zero(found)) / sizeof(WCHAR);
        }
    }
}

#else

inline std::size_t TextLength(const WCHAR* text) {
    return TextLengthPortable(text);
}

#endif
