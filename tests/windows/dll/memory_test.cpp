// Memory: given back whole, also by the library when it goes, not begun with sums that wrap at 32 bits, and failure
// results where it runs out.
#include <gtest/gtest.h>

#include <functional>

#include "library.h"
#include "platform/com_ptr.h"

namespace {

struct HeapUse {
    double blocks = 0;
    double bytes = 0;
};

// What is in use on all heaps of this process.
HeapUse UseOfHeaps() {
    HANDLE heaps[64];
    const DWORD count = GetProcessHeaps(64, heaps);
    HeapUse use;
    for (DWORD i = 0; i < count && i < 64; ++i) {
        PROCESS_HEAP_ENTRY entry = {};
        HeapLock(heaps[i]);
        while (HeapWalk(heaps[i], &entry)) {
            if (!(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY)) continue;
            ++use.blocks;
            use.bytes += entry.cbData;
        }
        HeapUnlock(heaps[i]);
    }
    return use;
}

class DllMemory : public ::testing::Test {
protected:
    // What each of many rounds of this work leaves behind.
    static HeapUse Left(int rounds, const std::function<void()>& work) {
        for (int i = 0; i < 5 + rounds / 100; ++i) work();
        const HeapUse before = UseOfHeaps();
        for (int i = 0; i < rounds; ++i) work();
        const HeapUse after = UseOfHeaps();
        return {(after.blocks - before.blocks) / rounds, (after.bytes - before.bytes) / rounds};
    }
    static CComRef<IBinDocument> NewDocument() {
        CComRef<IBinDocument> document;
        Parvel().query(&IID_IBinDocument, document.Out());
        return document;
    }
    static CComRef<IBinNode> RootOf(const CComRef<IBinDocument>& document) {
        CComRef<IBinNode> root;
        document->GetRoot(root.Out());
        return root;
    }
    Text Write(const char* name, const std::string& bytes) const {
        WriteBytes(m_folder.File(name), bytes);
        return m_folder.Path(name);
    }

