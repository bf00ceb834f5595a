// The edge of the library: every export, and operation n of an interface as entry n of its table, called by its number
// as a host would that knows no C++ and no header.
#include <gtest/gtest.h>

#include "library.h"
#include "raw_call.h"
#include "test_files.h"

namespace {

constexpr IID kUnknown = {0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
const IID* const kIds[] = {&IID_IBinDocument, &IID_IBinNode, &IID_IAttrPair, &kUnknown};

/// The document of <a/>.
const std::string kSmallDocument("\1\0\0\0\2\0\0\0a\0\1\0\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\0", 27);

// The parameter tells how far the stack is from a multiple of 16, where that may be.
class InterfaceTable : public ::testing::TestWithParam<unsigned> {
protected:
    template <class... Args>
    RawResult Function(const void* function, Args... args) const {
        return RawCall(RawKind::kFunction, function, {RawArgument(args)...}, GetParam());
    }
    template <class... Args>
    RawResult Call(RawKind kind, void* object, int entry, Args... args) const {
        const void* const* const table = *static_cast<const void* const* const*>(object);
        return RawCall(kind, table[entry], {RawArgument(object), RawArgument(args)...}, GetParam());
    }
    template <class... Args>
    std::uint32_t Number(void* object, int entry, Args... args) const {
        return static_cast<std::uint32_t>(Call(RawKind::kFunction, object, entry, args...).value);
    }
    // A bool is one byte: what stands in the rest of the register means nothing.
    template <class... Args>
    bool Bool(void* object, int entry, Args... args) const {
        return (Number(object, entry, args...) & 0xFF) != 0;
    }
    template <class... Args>
    bool Member(void* object, int entry, Args... args) const {
        return (Call(RawKind::kMember, object, entry, args...).value & 0xFF) != 0;
    }
    template <class... Args>
    Text Word(void* object, int entry, Args... args) const {
        const auto* text = reinterpret_cast<const WCHAR*>(Call(RawKind::kFunction, object, entry, args...).value);
        return text ? text : WTEXT("(null)");
    }
    double Double(void* object, int entry) const { return Call(RawKind::kNumber, object, entry).number; }

    // Only its own identifier is answered; of the three interfaces the document alone adds a reference.
    void ExpectNarrow(void* object, const IID* own, std::uint32_t added) const {
        const std::uint32_t refs = Number(object, 1) - 1;
        Number(object, 2);
        for (const IID* id : kIds) {
            void* out = &out;
            EXPECT_EQ(Number(object, 0, id, &out), id == own ? 0u : 1u);
            EXPECT_EQ(out, id == own ? object : &out);
            EXPECT_EQ(Number(object, 0, id, nullptr), 1u);
        }
        EXPECT_EQ(Number(object, 1), refs + added + 1);
        for (std::uint32_t i = 0; i <= added; ++i) Number(object, 2);
    }

    IBinDocument* NewDocument() const {
        IBinDocument* document = nullptr;
        EXPECT_EQ(Parvel().query(&IID_IBinDocument, &document), 0);
        return document;
    }

    const CHostSession m_session;
    const CTestFolder m_folder;
};
INSTANTIATE_TEST_SUITE_P(StackShift, InterfaceTable, ::testing::Values(0, 4, 8, 12));

TEST_P(InterfaceTable, OfFunctions) {
    const auto address = [](auto* function) { return reinterpret_cast<const void*>(function); };
    const Library& parvel = Parvel();
    void* out = nullptr;
    for (const IID* id : kIds) {
        const std::uint32_t expected = id == &IID_IBinDocument ? 0 : 0x80004005;
        EXPECT_EQ(static_cast<std::uint32_t>(Function(address(parvel.query), id, &out).value), expected);
    }
    EXPECT_EQ(Number(out, 2), 0u);
    const Text xml = m_folder.Path("a.xml");
    const Text bin = m_folder.Path("a.bdoc");
    WriteBytes(m_folder.File("a.xml"), std::string("<a/>"));
    EXPECT_EQ(Function(address(parvel.convert), xml.c_str(), bin.c_str()).value & 0xFF, 1u);
    EXPECT_EQ(ReadText(m_folder.File("a.bdoc")), kSmallDocument);
    for (const std::uint32_t argument : {0u, 7u, 0x80000000u, ~0u}) {
        EXPECT_EQ(Function(address(parvel.ecSpt), argument, ~argument).value & 0xFF, 1u);
        EXPECT_EQ(Function(address(parvel.deSpt), argument).value, 0u);
    }
    EXPECT_EQ(Function(address(parvel.freeSpt), nullptr).value & 0xFF, 0u);
    EXPECT_EQ(Function(address(parvel.freeSpt), new unsigned char[100]).value & 0xFF, 1u);  // a leak would be reported
    EXPECT_EQ(Function(address(parvel.parse), WTEXT("(1 2)"), &out).value & 0xFF, 1u);
    EXPECT_EQ(Number(out, 2), 0u);
}

TEST_P(InterfaceTable, OfTheDocument) {
    const Text path = m_folder.Path("x.bdoc");
    const Text xml = m_folder.Path("x.xml");
    WriteBytes(m_folder.File("x.bdoc"), kSmallDocument);
    void* const document = NewDocument();
    void* other = nullptr;
    void* node = nullptr;
    const std::uint32_t option = 5;

    ExpectNarrow(document, &IID_IBinDocument, 1);
    EXPECT_TRUE(Bool(document, 4, kSmallDocument.data()));
    EXPECT_FALSE(Bool(document, 12));
    EXPECT_FALSE(Bool(document, 3, xml.c_str()));
    EXPECT_TRUE(Bool(document, 3, path.c_str()));
    EXPECT_TRUE(Bool(document, 12));
    EXPECT_TRUE(Bool(document, 13, path.c_str()));
    EXPECT_EQ(ReadText(m_folder.File("x.bdoc")), kSmallDocument);
    Number(document, 14, xml.c_str());
    EXPECT_TRUE(std::filesystem::exists(m_folder.File("x.xml")));
    Number(document, 5, &node);
    EXPECT_EQ(Word(node, 5), WTEXT("a"));
    EXPECT_EQ(Number(node, 2), 1u);
    EXPECT_FALSE(Bool(document, 15));
    EXPECT_TRUE(Bool(document, 16, 1));
    EXPECT_TRUE(Bool(document, 15));
    EXPECT_FALSE(Bool(document, 16, 0));
    Number(document, 10, 1, &option);
    EXPECT_EQ(Number(document, 11, 1), 0u);
    Number(document, 8, &node);
    EXPECT_EQ(Word(node, 5), WTEXT("(null)"));
    EXPECT_EQ(Number(node, 2), 0u);
    Number(document, 9, &node, WTEXT("b"));
    EXPECT_EQ(Word(node, 5), WTEXT("b"));
    EXPECT_EQ(Number(node, 2), 0u);
    Number(document, 6, &other);
    ASSERT_NE(other, document);
    EXPECT_TRUE(Member(document, 18, &other));
    Number(document, 7);
    EXPECT_FALSE(Member(document, 18, &other));
    EXPECT_EQ(Number(other, 1), 2u);
    Number(other, 17);  // whatever its count: a leak or a second release would be reported
    EXPECT_EQ(Number(document, 2), 0u);
}

TEST_P(InterfaceTable, OfNodeAndPair) {
    IBinDocument* const document = NewDocument();
    IBinNode* top = nullptr;
    IBinNode* created = nullptr;
    document->GetRoot(&top);
    document->CreateElement(&created, WTEXT("c"));
    void* const root = top;
    void* child = created;
    void* other = nullptr;

    ExpectNarrow(child, &IID_IBinNode, 0);
    EXPECT_EQ(Number(child, 3), 1u);
    EXPECT_TRUE(Bool(root, 15, &child));
    EXPECT_EQ(Number(root, 7), 1u);
    Number(child, 8, &other);
    EXPECT_EQ(other, root);
    Number(other, 2);
    Number(root, 9, 0, &other);
    EXPECT_EQ(other, child);
    Number(other, 2);
    Number(root, 9, -1, &other);
    EXPECT_EQ(other, nullptr);
    EXPECT_TRUE(Bool(child, 12, WTEXT("d")));
    EXPECT_EQ(Word(child, 5), WTEXT("d"));
    EXPECT_TRUE(Bool(child, 13, WTEXT("Key"), WTEXT("value")));
    EXPECT_EQ(Number(child, 4), 1u);
    EXPECT_EQ(Word(child, 10, WTEXT("key")), WTEXT("value"));
    EXPECT_EQ(Word(child, 6), WTEXT("(null)"));
    EXPECT_TRUE(Bool(child, 18, WTEXT("text")));
    EXPECT_EQ(Word(child, 6), WTEXT("text"));

    void* pair = nullptr;
    Number(child, 11, 0, &pair);
    ExpectNarrow(pair, &IID_IAttrPair, 0);
    EXPECT_EQ(Word(pair, 3), WTEXT("key"));
    EXPECT_EQ(Word(pair, 4), WTEXT("value"));
    EXPECT_TRUE(Bool(pair, 5, WTEXT("new")));
    EXPECT_EQ(Word(child, 10, WTEXT("key")), WTEXT("new"));
    EXPECT_EQ(Number(pair, 2), 0u);

    EXPECT_TRUE(Bool(child, 17, &other, 1));
    EXPECT_EQ(Word(other, 5), WTEXT("d"));
    EXPECT_EQ(Number(other, 2), 0u);
    void* same = root;
    EXPECT_TRUE(Member(child, 19, &child, 1));
    EXPECT_FALSE(Member(child, 19, &same, 1));
    EXPECT_TRUE(Bool(child, 14, WTEXT("key")));
    EXPECT_EQ(Number(child, 4), 0u);
    EXPECT_TRUE(Bool(child, 16));
    EXPECT_EQ(Number(root, 7), 0u);
    EXPECT_EQ(Number(child, 2), 0u);
    EXPECT_EQ(Number(root, 2), 1u);
    document->Release();
}

TEST_P(InterfaceTable, OfTheScriptResult) {
    IScriptResultParser* parsed = nullptr;
    ASSERT_TRUE(Parvel().parse(WTEXT("(12 -2.5 \"t x\")"), &parsed));
    void* const list = parsed;
    void* item = nullptr;
    EXPECT_EQ(Number(list, 0, &kUnknown, &item), 0x80004001u);
    EXPECT_EQ(Number(list, 1), 2u);
    EXPECT_EQ(Number(list, 2), 1u);
    EXPECT_EQ(Number(list, 3), 3u);
    EXPECT_FALSE(Bool(list, 5));
    EXPECT_EQ(Word(list, 9), WTEXT("(12 -2.5 \"t x\")"));
    EXPECT_FALSE(Bool(list, 4, 3, &item));
    const struct {
        bool isUnquoted;
        std::int32_t integer;
        double number;
        const WCHAR* text;
    } rows[] = {{true, 12, 12, WTEXT("12")}, {true, -2, -2.5, WTEXT("-2.5")}, {false, 0, 0, WTEXT("t x")}};
    for (const auto& row : rows) {
        ASSERT_TRUE(Bool(list, 4, static_cast<int>(&row - rows), &item));
        EXPECT_TRUE(Bool(item, 5));
        EXPECT_EQ(Bool(item, 6), row.isUnquoted);
        EXPECT_EQ(static_cast<std::int32_t>(Number(item, 7)), row.integer);
        EXPECT_EQ(Double(item, 8), row.number);
        EXPECT_EQ(Word(item, 9), row.text);
        EXPECT_EQ(Number(item, 2), 0u);
    }
    Number(list, 10);  // what Release calls in the end
}

}  // namespace
