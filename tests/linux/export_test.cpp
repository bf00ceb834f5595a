// XML export: what is written, and what is left of a document on the way to XML and back.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "convert/trans_xml2bin.h"
#include "dom_tree.h"
#include "export_trees.h"
#include "model/document.h"

namespace {

TEST(Export, RebuildsWhatIsModifiedFirst) {
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
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
              "<a abc=\"2\" zed=\"1\">\r\n\t<c>x</c>\r\n</a>");
}

// Where elements hold either elements or one text, nothing is lost on the way.
SmallTree RegularTree(Random& random, int depth) {
    SmallTree tree = E(Text(WTEXT("name")) + WCHAR('a' + Below(random, 5)));
    if (Below(random, 3) == 0) tree.attrs.emplace_back(WTEXT("key"), WTEXT("1\r\n\t<&\">'\U0001D11E"));
    if (depth < 5 && Below(random, 3) > 0) {
        for (std::size_t i = Below(random, 5); i > 0; --i) tree.children.push_back(RegularTree(random, depth + 1));
    } else if (Below(random, 4) > 0) {
        tree.children.push_back(T(WTEXT(" text\r\n&<>\u4E2D") + Text(Below(random, 40), WCHAR('x'))));
    }
    return tree;
}

TEST(Export, RegularDocumentsComeBackByteForByte) {
    const CTestFolder folder;
    for (unsigned seed = 1; seed <= 300; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        std::vector<unsigned char> bytes[2];
        for (const char* name : {"1.xml", "2.xml", "x.bdoc"}) std::filesystem::remove(folder.File(name));
        ASSERT_TRUE(ExportFile(RegularTree(random, 0), folder.Path("0.xml")));
        for (int round = 0; round < 2; ++round) {
            const Text xml = folder.Path(std::to_string(round) + ".xml");
            ASSERT_TRUE(TransformXmlToBinary(xml.c_str(), folder.Path("x.bdoc").c_str()));
            bytes[round] = ReadBytes(folder.File("x.bdoc"));
            const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
            ASSERT_TRUE(document->LoadFromFile(folder.Path("x.bdoc").c_str()));
            ASSERT_TRUE(document->ExportToXml(folder.Path(std::to_string(round + 1) + ".xml").c_str()));
        }
        ASSERT_EQ(bytes[0], bytes[1]);
        ASSERT_EQ(ReadText(folder.File("1.xml")), ReadText(folder.File("2.xml")));
    }
}

}  // namespace
