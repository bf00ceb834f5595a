// Hash of a text for the word index: sixteen bytes a step, folded multiplication (the high and the low half of a
// product both count), so that texts which collide for one seed do not for another.
#pragma once

#include <cstdint>
#include <cstring>

#include "platform/text.h"

inline std::uint64_t FoldedProduct(std::uint64_t a, std::uint64_t b) {
#ifdef __SIZEOF_INT128__
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
    const std::uint64_t aLow = a & 0xFFFFFFFF, aHigh = a >> 32, bLow = b & 0xFFFFFFFF, bHigh = b >> 32;
    const std::uint64_t low = aLow * bLow, high = aHigh * bHigh;
    const std::uint64_t middle = aHigh * bLow + (low >> 32);
    const std::uint64_t middle2 = aLow * bHigh + (middle & 0xFFFFFFFF);
    return ((middle2 << 32) | (low & 0xFFFFFFFF)) ^ (high + (middle >> 32) + (middle2 >> 32));
#endif
}

// With a good hash no run of taken slots, in a table that is half empty, comes near this length; one that does was made
// on purpose, and the table is laid out anew under a seed that its maker cannot know, but not again and again.
inline constexpr std::size_t kSuspiciousRun = 256;
inline constexpr int kMostReseeds = 4;

template <class Chunk>
std::uint64_t ReadUnits(const WCHAR* units) {
    Chunk chunk;
    std::memcpy(&chunk, units, sizeof(chunk));
    return chunk;
}

inline std::uint32_t HashText(TextView text, std::uint64_t seed) {
    constexpr std::uint64_t kFirst = 0x9E3779B97F4A7C15;  // odd constants with evenly spread bits
    constexpr std::uint64_t kSecond = 0xC2B2AE3D27D4EB4F;
    constexpr std::size_t kChunk = 4;  // code units in eight bytes
    const WCHAR* units = text.data();
    std::size_t count = text.size();
    const std::uint64_t key = seed ^ kFirst;
    const std::uint64_t otherKey = seed ^ kSecond;
    std::uint64_t state = seed ^ (count * kFirst);
    if (count > 4 * kChunk) {  // two products that do not wait for each other
        std::uint64_t other = state ^ kSecond;
        for (; count > 4 * kChunk; units += 4 * kChunk, count -= 4 * kChunk) {
            const WCHAR* second = units + 2 * kChunk;
            state =
                FoldedProduct(ReadUnits<std::uint64_t>(units) ^ key, ReadUnits<std::uint64_t>(units + kChunk) ^ state);
            other = FoldedProduct(ReadUnits<std::uint64_t>(second) ^ otherKey,
                                  ReadUnits<std::uint64_t>(second + kChunk) ^ other);
        }
        state ^= other;
    }
    for (; count > 2 * kChunk; units += 2 * kChunk, count -= 2 * kChunk) {
        state = FoldedProduct(ReadUnits<std::uint64_t>(units) ^ key, ReadUnits<std::uint64_t>(units + kChunk) ^ state);
    }
    // The rest from both its ends, which may overlap.
    std::uint64_t first = 0, last = 0;
    if (count >= kChunk) {
        first = ReadUnits<std::uint64_t>(units);
        last = ReadUnits<std::uint64_t>(units + count - kChunk);
    } else if (count >= 2) {
        first = ReadUnits<std::uint32_t>(units);
        last = ReadUnits<std::uint32_t>(units + count - 2);
    } else if (count == 1) {
        first = ReadUnits<std::uint16_t>(units);
    }
    state = FoldedProduct(first ^ key, last ^ state ^ kSecond);
    return static_cast<std::uint32_t>(state ^ (state >> 32));
}
