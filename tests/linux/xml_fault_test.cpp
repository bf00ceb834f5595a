// What people are told about an XML file that does not load: the reason, the place to the byte, the message box.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "convert/trans_xml2bin.h"
#include "dom_tree.h"
#include "platform/dialog.h"
#include "platform/utf8.h"
#include "xml/msxml_helper.h"

namespace {

std::vector<Text> g_shown;

class XmlFaults : public XmlTest {
protected:
    void SetUp() override {
        g_shown.clear();
        m_former = SetMessageBoxHandler([](const WCHAR* text) { g_shown.emplace_back(text); });
    }
    void TearDown() override {
        EXPECT_NE(SetMessageBoxHandler(m_former), nullptr);
        g_logLevel = 0;
    }

    XmlLoadFault FaultOf(const std::string& xml) const {
        XmlLoadFault fault;
        EXPECT_EQ(MSXMLHelper::LoadXmlDocument(Write(xml).c_str(), &fault), nullptr);
        return fault;
    }

private:
    TextHandler m_former = nullptr;
};

std::string Wide(const std::string& ascii, bool isBigEndian) {
    std::string wide;
    for (const char c : ascii) wide += isBigEndian ? std::string{'\0', c} : std::string{c, '\0'};
    return wide;
}

std::string Place(const XmlLoadFault& fault) {
    return std::to_string(fault.byteOffset) + " " + std::to_string(fault.line) + ":" + std::to_string(fault.column) +
           " " + TextToUtf8(fault.sourceLine);
}

TEST_F(XmlFaults, AreToldToTheByte) {
    const struct {
        std::string xml;
        const char* reason;  // a part of it
        const char* place;   // byte, line, column, the line itself
    } rows[] = {
        {"", "no element found", "0 1:1 "},
        {"<a>", "no element found; the element open here is <a>", "3 1:4 <a>"},
        {"<a>\n<b>\n</c></a>", "mismatched tag; the element open here is <b>", "10 3:3 </c></a>"},
        {"<a>\r\n<b>\r\n</c></a>", "mismatched tag", "12 3:3 </c></a>"},
        {"<a>\r<b>\r</c></a>", "mismatched tag", "10 3:3 </c></a>"},
        {"<a>\n\r\n\r\n</c>\n</a>", "mismatched tag", "10 4:3 </c>"},
        {"<a>é𠀀中</c>", "mismatched tag", "14 1:9 <a>é𠀀中</c>"},
        {"<a/>\n\n x", "junk after document element", "7 3:2  x"},
        {"<a b='1' b='2'/>", "duplicate attribute", "9 1:10 <a b='1' b='2'/>"},
        {"<a>&x;</a>", "undefined entity", "3 1:4 <a>&x;</a>"},
        {"<!DOCTYPE a [<!ENTITY e '<b>'>]>\n<a>&e;</a>", "asynchronous entity", "36 2:4 <a>&e;</a>"},
        {"<a>\xC3</a>", "not well-formed", "3 1:4 <a>\uFFFD</a>"},
        {"\xEF\xBB\xBF<a>\n é</b>", "mismatched tag", "12 2:5  é</b>"},
        {"\xFF\xFE" + Wide("<a>\n  <", false) + std::string("\x2D\x4E", 2) + Wide("></c>", false), "mismatched tag",
         "24 2:8   <中></c>"},
        {Wide("<a>\n</c>", true), "mismatched tag", "12 2:3 </c>"},
        {"<?xml version='1.0' encoding='gbk'?>\n<a>\xD6\xD0</c>", "mismatched tag", "44 2:7 <a>中</c>"},
        {"<?xml version='1.0' encoding='gb18030'?>\n<a>\x81\x39\xEE\x39\x95\x32\x82\x36</c>", "mismatched tag",
         "54 2:8 <a>㐀𠀀</c>"},
        // Bytes that mean nothing: the line is shown up to there.
        {"<?xml version='1.0' encoding='gbk'?>\n<a>\n\xD6\xD0\xFF\xFF</a>", "mean nothing in the encoding gbk",
         "43 3:2 中"},
        {"<?xml version='1.0' encoding='Shift_JIS'?>\n<a>\x85", "mean nothing in the encoding Shift_JIS", "46 2:4 <a>"},
        {"\xFE\xFF" + Wide("<a>", true) + std::string("\xD8\0\0x", 4), "mean nothing in the encoding UTF-16BE",
         "8 1:4 <a>"},
        {"<?xml version='1.0'\n encoding='EBCDIC-42'?><a/>", "the encoding \"EBCDIC-42\" is not known",
         "31 2:12  encoding='EBCDIC-42'?><a/>"},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", "the encoding is not \"UTF-16\", as the declaration says",
         "30 1:31 <?xml version='1.0' encoding='UTF-16'?><a/>"},
        {"\xFF\xFE" + Wide("<?xml version='1.0' encoding='Big5'?><a/>", false), "the encoding is not \"Big5\"",
         "62 1:31 <?xml version='1.0' encoding='Big5'?><a/>"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.xml);
        const XmlLoadFault fault = FaultOf(row.xml);
        EXPECT_EQ(Place(fault), row.place);
        EXPECT_NE(TextToUtf8(fault.reason).find(row.reason), std::string::npos) << TextToUtf8(fault.reason);
    }
    EXPECT_TRUE(g_shown.empty());
}

