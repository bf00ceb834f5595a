// The basics of UTF-16 texts.
#include <gtest/gtest.h>

#include <memory>

#include "platform/text.h"

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

}  // namespace
