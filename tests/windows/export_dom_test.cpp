// The DOM that the export builds, read back from the system's own. Under Wine that takes any name and character, takes
// carriage returns out of texts and declares prefixes that are not declared; so the trees here are of what XML can
// hold, and are compared without carriage returns and declarations.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "dom_tree.h"
#include "export/kest_c2xml.h"
#include "export_trees.h"
#include "repaired_dom.h"
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

// A root that is no element leaves none.
std::string Expected(const SmallTree& tree) {
    return tree.IsElement() ? Notation(Predicted(tree)) : "(none)";
}

std::string Comparable(std::string notation) {
    for (const std::string part : {"\\r", " xmlns:b=\"\""}) {
        for (std::size_t i; (i = notation.find(part)) != std::string::npos;) notation.erase(i, part.size());
    }
    return notation;
}

bool IsWellNamed(const SmallTree& tree) {
    if (!IsHeld(tree.text) || (tree.IsElement() && !IsGoodName(tree.text))) return false;
    const auto isGood = [](const auto& attr) { return IsGoodName(attr.first) && IsHeld(attr.second); };
    return std::all_of(tree.attrs.begin(), tree.attrs.end(), isGood) &&
           std::all_of(tree.children.begin(), tree.children.end(), IsWellNamed);
}

TEST(ExportDom, EachCaseIsBuiltAsItMustBe) {
    const RepairedDom repaired;
    int count = 0;
    for (const ExportCase& row : ExportCases()) {
        if (!IsWellNamed(row.tree)) continue;
        ++count;
        EXPECT_EQ(Comparable(BuiltDom(row.tree)), Comparable(Expected(row.tree))) << row.name;
    }
    EXPECT_GE(count, 15);
}

TEST(ExportDom, RandomTreesFollowTheRules) {
    const RepairedDom repaired;
    int count = 0;
    for (unsigned seed = 1; seed <= 1500; ++seed) {
        const SmallTree tree = RandomDocument(seed);
        if (!IsWellNamed(tree)) continue;
        ++count;
        ASSERT_EQ(Comparable(BuiltDom(tree)), Comparable(Expected(tree))) << "seed " << seed << ": " << Notation(tree);
    }
    EXPECT_GE(count, 300);
}

}  // namespace
