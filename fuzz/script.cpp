// Each byte is a code unit; after FF FE each pair of bytes is one.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include "script/number.h"
#include "script_model.h"
#include "support.h"

namespace {

Text TextOf(FuzzBytes bytes) {
    if (bytes.size() < 2 || bytes[0] != 0xFF || bytes[1] != 0xFE) return Text(bytes.begin(), bytes.end());
    Text text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) text += static_cast<WCHAR>(bytes[i] | bytes[i + 1] << 8);
    return text;
}

/// Plain text reads as a number as the system's own functions, in the "C" locale, read it.
void CheckNumbers(const Text& text) {
    if (std::any_of(text.begin(), text.end(), [](WCHAR unit) { return unit >= 0x80; })) return;
    const std::string narrow(text.begin(), text.end());

    const long long whole = std::strtoll(narrow.c_str(), nullptr, 10);
    constexpr long long kLeast = std::numeric_limits<std::int32_t>::min();
    constexpr long long kMost = std::numeric_limits<std::int32_t>::max();
    Require(LeadingInteger(text) == std::clamp(whole, kLeast, kMost), "the integer is the system's");

    const double expected = std::strtod(narrow.c_str(), nullptr);
    const double actual = LeadingNumber(text);
    Require(actual == expected || (std::isnan(actual) && std::isnan(expected)), "the number is the system's");
    Require(std::signbit(actual) == std::signbit(expected), "the number's sign is the system's");
}

}  // namespace

void FuzzScript(FuzzBytes bytes) {
    const Text text = Text(TextOf(bytes).c_str());
    CComRef<IScriptResultParser> parser;
    Require(GetScriptResultParser(text.c_str(), parser.Out()), "every text has a parser");
    RequireEqual(ScriptNotation(parser.Get(), true), ScriptModelNotation(text), "the tree is the model's");

    CheckNumbers(text);
    const bool isValue = parser->IsValue();
    const Text shown = parser->GetString();
    Require(parser->GetInt() == (isValue ? LeadingInteger(shown) : 0), "a value's integer is its text's");
    const double number = parser->GetDouble();
    Require(isValue || number == 0, "a list's number is 0");
    for (const std::int32_t index : {-1, parser->GetItemCount(), std::numeric_limits<std::int32_t>::max()}) {
        IScriptResultParser* item = nullptr;
        Require(!parser->GetItem(index, &item) && !item, "there is no item past either end");
    }
}
