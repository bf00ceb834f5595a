// Script results: a table of the rules, and what a host may do. Random texts are compared with the plain model by the
// fuzzers' target for scripts (linux/fuzz_seeds_test.cpp).
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "failing_new.h"
#include "platform/com_ptr.h"
#include "platform/utf8.h"
#include "script/script_result_parser.h"
#include "script_model.h"

namespace {

using Parser = CComRef<IScriptResultParser>;

Text Wide(std::string_view utf8) {
    Text text;
    EXPECT_TRUE(Utf8ToText(utf8, text)) << utf8;
    return text;
}

Parser Parsed(std::string_view utf8) {
    Parser parser;
    EXPECT_TRUE(CScriptResultParser::Create(Wide(utf8).c_str(), parser.Out()));
    return parser;
}

Parser ItemOf(const Parser& parser, std::int32_t index) {
    Parser item;
    EXPECT_TRUE(parser->GetItem(index, item.Out()));
    return item;
}

std::string Repeat(std::string_view part, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += part;
    return text;
}

std::string Notation(const Parser& parser) {
    return ScriptNotation(parser.Get(), false);
}

TEST(ScriptResult, OpensToTheTree) {
    const struct {
        const char* text;
        const char* tree;
    } rows[] = {
        // Values; escapes are resolved in quoted ones only.
        {"", "<>"},
        {" (1)", "< (1)>"},
        {"'abc", "<abc>"},
        {"''(a)", "<'(a)>"},
        {"'\"a\"", "\"a\""},
        {"\"a\"b\"c", "\"a\"b\""},
        {"\"abc", "\"\""},
        {"a\\n", "<a\\n>"},
        {R"("\a\b\t\n\v\f\r")", "\"\a\b\t\n\v\f\r\""},
        {R"("\\n\"\'\x41\0\?")", "\"\\n\"'x410?\""},
        {R"("a\\")", "\"a\\\""},
        {"\"\\\xF0\x9D\x84\x9E\"", "\"\xF0\x9D\x84\x9E\""},
        // Lines are dropped while the text begins with neither a bracket nor a quote mark.
        {"a\r\nb\r", "<b\r>"},
        {"head\n'(1\n2)", "[<2>]"},
        {"head\n'a\nb", "<a\nb>"},
        {"(1 2)\n(3 4)", "[<1> [] <4>]"},
        // Lists. A bracketed item ends at its first closing bracket; the unit after an item is skipped.
        {"( )", "[< >]"},
        {"'(a b", "[]"},
        {"(a) b) c", "[<a)> <b>]"},
        {"(a b  )", "[<a> <b> < >]"},
        {"((1 (2 3)) 4)", "[[<1> []] < 4>]"},
        {"((1)xyz u)", "[[<1>] <yz> <u>]"},
        {"('(1 2) '\"x y\")", "[[] <2)> \"\" <y\">]"},
        {"(\"a\"bc d)", "[\"a\" <c> <d>]"},
        {"(a \"b c)", "[<a> \"\"]"},
        {R"(("a\" b" c))", "[\"a\" b\" <c>]"},
        {R"(("\"))", "[\"\"]"},
        {R"(("a)b" "c)d"))", "[\"a)b\" \"c)d\"]"},
    };
    for (const auto& row : rows) {
        // The second form has the same tree after a page of dropped lines.
        EXPECT_EQ(Notation(Parsed(row.text)), row.tree) << row.text;
        EXPECT_EQ(Notation(Parsed(Repeat("line\n", 30) + row.text)), row.tree) << row.text;
        EXPECT_EQ(ScriptNotation(Parsed(row.text).Get(), true), ScriptModelNotation(Wide(row.text))) << row.text;
    }
}

