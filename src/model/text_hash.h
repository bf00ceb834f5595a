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

inline std::uint32_t HashText(TextView text, std::uint64_t seed) {
    constexpr std::uint64_t kFirst = 0x9E3779B97F4A7C15;  // odd constants with evenly spread bits
    constexpr std::uint64_t kSecond = 0xC2B2AE3D27D4EB4F;
    constexpr std::size_t kStep = 4;  // code units in eight bytes
    const WCHAR* units = text.data();
    std::size_t count = text.size();
    const auto eight = [&units](std::size_t from) {
        std::uint64_t bytes;
        std::memcpy(&bytes, units + from, sizeof(bytes));
        return bytes;
    };
    const std::uint64_t first = seed ^ kFirst;
    const std::uint64_t second = seed ^ kSecond;
    std::uint64_t state = seed ^ (count * kFirst);
    if (count > 4 * kStep) {  // two products that do not wait for each other
        std::uint64_t other = state ^ kSecond;
        for (; count > 4 * kStep; units += 4 * kStep, count -= 4 * kStep) {
            state = FoldedProduct(eight(0) ^ first, eight(kStep) ^ state);
            other = FoldedProduct(eight(2 * kStep) ^ second, eight(3 * kStep) ^ other);
        }
        state ^= other;
    }
    for (; count > 2 * kStep; units += 2 * kStep, count -= 2 * kStep) {
        state = FoldedProduct(eight(0) ^ first, eight(kStep) ^ state);
    }
    std::uint64_t low = 0, high = 0;
    if (count >= kStep) {
        low = eight(0);
        high = eight(count - kStep);  // overlapping, to take in the rest
    } else {
        for (std::size_t i = 0; i < count; ++i) low = (low << 16) | static_cast<std::uint16_t>(units[i]);
    }
    state = FoldedProduct(low ^ first, high ^ state ^ kSecond);
    return static_cast<std::uint32_t>(state ^ (state >> 32));
}
