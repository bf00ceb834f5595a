#include "script_model.h"

#include <utility>
#include <vector>

#include "platform/utf8.h"

std::string ScriptNotation(IScriptResultParser* parser, bool withListTexts) {
    const std::string text = TextToUtf8(parser->GetString());
    const std::int32_t itemCount = parser->GetItemCount();
    if (parser->IsValue()) {
        const std::string_view quotes = itemCount > 0 ? "??" : parser->IsUnquoted() ? "<>" : "\"\"";
        return quotes[0] + text + quotes[1];
    }
    std::string notation = parser->IsUnquoted() ? "?[" : "[";
    if (withListTexts) notation += text + ":";
    for (std::int32_t i = 0; i < itemCount; ++i) {
        if (i > 0) notation += ' ';
        IScriptResultParser* item = nullptr;
        if (!parser->GetItem(i, &item)) return notation + "?";
        notation += ScriptNotation(item, withListTexts);
        item->Release();
    }
    return notation + "]";
}

namespace {

int ModelClosingQuote(const Text& text, int start) {
    std::size_t quote = text.find('"', static_cast<std::size_t>(start));
    while (quote != Text::npos && quote > 0) {
        if (text[quote - 1] != '\\') return static_cast<int>(quote);
        quote = text.find('"', quote + 1);
    }
    return -1;
}

int ModelSplit(const Text& rest) {
    if (!rest.empty() && rest[0] == '(') return rest.find(')') == Text::npos ? 0 : static_cast<int>(rest.find(')')) + 1;
    if (!rest.empty() && rest[0] == '"') return ModelClosingQuote(rest, 1) + 1;
    return rest.find(' ') == Text::npos ? -1 : static_cast<int>(rest.find(' '));
}

std::vector<Text> ModelItems(Text rest) {
    std::vector<Text> items;
    rest = rest.substr(1);
    rest = rest.find(')') == Text::npos ? Text() : rest.substr(0, rest.rfind(')'));
    int split = ModelSplit(rest);
    while (split > 0) {
        items.push_back(rest.substr(0, static_cast<std::size_t>(split)));
        if (split >= static_cast<int>(rest.size()) - 1) {
            rest.clear();
            break;
        }
        rest = rest.substr(static_cast<std::size_t>(split) + 1);
        split = ModelSplit(rest);
    }
    if (!rest.empty()) items.push_back(rest);
    return items;
}

std::string ModelList(const Text& text, const Text& list) {
    std::string notation = "[" + TextToUtf8(text) + ":";
    const char* separator = "";
    for (const Text& item : ModelItems(list)) notation += std::exchange(separator, " ") + ScriptModelNotation(item);
    return notation + "]";
}

std::string ModelValue(const Text& text) {
    if (text.empty() || text[0] != '"') return "<" + TextToUtf8(text) + ">";
    const Text rest = text.substr(1);
    const Text inner = rest.find('"') == Text::npos ? Text() : rest.substr(0, rest.rfind('"'));
    Text value;
    for (std::size_t i = 0; i < inner.size(); ++i) {
        if (inner[i] != '\\') {
            value += inner[i];
        } else if (++i < inner.size()) {
            const std::string_view letters = "abtnvfr";
            const std::size_t letter = inner[i] < 128 ? letters.find(static_cast<char>(inner[i])) : std::string::npos;
            value += letter == std::string::npos ? inner[i] : static_cast<WCHAR>("\a\b\t\n\v\f\r"[letter]);
        }
    }
    return "\"" + TextToUtf8(value) + "\"";
}

}  // namespace

std::string ScriptModelNotation(Text text) {
    for (;;) {
        if (!text.empty() && text[0] == '(') return ModelList(text, text);
        if (!text.empty() && text[0] == '\'') {
            const Text rest = text.substr(1);
            return !rest.empty() && rest[0] == '(' ? ModelList(text, rest) : ModelValue(rest);
        }
        if (text.find('\n') == Text::npos) return ModelValue(text);
        text = text.substr(text.find('\n') + 1);
    }
}