// Each kind of item after each, at every place of a block.
TEST(ScriptResult, ItemsOfEveryLengthOpenAsTheModelSays) {
    for (std::size_t length = 1; length < 140; ++length) {
        const std::string plain(length, 'x');
        std::string list = "(";
        for (const char* before : {"", "(", "\"", "\"\\", "*", "'", " "}) {
            for (const char* after : {"", ")", "\"", "\\\" \""}) list += before + plain + after + " " + plain + " ";
        }
        ASSERT_EQ(ScriptNotation(Parsed(list + ")").Get(), true), ScriptModelNotation(Wide(list + ")"))) << length;
    }
}

TEST(ScriptResult, MillionsOfItemsLinesAndEscapes) {
    const std::int32_t itemCount = 1'000'000;
    std::string list = "(";
    for (std::int32_t i = 0; i < itemCount; ++i) list += std::to_string(i) + " ";
    const Parser items = Parsed(list + ")");
    ASSERT_EQ(items->GetItemCount(), itemCount);
    for (std::int32_t i = 0; i < itemCount; ++i) ASSERT_EQ(ItemOf(items, i)->GetInt(), i);

    EXPECT_EQ(Notation(Parsed(Repeat("line\n", 1'000'000) + "(1 2)")), "[<1> <2>]");
    const Parser quoted = Parsed("(\"" + Repeat("\\\"", 2'500'000) + "\" \"next\")");
    EXPECT_EQ(Text(ItemOf(quoted, 0)->GetString()), Text(2'500'000, '"'));
    EXPECT_EQ(Notation(ItemOf(quoted, 1)), "\"next\"");

    // Brackets are not counted, so a list nests deeply only as an item that begins with a dropped line.
    Parser level = Parsed(Repeat("( \n", 2'000) + Repeat(")", 2'000));
    int depth = 0;
    for (; level->GetItemCount() > 0; ++depth) level = ItemOf(level, 0);
    EXPECT_EQ(depth, 2000);
}

TEST(ScriptResult, ChildOutlivesItsParentAndOpensAnewEachTime) {
    Parser parent = Parsed("((a \"b c\") d)");
    const Parser child = ItemOf(parent, 0);
    const Parser twin = ItemOf(parent, 0);
    EXPECT_NE(child.Get(), twin.Get());
    parent.Reset();
    EXPECT_EQ(ScriptNotation(child.Get(), true), "[(a \"b c\"):<a> \"b c\"]");
    EXPECT_EQ(Notation(twin), Notation(child));
}

TEST(ScriptResult, AnswersOddArguments) {
    const Parser list = Parsed("(1 2 3)");
    IScriptResultParser* out = list.Get();
    for (const std::int32_t index : {3, -1, 0x7FFFFFFF, -0x7FFFFFFF - 1}) EXPECT_FALSE(list->GetItem(index, &out));
    EXPECT_FALSE(list->GetItem(0, nullptr));
    EXPECT_FALSE(CScriptResultParser::Create(WTEXT("x"), nullptr));
    void* queried = &out;
    EXPECT_EQ(list->QueryInterface(IID_IBinNode, &queried), static_cast<HRESULT>(0x80004001));
    EXPECT_EQ(queried, &out);
    EXPECT_EQ(out, list.Get());
    EXPECT_EQ(list->GetInt(), 0);  // of a list
    Parser empty;
    ASSERT_TRUE(CScriptResultParser::Create(nullptr, empty.Out()));
    EXPECT_EQ(Notation(empty), "<>");
}

TEST(ScriptResult, EveryFailedAllocationGivesFalseAndNull) {
    const Text text = Wide("((" + Repeat("item ", 100) + ") \"" + Repeat("\\n", 100) + "\")");
    for (const std::int32_t item : {-1, 0, 1}) {
        Parser list;
        ASSERT_TRUE(CScriptResultParser::Create(text.c_str(), list.Out()));
        IScriptResultParser* out = nullptr;
        int failures = 0;
        for (;; ++failures) {
            out = list.Get();
            const CFailingNew failing(failures);
            if (item < 0 ? CScriptResultParser::Create(text.c_str(), &out) : list->GetItem(item, &out)) break;
            ASSERT_EQ(out, nullptr);
        }
        out->Release();
        EXPECT_GE(failures, 2) << item;
    }
}

}  // namespace
