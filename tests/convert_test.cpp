// XML to binary: worked examples byte by byte, folding, what happens to files, and random XML against the conversion
// rules told plainly.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

#include "convert/trans_xml2bin.h"
#include "dom_tree.h"
#include "failing_new.h"
#include "model/document.h"
#include "plain_model.h"
#include "platform/dialog.h"
#include "platform/utf8.h"
#include "xml/msxml_helper.h"

namespace {

using Bytes = std::vector<unsigned char>;

class Convert : public XmlTest {
protected:
    ~Convert() override { g_lower = g_logLevel = 0; }

    bool ConvertTo(std::string_view xml, const char* out) const {
        return TransformXmlToBinary(Write(xml).c_str(), m_folder.Path(out).c_str());
    }
};

std::string Hex(const Bytes& bytes) {
    std::string hex;
    for (const unsigned char byte : bytes) {
        constexpr char kDigits[] = "0123456789ABCDEF";
        hex += {kDigits[byte / 16], kDigits[byte % 16], ' '};
    }
    return hex;
}

// The words, then the records: kind, word indexes and counts in decimal.
std::string Shown(const Bytes& bytes) {
    std::string shown;
    std::size_t at = 0;
    const auto number = [&] {
        at += 4;
        return static_cast<std::int32_t>(bytes[at - 4] | bytes[at - 3] << 8 | bytes[at - 2] << 16 |
                                         static_cast<std::uint32_t>(bytes[at - 1]) << 24);
    };
    if (bytes.empty()) return "(refused)";
    for (std::int32_t words = number(); words > 0; --words) {
        const std::size_t end = static_cast<std::size_t>(number()) + at;
        for (; at < end; at += 2) shown += static_cast<char>(bytes[at]);
        shown += ' ';
    }
    while (at < bytes.size()) {
        const bool isElement = bytes[at++] == 1;
        shown += isElement ? "| e" : bytes[at - 1] == 3 ? "| t" : "| c";
        std::int32_t count = isElement ? 4 : 1;
        for (std::int32_t i = 0; i < count; ++i) {
            const std::int32_t value = number();
            if (isElement && i == 2) count += 2 * value;
            shown += ' ' + std::to_string(value);
        }
        shown += ' ';
    }
    return shown;
}

TEST_F(Convert, WorkedExamplesByteForByte) {
    EXPECT_EQ(Hex(Converted("<a/>")),
              "01 00 00 00 02 00 00 00 61 00 01 00 00 00 00 FF FF FF FF 00 00 00 00 00 00 00 00 ");
    EXPECT_EQ(Hex(Converted("<r b='2' a='1'>x<![CDATA[y]]><!--c--><s/></r>")),
              "08 00 00 00 02 00 00 00 72 00 02 00 00 00 62 00 02 00 00 00 32 00 02 00 00 00 61 00 02 00 00 00 31 00 "
              "02 00 00 00 78 00 02 00 00 00 79 00 02 00 00 00 73 00 "
              "01 00 00 00 00 FF FF FF FF 02 00 00 00 03 00 00 00 03 00 00 00 04 00 00 00 01 00 00 00 02 00 00 00 "
              "03 05 00 00 00 04 06 00 00 00 01 07 00 00 00 FF FF FF FF 00 00 00 00 00 00 00 00 ");
}

TEST_F(Convert, WordsAndRecordsFollowTheRules) {
    const struct {
        int lower;
        const char* xml;
        const char* shown;
    } rows[] = {
        {0, "<x>x</x>", "x | e 0 -1 0 1 | t 0 "},
        {0, "<a><b>v</b><c>v</c></a>", "a b v c | e 0 -1 0 2 | e 1 -1 0 1 | t 2 | e 3 -1 0 1 | t 2 "},
        {0, "<a b=''/>", "a b  | e 0 -1 1 0 1 2 "},
        {0, "<a><![CDATA[]]></a>", "a  | e 0 -1 0 1 | c 1 "},
        {0, "<p:e xmlns:p='u'/>", "p:e xmlns:p u | e 0 -1 1 0 1 2 "},
        {0, "<!--0--><?p 0?><!DOCTYPE a [<!ENTITY x SYSTEM 'x'>]><a><!--1-->&x;t<?q?></a><!--2-->",
         "a t | e 0 -1 0 1 | t 1 "},
        {0, "<Item Key='V' key='v'/>", "Item Key V key v | e 0 -1 2 0 1 2 3 4 "},
        {1, "<Item Key='V'/>", "item key V | e 0 -1 1 0 1 2 "},
        {-1, "<Item a='Item'/>", "item a Item | e 2 -1 1 0 1 2 "},
        {1, "<r><Item/><Item/><x a='Item'/></r>",
         "r item x a | e 0 -1 0 3 | e 1 -1 0 0 | e 1 -1 0 0 | e 2 -1 1 0 3 1 "},
        {1, "<A>A<![CDATA[B]]></A>", "a A B | e 1 -1 0 2 | t 1 | c 2 "},
        {1, "<a C='1' c='2' B='3'/>", "a c 1 2 b 3 | e 0 -1 3 0 4 5 1 2 1 3 "},
        {1, "<\xC3\x89 \xC3\x89='1'/>", "\xC9 1 | e 0 -1 1 0 0 1 "},  // the letters A to Z fold, no others
    };
    for (const auto& row : rows) {
        g_lower = row.lower;
        EXPECT_EQ(Shown(Converted(row.xml)), row.shown) << row.xml;
    }
}

TEST_F(Convert, OutputIsReplacedOnlyWhenTheXmlLoads) {
    const Bytes former(100'000, 'f');
    WriteBytes(m_folder.File("out"), former);
    EXPECT_FALSE(ConvertTo("<a>", "out"));
    EXPECT_EQ(ReadBytes(m_folder.File("out")), former);
    EXPECT_TRUE(ConvertTo("<a/>", "out"));
    EXPECT_EQ(ReadBytes(m_folder.File("out")).size(), 27u);
    EXPECT_TRUE(ConvertTo("<a/>", "in.xml"));  // over the XML itself
    EXPECT_EQ(ReadBytes(m_folder.File("in.xml")).size(), 27u);

    Text lone = m_folder.Path("x");
    lone += WCHAR(0xD800);
    const Text in = Write("<a/>");
    for (const Text& out : {m_folder.Path("none/out"), m_folder.Path(""), lone}) {
        EXPECT_FALSE(TransformXmlToBinary(in.c_str(), out.c_str()));
    }
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("x")));
}

