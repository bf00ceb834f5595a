// Memory: given back whole, also by the library when it goes, not begun with sums that wrap at 32 bits, and failure
// results where it runs out.
#include <gtest/gtest.h>

#include <vector>

#include "library.h"

namespace {

struct HeapUse {
    std::size_t blocks = 0;
    std::size_t bytes = 0;
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

void LoadEditSaveRelease(const std::wstring& from, const std::wstring& to) {
    IBinDocument* document = NewDocument();
    ASSERT_TRUE(document->LoadFromFile(from.c_str()));
    IBinNode* root = nullptr;
    document->GetRoot(&root);
    IBinNode* child = nullptr;
    root->GetChild(0, &child);
    child->SetAttribute(L"Key", L"value");
    child->SetName(L"renamed");
    IAttrPair* pair = nullptr;
    child->GetAttrPair(0, &pair);
    pair->SetValue(L"another");
    IBinNode* copy = nullptr;
    child->Clone(&copy, true);
    copy->SetValue(L"text");
    root->AppendChild(&copy);
    child->RemoveFromParent();
    ASSERT_TRUE(document->SaveToFile(to.c_str()));
    IScriptResultParser* parser = nullptr;
    Parvel().parse(L"(1 (2 3) \"x\")", &parser);
    IScriptResultParser* item = nullptr;
    parser->GetItem(1, &item);
    item->Release();
    parser->Release();
    copy->Release();
    pair->Release();
    child->Release();
    root->Release();
    document->Release();
}

TEST(DllMemory, IsFlatOverTenThousandCycles) {
    const ComSession com;
    const WorkFolder folder;
    const std::wstring xml = folder.File(L"x.xml").wstring();
    const std::wstring from = folder.File(L"x.bdoc").wstring();
    const std::wstring to = folder.File(L"y.bdoc").wstring();
    WriteFileBytes(xml, "<r><a b='c' d='e'><f>g</f></a><h><![CDATA[i]]></h></r>");
    ASSERT_TRUE(Parvel().convert(xml.c_str(), from.c_str()));
    for (int i = 0; i < 100; ++i) LoadEditSaveRelease(from, to);
    const HeapUse before = UseOfHeaps();
    for (int i = 0; i < 10'000; ++i) LoadEditSaveRelease(from, to);
    const HeapUse after = UseOfHeaps();
    ASSERT_GT(before.blocks, 100u);
    EXPECT_EQ(after.blocks, before.blocks);
    EXPECT_EQ(after.bytes, before.bytes);
}

TEST(DllMemory, IsFlatOverConversionsAndExports) {
    const ComSession com;
    const WorkFolder folder;
    const std::wstring good = folder.File(L"x.xml").wstring();
    const std::wstring bad = folder.File(L"bad.xml").wstring();
    const std::wstring to = folder.File(L"x.bdoc").wstring();
    WriteFileBytes(good, "<r><a b='c' d='e'><f>g</f></a><script><![CDATA[i]]></script></r>");
    WriteFileBytes(bad, "<r><a>");
    const auto convert = [&] {
        ASSERT_TRUE(Parvel().convert(good.c_str(), to.c_str()));
        ASSERT_FALSE(Parvel().convert(bad.c_str(), to.c_str()));
        ASSERT_FALSE(Parvel().convert(good.c_str(), L"none\\x.bdoc"));
    };
    const auto build = [&] {
        IBinDocument* document = NewDocument();
        ASSERT_TRUE(document->LoadFromFile(to.c_str()));
        ASSERT_FALSE(document->ExportToXml(L"none\\x.xml"));
        document->Release();
    };
    // Blocks that one call leaves behind: of a tree, some thirty. The DOM under Wine keeps a little now and then, and
    // eight for each declaration; and all of a document that has one and is saved, so none is saved here.
    const auto left = [](const auto& work) {
        for (int i = 0; i < 20; ++i) work();
        const std::size_t before = UseOfHeaps().blocks;
        for (int i = 0; i < 300; ++i) work();
        return (static_cast<double>(UseOfHeaps().blocks) - static_cast<double>(before)) / 300;
    };
    EXPECT_LT(left(convert), 0.3);
    EXPECT_LT(left(build), 8.3);
}

TEST(DllMemory, FreeSptReleasesAnArray) {
    const Library& parvel = Parvel();
    unsigned char* const block = new unsigned char[12'345];
    const HeapUse before = UseOfHeaps();
    EXPECT_TRUE(parvel.freeSpt(block));
    const HeapUse after = UseOfHeaps();
    EXPECT_EQ(before.blocks - after.blocks, 1u);
    EXPECT_GE(before.bytes - after.bytes, 12'345u);
}

// Beside the library of all tests, a second one has to move to another address.
TEST(DllMemory, IsFlatOverLoadsAndUnloadsOfTheLibrary) {
    const ComSession com;
    const WorkFolder folder;
    WriteFileBytes(folder.File(L"x.xml"), "<a/>");
    const std::wstring copy = folder.File(L"Copy.DLL").wstring();
    std::filesystem::copy_file("Parvel.DLL", copy);
    const auto cycle = [&] {
        const Library library = LoadParvel(copy.c_str());
        ASSERT_NE(library.module, nullptr);
        ASSERT_NE(library.module, Parvel().module);
        ASSERT_TRUE(library.convert(folder.File(L"x.xml").c_str(), folder.File(L"x.bdoc").c_str()));
        ASSERT_TRUE(FreeLibrary(library.module));
        ASSERT_EQ(GetModuleHandleW(copy.c_str()), nullptr);
    };
    for (int i = 0; i < 3; ++i) cycle();
    const HeapUse before = UseOfHeaps();
    for (int i = 0; i < 30; ++i) cycle();
    const HeapUse after = UseOfHeaps();
    EXPECT_LT(after.blocks, before.blocks + 15);
}

// A file of any size whose bytes behind the start are zeros, without writing them.
void MakeLargeFile(const std::filesystem::path& path, const std::string& start, std::uint64_t size) {
    WriteFileBytes(path, start);
    std::filesystem::resize_file(path, size);
}

TEST(DllMemory, FilesLargerThanMemoryDoNotLoad) {
    const WorkFolder folder;
    WriteFileBytes(folder.File(L"small.bdoc"), kSmallDocument);
    IBinDocument* document = NewDocument();
    for (const std::uint64_t size : {0x6F000000ull, 0x7FFFEFFFull, 0x7FFFF001ull, 0x7FFFFFFFull, 0x80000001ull,
                                     0xFFFFFEFFull, 0xFFFFFFFFull, 0x100000000ull, 0x10000001Bull}) {
        ASSERT_TRUE(document->LoadFromFile(folder.File(L"small.bdoc").c_str()));
        MakeLargeFile(folder.File(L"large.bdoc"), kSmallDocument, size);
        EXPECT_FALSE(document->LoadFromFile(folder.File(L"large.bdoc").c_str())) << size;
        IBinNode* root = nullptr;
        document->GetRoot(&root);
        ASSERT_NE(root, nullptr);
        EXPECT_EQ(root->GetChildCount(), 0);
        root->Release();
    }
    document->Release();
}

// 2^27 children of 32 bytes each are 2^32 bytes, and one more is 32: the list cannot be made, and must not be begun.
TEST(DllMemory, ListsLargerThanTheAddressSpaceAreNotMade) {
    const WorkFolder folder;
    for (const char extra : {'\0', '\1', '\x10'}) {
        std::string bytes = kSmallDocument + '\x09';
        bytes[23] = extra;  // of the child count
        bytes[26] = '\x08';
        MakeLargeFile(folder.File(L"wide.bdoc"), bytes, 0x08000100);
        IBinDocument* document = NewDocument();
        ASSERT_TRUE(document->LoadFromFile(folder.File(L"wide.bdoc").c_str()));
        IBinNode* root = nullptr;
        document->GetRoot(&root);
        EXPECT_EQ(root->GetChildCount(), 0x08000000 + extra);
        IBinNode* child = root;
        root->GetChild(0, &child);
        EXPECT_EQ(child, nullptr);
        IBinNode* copy = nullptr;
        root->Clone(&copy, true);
        if (copy) copy->Release();
        root->Release();
        document->Release();
    }
}

// Takes memory until blocks of `least` bytes cannot be had any more.
std::vector<void*> TakeMemory(std::size_t least) {
    std::vector<void*> blocks;
    blocks.reserve(100'000);
    for (std::size_t size = 256u << 20; size >= least; size /= 2) {
        while (void* block = VirtualAlloc(nullptr, size, MEM_RESERVE, PAGE_NOACCESS)) blocks.push_back(block);
    }
    return blocks;
}

TEST(DllMemory, ExhaustionGivesFailureResults) {
    const ComSession com;
    const WorkFolder folder;
    const std::wstring path = folder.File(L"x.bdoc").wstring();
    const std::wstring xml = folder.File(L"x.xml").wstring();
    WriteFileBytes(path, kSmallDocument + std::string(8 << 20, '\0'));
    WriteFileBytes(xml, "<a>" + std::string(8 << 20, 'x') + "</a>");
    const std::wstring longText(4 << 20, L'x');
    IBinDocument* document = NewDocument();
    IBinNode* root = nullptr;
    document->GetRoot(&root);
    IScriptResultParser* parser = nullptr;

    // Without the DOM's own library in memory, COM would look for it in other processes.
    ASSERT_TRUE(Parvel().convert(xml.c_str(), folder.File(L"y.bdoc").c_str()));
    const std::vector<void*> taken = TakeMemory(1 << 20);
    const bool isLoaded = document->LoadFromFile(path.c_str());
    const bool isConverted = Parvel().convert(xml.c_str(), path.c_str());
    const bool isRenamed = root->SetName(longText.c_str());
    const bool isSet = root->SetValue(longText.c_str());
    const bool isAttrSet = root->SetAttribute(L"a", longText.c_str());
    const bool isParsed = Parvel().parse(longText.c_str(), &parser);
    for (void* block : taken) VirtualFree(block, 0, MEM_RELEASE);

    EXPECT_FALSE(isLoaded);
    EXPECT_FALSE(isConverted);
    EXPECT_FALSE(isRenamed);
    EXPECT_FALSE(isSet);
    EXPECT_FALSE(isAttrSet);
    EXPECT_FALSE(isParsed);
    EXPECT_EQ(parser, nullptr);
    EXPECT_TRUE(root->SetName(longText.c_str()));
    EXPECT_TRUE(document->LoadFromFile(path.c_str()));
    root->Release();
    document->Release();
}

}  // namespace
