// The edge of the library: what can be found in it, and every operation called through its bare table entry.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "library.h"
#include "raw_call.h"

namespace {

// That these are all, and undecorated, is checked with the file's headers.
TEST(DllExports, NamesAndOrdinalsLeadToTheSameFunctions) {
    const HMODULE module = Parvel().module;
    ASSERT_NE(module, nullptr);
    const char* names[] = {"KestQueryBinDocInterface", "TransXml2Bin", "EcSpt", "DeSpt", "FreeSpt",
                           "GetScriptResultParser"};
    for (std::size_t i = 0; i < std::size(names); ++i) {
        EXPECT_NE(Export(module, names[i]), nullptr) << names[i];
        EXPECT_EQ(Export(module, names[i]), Export(module, MAKEINTRESOURCEA(5 + i))) << names[i];
    }
    for (const int ordinal : {1, 4, 11}) EXPECT_EQ(Export(module, MAKEINTRESOURCEA(ordinal)), nullptr) << ordinal;
}

// Calls with the arguments at one distance from a 16-byte boundary, and holds every callee to its convention: it takes
// its arguments off the stack, and keeps ebx, esi and edi.
class RawCaller {
public:
    explicit RawCaller(std::uint32_t stackShift) : m_stackShift(stackShift) {}

    RawResult Function(const void* function, std::initializer_list<RawArgument> arguments, bool givesNumber = false) {
        return Call(function, 0, arguments, givesNumber);
    }
    // __stdcall: the object is the first argument.
    template <class Interface>
    RawResult Operation(Interface* object, int entry, std::vector<RawArgument> arguments = {},
                        bool givesNumber = false) {
        arguments.insert(arguments.begin(), RawArgument(object));
        return Call(Table(object)[entry], 0, arguments, givesNumber);
    }
    // __thiscall: the object is in ecx.
    template <class Interface>
    RawResult Member(Interface* object, int entry, const std::vector<RawArgument>& arguments) {
        return Call(Table(object)[entry], RawArgument(object).value, arguments, false);
    }

private:
    static const void* const* Table(void* object) { return *static_cast<const void* const* const*>(object); }

    RawResult Call(const void* function, std::uint32_t ecx, const std::vector<RawArgument>& arguments,
                   bool givesNumber) {
        std::vector<std::uint32_t> pushed;
        for (const RawArgument& argument : arguments) pushed.push_back(argument.value);
        RawResult result = {};
        ParvelRawCall(function, pushed.data(), static_cast<std::uint32_t>(pushed.size()), ecx, m_stackShift, &result,
                      givesNumber);
        EXPECT_EQ(result.poppedBytes, static_cast<std::int32_t>(4 * pushed.size()));
        EXPECT_NE(result.keepsRegisters, 0u);
        return result;
    }