TEST_F(Convert, WhatTheReaderRefusesIsWrittenAllTheSame) {
    const std::string longest(kMostWordBytes / 2, 'x');
    std::string many;
    for (std::uint32_t i = 0; i < kMostWords - 1; ++i) many += "<w" + std::to_string(i) + "/>";
    const struct {
        const char* name;
        std::string xml;
        bool loads;
    } rows[] = {
        {"the longest word", "<a>" + longest + "</a>", true},
        {"one unit longer", "<a>" + longest + "x</a>", false},
        {"one word more", "<a>" + many + "<a/><b/></a>", false},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(ConvertTo(row.xml, row.name)) << row.name;
        const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
        EXPECT_EQ(document->LoadFromFile(m_folder.Path(row.name).c_str()), row.loads) << row.name;
    }
}

// Random trees, the XML for them, and what the rules make of them.

using Random = std::mt19937;

SmallTree RandomXmlTree(Random& random, int depth) {
    static const Text names[] = {WTEXT("a"),   WTEXT("Item"), WTEXT("item"),  WTEXT("ITEM"),
                                 WTEXT("b:c"), WTEXT("B:c"),  WTEXT("xmlns"), WTEXT("\u4E2D\u00C9")};
    static const Text texts[] = {WTEXT("Item"),
                                 WTEXT("a"),
                                 WTEXT("1 < 2 & \"3\" > '4' ]]>"),
                                 WTEXT("\U0001D11E\r\n\tx"),
                                 WTEXT("item"),
                                 WTEXT("some longer text for the wide steps \u00E9 and more of it")};
    const auto any = [&random](const auto& list) { return list[random() % std::size(list)]; };
    SmallTree tree = E(any(names));
    for (std::size_t i = random() % 4; i > 0; --i) {
        const Text name = any(names);
        const bool isNew =
            std::none_of(tree.attrs.begin(), tree.attrs.end(), [&](const auto& a) { return a.first == name; });
        if (isNew) tree.attrs.emplace_back(name, random() % 4 ? any(texts) : Text());
    }
    for (std::size_t i = depth < 5 ? random() % 5 : 0; i > 0; --i) {
        const bool mayBeText = tree.children.empty() || tree.children.back().type != 3;
        switch (random() % 4) {
            case 0:
                tree.children.push_back(mayBeText ? T(any(texts)) : C(any(texts)));
                break;
            case 1:
                tree.children.push_back(C(random() % 3 ? Text(WTEXT("<&>")) : Text()));
                break;
            default:
                tree.children.push_back(RandomXmlTree(random, depth + 1));
                break;
        }
    }
    return tree;
}