    const CHostSession m_session;
    const CTestFolder m_folder;
    const Text m_xml = Write("x.xml", "<r><a b='c' d='e'><f>g</f></a><script><![CDATA[i]]></script></r>");
    const Text m_document = m_folder.Path("x.bdoc");
};

// What edits leave behind is counted by the random sequences of edits, block by block; these are the library's own ways
// to its heap.
TEST_F(DllMemory, IsFlatOverLoadsSavesAndResults) {
    ASSERT_TRUE(Parvel().convert(m_xml.c_str(), m_document.c_str()));
    const HeapUse left = Left(3'000, [&] {
        const auto document = NewDocument();
        ASSERT_TRUE(document->LoadFromFile(m_document.c_str()));
        RootOf(document)->SetAttribute(L"Key", L"value");
        ASSERT_TRUE(document->SaveToFile(m_folder.Path("y.bdoc").c_str()));
        CComRef<IScriptResultParser> parser, item;
        Parvel().parse(L"(1 (2 3) \"x\")", parser.Out());
        parser->GetItem(1, item.Out());
        EXPECT_TRUE(Parvel().freeSpt(new unsigned char[12'345]));
    });
    EXPECT_EQ(left.blocks, 0);
    EXPECT_EQ(left.bytes, 0);
}

// Of a tree, some thirty blocks. The DOM under Wine keeps a little now and then, and eight for each declaration; and
// all of a document that has one and is saved, so none is saved here.
TEST_F(DllMemory, IsFlatOverConversionsAndExports) {
    const Text bad = Write("bad.xml", "<r><a>");
    const HeapUse leftByConversion = Left(300, [&] {
        ASSERT_TRUE(Parvel().convert(m_xml.c_str(), m_document.c_str()));
        ASSERT_FALSE(Parvel().convert(bad.c_str(), m_document.c_str()));
        ASSERT_FALSE(Parvel().convert(m_xml.c_str(), L"none\\x.bdoc"));
    });
    EXPECT_LT(leftByConversion.blocks, 0.3);
    ASSERT_TRUE(Parvel().convert(m_xml.c_str(), m_document.c_str()));
    const HeapUse leftByExport = Left(300, [&] {
        const auto document = NewDocument();
        ASSERT_TRUE(document->LoadFromFile(m_document.c_str()));
        ASSERT_FALSE(document->ExportToXml(L"none\\x.xml"));
    });
    EXPECT_LT(leftByExport.blocks, 8.3);
}

// Beside the library of all tests, a second one has to move to another address.
TEST_F(DllMemory, IsFlatOverLoadsAndUnloadsOfTheLibrary) {
    const Text copy = m_folder.Path("Copy.DLL");
    std::filesystem::copy_file("Parvel.DLL", copy);
    const HeapUse left = Left(30, [&] {
        const Library library = LoadParvel(copy.c_str());
        ASSERT_NE(library.module, nullptr);
        ASSERT_NE(library.module, Parvel().module);
        ASSERT_TRUE(library.convert(m_xml.c_str(), m_document.c_str()));
        ASSERT_TRUE(FreeLibrary(library.module));
        ASSERT_EQ(GetModuleHandleW(copy.c_str()), nullptr);
    });
    EXPECT_LT(left.blocks, 0.5);
}

/// The document of <a/>, whose child count begins at byte 23.
const std::string kSmallDocument("\1\0\0\0\2\0\0\0a\0\1\0\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\0", 27);

TEST_F(DllMemory, FilesLargerThanMemoryDoNotLoad) {
    const Text small = Write("small.bdoc", kSmallDocument);
    const Text large = Write("large.bdoc", kSmallDocument);
    const auto document = NewDocument();
    for (const std::uint64_t size : {0x6F000000ull, 0x7FFFEFFFull, 0x7FFFF001ull, 0x7FFFFFFFull, 0x80000001ull,
                                     0xFFFFFEFFull, 0xFFFFFFFFull, 0x100000000ull, 0x10000001Bull}) {
        ASSERT_TRUE(document->LoadFromFile(small.c_str()));
        std::filesystem::resize_file(large, size);  // with zeros that nobody writes
        EXPECT_FALSE(document->LoadFromFile(large.c_str())) << size;
        EXPECT_EQ(RootOf(document)->GetChildCount(), 0);
    }
}

// 2^27 children of 32 bytes each are 2^32 bytes, and one more is 32: the list cannot be made, and must not be begun.
TEST_F(DllMemory, ListsLargerThanTheAddressSpaceAreNotMade) {
    for (const char extra : {'\0', '\1', '\x10'}) {
        std::string bytes = kSmallDocument + '\x09';
        bytes[23] = extra;
        bytes[26] = '\x08';
        const Text wide = Write("wide.bdoc", bytes);
        std::filesystem::resize_file(wide, 0x08000100);
        const auto document = NewDocument();
        ASSERT_TRUE(document->LoadFromFile(wide.c_str()));
        const auto root = RootOf(document);
        EXPECT_EQ(root->GetChildCount(), 0x08000000 + extra);
        IBinNode* child = root.Get();
        root->GetChild(0, &child);
        EXPECT_EQ(child, nullptr);
        CComRef<IBinNode> copy;
        root->Clone(copy.Out(), true);
    }
}

// Every allocation that fails is met by the tests of each part; this is real memory running out, in the DLL.
TEST_F(DllMemory, ExhaustionGivesFailureResults) {
    const Text text(4 << 20, L'x');
    const auto document = NewDocument();
    const auto root = RootOf(document);
    std::vector<void*> taken;  // all but blocks of less than a megabyte
    taken.reserve(100'000);
    for (std::size_t size = 256u << 20; size >= 1u << 20; size /= 2) {
        while (void* block = VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS)) taken.push_back(block);
    }
    IScriptResultParser* parser = nullptr;
    const bool results[] = {root->SetName(text.c_str()), Parvel().parse(text.c_str(), &parser)};
    for (void* block : taken) VirtualFree(block, 0, MEM_RELEASE);
    for (const bool result : results) EXPECT_FALSE(result);
    EXPECT_EQ(parser, nullptr);
    EXPECT_TRUE(root->SetName(text.c_str()));
}

}  // namespace
