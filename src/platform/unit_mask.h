// Compares 64 units at once: the answer is a mask whose bit i stands for units[i].
//
// Every search through a long text runs on this. Where the processor has SSE2 it takes 16 units per step; elsewhere the
// portable twin gives the same bits, and a test compares the two.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include "platform/text.h"

inline constexpr std::size_t kMaskUnits = 64;

/// Bit i is set when (units[i] & care) == value. Reads exactly 64 units.
inline std::uint64_t MatchUnitsPortable(const WCHAR* units, WCHAR care, WCHAR value) {
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < kMaskUnits; ++i) mask |= std::uint64_t{(units[i] & care) == value} << i;
    return mask;
}

#ifdef __SSE2__

inline std::uint64_t MatchUnits(const WCHAR* units, WCHAR care, WCHAR value) {
    static_assert(sizeof(WCHAR) == 2);
    const __m128i careLanes = _mm_set1_epi16(static_cast<short>(care));
    const __m128i valueLanes = _mm_set1_epi16(static_cast<short>(value));
    const auto matchEight = [&](const WCHAR* eight) {
        const __m128i lanes = _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(eight)));
        return _mm_cmpeq_epi16(_mm_and_si128(lanes, careLanes), valueLanes);
    };
    std::uint64_t mask = 0;
    for (std::size_t i = 0; i < kMaskUnits; i += 16) {
        const __m128i matches = _mm_packs_epi16(matchEight(units + i), matchEight(units + i + 8));
        mask |= std::uint64_t{static_cast<unsigned>(_mm_movemask_epi8(matches))} << i;
    }
    return mask;
}

#else

inline std::uint64_t MatchUnits(const WCHAR* units, WCHAR care, WCHAR value) {
    return MatchUnitsPortable(units, care, value);
}

#endif

/// Bit i is set when units[i] is `unit`.
inline std::uint64_t EqualUnits(const WCHAR* units, WCHAR unit) {
    return MatchUnits(units, 0xFFFF, unit);
}

/// Index of the first unit that a mask other than 0 stands for.
inline std::size_t FirstInMask(std::uint64_t mask) {
    return static_cast<std::size_t>(std::countr_zero(mask));
}

/// Number of units that a mask stands for. std::popcount would be a call: the oldest processors of x86-64 have no
/// instruction for it.
inline std::size_t CountInMask(std::uint64_t mask) {
    mask -= mask >> 1 & 0x5555555555555555;
    mask = (mask & 0x3333333333333333) + (mask >> 2 & 0x3333333333333333);
    mask = (mask + (mask >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<std::size_t>(mask * 0x0101010101010101 >> 56);
}

/// Index of the last one.
inline std::size_t LastInMask(std::uint64_t mask) {
    return kMaskUnits - 1 - static_cast<std::size_t>(std::countl_zero(mask));
}

/// How many of `count` units are zero.
inline std::size_t CountZeroUnitsPortable(const WCHAR* units, std::size_t count) {
    std::size_t zeroCount = 0;
    for (std::size_t i = 0; i < count; ++i) zeroCount += units[i] == 0 ? 1 : 0;
    return zeroCount;
}

#ifdef __SSE2__

inline std::size_t CountZeroUnits(const WCHAR* units, std::size_t count) {
    constexpr std::size_t kLanes = 8;
    constexpr std::size_t kMostSteps = 0x7FFF;  // before a lane overflows
    std::size_t zeroCount = 0;
    while (count >= kLanes) {
        const std::size_t steps = count / kLanes < kMostSteps ? count / kLanes : kMostSteps;
        __m128i lanes = _mm_setzero_si128();
        for (std::size_t i = 0; i < steps; ++i, units += kLanes) {
            const __m128i eight = _mm_loadu_si128(static_cast<const __m128i*>(static_cast<const void*>(units)));
            lanes = _mm_sub_epi16(lanes, _mm_cmpeq_epi16(eight, _mm_setzero_si128()));
        }
        std::uint16_t sums[kLanes];
        _mm_storeu_si128(static_cast<__m128i*>(static_cast<void*>(sums)), lanes);
        for (const std::uint16_t sum : sums) zeroCount += sum;
        count -= steps * kLanes;
    }
    return zeroCount + CountZeroUnitsPortable(units, count);
}

#else

inline std::size_t CountZeroUnits(const WCHAR* units, std::size_t count) {
    return CountZeroUnitsPortable(units, count);
}

#endif
