// Operation n of an interface is entry n of its table: every entry called by its number, as a host would that knows no
// C++ and no header.
#include <cstring>

#include "document_bytes.h"

namespace {

template <class Result = void, class... Args>
Result Call(void* object, std::size_t entry, Args... args) {
    void** table = nullptr;
    std::memcpy(&table, object, sizeof(table));
    return reinterpret_cast<Result (*)(void*, Args...)>(table[entry])(object, args...);
}

using Chars = const WCHAR*;

std::string CallText(void* object, std::size_t entry) {
    return Narrow(Call<Chars>(object, entry));
}

constexpr IID kUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr const IID* kIds[] = {&IID_IBinDocument, &IID_IBinNode, &IID_IAttrPair, &kUnknown};

// Only its own identifier is answered; of the three interfaces the document alone adds a reference.
void ExpectNarrow(void* object, const IID* own, ULONG added) {
    const ULONG refs = Call<ULONG>(object, 1) - 1;
    Call<ULONG>(object, 2);
    for (const IID* id : kIds) {
        void* out = &out;
        EXPECT_EQ(Call<HRESULT>(object, 0, id, &out), id == own ? 0 : 1);
        EXPECT_EQ(out, id == own ? object : &out);
        if (id == own && added) Call<ULONG>(object, 2);
        EXPECT_EQ(Call<HRESULT>(object, 0, id, static_cast<void**>(nullptr)), 1);
    }
    void* out = nullptr;
    Call<HRESULT>(object, 0, own, &out);
    EXPECT_EQ(Call<ULONG>(object, 1), refs + added + 1);
    for (ULONG i = 0; i <= added; ++i) Call<ULONG>(object, 2);
}

}  // namespace

