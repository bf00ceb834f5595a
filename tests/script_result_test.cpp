// Script results: a table of the rules, a random comparison with a plain model of them, and what a host may do.
#include <gtest/gtest.h>

#include <bit>

#include <cmath>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "failing_new.h"
#include "platform/text.h"
#include "platform/unit_mask.h"
#include "platform/utf8.h"
#include "script/script_result_parser.h"
#include "script_model.h"

namespace {

/// One reference to a parser.
class CParser {
public:
    explicit CParser(const Text& text) { EXPECT_TRUE(CScriptResultParser::Create(text.c_str(), &m_parser)); }
    explicit CParser(IScriptResultParser* parser) : m_parser(parser) {}
    CParser(CParser&& other) noexcept : m_parser(std::exchange(other.m_parser, nullptr)) {}
    ~CParser() {
        if (m_parser) m_parser->Release();
    }

    IScriptResultParser* operator->() const { return m_parser; }
    CParser Item(std::int32_t index) const {
        IScriptResultParser* item = nullptr;
        EXPECT_TRUE(m_parser->GetItem(index, &item));
        return CParser(item);
    }

private:
    IScriptResultParser* m_parser = nullptr;
};

Text Wide(std::string_view utf8) {
    Text text;
    EXPECT_TRUE(Utf8ToText(utf8, text)) << utf8;
    return text;
}

std::string Repeat(std::string_view part, std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += part;
    return text;
}

/// The whole tree, as script_model.h writes it.
std::string Notation(const CParser& parser, bool withListTexts = false) {
    return ScriptNotation(parser.operator->(), withListTexts);
}

TEST(ScriptResult, OpensToTheTree) {
    const struct {
        const char* text;
        const char* tree;
    } rows[] = {
        // Values.
        {"", "<>"},
        {"abc", "<abc>"},
        {" (1)", "< (1)>"},
        {"\t'a", "<\t'a>"},
        {"12 )", "<12 )>"},
        {"'abc", "<abc>"},
        {"'", "<>"},
        {"''(a)", "<'(a)>"},
        {"'\"a\"", "\"a\""},
        {"' (a)", "< (a)>"},
        {"\"a b\"", "\"a b\""},
        {"\"a\"b\"c", "\"a\"b\""},
        {"\"abc", "\"\""},
        {"\"", "\"\""},
        {"\"\"", "\"\""},
        {"a\"b\"", "<a\"b\">"},
        {"a\\n", "<a\\n>"},
        // Escapes, in quoted values only.
        {R"("\a\b\t\n\v\f\r")", "\"\a\b\t\n\v\f\r\""},
        {R"("\\n\"\'\x41\0\?")", "\"\\n\"'x410?\""},
        {R"("a\")", "\"a\""},
        {R"("a\\")", "\"a\\\""},
        {"\"\\\xF0\x9D\x84\x9E\"", "\"\xF0\x9D\x84\x9E\""},
        // Lines are dropped while the text begins with neither a bracket nor a quote mark.
        {"abc\ndef", "<def>"},
        {"a\r\nb\r", "<b\r>"},
        {"abc\n", "<>"},
        {"\n\n\nx", "<x>"},
        {"head\n(1 2)", "[<1> <2>]"},
        {"head\n'(1\n2)", "[<2>]"},
        {"head\n'a\nb", "<a\nb>"},
        {"\"a\nb\"", "<b\">"},
        {"'\"a\nb\"", "\"a\nb\""},
        {"(1 2)\n(3 4)", "[<1> [] <4>]"},
        // Lists.
        {"(1 2 3)", "[<1> <2> <3>]"},
        {"()", "[]"},
        {"( )", "[< >]"},
        {"'(a b)", "[<a> <b>]"},
        {"'()", "[]"},
        {"(", "[]"},
        {"(a b", "[]"},
        {"'(a b", "[]"},
        {"(a) b) c", "[<a)> <b>]"},
        {"(a  b)", "[<a> < b>]"},
        {"( a b)", "[< a b>]"},
        {"(a b )", "[<a> <b>]"},
        {"(a b  )", "[<a> <b> < >]"},
        {"(a\tb\nc d)", "[<c> <d>]"},
        // A bracketed item ends at its first closing bracket; the unit after an item is skipped, whatever it is.
        {"((1 2) (3 4))", "[[<1> <2>] [<3> <4>]]"},
        {"((1 (2 3)) 4)", "[[<1> []] < 4>]"},
        {"((1)(2))", "[[<1>] <2)>]"},
        {"((1)x)", "[[<1>]]"},
        {"((1)xy)", "[[<1>] <y>]"},
        {"((1)xyz u)", "[[<1>] <yz> <u>]"},
        {"((a) b", "[[]]"},
        {"(x (a)", "[<x> []]"},
        {"(() ())", "[[] []]"},
        {"('(1 2) '\"x y\")", "[[] <2)> \"\" <y\">]"},
        // Quoted items.
        {"(\"a b\" c)", "[\"a b\" <c>]"},
        {"(\"\" \"\")", "[\"\" \"\"]"},
        {"(\"a\"bc d)", "[\"a\" <c> <d>]"},
        {"(\"a\"b)", "[\"a\"]"},
        {"(a \"b c)", "[<a> \"\"]"},
        {"(a b\"c d\")", "[<a> <b\"c> <d\">]"},
        {R"(("a\" b" c))", "[\"a\" b\" <c>]"},
        {R"(("a\\" b" c))", "[\"a\\\" b\" <c>]"},
        {R"(("\")", "[]"},
        {R"(("\"))", "[\"\"]"},
        {R"(("a)b" "c)d"))", "[\"a)b\" \"c)d\"]"},
    };
    for (const auto& row : rows) {
        // The second form has the same tree after a page of dropped lines.
        EXPECT_EQ(Notation(CParser(Wide(row.text))), row.tree) << row.text;
        EXPECT_EQ(Notation(CParser(Wide(Repeat("line\n", 30) + row.text))), row.tree) << row.text;
    }
}