TEST_F(XmlFaults, TheBytePlaceIsExactInLargeFilesToo) {
    std::string xml = "<?xml version='1.0' encoding='gbk'?>\n<a>";
    for (int i = 0; i < 100'000; ++i) xml += "\xD6\xD0\xCE\xC4 text\r\n";
    EXPECT_EQ(Place(FaultOf(xml + "\xD6\xD0<b></a>")), std::to_string(xml.size() + 7) + " 100002:7 中<b></a>");
}

TEST_F(XmlFaults, AreShownAtLogLevel1AndMore) {
    const std::string expected = "Parser Error:\nfile:" + TextToUtf8(m_folder.Path("in.xml")) +
                                 "\nreason:mismatched tag; the element open here is <b>\nsrctext</a>"
                                 "\n,filepos:19\n,line:3\n,linepos:3\n";
    for (const int level : {-1, 0, 1, 7}) {
        g_logLevel = level;
        g_shown.clear();
        EXPECT_TRUE(Converted("<a>\n <b x='中'>\n</a>").empty());
        ASSERT_EQ(g_shown.size(), level < 1 ? 0u : 1u);
        EXPECT_EQ(level < 1 ? expected : TextToUtf8(g_shown[0]), expected);
    }
}

TEST_F(XmlFaults, FilesThatCannotBeReadAreShownWithoutAPlace) {
    g_logLevel = 1;
    Write("<a/>");
    std::filesystem::create_directory(m_folder.File("folder"));
    Text lone = m_folder.Path("in.xml");
    lone += WCHAR(0xDC00);
    for (const Text& path : {m_folder.Path("missing"), m_folder.Path("folder"), m_folder.Path("none/in.xml"), lone}) {
        g_shown.clear();
        EXPECT_FALSE(TransformXmlToBinary(path.c_str(), m_folder.Path("out").c_str()));
        ASSERT_EQ(g_shown.size(), 1u);
        EXPECT_EQ(g_shown[0],
                  WTEXT("Parser Error:\nfile:") + path +
                      WTEXT("\nreason:the file cannot be read\nsrctext\n,filepos:0\n,line:0\n,linepos:0\n"));
    }
    g_shown.clear();
    const Text in = m_folder.Path("in.xml"), out = m_folder.Path("out");
    for (const WCHAR* nothing : {static_cast<const WCHAR*>(nullptr), WTEXT("")}) {
        EXPECT_FALSE(TransformXmlToBinary(nothing, out.c_str()));
        EXPECT_FALSE(TransformXmlToBinary(in.c_str(), nothing));
    }
    EXPECT_EQ(MSXMLHelper::LoadXmlDocument(nullptr), nullptr);
    EXPECT_TRUE(g_shown.empty());
    EXPECT_FALSE(std::filesystem::exists(m_folder.File("out")));
}

TEST_F(XmlFaults, AFullDiskIsNotNoticed) {
    std::string xml = "<a>";
    for (int i = 0; i < 100'000; ++i) xml += "<b/>x" + std::to_string(i);
    for (const std::string& each : {std::string("<a/>"), xml + "</a>"}) {
        EXPECT_TRUE(TransformXmlToBinary(Write(each).c_str(), WTEXT("/dev/full")));
        EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    }
}

}  // namespace
