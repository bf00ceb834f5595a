#include <string>

#include "platform/linux/ini.h"
#include "support.h"

namespace {

bool IsWithin(TextView part, TextView whole) {
    return part.data() >= whole.data() && part.data() + part.size() <= whole.data() + whole.size();
}

// The rules once more, a line at a time from copies.
Text Trimmed(const Text& text) {
    std::size_t first = 0;
    std::size_t end = text.size();
    while (first < end && text[first] != 0 && text[first] <= ' ') ++first;
    while (end > first && text[end - 1] != 0 && text[end - 1] <= ' ') --end;
    return text.substr(first, end - first);
}

bool ModelFind(const Text& contents, const Text& section, const Text& key, Text& value) {
    bool isInSection = false;
    Text line;
    for (std::size_t i = 0; i <= contents.size(); ++i) {
        if (i < contents.size() && contents[i] != '\n' && contents[i] != '\r') {
            line += contents[i];
            continue;
        }
        line = Trimmed(line);
        const std::size_t bracket = line.rfind(']');
        const std::size_t equals = line.find('=');
        if (!line.empty() && line[0] == '[' && bracket != Text::npos) {
            if (isInSection) return false;
            isInSection = FoldedCase(Trimmed(line.substr(1, bracket - 1))) == FoldedCase(section);
        } else if (isInSection && !line.empty() && line[0] != ';' && equals != Text::npos &&
                   FoldedCase(Trimmed(line.substr(0, equals))) == FoldedCase(key)) {
            value = Trimmed(line.substr(equals + 1));
            const WCHAR quote = value.size() < 2 ? WCHAR(0) : value.front();
            if ((quote == '"' || quote == '\'') && value.back() == quote) value = value.substr(1, value.size() - 2);
            return true;
        }
        line.clear();
    }
    return false;
}

}  // namespace

void FuzzIni(FuzzBytes bytes) {
    static CMemoryFile file;
    file.Write(bytes);
    Text contents;
    Require(ReadIniFile(file.Path(), contents), "any file can be read");
    Require(contents.size() <= bytes.size(), "a text has no more units than its file has bytes");
    for (const WCHAR* key : {WTEXT("Lower"), WTEXT("loglevel"), WTEXT("")}) {
        for (const WCHAR* section : {WTEXT("Config"), WTEXT("")}) {
            TextView value;
            Text expected;
            const bool isFound = FindIniValue(contents, section, key, value);
            Require(isFound == ModelFind(contents, section, key, expected), "what the model finds is found");
            if (!isFound) continue;
            Require(IsWithin(value, contents) && value == expected, "the value is the model's, in the contents");
            static_cast<void>(IniNumber(value));
        }
    }
}
