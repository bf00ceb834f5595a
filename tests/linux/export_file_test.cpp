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

// The bytes that a predicted tree must be saved as.
std::string Escaped(const Text& text, bool isAttr) {
    std::string escaped;
    for (const char c : TextToUtf8(text)) {
        switch (c) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '\r':
                escaped += "&#13;";
                break;
            case '"':
                escaped += isAttr ? "&quot;" : "\"";
                break;
            case '\n':
                escaped += isAttr ? "&#10;" : "\n";
                break;
            case '\t':
                escaped += isAttr ? "&#9;" : "\t";
                break;
            default:
                escaped += c;
        }
    }
    return escaped;
}

std::string Serialised(const SmallTree& tree) {
    const std::string text = TextToUtf8(tree.text);
    if (tree.type == 3) {
        return text.find_first_not_of(" \t\r\n") == std::string::npos ? text : Escaped(tree.text, false);
    }
    if (tree.type == 4) {
        std::string section = text;
        for (std::size_t i = 0; (i = section.find("]]>", i)) != std::string::npos; i += 3) {
            section.replace(i, 3, "]]]]><![CDATA[>");
            i += 11;
        }
        return "<![CDATA[" + section + "]]>";
    }
    std::string shown = "<" + text;
    for (const auto& [name, value] : tree.attrs) shown += " " + TextToUtf8(name) + "=\"" + Escaped(value, true) + "\"";
    if (tree.children.empty()) return shown + "/>";
    shown += ">";
    for (const SmallTree& child : tree.children) shown += Serialised(child);
    return shown + "</" + text + ">";
}

constexpr const char* kDeclaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n";

TEST(ExportFiles, EachCaseIsSavedAsItMustBe) {
    const CTestFolder folder;
    for (const ExportCase& row : ExportCases()) {
        SCOPED_TRACE(row.name);
        ASSERT_TRUE(ExportFile(row.tree, folder.Path("out.xml")));
        EXPECT_EQ(ReadText(folder.File("out.xml")), kDeclaration + row.file);
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
        ASSERT_EQ(file, kDeclaration + Serialised(predicted)) << Notation(tree);
        // Every child is asked for where something may be pending.
        const auto document = LoadTree(tree);
        const auto root = RootOf(*document.Get());
        ASSERT_TRUE(CKestC2XML().Export(folder.Path("slow.xml").c_str(), root.Get()));
        ASSERT_EQ(ReadText(folder.File("slow.xml")), file);
        ASSERT_EQ(ByLibxml2(file), Told(predicted)) << file;
    }
}

TEST(ExportFiles, NodesOfOtherTypesAreLeftOut) {
    // Element a with the children: unknown record, element a. The reader meets the same bytes for all that follows.
    const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    const unsigned char bytes[] = {1, 0,    0,    0,    2,    0, 0, 0, 'a', 0, 1, 0, 0, 0,
                                   0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0,   1, 0, 0, 0, 9};
    ASSERT_TRUE(document->LoadFromBuffer(bytes));
    const CTestFolder folder;
    ASSERT_TRUE(document->ExportToXml(folder.Path("out.xml").c_str()));
    EXPECT_EQ(ReadText(folder.File("out.xml")), kDeclaration + std::string("<a>\r\n</a>"));
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

// A document of one element per level.
CComRef<IBinDocument> Chain(std::size_t levels) {
    std::vector<unsigned char> bytes = {1, 0, 0, 0, 2, 0, 0, 0, 'a', 0};
    const unsigned char record[] = {1, 0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0, 1, 0, 0, 0};
    for (std::size_t i = 0; i < levels; ++i) bytes.insert(bytes.end(), std::begin(record), std::end(record));
    bytes[bytes.size() - 4] = 0;
    CComRef<IBinDocument> document = LoadTree(T({}));
    EXPECT_TRUE(document->LoadFromBuffer(bytes.data()));
    return document;
}

TEST(ExportFiles, DepthNeedsNoStackAndSharesItsIndentation) {
    const CTestFolder folder;
    constexpr std::size_t kLevels = 4000;
    ASSERT_TRUE(Chain(kLevels)->ExportToXml(folder.Path("deep.xml").c_str()));
    const std::string file = ReadText(folder.File("deep.xml"));
    // Each level but the first opens, and each but the last closes, on a line of its own with a tab per level.
    constexpr std::size_t kLines = 2 * (kLevels - 1);
    constexpr std::size_t kTabs = kLevels * (kLevels - 1) / 2 + (kLevels - 1) * (kLevels - 2) / 2;
    EXPECT_EQ(static_cast<std::size_t>(std::count(file.begin(), file.end(), '\n')), kLines + 1);
    EXPECT_EQ(static_cast<std::size_t>(std::count(file.begin(), file.end(), '\t')), kTabs);
    EXPECT_NE(file.find("<a/>"), std::string::npos);
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
