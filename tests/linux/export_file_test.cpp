// The files that the export saves: byte for byte, as a parser that is not ours reads them, deep ones, and those that
// cannot be written.
#include <gtest/gtest.h>
#include <libxml/parser.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <string>

#include "dom_tree.h"
#include "export/kest_c2xml.h"
#include "export_trees.h"
#include "failing_new.h"
#include "model/document.h"
#include "platform/utf8.h"
#include "xml/msxml_helper.h"

namespace {

std::string TextOf(const xmlChar* bytes) {
    return bytes ? std::string(reinterpret_cast<const char*>(bytes)) : "";
}

std::string Told(xmlNode* node) {
    if (node->type != XML_ELEMENT_NODE) return TextOf(node->content);
    std::string told = "<" + TextOf(node->name);
    for (xmlAttr* attr = node->properties; attr; attr = attr->next) {
        xmlChar* const value = xmlNodeGetContent(reinterpret_cast<xmlNode*>(attr));
        told += " " + TextOf(attr->name) + "={" + TextOf(value) + "}";
        xmlFree(value);
    }
    told += ">";
    for (xmlNode* child = node->children; child; child = child->next) told += Told(child);
    return told + "</" + TextOf(node->name) + ">";
}

// All that a parser that is not ours tells of a file, in one text; texts are joined with the CDATA sections beside
// them.
std::string ByLibxml2(const std::string& file) {
    const xmlDocPtr document = xmlReadMemory(file.data(), static_cast<int>(file.size()), nullptr, nullptr,
                                             XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    if (!document) return "libxml2 refuses the file";
    const std::string told = Told(xmlDocGetRootElement(document));
    xmlFreeDoc(document);
    return told;
}

// The same of a predicted tree. What is written as it stands comes back with plain line feeds.
std::string Unix(std::string text) {
    for (std::size_t i = 0; (i = text.find("\r\n", i)) != std::string::npos;) text.erase(i, 1);
    std::replace(text.begin(), text.end(), '\r', '\n');
    return text;
}

std::string Told(const SmallTree& tree) {
    const std::string text = TextToUtf8(tree.text);
    if (!tree.IsElement()) {
        const bool isBlank = text.find_first_not_of(" \t\r\n") == std::string::npos;
        return isBlank || tree.type == 4 ? Unix(text) : text;
    }
    std::string told = "<" + text;
    for (const auto& [name, value] : tree.attrs) told += " " + TextToUtf8(name) + "={" + TextToUtf8(value) + "}";
    told += ">";
    for (const SmallTree& child : tree.children) told += Told(child);
    return told + "</" + text + ">";
}

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n";

TEST(ExportFiles, EachCaseIsSavedAsItMustBe) {
    const CTestFolder folder;
    for (const ExportCase& row : ExportCases()) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(ExportFile(row.tree, folder.Path("out.xml")));
        EXPECT_EQ(ReadText(folder.File("out.xml")), kDeclaration + row.file);
        if (row.file.empty()) continue;
        EXPECT_EQ(ByLibxml2(row.file), Told(Predicted(row.tree)));
    }
}

TEST(ExportFiles, RandomTreesFollowTheRulesAndAnotherParserReadsThem) {
    const CTestFolder folder;
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const SmallTree tree = RandomDocument(seed);
        const SmallTree predicted = Predicted(tree);
        ASSERT_TRUE(ExportFile(tree, folder.Path("out.xml")));
        const std::string file = ReadText(folder.File("out.xml"));
        // Every child is asked for where something may be pending.
        const auto document = LoadTree(tree);
        const auto root = RootOf(*document.Get());
        ASSERT_TRUE(CKestC2XML().Export(folder.Path("slow.xml").c_str(), root.Get()));
        ASSERT_EQ(ReadText(folder.File("slow.xml")), file);
        ASSERT_EQ(ByLibxml2(file), Told(predicted)) << Notation(tree) << file;
    }
}

TEST(ExportFiles, NodesOfOtherTypesAreLeftOut) {
    const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    const Bytes bytes = CBytes().Words({u"a"}).Element(0, 2).Raw({9});
    ASSERT_TRUE(document->LoadFromBuffer(bytes.data()));
    const CTestFolder folder;
    ASSERT_TRUE(document->ExportToXml(folder.Path("out.xml").c_str()));
    EXPECT_EQ(ReadText(folder.File("out.xml")), kDeclaration + std::string("<a>\r\n</a>"));
}

TEST(ExportFiles, OtherEncodingsAreNotSaved) {
    const CTestFolder folder;
    const auto document = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::CreateXmlDocument(WTEXT("GBK")));
    EXPECT_EQ(document->save(CVariant(TextView(folder.Path("out.xml"))).Get()), E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(folder.File("out.xml")));
}