/// Texts of up to `mostUnits` of the units that mean something, some of them rare in each text.
Text RandomText(std::mt19937& random, std::size_t mostUnits) {
    static constexpr char kUnits[] = "()\"'\\ \nabn09*";
    std::vector<double> weights;
    const double rarity = static_cast<double>(random() % 4);
    for (const char unit : std::string_view(kUnits)) {
        const bool isCommon = unit == ' ' || (unit >= 'a' && unit <= 'z');
        weights.push_back(isCommon ? 1 : std::pow(0.2, rarity) * static_cast<double>(random() % 3));
    }
    std::discrete_distribution<std::size_t> pick(weights.begin(), weights.end());
    Text text = random() % 2 ? WTEXT("(") : WTEXT("");
    for (std::size_t left = random() % mostUnits; left > 0; --left) text += static_cast<WCHAR>(kUnits[pick(random)]);
    if (random() % 2) text += ')';
    return text;
}

TEST(ScriptResult, RandomTextsOpenAsTheModelSays) {
    std::mt19937 random(5);
    for (int i = 0; i < 60'000; ++i) {
        const Text text = RandomText(random, i % 20 == 0 ? 700 : 40);
        ASSERT_EQ(Notation(CParser(text), true), ScriptModelNotation(text)) << i << ": " << TextToUtf8(text);
    }
}

/// Items of every length at every place of a block, each kind of item after each.
TEST(ScriptResult, ItemsOfEveryLengthOpenAsTheModelSays) {
    for (std::size_t length = 1; length < 140; ++length) {
        const std::string plain(length, 'x');
        std::string list = "(";
        for (const char* before : {"", "(", "\"", "\"\\", "*", "'", " "}) {
            for (const char* after : {"", ")", "\"", "\\\" \""}) list += before + plain + after + " " + plain + " ";
        }
        const Text text = Wide(list + ")");
        ASSERT_EQ(Notation(CParser(text), true), ScriptModelNotation(text)) << length;
    }
}

TEST(ScriptResult, MillionsOfItemsLinesAndEscapes) {
    const std::int32_t itemCount = 1'000'000;
    std::string list = "(";
    for (std::int32_t i = 0; i < itemCount; ++i) list += std::to_string(i) + " ";
    const CParser items(Wide(list + ")"));
    ASSERT_EQ(items->GetItemCount(), itemCount);
    for (std::int32_t i = 0; i < itemCount; ++i) ASSERT_EQ(items.Item(i)->GetInt(), i);

    EXPECT_EQ(Notation(CParser(Wide(Repeat("line\n", 1'000'000) + "(1 2)"))), "[<1> <2>]");

    const CParser quoted(Wide("(\"" + Repeat("\\\"", 2'500'000) + "\" \"next\")"));
    ASSERT_EQ(quoted->GetItemCount(), 2);
    EXPECT_EQ(Text(quoted.Item(0)->GetString()), Text(2'500'000, '"'));
    EXPECT_EQ(Notation(quoted.Item(1)), "\"next\"");

    // Brackets are not counted, so a list nests deeply only as an item that begins with a dropped line.
    IScriptResultParser* level = nullptr;
    ASSERT_TRUE(CScriptResultParser::Create(Wide(Repeat("( \n", 2'000) + Repeat(")", 2'000)).c_str(), &level));
    int depth = 0;
    while (level->GetItemCount() > 0) {
        IScriptResultParser* inner = nullptr;
        ASSERT_TRUE(level->GetItem(0, &inner));
        level->Release();
        level = inner;
        ++depth;
    }
    level->Release();
    EXPECT_EQ(depth, 2000);
}

