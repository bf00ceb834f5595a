// XML to binary: worked examples byte by byte, folding, what happens to files and where memory runs out.
#include <gtest/gtest.h>

#include <string>

#include "convert/trans_xml2bin.h"
#include "dom_tree.h"
#include "failing_new.h"
#include "model/document.h"
#include "model/layout.h"
#include "platform/dialog.h"
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

TEST_F(Convert, WordsAndRecordsFollowTheRules) {
    const struct {
        int lower;
        const char* xml;
        const char* shown;
    } rows[] = {
        {0, "<x>x</x>", "x | e 0 -1 0 1 | t 0 "},
        {0, "<a><b>v</b><c>v</c></a>", "a b v c | e 0 -1 0 2 | e 1 -1 0 1 | t 2 | e 3 -1 0 1 | t 2 "},
        {0, "<a b=''/>", "a b  | e 0 -1 1 0 1 2 "},
        {0, "<r b='2' a='1'>x<![CDATA[y]]><!--c--><s/></r>",
         "r b 2 a 1 x y s | e 0 -1 2 3 3 4 1 2 | t 5 | c 6 | e 7 -1 0 0 "},
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
    // A thousand elements at a time: some DOMs count to a child from the first one on.
    std::string many;
    for (std::uint32_t i = 0; i < kMostWords - 1; ++i) {
        if (i % 1000 == 0) many += i == 0 ? "<a>" : "</a><a>";
        many += "<w" + std::to_string(i) + "/>";
    }
    const struct {
        const char* name;
        std::string xml;
        bool loads;
    } rows[] = {
        {"the longest word", "<a>" + longest + "</a>", true},
        {"one unit longer", "<a>" + longest + "x</a>", false},
        {"one word more", "<a>" + many + "</a><b/></a>", false},
    };
    for (const auto& row : rows) {
        ASSERT_TRUE(ConvertTo(row.xml, row.name)) << row.name;
        const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
        EXPECT_EQ(document->LoadFromFile(m_folder.Path(row.name).c_str()), row.loads) << row.name;
    }
}

TEST_F(Convert, ExhaustedMemoryFailsCleanlyAndSaysNothing) {
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
        EXPECT_EQ(ReadBytes(m_folder.File("out")), Converted(xml + "</Root>"));
    }
    EXPECT_EQ(shownCount, 0);
    SetMessageBoxHandler(former);
}

}  // namespace
