// Texts as bytes of XML: many units a step and one by one come to the same.
#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "platform/linux/xml_escape.h"

namespace {

using EscapeFunction = char* (*)(TextView, XmlPlace, char*);

// In front of the bytes, what became of the text.
std::string Escaped(EscapeFunction escape, TextView text, XmlPlace place) {
    std::vector<char> room(text.size() * kMostXmlBytesPerUnit + 1, '~');
    const char* end = escape(text, place, room.data());
    EXPECT_EQ(room.back(), '~') << "wrote past the room";
    return end ? "held: " + std::string(room.data(), static_cast<std::size_t>(end - room.data())) : "refused";
}

void ExpectBothSame(TextView text) {
    for (const XmlPlace place : {XmlPlace::kText, XmlPlace::kAttr, XmlPlace::kVerbatim}) {
        EXPECT_EQ(Escaped(EscapeXml, text, place), Escaped(EscapeXmlPortable, text, place))
            << "place " << static_cast<int>(place) << ", " << text.size() << " units";
    }
}

TEST(XmlEscape, EveryUnitAtEveryPlaceOfAStepBesideAnyOthers) {
    std::minstd_rand random(20);
    std::vector<unsigned> units = {0x7FF, 0x800, 0x8020, 0xD7FF, 0xD800, 0xDFFF, 0xE000, 0xFF26, 0xFFFD, 0xFFFE};
    while (units.size() < 0x180) units.push_back(static_cast<unsigned>(units.size()) - 10);
    const Text others[] = {WTEXT("abcdefghijklmnopqrstuvwxyz"), WTEXT("abc &<>\"\r\n\t"),
                           WTEXT("\u00e9\u044f\u07ff\u4e2d\u0e01\u20ac"), WTEXT("a\U0001F600")};
    for (std::size_t length = 1; length <= 34; ++length) {
        for (std::size_t position = 0; position < length; position += 1 + length / 12) {
            for (const unsigned unit : units) {
                const Text& kind = others[random() % std::size(others)];
                Text text;
                while (text.size() < length) text += kind[kind.size() == 3 ? text.size() % 3 : random() % kind.size()];
                text[position] = static_cast<WCHAR>(unit);
                ExpectBothSame(text);
            }
        }
    }
}

}  // namespace
