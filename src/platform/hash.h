// Hash of bytes for tables in memory: sixteen bytes a product, folded multiplication (the high and the low half of a
// product both count), so that bytes which collide for one seed, but for a handful, do not for another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

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

/// The hash under a seed of the process's own.
std::uint32_t HashBytes(const void* bytes, std::size_t count);

// Lengths differ in no order that a processor could foresee, so there are few branches on them: what is left behind
// whole steps is read from the end, and may be read twice.
inline std::uint32_t HashBytes(const void* bytes, std::size_t count, std::uint64_t seed) {
    constexpr std::uint64_t kFirst = 0x9E3779B97F4A7C15;  // odd constants with evenly spread bits
    constexpr std::uint64_t kSecond = 0xC2B2AE3D27D4EB4F;
    constexpr std::size_t kStep = 2 * sizeof(std::uint64_t);
    const auto read = [](const unsigned char* from, auto word) -> std::uint64_t {
        std::memcpy(&word, from, sizeof(word));
        return word;
    };
    const auto mix = [&read](const unsigned char* from, std::uint64_t with, std::uint64_t state) {
        return FoldedProduct(read(from, std::uint64_t{}) ^ with,
                             read(from + sizeof(std::uint64_t), std::uint64_t{}) ^ state);
    };
    const std::uint64_t key = seed ^ kFirst;
    const std::uint64_t otherKey = seed ^ kSecond;
    const unsigned char* next = static_cast<const unsigned char*>(bytes);
    const unsigned char* const end = next + count;
    std::uint64_t state = seed ^ (count * kFirst);
    std::uint64_t other = state ^ kSecond;  // two products that do not wait for each other
    if (count >= kStep) {
        for (; end - next > std::ptrdiff_t{2 * kStep}; next += 2 * kStep) {
            state = mix(next, key, state);
            other = mix(next + kStep, otherKey, other);
        }
        state = mix(count > 2 * kStep ? end - 2 * kStep : next, key, state);
        other = mix(end - kStep, otherKey, other);
    } else if (count >= sizeof(std::uint64_t)) {
        state ^= read(next, std::uint64_t{});
        other ^= read(end - sizeof(std::uint64_t), std::uint64_t{});
    } else if (count >= sizeof(std::uint32_t)) {
        state ^= read(next, std::uint32_t{});
        other ^= read(end - sizeof(std::uint32_t), std::uint32_t{});
    } else if (count > 0) {
        state ^= next[0];
        other ^= std::uint64_t{next[count / 2]} << 8 | end[-1];
    }
    state = FoldedProduct(state, other);
    return static_cast<std::uint32_t>(state ^ (state >> 32));
}