TEST(ScriptResult, ChildOutlivesItsParentAndOpensAnewEachTime) {
    CParser parent(Wide("((a \"b c\") d)"));
    const CParser child = parent.Item(0);
    const CParser twin = parent.Item(0);
    EXPECT_NE(child.operator->(), twin.operator->());
    { const CParser released = std::move(parent); }
    EXPECT_EQ(Notation(child, true), "[(a \"b c\"):<a> \"b c\"]");
    EXPECT_EQ(Notation(twin), Notation(child));
}

TEST(ScriptResult, AnswersOddArguments) {
    const CParser list(Wide("(1 2 3)"));
    IScriptResultParser* const untouched = list.operator->();
    IScriptResultParser* out = untouched;
    for (const std::int32_t index : {3, -1, 0x7FFFFFFF, -0x7FFFFFFF - 1}) EXPECT_FALSE(list->GetItem(index, &out));
    EXPECT_FALSE(list->GetItem(0, nullptr));
    EXPECT_FALSE(CScriptResultParser::Create(WTEXT("x"), nullptr));
    void* queried = &out;
    EXPECT_EQ(list->QueryInterface(IID_IBinNode, &queried), static_cast<HRESULT>(0x80004001));
    EXPECT_EQ(queried, &out);
    EXPECT_EQ(out, untouched);

    IScriptResultParser* empty = nullptr;
    ASSERT_TRUE(CScriptResultParser::Create(static_cast<const WCHAR*>(nullptr), &empty));
    EXPECT_EQ(Notation(CParser(empty)), "<>");
}

TEST(ScriptResult, NumbersComeFromValuesQuotedOrNot) {
    const struct {
        const char* text;
        std::int32_t integer;
        double number;
    } rows[] = {
        {"", 0, 0}, {"-12.5x", -12, -12.5}, {"\" 7e2\"", 7, 700}, {"'\"3\"", 3, 3}, {"(1)", 0, 0}, {"'(1)", 0, 0},
    };
    for (const auto& row : rows) {
        const CParser parser(Wide(row.text));
        EXPECT_EQ(parser->GetInt(), row.integer) << row.text;
        EXPECT_EQ(parser->GetDouble(), row.number) << row.text;
    }
}

TEST(ScriptResult, EveryFailedAllocationGivesFalseAndNull) {
    const Text text = Wide("((" + Repeat("item ", 100) + ") \"" + Repeat("\\n", 100) + "\")");
    for (const std::int32_t item : {-1, 0, 1}) {
        const CParser list(text);
        IScriptResultParser* out = nullptr;
        int failures = 0;
        for (;; ++failures) {
            out = list.operator->();
            const CFailingNew failing(failures);
            if (item < 0 ? CScriptResultParser::Create(text.c_str(), &out) : list->GetItem(item, &out)) break;
            ASSERT_EQ(out, nullptr);
        }
        out->Release();
        EXPECT_GE(failures, 2) << item;
    }
}

TEST(UnitMask, AgreesWithItsPortableTwin) {
    std::mt19937 random(9);
    Text units(kMaskUnits, 0);
    for (int i = 0; i < 10'000; ++i) {
        for (WCHAR& unit : units) unit = static_cast<WCHAR>(random() % 3 ? random() : 0x20 + random() % 12);
        const auto care = static_cast<WCHAR>(random() % 2 ? 0xFFFF : random());
        const auto value = static_cast<WCHAR>(units[random() % units.size()] & care);
        const std::uint64_t mask = MatchUnits(units.data(), care, value);
        ASSERT_EQ(mask, MatchUnitsPortable(units.data(), care, value));
        ASSERT_EQ(CountInMask(mask), static_cast<std::size_t>(std::popcount(mask)));
        ASSERT_EQ(CountInMask(~mask), static_cast<std::size_t>(std::popcount(~mask)));
    }
}

}  // namespace
