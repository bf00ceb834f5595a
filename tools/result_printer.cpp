#include "result_printer.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "escape.h"
#include "indent.h"
#include "platform/com_ptr.h"

namespace {

// Units that all levels together may be parsed from: some ten seconds. A hundred thousand levels fit, or the few levels
// of any text that memory holds.
constexpr std::uint64_t kMostWork = 40'000'000'000;

/// A text as ASCII, without the white space in front; empty when it holds anything else.
std::string NumberText(TextView text) {
    std::string ascii;
    for (const WCHAR unit : text) {
        const bool isSpace = unit == ' ' || (unit >= '\t' && unit <= '\r');
        if (isSpace && ascii.empty()) continue;
        if (unit <= ' ' || unit > '~') return {};
        ascii += static_cast<char>(unit);
    }
    return ascii;
}

bool IsSign(char c) {
    return c == '-' || c == '+';
}

bool IsInteger(std::string_view text) {
    if (text.size() > 1 && text[0] == '+' && !IsSign(text[1])) text.remove_prefix(1);
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

bool IsNumber(std::string_view text) {
    if (text.size() > 1 && IsSign(text[0]) && !IsSign(text[1])) text.remove_prefix(1);
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    if (isHex) text.remove_prefix(2);
    double value = 0;
    const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, format);
    return error != std::errc::invalid_argument && end == text.data() + text.size();
}

template <class Number>
std::string Written(Number number) {
    char digits[40];
    return {digits, std::to_chars(digits, digits + sizeof digits, number).ptr};
}

void AppendValue(IScriptResultParser* value, const ResultView& view, std::string& line) {
    const TextView text(value->GetString());
    if (!value->IsUnquoted()) {
        line += "string ";
        AppendQuoted(text, view.mostCharacters, line);
        return;
    }
    const std::string number = NumberText(text);
    std::string read = number;
    if (IsInteger(number)) {
        line += "integer ";
        read = Written(value->GetInt());
    } else if (IsNumber(number)) {
        line += "number ";
        read = Written(value->GetDouble());
    } else {
        line += "word ";
    }
    AppendName(text, view.mostCharacters, line);
    if (read != number) line += " = " + read;
}

// A list whose items are being printed.
struct Step {
    CComRef<IScriptResultParser> list;
    std::size_t level = 0;
    std::int32_t nextItem = 0;
    std::int32_t itemCount = 0;
};

}  // namespace

std::size_t PrintResult(IScriptResultParser* result, std::size_t unitCount, const ResultView& view, COutput& output) {
    const std::uint64_t levelLimit = kMostWork / std::max<std::size_t>(unitCount, 1);
    std::size_t stoppedAt = 0;
    std::vector<Step> path;
    std::string line;
    const auto print = [&](CComRef<IScriptResultParser> parser, std::size_t level) {
        line.clear();
        AppendIndent(level, line);
        const std::int32_t itemCount = parser->GetItemCount();
        if (parser->IsValue()) {
            AppendValue(parser.Get(), view, line);
        } else {
            line += "list of " + std::to_string(itemCount) + (itemCount == 1 ? " item" : " items");
        }
        const bool isCut = itemCount > 0 && level >= std::min(view.mostLevels, levelLimit);
        if (isCut && level < view.mostLevels) stoppedAt = level;
        line += isCut ? " …\n" : "\n";
        output.Append(line);
        if (itemCount > 0 && !isCut) path.push_back({std::move(parser), level, 0, itemCount});
    };

    print(CComRef<IScriptResultParser>::Share(result), 1);
    while (!path.empty()) {
        Step& step = path.back();
        const std::size_t level = step.level + 1;
        CComRef<IScriptResultParser> item;
        if (!step.list->GetItem(step.nextItem++, item.Out())) throw std::bad_alloc();
        // A list that has given its last item is let go. Deep lists are last items, or nearly so (an item in front of
        // others ends at the first bracket, quote or blank), so the texts held along the path are a handful.
        if (step.nextItem == step.itemCount) path.pop_back();
        print(std::move(item), level);
    }
    return stoppedAt;
}
