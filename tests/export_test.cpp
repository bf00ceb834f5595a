// XML export: the DOM that is built for a tree, and what the file must hold, case by case; random trees against the
// rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "convert/trans_xml2bin.h"
#include "dom_tree.h"
#include "export/kest_c2xml.h"
#include "export_trees.h"
#include "model/document.h"
#include "xml/msxml_helper.h"

namespace {

// The DOM that the exporter builds; "(none)" when there is no document element.
std::string BuiltDom(const SmallTree& tree) {
    const auto document = LoadTree(tree);
    const auto made = CComRef<IXMLDOMDocument>::Adopt(MSXMLHelper::CreateXmlDocument(WTEXT("utf-8")));
    void* asked = nullptr;
    CheckCom(made->QueryInterface(IID_IXMLDOMDocument2, &asked));
    const auto dom = CComRef<IXMLDOMDocument2>::Adopt(static_cast<IXMLDOMDocument2*>(asked));
    CKestC2XML().BuildElement(dom.Get(), nullptr, RootOf(*document.Get()).Get(), 0);
    CComRef<IXMLDOMElement> root;
    dom->get_documentElement(root.Out());
    return root ? Notation(ReadDom(*root.Get())) : "(none)";
}

struct GoldenCase {
    const char* name;
    SmallTree tree;
    std::string dom;
    std::string file;  // behind the declaration
};

const Text kX = WTEXT("x");

std::vector<GoldenCase> GoldenCases() {
    const Text a = WTEXT("a"), b = WTEXT("b"), c = WTEXT("c"), s = WTEXT("script");
    return {
        {"a root that is a text", T(kX), "(none)", ""},
        {"a root with nothing", E(a), "<a></a>", "<a/>"},
        {"elements only", E(a, {E(b, {E(c)}), E(b)}),
         R"(<a>'\r\n\t'<b>'\r\n\t\t'<c></c>'\r\n\t'</b>'\r\n\t'<b></b>'\r\n'</a>)",
         "<a>\r\n\t<b>\r\n\t\t<c/>\r\n\t</b>\r\n\t<b/>\r\n</a>"},
        {"one text", E(a, {E(b, {T(kX)})}), R"(<a>'\r\n\t'<b>'x'</b>'\r\n'</a>)", "<a>\r\n\t<b>x</b>\r\n</a>"},
        {"an empty text", E(a, {E(b, {T({})})}), R"(<a>'\r\n\t'<b>'\r\n\t'</b>'\r\n'</a>)",
         "<a>\r\n\t<b>\r\n\t</b>\r\n</a>"},
        {"CDATA in a script", E(s, {C(WTEXT("a<b"))}), R"(<script>[a<b]'\r\n'</script>)",
         "<script><![CDATA[a<b]]>\r\n</script>"},
        {"empty CDATA in a script", E(s, {C({})}), R"(<script>[]'\r\n'</script>)", "<script><![CDATA[]]>\r\n</script>"},
        {"a text in a Script", E(WTEXT("ScRipt"), {T(kX)}), R"(<ScRipt>'x'[x]'\r\n'</ScRipt>)",
         "<ScRipt>x<![CDATA[x]]>\r\n</ScRipt>"},
        {"two texts and an element in a SCRIPT", E(WTEXT("SCRIPT"), {T(kX), E(b), C(WTEXT("y"))}),
         R"(<SCRIPT>[x]'\r\n\t'<b></b>[y]'\r\n'</SCRIPT>)",
         "<SCRIPT><![CDATA[x]]>\r\n\t<b/><![CDATA[y]]>\r\n</SCRIPT>"},
        {"CDATA elsewhere", E(a, {C(WTEXT("1<2"))}), "<a>'1<2'</a>", "<a>1&lt;2</a>"},
        {"a text behind elements takes their place", E(a, {E(b), T(kX)}), "<a>'x'</a>", "<a>x</a>"},
        {"an element behind a text stays with it", E(a, {T(kX), E(b)}), R"(<a>'x''\r\n\t'<b></b></a>)",
         "<a>x\r\n\t<b/></a>"},
        {"the last of several texts stays", E(a, {T(WTEXT("1")), C(WTEXT("2")), T(WTEXT("3")), T({})}), "<a>'3'</a>",
         "<a>3</a>"},
        {"attributes in order", E(a, {}, {{WTEXT("y"), WTEXT("2<\"\t\n")}, {kX, {}}}), R"(<a x="" y="2<"\t\n"></a>)",
         "<a x=\"\" y=\"2&lt;&quot;&#9;&#10;\"/>"},
        {"]]> in a script", E(s, {C(WTEXT("]]>]]>"))}), R"(<script>[]]>]]>]'\r\n'</script>)",
         "<script><![CDATA[]]]]><![CDATA[>]]]]><![CDATA[>]]>\r\n</script>"},
        {"white space", E(a, {E(b, {T(WTEXT(" \r\n"))}), E(c, {T(WTEXT("1\r\n2\r"))})}),
         R"(<a>'\r\n\t'<b>' \r\n'</b>'\r\n\t'<c>'1\r\n2\r'</c>'\r\n'</a>)",
         "<a>\r\n\t<b> \r\n</b>\r\n\t<c>1&#13;\n2&#13;</c>\r\n</a>"},
        {"outside the basic plane", E(a, {T(WTEXT("\U0001D11E"))}), "<a>'\U0001D11E'</a>", "<a>\U0001D11E</a>"},
        // What XML cannot hold cuts its element short; the siblings follow.
        {"a name that is none", E(a, {E(WTEXT("1b"), {E(c)}), E(c)}), R"(<a>'\r\n\t'<c></c>'\r\n'</a>)",
         "<a>\r\n\t<c/>\r\n</a>"},
        {"no name", E(a, {E({}, {E(c)}), E(c)}), R"(<a>'\r\n\t'<c></c>'\r\n'</a>)", "<a>\r\n\t<c/>\r\n</a>"},
        {"a root whose name is none", E(WTEXT("a b"), {E(c)}), "(none)", ""},
        {"an attribute name that is none",
         E(a, {E(b, {E(c)}, {{WTEXT("a"), {}}, {WTEXT("b c"), {}}, {WTEXT("d"), {}}}), E(c)}),
         R"(<a>'\r\n\t'<b a=""></b>'\r\n\t'<c></c>'\r\n'</a>)", "<a>\r\n\t<b a=\"\"/>\r\n\t<c/>\r\n</a>"},
        {"an attribute value that is none", E(a, {E(c)}, {{WTEXT("a"), WTEXT("\x01")}}), "<a></a>", "<a/>"},
        {"a control character", E(a, {E(b, {T(WTEXT("\x01"))}), E(c)}),
         R"(<a>'\r\n\t'<b></b>'\r\n\t'<c></c>'\r\n'</a>)", "<a>\r\n\t<b/>\r\n\t<c/>\r\n</a>"},
        {"half a surrogate pair", E(a, {E(b), T(Text(1, WCHAR(0xD800))), E(c)}), R"(<a>'\r\n\t'<b></b></a>)",
         "<a>\r\n\t<b/></a>"},
        {"U+FFFE in a script", E(s, {E(b), C(Text(1, WCHAR(0xFFFE))), E(c)}), R"(<script>'\r\n\t'<b></b></script>)",
         "<script>\r\n\t<b/></script>"},
    };
}

