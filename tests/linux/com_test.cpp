// The texts of the small COM layer, own and borrowed ones; and the fast way from UTF-8 to UTF-16.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "platform/linux/xml_transcode.h"
#include "platform/linux/xml_tree.h"
#include "platform/utf8.h"

namespace {

Text TextOf(BSTR text) {
    return Text(text, SysStringLen(text));
}

TEST(Com, TextsKnowTheirLengthAndEnd) {
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    SysFreeString(nullptr);
    const Text withZero{u'a', 0, u'b'};
    BSTR text = SysAllocStringLen(withZero.data(), 3);
    EXPECT_EQ(TextOf(text), withZero);
    EXPECT_EQ(text[3], 0);
    EXPECT_TRUE(SysReAllocStringLen(&text, text + 1, 2));  // from itself
    EXPECT_EQ(TextOf(text), Text({0, u'b'}));
    for (const std::size_t length : {0u, 1u, 1000u, 3u}) {
        const Text filler(length, u'x');
        EXPECT_TRUE(SysReAllocStringLen(&text, filler.data(), static_cast<UINT>(length)));
        EXPECT_EQ(TextOf(text), filler);
        EXPECT_EQ(text[length], 0);
    }
    EXPECT_EQ(SysAllocStringLen(nullptr, 0xFFFFFFFF), nullptr);
    BSTR kept = text;
    EXPECT_FALSE(SysReAllocStringLen(&text, nullptr, 0xFFFFFFFF));
    EXPECT_EQ(text, kept);
    SysFreeString(text);
}

TEST(Com, BorrowedTextsAreLeftAlone) {
    CTextArena arena;
    std::vector<const WCHAR*> texts;
    for (std::size_t length = 0; length < 300; ++length) {
        arena.Begin();
        arena.Append(std::string(length, 'x').data(), length);
        texts.push_back(arena.Finish());
    }
    for (std::size_t length = 0; length < texts.size(); ++length) {
        BSTR text = const_cast<BSTR>(texts[length]);
        SysFreeString(text);
        EXPECT_EQ(TextOf(text), Text(length, u'x'));
        EXPECT_EQ(text[length], 0);
        BSTR own = text;
        EXPECT_TRUE(SysReAllocStringLen(&own, WTEXT("y"), 1));  // takes the place of a borrowed one
        EXPECT_NE(own, text);
        SysFreeString(own);
    }
}

TEST(XmlTranscode, WidensLikeItsSlowTwin) {
    std::mt19937 random(5);
    const char32_t points[] = {0x41, 0x7F, 0x80, 0x7FF, 0x800, 0x4E2D, 0xD7FF, 0xE000, 0xFFFD, 0x10000, 0x10FFFF};
    for (int round = 0; round < 20'000; ++round) {
        std::string bytes;
        const bool isMostlyAscii = random() % 2 == 0;
        for (std::size_t i = random() % 40; i > 0; --i) {
            AppendUtf8(isMostlyAscii && random() % 8 ? char32_t{'a'} : points[random() % std::size(points)], bytes);
        }
        Text expected;
        ASSERT_TRUE(Utf8ToText(bytes, expected));
        constexpr WCHAR kUntouched = 0x5555;
        Text units(bytes.size() + 1, kUntouched);
        const WCHAR* end = WidenUtf8(bytes.data(), bytes.size(), units.data());
        ASSERT_EQ(Text(units.c_str(), static_cast<std::size_t>(end - units.data())), expected) << bytes;
        ASSERT_EQ(units[bytes.size()], kUntouched) << bytes;
        ASSERT_EQ(Utf8ForDisplay(bytes.data(), bytes.size()), expected);
    }
    const std::string broken = "a\xC3(\xE4\xB8\xAD\xF0\x9D";
    EXPECT_EQ(TextToUtf8(Utf8ForDisplay(broken.data(), broken.size())), "a\uFFFD(中\uFFFD\uFFFD");
}

}  // namespace