std::string Escaped(Random& random, const Text& text) {
    std::string xml;
    for (const char c : TextToUtf8(text)) {
        const bool isAscii = static_cast<unsigned char>(c) < 0x80;
        const bool mustEscape = std::string_view("<&>\"'\r\n\t").find(c) != std::string_view::npos;
        xml += isAscii && (mustEscape || random() % 20 == 0) ? "&#" + std::to_string(c) + ";" : std::string(1, c);
    }
    return xml;
}

// Comments, processing instructions and white space where they do not count.
std::string Decoration(Random& random) {
    static const char* const decorations[] = {"", "", "", "<!-- <x> -->", "<?p d?>", " \n", "\t<!---->\r\n"};
    return decorations[random() % std::size(decorations)];
}

std::string XmlOf(Random& random, const SmallTree& tree) {
    if (tree.type == 3) return Escaped(random, tree.text);
    if (tree.type == 4) return "<![CDATA[" + TextToUtf8(tree.text.substr(0, tree.text.find(WTEXT("]]>")))) + "]]>";
    const std::string name = TextToUtf8(tree.text);
    std::string xml = "<" + name;
    for (const auto& [attr, value] : tree.attrs) {
        xml += (random() % 2 ? " " : "\n\t") + TextToUtf8(attr) + "=\"" + Escaped(random, value) + "\"";
    }
    if (tree.children.empty() && random() % 2) return xml + " />";
    xml += ">";
    for (std::size_t i = 0; i < tree.children.size(); ++i) {
        const bool touchesText = tree.children[i].type == 3 || (i > 0 && tree.children[i - 1].type == 3);
        xml += (touchesText ? "" : Decoration(random)) + XmlOf(random, tree.children[i]);
    }
    return xml + "</" + name + ">";
}

plain::Text Plain(const Text& text) {
    return plain::Text(text.begin(), text.end());
}

// A CDATA section ends at "]]>", and its line ends are line feeds.
plain::Text ContentOf(const SmallTree& tree) {
    plain::Text text = Plain(tree.text);
    if (tree.type != 4) return text;
    text = text.substr(0, text.find(u"]]>"));
    for (std::size_t at = 0; (at = text.find(u"\r\n", at)) != plain::Text::npos;) text.erase(at, 1);
    return text;
}

void Collect(const SmallTree& tree, plain::Dict& words) {
    if (!tree.IsElement()) {
        words.Add(ContentOf(tree));
        return;
    }
    words.Add(Plain(tree.text), true);
    for (const auto& [name, value] : tree.attrs) {
        words.Add(Plain(name), true);
        words.Add(Plain(value));
    }
    for (const SmallTree& child : tree.children) Collect(child, words);
}

