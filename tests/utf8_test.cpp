// UTF-8 in and out.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "platform/utf8.h"

namespace {

TEST(Utf8, EveryCodePointComesBackAndEverySurrogateIsReplaced) {
    for (char32_t point = 0; point <= 0x10FFFF; ++point) {
        std::string bytes;
        AppendUtf8(point, bytes);
        Text text;
        ASSERT_TRUE(Utf8ToText(bytes, text)) << std::hex << static_cast<std::uint32_t>(point);
        std::size_t unitCount = 0;
        const bool isSurrogate = point >= 0xD800 && point <= 0xDFFF;
        ASSERT_EQ(std::uint32_t{FirstPoint(text, unitCount)}, std::uint32_t{isSurrogate ? U'\uFFFD' : point});
        ASSERT_EQ(unitCount, text.size());
        ASSERT_EQ(TextToUtf8(text), bytes);
    }
}

TEST(Utf8, RefusesWhatIsNotWellFormed) {
    const struct {
        const char* name;
        std::string_view bytes;
    } cases[] = {
        {"continuation alone", "a\x80"},
        {"two bytes cut short", "\xC3"},
        {"three bytes cut short", "\xE4\xBD"},
        {"four bytes cut short", "\xF0\x9D\x84"},
        {"overlong, two bytes", "\xC1\xBF"},
        {"overlong, three bytes", "\xE0\x9F\xBF"},
        {"overlong, four bytes", "\xF0\x8F\xBF\xBF"},
        {"high surrogate", "\xED\xA0\x80"},
        {"low surrogate", "\xED\xBF\xBF"},
        {"past the last", "\xF4\x90\x80\x80"},
        {"five bytes", "\xF8\x88\x80\x80\x80"},
        {"letter inside", "\xE4\x41\xBD"},
        {"no byte at all", "\xFF"},
    };
    Text text;
    for (const auto& row : cases) EXPECT_FALSE(Utf8ToText(row.bytes, text)) << row.name;
}

}  // namespace