TEST(InterfaceTable, OfDocumentNodeAndPair) {
    const CTestFolder folder;
    const Text path = folder.Path("document");
    const Bytes bytes = CBytes().Words({u"a", u"x", u"1", u"hi"}).Element(0, 1, {1, 2}).TextNode(3);
    IBinDocument* created = nullptr;
    for (const IID* id : kIds) {
        EXPECT_EQ(KestQueryBinDocInterface(id, &created), id == &IID_IBinDocument ? 0 : HRESULT(0x80004005));
    }
    void* const document = created;
    ExpectNarrow(document, &IID_IBinDocument, 1);
    EXPECT_TRUE(Call<bool>(document, 4, static_cast<const void*>(bytes.data())));
    EXPECT_FALSE(Call<bool>(document, 12));
    EXPECT_TRUE(Call<bool>(document, 13, path.c_str()));
    EXPECT_TRUE(Call<bool>(document, 3, path.c_str()));
    EXPECT_TRUE(Call<bool>(document, 12));
    EXPECT_TRUE(Call<bool>(document, 14, folder.Path("xml").c_str()));
    EXPECT_TRUE(std::filesystem::exists(folder.File("xml")));
    EXPECT_FALSE(Call<bool>(document, 15));
    EXPECT_TRUE(Call<bool>(document, 16, true));
    EXPECT_TRUE(Call<bool>(document, 15));
    EXPECT_FALSE(Call<bool>(document, 16, false));
    const std::uint32_t value = 1;
    Call(document, 10, std::int32_t{1}, &value);
    EXPECT_EQ(Call<std::uint32_t>(document, 11, std::int32_t{1}), 0u);

    void* node = nullptr;
    Call(document, 5, &node);
    ExpectNarrow(node, &IID_IBinNode, 0);
    EXPECT_EQ(Call<std::uint32_t>(node, 3), 1u);
    EXPECT_EQ(Call<std::int32_t>(node, 4), 1);
    EXPECT_EQ(CallText(node, 5), "a");
    EXPECT_EQ(CallText(node, 6), "hi");
    EXPECT_EQ(Call<std::int32_t>(node, 7), 1);
    void* child = nullptr;
    Call(node, 9, std::int32_t{0}, &child);
    void* parent = nullptr;
    Call(child, 8, &parent);
    EXPECT_EQ(parent, node);
    Call<ULONG>(parent, 2);
    EXPECT_EQ(Narrow(Call<Chars>(node, 10, WTEXT("x"))), "1");
    void* pair = nullptr;
    Call(node, 11, std::int32_t{0}, &pair);
    ExpectNarrow(pair, &IID_IAttrPair, 0);
    EXPECT_EQ(CallText(pair, 3), "x");
    EXPECT_EQ(CallText(pair, 4), "1");
    EXPECT_TRUE(Call<bool>(pair, 5, WTEXT("2")));
    EXPECT_EQ(Call<ULONG>(pair, 2), 0u);
    EXPECT_EQ(Narrow(Call<Chars>(node, 10, WTEXT("x"))), "2");
    EXPECT_TRUE(Call<bool>(node, 12, WTEXT("b")));
    EXPECT_EQ(CallText(node, 5), "b");
    EXPECT_TRUE(Call<bool>(node, 13, WTEXT("y"), WTEXT("3")));
    EXPECT_EQ(Call<std::int32_t>(node, 4), 2);
    EXPECT_TRUE(Call<bool>(node, 14, WTEXT("y")));
    EXPECT_EQ(Call<std::int32_t>(node, 4), 1);
    EXPECT_TRUE(Call<bool>(child, 16));
    EXPECT_EQ(Call<std::int32_t>(node, 7), 0);
    EXPECT_TRUE(Call<bool>(node, 15, &child));
    EXPECT_EQ(Call<std::int32_t>(node, 7), 1);
    EXPECT_TRUE(Call<bool>(node, 18, WTEXT("new")));
    EXPECT_EQ(CallText(child, 6), "new");
    Call<ULONG>(child, 2);
    EXPECT_TRUE(Call<bool>(node, 19, &node, true));
    void* copy = nullptr;
    EXPECT_TRUE(Call<bool>(node, 17, &copy, true));
    EXPECT_EQ(CallText(copy, 6), "new");
    EXPECT_EQ(Call<ULONG>(copy, 2), 0u);
    EXPECT_EQ(Call<ULONG>(node, 2), 1u);

    void* bare = nullptr;
    Call(document, 8, &bare);
    EXPECT_EQ(CallText(bare, 5), "(null)");
    EXPECT_EQ(Call<ULONG>(bare, 2), 0u);
    void* element = nullptr;
    Call(document, 9, &element, WTEXT("e"));
    EXPECT_EQ(CallText(element, 5), "e");
    EXPECT_EQ(Call<ULONG>(element, 2), 0u);
    void* other = nullptr;
    Call(document, 6, &other);
    EXPECT_FALSE(Call<bool>(document, 18, &other));
    Call(document, 7);
    EXPECT_EQ(static_cast<CBinaryDocument*>(created)->Words().GetWordCount(), 0u);
    EXPECT_EQ(Call<ULONG>(other, 1), 2u);
    Call(other, 17);  // whatever its count: a leak or a second release would be reported
    EXPECT_EQ(Call<ULONG>(document, 2), 0u);
}

TEST(InterfaceTable, OfTheScriptResult) {
    IScriptResultParser* created = nullptr;
    ASSERT_TRUE(GetScriptResultParser(WTEXT("(7 \"b\")"), &created));
    void* const list = created;
    void* out = nullptr;
    EXPECT_EQ(Call<HRESULT>(list, 0, &kUnknown, &out), HRESULT(0x80004001));
    EXPECT_EQ(Call<ULONG>(list, 1), 2u);
    EXPECT_EQ(Call<ULONG>(list, 2), 1u);
    EXPECT_EQ(Call<std::int32_t>(list, 3), 2);
    EXPECT_TRUE(Call<bool>(list, 4, std::int32_t{0}, &out));
    EXPECT_FALSE(Call<bool>(list, 5));
    EXPECT_TRUE(Call<bool>(out, 6));
    EXPECT_EQ(Call<std::int32_t>(out, 7), 7);
    EXPECT_EQ(Call<double>(out, 8), 7.0);
    EXPECT_EQ(CallText(out, 9), "7");
    EXPECT_EQ(Call<ULONG>(out, 2), 0u);
    Call(list, 10);  // what Release calls in the end: a leak or a second release would be reported
}
