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

constexpr XmlPlace kPlaces[] = {XmlPlace::kText, XmlPlace::kAttr, XmlPlace::kVerbatim};

void ExpectBothSame(TextView text) {
    for (const XmlPlace place : kPlaces) {
        EXPECT_EQ(Escaped(EscapeXml, text, place), Escaped(EscapeXmlPortable, text, place))
            << "place " << static_cast<int>(place) << ", " << text.size() << " units";
    }
}

TEST(XmlEscape, EveryUnitAtEveryPlaceOfAStep) {
    for (std::size_t length = 1; length <= 34; ++length) {
        for (std::size_t position = 0; position < length; position += 1 + length / 12) {
            Text text(length, WCHAR('a'));
            for (unsigned unit = 0; unit < 0x180; ++unit) {
                text[position] = static_cast<WCHAR>(unit);
                ExpectBothSame(text);
            }
            for (const int unit : {0x7FF, 0x800, 0x8020, 0xD7FF, 0xD800, 0xDFFF, 0xE000, 0xFF26, 0xFFFD, 0xFFFE}) {
                text[position] = static_cast<WCHAR>(unit);
                ExpectBothSame(text);
            }
        }
    }
}

TEST(XmlEscape, RandomTexts) {
    std::minstd_rand engine(20);
    const auto random = [&] { return static_cast<unsigned>(engine()); };
    const Text kinds[] = {WTEXT("abc xyz 0189"), WTEXT("&<>\"\r\n\t"), WTEXT("\u00e9\u044f\u07ff"),
                          WTEXT("\u4e2d\u0e01\u20ac"), WTEXT("\U0001F600")};
    for (int round = 0; round < 5000; ++round) {
        Text text;
        for (unsigned run = random() % 6; run > 0; --run) {
            const Text& kind = kinds[random() % 5];
            for (unsigned count = random() % 20; count > 0; --count) {
                text += kind.size() == 2 ? kind : Text(1, kind[random() % kind.size()]);
            }
        }
        ExpectBothSame(text);
    }
}

}  // namespace