    std::uint32_t m_stackShift;
};

// A bool is one byte: what stands in the rest of eax means nothing.
std::uint32_t Bool(const RawResult& result) {
    return result.eax & 0xFF;
}

std::wstring Word(const RawResult& result) {
    const auto* text = reinterpret_cast<const wchar_t*>(result.eax);
    return text ? text : L"(null)";
}

class DllTables : public ::testing::TestWithParam<std::uint32_t> {
protected:
    RawCaller m_raw{GetParam()};
    ComSession m_com;
    WorkFolder m_folder;
};
INSTANTIATE_TEST_SUITE_P(StackShift, DllTables, ::testing::Values(0, 4, 8, 12));

TEST_P(DllTables, FunctionsKeepTheirConvention) {
    const Library& parvel = Parvel();
    const auto address = [](auto* function) { return reinterpret_cast<const void*>(function); };
    const std::wstring xml = m_folder.File(L"a.xml").wstring();
    const std::wstring bin = m_folder.File(L"größe.bdoc").wstring();
    WriteFileBytes(xml, "<a/>");

    IBinDocument* document = nullptr;
    const IID other = {1, 2, 3, {}};
    EXPECT_EQ(m_raw.Function(address(parvel.query), {&other, &document}).eax, 0x80004005u);
    EXPECT_EQ(document, nullptr);
    EXPECT_EQ(m_raw.Function(address(parvel.query), {&IID_IBinDocument, &document}).eax, 0u);
    ASSERT_NE(document, nullptr);
    document->Release();
    EXPECT_EQ(Bool(m_raw.Function(address(parvel.convert), {xml.c_str(), bin.c_str()})), 1u);
    EXPECT_EQ(ReadFileBytes(bin), kSmallDocument);
    EXPECT_EQ(Bool(m_raw.Function(address(parvel.ecSpt), {0u, 0u})), 1u);
    EXPECT_EQ(Bool(m_raw.Function(address(parvel.ecSpt), {7u, ~0u})), 1u);
    EXPECT_EQ(m_raw.Function(address(parvel.deSpt), {~0u}).eax, 0u);
    EXPECT_EQ(Bool(m_raw.Function(address(parvel.freeSpt), {nullptr})), 0u);
    IScriptResultParser* parser = nullptr;
    EXPECT_EQ(Bool(m_raw.Function(address(parvel.parse), {L"(1 2)", &parser})), 1u);
    ASSERT_NE(parser, nullptr);
    parser->Release();
}

TEST_P(DllTables, DocumentEntriesAreWhereHostsCallThem) {
    const std::wstring path = m_folder.File(L"x.bdoc").wstring();
    const std::wstring xmlPath = m_folder.File(L"x.xml").wstring();
    WriteFileBytes(path, kSmallDocument);
    IBinDocument* const document = NewDocument();
    IBinDocument* other = nullptr;
    IBinNode* node = nullptr;
    const std::uint32_t option = 5;

    EXPECT_EQ(m_raw.Operation(document, 0, {&IID_IBinDocument, &other}).eax, 0u);
    EXPECT_EQ(other, document);
    EXPECT_EQ(m_raw.Operation(document, 0, {&IID_IBinNode, &other}).eax, 1u);
    EXPECT_EQ(m_raw.Operation(document, 1).eax, 3u);
    EXPECT_EQ(m_raw.Operation(document, 2).eax, 2u);
    EXPECT_EQ(m_raw.Operation(document, 2).eax, 1u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 3, {path.c_str()})), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 3, {xmlPath.c_str()})), 0u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 3, {path.c_str()})), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 4, {kSmallDocument.data()})), 1u);
    m_raw.Operation(document, 5, {&node});
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(std::wstring(node->GetName()), L"a");
    node->Release();
    EXPECT_EQ(Bool(m_raw.Operation(document, 15)), 0u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 16, {1})), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 15)), 1u);
    m_raw.Operation(document, 6, {&other});
    ASSERT_NE(other, document);
    EXPECT_EQ(Bool(m_raw.Member(document, 18, {&other})), 1u);
    m_raw.Operation(document, 8, {&node});
    ASSERT_NE(node, nullptr);
    EXPECT_EQ(node->GetName(), nullptr);
    node->Release();
    m_raw.Operation(document, 9, {&node, L"b"});
    EXPECT_EQ(std::wstring(node->GetName()), L"b");
    node->Release();
    m_raw.Operation(document, 10, {1, &option});
    EXPECT_EQ(m_raw.Operation(document, 11, {1}).eax, 0u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 12)), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(document, 13, {path.c_str()})), 1u);
    EXPECT_EQ(ReadFileBytes(path), kSmallDocument);
    m_raw.Operation(document, 14, {xmlPath.c_str()});
    m_raw.Operation(document, 7);
    EXPECT_EQ(Bool(m_raw.Member(document, 18, {&other})), 0u);
    m_raw.Operation(other, 17);
    EXPECT_EQ(m_raw.Operation(document, 2).eax, 0u);
}

