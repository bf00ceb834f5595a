// The DOM that the export builds, read back from the system's own.
#include <gtest/gtest.h>

#include <string>

#include "dom_tree.h"
#include "export/kest_c2xml.h"
#include "export_trees.h"
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

TEST(ExportDom, EachCaseIsBuiltAsItMustBe) {
    for (const ExportCase& row : ExportCases()) EXPECT_EQ(BuiltDom(row.tree), row.dom) << row.name;
}

TEST(ExportDom, RandomTreesFollowTheRules) {
    for (unsigned seed = 1; seed <= 1000; ++seed) {
        const SmallTree tree = RandomDocument(seed);
        ASSERT_EQ(BuiltDom(tree), Notation(Predicted(tree))) << "seed " << seed << ": " << Notation(tree);
    }
}

}  // namespace
