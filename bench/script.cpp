// Taking script results apart, against one look at every byte and one copy.
#include <parvel/parvel.h>

#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include "contenders.h"
#include "measure.h"

namespace {

using Text = std::basic_string<WCHAR>;

Text ListOf(std::size_t itemCount) {
    std::string list = "(";
    for (std::size_t i = 0; i < itemCount; ++i) list += std::to_string(i) + ' ';
    list.back() = ')';
    return {list.begin(), list.end()};
}

Text ListOfUnits(std::size_t unitCount) {
    Text list = u"(";
    while (list.size() < unitCount) list += u"item ";
    list.back() = u')';
    return list;
}

// Many lines, of which the last is the result.
Text Lines(std::size_t unitCount) {
    Text lines;
    while (lines.size() < unitCount) lines += u"a line of notes that comes first\n";
    return lines + u"(done)";
}

// One item full of quotes that do not end it.
Text QuotedItem(std::size_t unitCount) {
    Text quoted = u"(\"";
    while (quoted.size() < unitCount) quoted += u"said \\\"so\\\" ";
    return quoted + u"\")";
}

struct CParser {
    IScriptResultParser* parser = nullptr;

    ~CParser() {
        if (parser) parser->Release();
    }
};

void Parse(benchmark::State& state, const Text& text, std::int32_t itemCount) {
    Measure(
        state, [] { return std::make_unique<CParser>(); },
        [&](CParser& subject) {
            return GetScriptResultParser(text.c_str(), &subject.parser) &&
                   (itemCount < 0 || subject.parser->GetItemCount() == itemCount);
        });
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size() * sizeof(WCHAR)));
}

void LookAndCopy(benchmark::State& state, const Text& text) {
    const std::size_t byteCount = text.size() * sizeof(WCHAR);
    Measure(
        state, [] { return std::make_unique<std::unique_ptr<unsigned char[]>>(); },
        [&](std::unique_ptr<unsigned char[]>& copy) {
            const void* found = std::memchr(text.data(), 0xFF, byteCount);
            copy = std::make_unique_for_overwrite<unsigned char[]>(byteCount);
            std::memcpy(copy.get(), text.data(), byteCount);
            benchmark::DoNotOptimize(copy.get());
            return found == nullptr;
        });
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(byteCount));
}

}  // namespace

void RegisterScript() {
    constexpr std::size_t kItemCount = 1'000'000;
    Register("script_million", "parvel", "items/1000000",
             [](benchmark::State& state) { Parse(state, ListOf(kItemCount), static_cast<std::int32_t>(kItemCount)); });
    Register("script_million", "look_and_copy", "items/1000000",
             [](benchmark::State& state) { LookAndCopy(state, ListOf(kItemCount)); });

    const std::pair<const char*, Text (*)(std::size_t)> shapes[] = {
        {"script_list", ListOfUnits}, {"script_lines", Lines}, {"script_quoted", QuotedItem}};
    for (std::size_t byteCount = 1'000; byteCount <= 100'000'000; byteCount *= 10) {
        for (const auto& [figure, make] : shapes) {
            Register(figure, "parvel", "bytes/" + std::to_string(byteCount),
                     [make = make, byteCount](benchmark::State& state) {
                         Parse(state, make(byteCount / sizeof(WCHAR)), -1);
                     });
        }
    }
}