TEST(Export, BuildsTheDomAndSavesIt) {
    const CTestFolder folder;
    for (const GoldenCase& row : GoldenCases()) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(BuiltDom(row.tree), row.dom);
        ASSERT_TRUE(ExportFile(row.tree, folder.Path("out.xml")));
        EXPECT_EQ(ReadText(folder.File("out.xml")), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n" + row.file);
    }
}

TEST(Export, NodesOfOtherTypesAreLeftOut) {
    // Element a with the children: unknown record, element a. The reader meets the same bytes for all that follows.
    const auto document = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    const unsigned char bytes[] = {1, 0,    0,    0,    2,    0, 0, 0, 'a', 0, 1, 0, 0, 0,
                                   0, 0xFF, 0xFF, 0xFF, 0xFF, 0, 0, 0, 0,   1, 0, 0, 0, 9};
    ASSERT_TRUE(document->LoadFromBuffer(bytes));
    const CTestFolder folder;
    ASSERT_TRUE(document->ExportToXml(folder.Path("out.xml").c_str()));
    EXPECT_EQ(ReadText(folder.File("out.xml")), "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n<a>\r\n</a>");
}

TEST(Export, RebuildsWhatIsModifiedFirst) {
    const CTestFolder folder;
    const auto document = LoadTree(E(WTEXT("a"), {E(WTEXT("b"))}));
    const auto root = RootOf(*document.Get());
    CComRef<IBinNode> child;
    root->GetChild(0, child.Out());
    ASSERT_TRUE(root->SetAttribute(WTEXT("Zed"), WTEXT("1")) && root->SetAttribute(WTEXT("abc"), WTEXT("2")));
    ASSERT_TRUE(child->SetName(WTEXT("c")) && child->SetValue(kX.c_str()));
    ASSERT_TRUE(document->ExportToXml(folder.Path("out.xml").c_str()));
    EXPECT_FALSE(document->IsModified());
    EXPECT_EQ(ReadText(folder.File("out.xml")),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\r\n"
              "<a abc=\"2\" zed=\"1\">\r\n\t<c>x</c>\r\n</a>");
}