TEST(ExportFiles, WhatIsModifiedIsRebuiltFirst) {
    const CTestFolder folder;
    const auto document = LoadTree(E(WTEXT("a"), {E(WTEXT("b"))}));
    const auto root = RootOf(*document.Get());
    CComRef<IBinNode> child;
    root->GetChild(0, child.Out());
    ASSERT_TRUE(root->SetAttribute(WTEXT("Zed"), WTEXT("1")) && root->SetAttribute(WTEXT("abc"), WTEXT("2")));
    ASSERT_TRUE(child->SetName(WTEXT("c")) && child->SetValue(WTEXT("x")));
    ASSERT_TRUE(document->ExportToXml(folder.Path("out.xml").c_str()));
    EXPECT_FALSE(document->IsModified());
    EXPECT_EQ(ReadText(folder.File("out.xml")),
              kDeclaration + std::string("<a abc=\"2\" zed=\"1\">\r\n\t<c>x</c>\r\n</a>"));
}

TEST(ExportFiles, WithoutMemoryAFileIsWellFormedOrNotThere) {
    const CTestFolder folder;
    SmallTree tree = E(WTEXT("root"));
    for (int i = 0; i < 300; ++i) {
        const Text name =
            Text(WTEXT("name")) + static_cast<WCHAR>('A' + i % 26) + Text(static_cast<std::size_t>(i / 26), WCHAR('x'));
        tree.children.push_back(E(name, {T(Text(400, WCHAR('t')))}, {{WTEXT("k"), WTEXT("v")}}));
    }
    const auto document = LoadTree(tree);
    ASSERT_TRUE(document->ExportToXml(folder.Path("whole.xml").c_str()));
    const std::string whole = ReadText(folder.File("whole.xml"));
    const Text part = folder.Path("part.xml");
    int refused = 0;
    bool hasFailed = true;
    for (int successes = 0; hasFailed; ++successes) {
        bool isDone = false;
        {
            const CFailingNew failing(successes);
            isDone = document->ExportToXml(part.c_str());
            hasFailed = failing.HasFailed();
        }
        if (!isDone) ++refused;
        ASSERT_EQ(std::filesystem::exists(folder.File("part.xml")), isDone) << successes;
        // A text that could not be copied has cut its element short, and nothing else.
        const std::string file = isDone ? ReadText(folder.File("part.xml")) : std::string();
        ASSERT_EQ(isDone ? ByLibxml2(file).substr(0, 6) : "<root>", "<root>") << successes;
        ASSERT_EQ(hasFailed ? whole : file, whole);
        std::filesystem::remove(folder.File("part.xml"));
    }
    EXPECT_GT(refused, 10);
}

TEST(ExportFiles, DepthNeedsNoStackAndSharesItsIndentation) {
    const CTestFolder folder;
    const auto exported = [&](std::size_t levels, SmallTree end) {
        for (; levels > 1; --levels) {
            SmallTree parent = E(WTEXT("a"));
            parent.children.push_back(std::move(end));
            end = std::move(parent);
        }
        EXPECT_TRUE(ExportFile(end, folder.Path("deep.xml")));
        return ReadText(folder.File("deep.xml"));
    };
    constexpr std::size_t kLevels = 4000;
    const std::string file = exported(kLevels, E(WTEXT("a")));
    // Each level but the first opens, and each but the last closes, on a line of its own with a tab per level.
    constexpr std::size_t kLines = 2 * (kLevels - 1);
    constexpr std::size_t kTabs = kLevels * (kLevels - 1) / 2 + (kLevels - 1) * (kLevels - 2) / 2;
    EXPECT_EQ(static_cast<std::size_t>(std::count(file.begin(), file.end(), '\n')), kLines + 1);
    EXPECT_EQ(static_cast<std::size_t>(std::count(file.begin(), file.end(), '\t')), kTabs);
    EXPECT_NE(file.find("<a/>"), std::string::npos);
    // A text takes the place of all that is below, and of its indentation.
    const SmallTree text = E(WTEXT("a"), {T(WTEXT("x"))});
    EXPECT_EQ(exported(100, E(WTEXT("a"), {text, E(WTEXT("b")), T(WTEXT("x"))})), exported(100, text));
}

TEST(ExportFiles, AFullDiskGivesFalseAndLeavesNoHalfFile) {
    const CTestFolder folder;
    SmallTree wide = E(WTEXT("a"));
    for (int i = 0; i < 30000; ++i) wide.children.push_back(E(WTEXT("child"), {T(WTEXT("text"))}));
    const auto document = LoadTree(wide);
    EXPECT_FALSE(document->ExportToXml(WTEXT("/dev/full")));
    EXPECT_TRUE(std::filesystem::exists("/dev/full"));
    EXPECT_TRUE(document->ExportToXml(WTEXT("/dev/null")));

    // A limit on the size of files is as good as a disk that gets full on the way.
    std::filesystem::create_symlink(folder.File("real.xml"), folder.File("link.xml"));
    rlimit limit = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
    const rlim_t former = limit.rlim_cur;
    const auto formerHandler = std::signal(SIGXFSZ, SIG_IGN);
    limit.rlim_cur = 600000;
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const bool isWritten = document->ExportToXml(folder.Path("part.xml").c_str());
    const bool isWrittenThroughLink = document->ExportToXml(folder.Path("link.xml").c_str());
    limit.rlim_cur = former;
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, formerHandler);
    EXPECT_FALSE(isWritten);
    EXPECT_FALSE(isWrittenThroughLink);
    EXPECT_FALSE(std::filesystem::exists(folder.File("part.xml")));
    EXPECT_FALSE(std::filesystem::exists(folder.File("real.xml")));
}

}  // namespace
