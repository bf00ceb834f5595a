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

class Convert : public XmlTest {
protected:
    ~Convert() override { g_lower = g_logLevel = 0; }

    bool ConvertTo(std::string_view xml, const char* out) const {
        return TransformXmlToBinary(Write(xml).c_str(), m_folder.Path(out).c_str());
    }
};

TEST_F(Convert, WordsAndRecordsFollowTheRules) {
    const struct {
        int lower;
        const char* xml;
        Bytes document;
    } rows[] = {
        {0, "<x>x</x>", CBytes().Words({u"x"}).Element(0, 1).TextNode(0)},
        {0, "<a><b>v</b><c>v</c></a>",
         CBytes().Words({u"a", u"b", u"v", u"c"}).Element(0, 2).Element(1, 1).TextNode(2).Element(3, 1).TextNode(2)},
        {0, "<a b=''/>", CBytes().Words({u"a", u"b", u""}).Element(0, 0, {1, 2})},
        {0, "<r b='2' a='1'>x<![CDATA[y]]><!--c--><s/></r>",
         CBytes()
             .Words({u"r", u"b", u"2", u"a", u"1", u"x", u"y", u"s"})
             .Element(0, 3, {3, 4, 1, 2})
             .TextNode(5)
             .TextNode(6, 4)
             .Element(7, 0)},
        {0, "<a><![CDATA[]]></a>", CBytes().Words({u"a", u""}).Element(0, 1).TextNode(1, 4)},
        {0, "<p:e xmlns:p='u'/>", CBytes().Words({u"p:e", u"xmlns:p", u"u"}).Element(0, 0, {1, 2})},
        {0, "<!--0--><?p 0?><!DOCTYPE a [<!ENTITY x SYSTEM 'x'>]><a><!--1-->&x;t<?q?></a><!--2-->",
         CBytes().Words({u"a", u"t"}).Element(0, 1).TextNode(1)},
        {0, "<Item Key='V' key='v'/>",
         CBytes().Words({u"Item", u"Key", u"V", u"key", u"v"}).Element(0, 0, {1, 2, 3, 4})},
        {1, "<Item Key='V'/>", CBytes().Words({u"item", u"key", u"V"}).Element(0, 0, {1, 2})},
        {-1, "<Item a='Item'/>", CBytes().Words({u"item", u"a", u"Item"}).Element(2, 0, {1, 2})},
        {1, "<r><Item/><Item/><x a='Item'/></r>",
         CBytes().Words({u"r", u"item", u"x", u"a"}).Element(0, 3).Element(1, 0).Element(1, 0).Element(2, 0, {3, 1})},
        {1, "<A>A<![CDATA[B]]></A>", CBytes().Words({u"a", u"A", u"B"}).Element(1, 2).TextNode(1).TextNode(2, 4)},
        {1, "<a C='1' c='2' B='3'/>",
         CBytes().Words({u"a", u"c", u"1", u"2", u"b", u"3"}).Element(0, 0, {4, 5, 1, 2, 1, 3})},
        // The letters A to Z fold, no others.
        {1, "<\xC3\x89 \xC3\x89='1'/>", CBytes().Words({u"\xC9", u"1"}).Element(0, 0, {0, 1})},
    };
    for (const auto& row : rows) {
        g_lower = row.lower;
        EXPECT_EQ(Converted(row.xml), row.document) << row.xml;
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

TEST_F(Convert, ExhaustedMemoryLosesNothingAndSaysNothing) {
    static int shownCount;
    shownCount = 0;
    const TextHandler former = SetMessageBoxHandler([](const WCHAR*) { ++shownCount; });
    g_logLevel = 1;
    std::string xml = "<?xml version='1.0' encoding='gbk'?><Root>";
    for (int i = 0; i < 300; ++i)
        xml += "<e" + std::to_string(i) + " A='" + std::to_string(i) + "'>text</e" + std::to_string(i) + ">";
    const Text in = Write(xml + "</Root>"), out = m_folder.Path("out");
    const Bytes kept(100, 'f');
    for (const int lower : {0, 1}) {
        g_lower = lower;
        bool isDone = false;
        WriteBytes(m_folder.File("out"), kept);
        for (int successes = 0; !isDone; ++successes) {
            {
                const CFailingNew failing(successes);
                isDone = TransformXmlToBinary(in.c_str(), out.c_str());
            }
            ASSERT_EQ(ReadBytes(m_folder.File("out")) == kept, !isDone) << successes;
            ASSERT_LT(successes, 10'000);
        }
        EXPECT_EQ(ReadBytes(m_folder.File("out")), Converted(xml + "</Root>"));
    }
    EXPECT_EQ(shownCount, 0);
    SetMessageBoxHandler(former);
}

}  // namespace
