#include "platform/hash.h"

#include <chrono>
#include <exception>
#include <random>

std::uint64_t RandomSeed() noexcept {
    try {
        std::random_device random;
        const std::uint64_t high = random();
        return high << 32 | random();
    } catch (const std::exception&) {  // no source of them: at least what no file can foresee
        const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
        return FoldedProduct(static_cast<std::uint64_t>(now) ^ reinterpret_cast<std::uintptr_t>(&now),
                             0x9E3779B97F4A7C15);
    }
}

std::uint32_t HashBytes(const void* bytes, std::size_t count) {
    static const std::uint64_t seed = RandomSeed();
    return HashBytes(bytes, count, seed);
}
