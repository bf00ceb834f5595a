// Taking script results apart, against one look at every byte and one copy.
#include <parvel/parvel.h>

#include <cstring>
#include <memory>
#include <string>

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

bool Parse(const Text& text, std::int32_t itemCount) {
    IScriptResultParser* parser = nullptr;
    GetScriptResultParser(text.c_str(), &parser);
    const bool isRight = itemCount < 0 || parser->GetItemCount() == itemCount;
    parser->Release();
    return isRight;
}

bool LookAndCopy(const Text& text) {
    const std::size_t byteCount = text.size() * sizeof(WCHAR);
    if (std::memchr(text.data(), 0xFF, byteCount)) return false;
    const auto copy = std::make_unique_for_overwrite<unsigned char[]>(byteCount);
    std::memcpy(copy.get(), text.data(), byteCount);
    benchmark::DoNotOptimize(copy.get());
    benchmark::ClobberMemory();
    return true;
}

using Maker = Text (*)(std::size_t);

template <class Job>
void RegisterShape(const std::string& figure, const char* contender, const std::string& label, Maker make,
                   std::size_t size, Memory memory, Job&& job) {
    Register(figure, contender, label, [=](benchmark::State& state) {
        const Text text = make(size);
        if (memory == Memory::kKept) job(text);  // the first time
        Measure(
            state, [&] { return &text; }, job, memory);
    });
}

}  // namespace

void RegisterScript() {
    constexpr std::int32_t kItemCount = 1'000'000;
    const auto parseItems = [](const Text& text) { return Parse(text, kItemCount); };
    RegisterShape("script_million_again", "parvel", "items/1000000", ListOf, kItemCount, Memory::kKept, parseItems);
    RegisterShape("script_million_again", "look_and_copy", "items/1000000", ListOf, kItemCount, Memory::kKept,
                  LookAndCopy);

    const std::pair<const char*, Maker> shapes[] = {
        {"script_list", ListOfUnits}, {"script_lines", Lines}, {"script_quoted", QuotedItem}};
    const auto parse = [](const Text& text) { return Parse(text, -1); };
    for (std::size_t byteCount = 100'000'000; byteCount >= 1'000'000; byteCount /= 2) {
        const std::string label = "bytes/" + std::to_string(byteCount);
        const std::size_t size = byteCount / sizeof(WCHAR);
        for (const auto& [figure, make] : shapes) {
            RegisterShape(figure, "parvel", label, make, size, Memory::kFresh, parse);
        }
        RegisterShape("script_quoted", "look_and_copy", label, QuotedItem, size, Memory::kFresh, LookAndCopy);
    }
}
