// parvel result: a script's result, taken apart, as an indented tree.
#include <cstdint>
#include <cstdio>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>

#include "files.h"
#include "parvel/parvel.h"
#include "platform/com_ptr.h"
#include "platform/utf8.h"
#include "result_printer.h"
#include "verbs.h"

namespace {

constexpr std::size_t kUsualCharacters = 200;

struct ResultOptions {
    std::string text;
    std::uint64_t depth = 0;  // 0: all
    bool isFull = false;
};

[[noreturn]] void RefuseByte(const std::string& place, std::size_t offset, const std::string& what) {
    throw CFault(ExitCode::BadInput, place + ": byte " + std::to_string(offset), what,
                 "give it as UTF-8; standard input may also be UTF-16 with a byte order mark");
}

Text DecodeUtf16(const std::string& place, std::string_view bytes, bool isBigEndian) {
    if (bytes.size() % 2 != 0) RefuseByte(place, bytes.size() - 1, "half a UTF-16 code unit");
    Text text;
    for (std::size_t i = 2; i < bytes.size(); i += 2) {
        const unsigned first = static_cast<unsigned char>(bytes[i]);
        const unsigned second = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<WCHAR>(isBigEndian ? first << 8 | second : second << 8 | first);
    }
    return text;
}

// Offset of the first byte that is not UTF-8.
std::size_t FindBadByte(std::string_view bytes) {
    Text ignored;
    std::size_t offset = 0;
    for (std::size_t count = 1; count <= 4 && offset < bytes.size(); ++count) {
        if (!Utf8ToText(bytes.substr(offset, count), ignored)) continue;
        offset += count;
        count = 0;
    }
    return offset;
}

Text DecodeUtf8(const std::string& place, std::string_view bytes) {
    Text text;
    if (!Utf8ToText(bytes, text)) RefuseByte(place, FindBadByte(bytes), "not UTF-8");
    return text;
}

Text ReadInput() {
    const std::string place = "standard input";
    const std::string bytes = ReadStandardInput();
    Text text;
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
        text = DecodeUtf16(place, bytes, bytes.starts_with("\xFE"));
    } else {
        text = DecodeUtf8(place, bytes);
        if (text.starts_with(u'\uFEFF')) text.erase(0, 1);
    }
    const std::size_t zero = text.find(WCHAR(0));
    if (zero == Text::npos) return text;
    throw CFault(ExitCode::BadInput, place + ": character " + std::to_string(zero),
                 "a zero character, at which a text ends", "take it out, or cut the text there");
}

ExitCode ShowResult(const ResultOptions& options) {
    const Text text = options.text == "-" ? ReadInput() : DecodeUtf8("the text", options.text);
    CComRef<IScriptResultParser> result;
    if (!GetScriptResultParser(text.c_str(), result.Out())) throw std::bad_alloc();

    const ResultView view = {options.depth == 0 ? std::numeric_limits<std::uint64_t>::max() : options.depth,
                             options.isFull ? std::numeric_limits<std::size_t>::max() : kUsualCharacters};
    COutput output;
    const std::size_t stoppedAt = PrintResult(result.Get(), text.size(), view, output);
    output.Finish();
    if (stoppedAt > 0) {
        throw CFault(ExitCode::BadInput, "", "lists nest too deep to be shown whole",
                     "ended at level " + std::to_string(stoppedAt) + "; --depth ends at any level before it");
    }
    if (text.ends_with(u'\n') && result->IsUnquoted() && *result->GetString() == 0) {
        std::fputs("parvel: the text ends with a line feed, so all of it was dropped; printf writes none\n", stderr);
    }
    return ExitCode::Done;
}

}  // namespace

void AddResultVerb(CLI::App& app, Action& chosen) {
    CLI::App* verb = app.add_subcommand("result", "Show a script's result as an indented tree");
    const auto options = std::make_shared<ResultOptions>();
    verb->add_option("TEXT", options->text,
                     "The result's text; - reads it from standard input, -- goes before a text "
                     "that begins with a dash")
        ->required();
    verb->add_option("--depth", options->depth, "Show this many levels; the result itself is level 1")
        ->check([](const std::string& text) {
            return text.find_first_not_of("0") == std::string::npos ? std::string("must be 1 or more") : "";
        })
        ->type_name("N");
    verb->add_flag("--full", options->isFull, "Show texts whole that are longer than 200 characters");
    verb->callback([options, &chosen] { chosen = [options] { return ShowResult(*options); }; });
}
