// What handles many units in a step agrees with its portable twin, unit by unit: texts of every length that a step can
// end in, at every place of a block, over ordinary, special and odd units.
#include <gtest/gtest.h>

#include <bit>
#include <memory>
#include <random>
#include <utility>

#include "platform/text.h"
#include "platform/text_compare.h"
#include "platform/unit_mask.h"

namespace {

std::mt19937 g_random(20);

// Units of one kind for a while, then of another: few letters of many are special, or all.
Text RandomUnits(std::size_t length) {
    Text text;
    for (std::size_t kind = 0; text.size() < length; kind = g_random() % 4) {
        for (auto run = g_random() % 24; run > 0 && text.size() < length; --run) {
            const unsigned any = static_cast<unsigned>(g_random());
            text += static_cast<WCHAR>(kind == 0   ? 'a' + any % 26
                                       : kind == 1 ? 0x20 + any % 0x60
                                       : kind == 2 ? 1 + any % 0xFFFF
                                                   : std::uint64_t{0x100} << any % 8);
        }
    }
    return text;
}

}  // namespace

TEST(Twins, LengthOfATextAtEveryAlignment) {
    for (std::size_t start = 0; start < 16; ++start) {
        for (std::size_t length = 0; length < 80; ++length) {
            // Zeros in front of the text and behind its end must not count.
            const auto units = std::make_unique<WCHAR[]>(start + length + 2);
            RandomUnits(length).copy(&units[start], length);
            ASSERT_EQ(TextLength(&units[start]), length);
            ASSERT_EQ(TextLengthPortable(&units[start]), length);
            ASSERT_EQ(ViewOf(&units[start]).size(), length);
        }
    }
    EXPECT_TRUE(ViewOf(nullptr).empty());
}

TEST(Twins, OrderOfTextsAcrossPages) {
    // Two texts that end anywhere around a page's end, equal, cut short or different at any place.
    constexpr std::size_t kPageUnits = 4096 / sizeof(WCHAR);
    const auto a = std::make_unique<WCHAR[]>(2 * kPageUnits);
    const auto b = std::make_unique<WCHAR[]>(2 * kPageUnits);
    for (const std::size_t startA : {std::size_t{1}, kPageUnits - 20, kPageUnits - 7}) {
        for (const std::size_t startB : {std::size_t{0}, kPageUnits - 33, kPageUnits - 8}) {
            for (std::size_t length = 0; length < 40; ++length) {
                const Text text = RandomUnits(length);
                for (WCHAR* place : {&a[startA], &b[startB]}) *std::copy(text.begin(), text.end(), place) = 0;
                a[startA + length + 1] = 1;  // behind the end, nothing counts
                b[startB + length + 1] = 2;
                ASSERT_EQ(CompareTexts(&a[startA], &b[startB]), 0);
                for (std::size_t i = 0; i < length; ++i) {
                    for (const WCHAR unit : {WCHAR(0), WCHAR(1), WCHAR(0xFFFF)}) {
                        const WCHAR former = std::exchange(b[startB + i], unit);
                        const int order = CompareTexts(&a[startA], &b[startB]);
                        ASSERT_EQ(order, CompareTextsPortable(&a[startA], &b[startB]));
                        ASSERT_EQ(order < 0, text[i] < unit);
                        b[startB + i] = former;
                    }
                }
            }
        }
    }
}

TEST(Twins, MaskOfUnits) {
    for (int i = 0; i < 10'000; ++i) {
        const Text units = RandomUnits(kMaskUnits);
        const auto care = static_cast<WCHAR>(g_random() % 2 ? 0xFFFF : g_random());
        const auto value = static_cast<WCHAR>(units[g_random() % units.size()] & care);
        const std::uint64_t mask = MatchUnits(units.data(), care, value);
        ASSERT_EQ(mask, MatchUnitsPortable(units.data(), care, value));
        ASSERT_EQ(CountInMask(mask), static_cast<std::size_t>(std::popcount(mask)));
        ASSERT_EQ(CountInMask(~mask), static_cast<std::size_t>(std::popcount(~mask)));
    }
}
