// The basics of UTF-16 texts.
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "platform/text.h"
#include "platform/text_compare.h"

namespace {

TEST(Text, LengthAgreesWithItsPortableTwinAtEveryAlignment) {
    constexpr std::size_t kMostUnits = 80;
    for (std::size_t start = 0; start < 16; ++start) {
        for (std::size_t length = 0; length < kMostUnits; ++length) {
            // Zeros in front of the text and behind its end must not count.
            const auto units = std::make_unique<WCHAR[]>(start + length + 2);
            for (std::size_t i = 0; i < length; ++i) units[start + i] = static_cast<WCHAR>(0x100 << i % 8);
            ASSERT_EQ(TextLength(&units[start]), length);
            ASSERT_EQ(TextLengthPortable(&units[start]), length);
            ASSERT_EQ(ViewOf(&units[start]).size(), length);
        }
    }
    EXPECT_TRUE(ViewOf(nullptr).empty());
}

TEST(Text, OrderAgreesWithItsPortableTwinAcrossPages) {
    // Two texts that end anywhere around a page's end, equal, cut short or different at any place.
    constexpr std::size_t kPageUnits = 4096 / sizeof(WCHAR);
    const auto a = std::make_unique<WCHAR[]>(2 * kPageUnits);
    const auto b = std::make_unique<WCHAR[]>(2 * kPageUnits);
    for (const std::size_t startA : {std::size_t{1}, kPageUnits - 20, kPageUnits - 7}) {
        for (const std::size_t startB : {std::size_t{0}, kPageUnits - 33, kPageUnits - 8}) {
            for (std::size_t length = 0; length < 40; ++length) {
                WCHAR* textA = &a[startA];
                WCHAR* textB = &b[startB];
                for (std::size_t i = 0; i <= length; ++i) {
                    textA[i] = textB[i] = i == length ? WCHAR(0) : static_cast<WCHAR>(0x8001 + i);
                }
                textA[length + 1] = 1;  // behind the end, nothing counts
                textB[length + 1] = 2;
                ASSERT_EQ(CompareTexts(textA, textB), 0);
                for (std::size_t i = 0; i < length; ++i) {
                    for (const WCHAR unit : {WCHAR(0), WCHAR(1), WCHAR(0xFFFF)}) {
                        const WCHAR former = std::exchange(textB[i], unit);
                        ASSERT_EQ(CompareTexts(textA, textB), CompareTextsPortable(textA, textB));
                        ASSERT_EQ(CompareTexts(textB, textA) < 0, unit != 0xFFFF);
                        textB[i] = former;
                    }
                }
            }
        }
    }
}

}  // namespace