void AddNumber(Bytes& bytes, std::size_t number) {
    for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(number >> shift));
}

void Emit(const SmallTree& tree, plain::Dict& words, Bytes& bytes) {
    bytes.push_back(static_cast<unsigned char>(tree.type));
    if (!tree.IsElement()) return AddNumber(bytes, words.Add(ContentOf(tree)));
    AddNumber(bytes, words.Add(Plain(tree.text), true));
    AddNumber(bytes, plain::kNoWord);
    AddNumber(bytes, tree.attrs.size());
    AddNumber(bytes, tree.children.size());
    std::vector<std::pair<std::uint32_t, std::uint32_t>> attrs;
    for (const auto& [name, value] : tree.attrs)
        attrs.emplace_back(words.Add(Plain(name), true), words.Add(Plain(value)));
    std::stable_sort(attrs.begin(), attrs.end(),
                     [&](const auto& a, const auto& b) { return words.Word(a.first) < words.Word(b.first); });
    for (const auto& [name, value] : attrs) AddNumber(bytes, name), AddNumber(bytes, value);
    for (const SmallTree& child : tree.children) Emit(child, words, bytes);
}

Bytes Predicted(const SmallTree& tree) {
    plain::Dict words;
    Collect(tree, words);
    Bytes bytes, records;
    AddNumber(bytes, words.words.size());
    for (const plain::Text& word : words.words) {
        AddNumber(bytes, word.size() * 2);
        for (const char16_t unit : word)
            bytes.insert(bytes.end(), {static_cast<unsigned char>(unit & 0xFF), static_cast<unsigned char>(unit >> 8)});
    }
    Emit(tree, words, records);
    bytes.insert(bytes.end(), records.begin(), records.end());
    return bytes;
}

TEST_F(Convert, RandomXmlFollowsTheRulesAndSavesTheSame) {
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        g_lower = seed % 2;
        const SmallTree tree = RandomXmlTree(random, 0);
        const std::string xml = Decoration(random) + XmlOf(random, tree) + Decoration(random);
        const Bytes bytes = Converted(xml);
        ASSERT_EQ(Hex(bytes), Hex(Predicted(tree))) << xml;

        const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
        ASSERT_TRUE(document->LoadFromBuffer(bytes.data()));
        std::filesystem::remove(m_folder.File("saved"));
        ASSERT_TRUE(document->SaveToFile(m_folder.Path("saved").c_str()));
        ASSERT_EQ(ReadBytes(m_folder.File("saved")), bytes) << xml;
    }
}

TEST_F(Convert, ExhaustedMemoryFailsCleanlyAndSaysNothing) {
    if (!CFailingNew::kWorks) GTEST_SKIP() << "the allocator belongs to a sanitizer";
    static int shownCount;
    shownCount = 0;
    const TextHandler former = SetMessageBoxHandler([](const WCHAR*) { ++shownCount; });
    g_logLevel = 1;
    std::string xml = "<?xml version='1.0' encoding='gbk'?><Root>";
    for (int i = 0; i < 300; ++i)
        xml += "<e" + std::to_string(i) + " A='" + std::to_string(i) + "'>text</e" + std::to_string(i) + ">";
    const Text in = Write(xml + "</Root>"), out = m_folder.Path("out");
    for (const int lower : {0, 1}) {
        g_lower = lower;
        bool isDone = false;
        for (int successes = 0; !isDone; ++successes) {
            std::filesystem::remove(m_folder.File("out"));
            {
                const CFailingNew failing(successes);
                isDone = TransformXmlToBinary(in.c_str(), out.c_str());
            }
            ASSERT_EQ(std::filesystem::exists(m_folder.File("out")), isDone) << successes;
            ASSERT_LT(successes, 10'000);
        }
        EXPECT_EQ(Hex(ReadBytes(m_folder.File("out"))), Hex(Converted(xml + "</Root>")));
    }
    EXPECT_EQ(shownCount, 0);
    SetMessageBoxHandler(former);
}

}  // namespace
