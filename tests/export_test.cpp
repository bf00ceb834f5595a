// XML export of documents as they stand: what is refused, and what is pending.
#include <gtest/gtest.h>

#include "export/kest_c2xml.h"
#include "export_trees.h"
#include "model/document.h"

namespace {

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

}  // namespace
