#include "platform/linux/name_hash.h"

#include <cstring>
#include <random>

namespace {

constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;

std::uint64_t Mix(std::uint64_t a, std::uint64_t b) {
    __extension__ using Product = unsigned __int128;
    const Product product = static_cast<Product>(a) * b;
    return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

template <class Word>
std::uint64_t ReadWord(const char* bytes) {
    Word word;
    std::memcpy(&word, bytes, sizeof(word));
    return word;
}

// All of one to eight bytes in one word; two halves that overlap, and the length tells them apart.
std::uint64_t ReadLast(const char* bytes, std::size_t count) {
    if (count >= 4) return ReadWord<std::uint32_t>(bytes) << 32 | ReadWord<std::uint32_t>(bytes + count - 4);
    if (count >= 2) return ReadWord<std::uint16_t>(bytes) << 16 | ReadWord<std::uint16_t>(bytes + count - 2);
    return count == 0 ? 0 : ReadWord<std::uint8_t>(bytes);
}

}  // namespace

std::uint32_t HashNameBytes(const void* bytes, std::size_t byteCount) {
    static const std::uint64_t seed = [] {
        std::random_device random;
        return (std::uint64_t{random()} << 32 | random()) | 1;
    }();
    const char* next = static_cast<const char*>(bytes);
    std::size_t rest = byteCount;
    std::uint64_t state = seed ^ (byteCount * kSpread);
    for (; rest > sizeof(std::uint64_t); next += sizeof(std::uint64_t), rest -= sizeof(std::uint64_t)) {
        state = Mix(ReadWord<std::uint64_t>(next) ^ kSpread, state ^ seed);
    }
    state = Mix(ReadLast(next, rest) ^ kSpread, state ^ seed);
    return static_cast<std::uint32_t>(state ^ state >> 32);
}
