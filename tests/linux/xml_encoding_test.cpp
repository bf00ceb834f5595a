// Encodings: the same XML in each of them converts to the same document.
#include <gtest/gtest.h>

#include <string>

#include "dom_tree.h"
#include "platform/utf8.h"

namespace {

std::string Declaration(const std::string& name) {
    return name.empty() ? name : "<?xml version='1.0' encoding='" + name + "'?>";
}

std::string Document(const std::string& name, const std::string& text) {
    return Declaration(name) + "<r a='" + text + "'><b/>" + text + "</r>";
}

// Code units of two or four bytes.
struct Width {
    int bytes;
    bool isBigEndian;

    std::string Encoded(const std::string& utf8) const {
        Text text;
        EXPECT_TRUE(Utf8ToText(utf8, text));
        std::string encoded;
        std::size_t unitCount = 1;
        for (std::size_t i = 0; i < text.size(); i += unitCount) {
            encoded += Unit(bytes == 4 ? FirstPoint(TextView(text).substr(i), unitCount) : char32_t{text[i]});
        }
        return encoded;
    }
    std::string Unit(char32_t unit) const {
        std::string encoded;
        for (int i = 0; i < bytes; ++i) encoded += static_cast<char>(unit >> 8 * (isBigEndian ? bytes - 1 - i : i));
        return encoded;
    }
};

constexpr Width kWidths[] = {{2, false}, {2, true}, {4, false}, {4, true}};
const std::string kMark = "\xEF\xBB\xBF";

class XmlEncodings : public XmlTest {
protected:
    void ExpectSame(const std::string& xml, const std::string& utf8) const {
        const auto expected = Converted(utf8);
        ASSERT_FALSE(expected.empty());
        EXPECT_TRUE(Converted(xml) == expected);
    }
};

TEST_F(XmlEncodings, NamedOnesConvertToTheSameDocument) {
    const struct {
        const char* name;
        std::string utf8;
        std::string bytes;
    } rows[] = {
        {"gbk", "中文镕€", "\xD6\xD0\xCE\xC4\xE9\x46\x80"},
        {"GB2312", "中文镕", "\xD6\xD0\xCE\xC4\xE9\x46"},
        {"gb18030", "中文㐀𠀀", "\xD6\xD0\xCE\xC4\x81\x39\xEE\x39\x95\x32\x82\x36"},
        {"Big5", "中文", "\xA4\xA4\xA4\xE5"},
        {"Shift_JIS", "日本表ｱ①～", "\x93\xFA\x96\x7B\x95\x5C\xB1\x87\x40\x81\x60"},
        {"euc-jp", "日本", "\xC6\xFC\xCB\xDC"},
        {"iso-2022-jp", "日本", "\x1B$BF|K\\\x1B(B"},
        {"euc-kr", "한국똠", "\xC7\xD1\xB1\xB9\x8C\x63"},
        {"ks_c_5601-1987", "한국", "\xC7\xD1\xB1\xB9"},
        {"windows-1251", "Привет", "\xCF\xF0\xE8\xE2\xE5\xF2"},
        {"IBM866", "Привет", "\x8F\xE0\xA8\xA2\xA5\xE2"},
        {"x-mac-cyrillic", "Привет", "\x8F\xF0\xE8\xE2\xE5\xF2"},
        {"ibm855", "При", "\xDD\xE1\xB7"},
        {"koi8-r", "Привет", "\xF0\xD2\xC9\xD7\xC5\xD4"},
        {"windows-1250", "Č", "\xC8"},
        {"windows-1252", "€é", "\x80\xE9"},
        {"windows-1255", "\u05E4\u05BF", "\xF4\xCF"},  // a letter and its mark stay two
        {"windows-1258", "\u00E2\u0301", "\xE2\xEC"},
        {"ISO-8859-1", "é", "\xE9"},
        {"iso-8859-15", "€", "\xA4"},
        {"us-ascii", "e", "e"},
        {"UTF-8", "中é𠀀", "中é𠀀"},
        {"", "中é𠀀", "中é𠀀"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        ExpectSame(Document(row.name, row.bytes), Document("", row.utf8));
        std::string many, manyBytes;
        for (int i = 0; i < 30'000; ++i) many += row.utf8, manyBytes += row.bytes;
        ExpectSame(Document(row.name, manyBytes), Document("", many));
    }
    ExpectSame("<?xml version=\"1.0\" encoding = \"GBK\" standalone='yes'?><\xD6\xD0/>", "<中/>");
    ExpectSame("<?xml version='1.0' encoding=\n'Windows-1251'\t?><\xCF\xF0/>", "<Пр/>");
}

TEST_F(XmlEncodings, FirstBytesTellTheWidthAndAByteOrderMarkBeatsTheName) {
    const std::string text = "中é𠀀";
    const std::string plain = Document("", text);
    ExpectSame(kMark + plain, plain);
    for (const char* name : {"utf-8", "gbk", "no-such-encoding", "utf-16"}) {
        ExpectSame(kMark + Document(name, text), plain);
    }
    for (const Width& width : kWidths) {
        SCOPED_TRACE(std::to_string(width.bytes) + (width.isBigEndian ? "BE" : "LE"));
        for (const char* name : {"", "utf-16", "UTF-16LE", "utf-32", "no-such-encoding"}) {
            ExpectSame(width.Encoded(Document(name, text)), plain);
            ExpectSame(width.Encoded(kMark + Document(name, text)), plain);
        }
    }
}

TEST_F(XmlEncodings, WhatDoesNotFitIsRefused) {
    const struct {
        const char* name;
        std::string xml;
    } rows[] = {
        {"an unknown name of few letters", Document("x", "x")},
        {"GBK that is UTF-8", Document("gbk", "\xE4\xB8\xAD")},
        {"ASCII that is Latin-1", Document("us-ascii", "\xE9")},
        {"two marks", kMark + kMark + "<a/>"},
        {"half a character at the end", Document("gbk", "x") + "\xD6"},
        {"a byte that has no character", Document("windows-1252", "\x81")},
        {"a surrogate in UTF-8", "<a>\xED\xA0\x80</a>"},
        {"U+FFFE", "<a>\xEF\xBF\xBE</a>"},
        {"a letter behind the end", "<?xml version='1.0' encoding='windows-1255'?><a/>\xE0"},
    };
    for (const auto& row : rows) EXPECT_TRUE(Converted(row.xml).empty()) << row.name;  // more in the table of faults
    for (const Width& width : kWidths) {
        SCOPED_TRACE(std::to_string(width.bytes) + (width.isBigEndian ? "BE" : "LE"));
        EXPECT_TRUE(Converted(width.Encoded(kMark + kMark + "<a/>")).empty());
        EXPECT_TRUE(Converted(width.Encoded(Document("gbk", "x"))).empty());
        EXPECT_TRUE(Converted(width.Encoded(kMark + Document("UTF-8", "x"))).empty());
        EXPECT_TRUE(Converted(width.Encoded("<a>x</a>") + "\n").empty());
        for (const char32_t lone : {0xD800, 0xDFFF, 0xFFFE}) {
            EXPECT_TRUE(Converted(width.Encoded("<a>x") + width.Unit(lone) + width.Encoded("y</a>")).empty());
        }
    }
}

}  // namespace