TEST(Export, GivesFalseWhenNothingCanBeWritten) {
    const CTestFolder folder;
    const auto empty = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
    EXPECT_FALSE(empty->ExportToXml(folder.Path("out.xml").c_str()));
    EXPECT_FALSE(std::filesystem::exists(folder.File("out.xml")));

    const auto document = LoadTree(E(WTEXT("a")));
    document->SetModified(true);
    for (const Text& path : {Text(), folder.Path("none/out.xml"), folder.Path(""), Text(1, WCHAR(0xD800))}) {
        EXPECT_FALSE(document->ExportToXml(path.c_str()));
    }
    EXPECT_FALSE(document->ExportToXml(nullptr));
    EXPECT_FALSE(document->IsModified());
    EXPECT_FALSE(CKestC2XML().Export(folder.Path("out.xml").c_str(), nullptr));
}

// What the rules make of a tree, told as plainly as possible. What cannot be held cuts the element short.
void Predict(const SmallTree& tree, int depth, SmallTree& element) {
    auto attrs = tree.attrs;
    std::sort(attrs.begin(), attrs.end());
    for (const auto& attr : attrs) {
        if (!IsGoodName(attr.first) || !IsHeld(attr.second)) return;
        element.attrs.push_back(attr);
    }
    const bool isScript = FoldedCase(tree.text) == WTEXT("script");
    bool isTextSet = false;
    if (tree.children.size() == 1 && tree.children[0].type == 3 && !tree.children[0].text.empty()) {
        if (!IsHeld(tree.children[0].text)) return;
        element.children = tree.children;
    }
    for (const SmallTree& child : tree.children) {
        if (child.IsElement()) {
            if (!IsGoodName(child.text)) continue;
            element.children.push_back(T(WTEXT("\r\n") + Text(static_cast<std::size_t>(depth) + 1, WCHAR('\t'))));
            element.children.push_back(E(child.text));
            Predict(child, depth + 1, element.children.back());
            continue;
        }
        if (!isScript && child.text.empty()) continue;
        if (!IsHeld(child.text)) return;
        if (!isScript) element.children.clear();
        element.children.push_back(isScript ? C(child.text) : T(child.text));
        isTextSet = isTextSet || !isScript;
    }
    if (!tree.children.empty() && !isTextSet) {
        element.children.push_back(T(WTEXT("\r\n") + Text(static_cast<std::size_t>(depth), WCHAR('\t'))));
    }
}

// What a conversion of the saved file makes of a predicted tree: line ends of blank texts and CDATA become line feeds,
// blank texts go, neighbouring texts are one, "]]>" parts a CDATA section.
SmallTree Reconverted(const SmallTree& predicted) {
    SmallTree tree = E(predicted.text, {}, predicted.attrs);
    std::sort(tree.attrs.begin(), tree.attrs.end());
    Text text;
    const auto flush = [&] {
        if (text.find_first_not_of(WTEXT(" \t\r\n")) != Text::npos) tree.children.push_back(T(text));
        text.clear();
    };
    for (const SmallTree& child : predicted.children) {
        if (child.type == 3) {
            const bool isBlank = child.text.find_first_not_of(WTEXT(" \t\r\n")) == Text::npos;
            Text part = child.text;
            if (isBlank) {
                while (part.find(WTEXT("\r\n")) != Text::npos) part.erase(part.find(WTEXT("\r\n")), 1);
                std::replace(part.begin(), part.end(), WCHAR('\r'), WCHAR('\n'));
            }
            text += part;
            continue;
        }
        flush();
        if (child.IsElement()) {
            tree.children.push_back(Reconverted(child));
            continue;
        }
        Text rest = child.text;
        while (rest.find(WTEXT("\r\n")) != Text::npos) rest.erase(rest.find(WTEXT("\r\n")), 1);
        std::replace(rest.begin(), rest.end(), WCHAR('\r'), WCHAR('\n'));
        for (std::size_t end; (end = rest.find(WTEXT("]]>"))) != Text::npos; rest.erase(0, end + 2)) {
            tree.children.push_back(C(rest.substr(0, end + 2)));
        }
        tree.children.push_back(C(rest));
    }
    flush();
    return tree;
}

TEST(Export, RandomTreesFollowTheRulesAndConvertAgain) {
    const CTestFolder folder;
    for (unsigned seed = 1; seed <= 3000; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        Random random(seed);
        SmallTree tree = RandomTree(random, 0);
        tree.text = WTEXT("root");
        SmallTree predicted = E(tree.text);
        Predict(tree, 0, predicted);
        ASSERT_EQ(BuiltDom(tree), Notation(predicted)) << Notation(tree);

        ASSERT_TRUE(ExportFile(tree, folder.Path("out.xml")));
        std::filesystem::remove(folder.File("out.bdoc"));
        ASSERT_TRUE(TransformXmlToBinary(folder.Path("out.xml").c_str(), folder.Path("out.bdoc").c_str()));
        const auto again = CComRef<IBinDocument>::Adopt(CBinaryDocument::Create());
        ASSERT_TRUE(again->LoadFromFile(folder.Path("out.bdoc").c_str()));
        ASSERT_EQ(Notation(ReadDocument(*RootOf(*again.Get()).Get())), Notation(Reconverted(predicted)))
            << Notation(tree) << "\n"
            << ReadText(folder.File("out.xml"));
    }
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