TEST_P(DllTables, NodeEntriesAreWhereHostsCallThem) {
    IBinDocument* const document = NewDocument();
    IBinNode* root = nullptr;
    IBinNode* child = nullptr;
    IBinNode* other = nullptr;
    document->GetRoot(&root);
    document->CreateElement(&child, L"c");

    EXPECT_EQ(m_raw.Operation(child, 0, {&IID_IBinNode, &other}).eax, 0u);
    EXPECT_EQ(other, child);
    EXPECT_EQ(m_raw.Operation(child, 0, {&IID_IBinDocument, &other}).eax, 1u);
    EXPECT_EQ(m_raw.Operation(child, 1).eax, 2u);
    EXPECT_EQ(m_raw.Operation(child, 2).eax, 1u);
    EXPECT_EQ(m_raw.Operation(child, 3).eax, 1u);
    EXPECT_EQ(Bool(m_raw.Operation(root, 15, {&child})), 1u);
    EXPECT_EQ(m_raw.Operation(root, 7).eax, 1u);
    m_raw.Operation(child, 8, {&other});
    EXPECT_EQ(other, root);
    other->Release();
    m_raw.Operation(root, 9, {0, &other});
    EXPECT_EQ(other, child);
    other->Release();
    m_raw.Operation(root, 9, {-1, &other});
    EXPECT_EQ(other, nullptr);
    EXPECT_EQ(Bool(m_raw.Operation(child, 12, {L"d"})), 1u);
    EXPECT_EQ(Word(m_raw.Operation(child, 5)), L"d");
    EXPECT_EQ(Bool(m_raw.Operation(child, 13, {L"Key", L"value"})), 1u);
    EXPECT_EQ(m_raw.Operation(child, 4).eax, 1u);
    EXPECT_EQ(Word(m_raw.Operation(child, 10, {L"key"})), L"value");
    EXPECT_EQ(Word(m_raw.Operation(child, 6)), L"(null)");
    EXPECT_EQ(Bool(m_raw.Operation(child, 18, {L"text"})), 1u);
    EXPECT_EQ(Word(m_raw.Operation(child, 6)), L"text");

    IAttrPair* pair = nullptr;
    m_raw.Operation(child, 11, {0, &pair});
    ASSERT_NE(pair, nullptr);
    IAttrPair* same = nullptr;
    EXPECT_EQ(m_raw.Operation(pair, 0, {&IID_IAttrPair, &same}).eax, 0u);
    EXPECT_EQ(same, pair);
    EXPECT_EQ(m_raw.Operation(pair, 1).eax, 2u);
    EXPECT_EQ(Word(m_raw.Operation(pair, 3)), L"key");
    EXPECT_EQ(Word(m_raw.Operation(pair, 4)), L"value");
    EXPECT_EQ(Bool(m_raw.Operation(pair, 5, {L"new"})), 1u);
    EXPECT_EQ(Word(m_raw.Operation(child, 10, {L"key"})), L"new");
    EXPECT_EQ(m_raw.Operation(pair, 2).eax, 1u);
    EXPECT_EQ(m_raw.Operation(pair, 2).eax, 0u);

    EXPECT_EQ(Bool(m_raw.Operation(child, 17, {&other, 1})), 1u);
    other->Release();
    EXPECT_EQ(Bool(m_raw.Member(child, 19, {&child, 1})), 1u);
    EXPECT_EQ(Bool(m_raw.Member(child, 19, {&root, 1})), 0u);
    EXPECT_EQ(Bool(m_raw.Operation(child, 14, {L"key"})), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(child, 16)), 1u);
    EXPECT_EQ(m_raw.Operation(root, 7).eax, 0u);
    child->Release();
    root->Release();
    document->Release();
}

TEST_P(DllTables, ParserEntriesAreWhereHostsCallThem) {
    IScriptResultParser* parser = nullptr;
    IScriptResultParser* item = nullptr;
    void* nothing = nullptr;
    ASSERT_TRUE(Parvel().parse(L"(12 -2.5 \"t x\")", &parser));
    EXPECT_EQ(m_raw.Operation(parser, 0, {&IID_IUnknown, &nothing}).eax, 0x80004001u);
    EXPECT_EQ(m_raw.Operation(parser, 1).eax, 2u);
    EXPECT_EQ(m_raw.Operation(parser, 2).eax, 1u);
    EXPECT_EQ(m_raw.Operation(parser, 3).eax, 3u);
    EXPECT_EQ(Bool(m_raw.Operation(parser, 5)), 0u);
    EXPECT_EQ(Word(m_raw.Operation(parser, 9)), L"(12 -2.5 \"t x\")");
    EXPECT_EQ(Bool(m_raw.Operation(parser, 4, {3, &item})), 0u);
    ASSERT_EQ(Bool(m_raw.Operation(parser, 4, {1, &item})), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(item, 5)), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(item, 6)), 1u);
    EXPECT_EQ(static_cast<std::int32_t>(m_raw.Operation(item, 7).eax), -2);
    EXPECT_EQ(m_raw.Operation(item, 8, {}, true).number, -2.5);
    item->Release();
    ASSERT_EQ(Bool(m_raw.Operation(parser, 4, {2, &item})), 1u);
    EXPECT_EQ(Bool(m_raw.Operation(item, 6)), 0u);
    EXPECT_EQ(Word(m_raw.Operation(item, 9)), L"t x");
    EXPECT_EQ(m_raw.Operation(item, 8, {}, true).number, 0.0);
    EXPECT_EQ(m_raw.Operation(item, 2).eax, 0u);
    EXPECT_EQ(m_raw.Operation(parser, 2).eax, 0u);
}

}  // namespace
