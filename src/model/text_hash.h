// Hash of a text for the word index: sixteen bytes a product, folded multiplication (the high and the low half of a
// product both count), so that texts which collide for one seed, but for a handful, do not for another.
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

/// A seed that nobody can know beforehand.
std::uint64_t RandomSeed() noexcept;

// With a good hash no run of taken slots, in a table that is a third empty, comes near this length; one that does was
// made on purpose, and the table is laid out anew under a seed that its maker cannot know, but not again and again.
inline constexpr std::size_t kSuspiciousRun = 256;
inline constexpr int kMostReseeds = 4;

inline std::uint64_t ReadFourUnits(const WCHAR* units) {
    std::uint64_t chunk;
    std::memcpy(&chunk, units, sizeof(chunk));
    return chunk;
}

// Lengths differ from text to text in no order that a processor could foresee, so there are few branches on them: what
// is left behind whole steps is read from the text's end, and may be read twice.
inline std::uint32_t HashText(TextView text, std::uint64_t seed) {
    constexpr std::uint64_t kFirst = 0x9E3779B97F4A7C15;  // odd constants with evenly spread bits
    constexpr std::uint64_t kSecond = 0xC2B2AE3D27D4EB4F;
    constexpr std::size_t kChunk = 4;  // code units in eight bytes
    constexpr std::size_t kStep = 2 * kChunk;
    const WCHAR* units = text.data();
    const std::size_t count = text.size();
    const std::uint64_t key = seed ^ kFirst;
    const std::uint64_t otherKey = seed ^ kSecond;
    const auto mix = [](const WCHAR* from, std::uint64_t with, std::uint64_t state) {
        return FoldedProduct(ReadFourUnits(from) ^ with, ReadFourUnits(from + kChunk) ^ state);
    };
    std::uint64_t state = seed ^ (count * kFirst);
    std::uint64_t other = state ^ kSecond;  // two products that do not wait for each other
    if (count >= kStep) {
        const WCHAR* const end = units + count;
        for (; end - units > std::ptrdiff_t{2 * kStep}; units += 2 * kStep) {
            state = mix(units, key, state);
            other = mix(units + kStep, otherKey, other);
        }
        state = mix(count > 2 * kStep ? end - 2 * kStep : units, key, state);
        other = mix(end - kStep, otherKey, other);
    } else if (count >= kChunk) {
        state ^= ReadFourUnits(units);
        other ^= ReadFourUnits(units + count - kChunk);
    } else if (count > 0) {
        state ^= units[0];
        other ^= std::uint64_t{units[count / 2]} << 16 | units[count - 1];
    }
    state = FoldedProduct(state, other);
    return static_cast<std::uint32_t>(state ^ (state >> 32));
}
