#include "platform/linux/ini.h"

#include <string>
#include <string_view>

#include "platform/file.h"
#include "platform/utf8.h"

namespace {

constexpr bool IsBlank(WCHAR unit) {
    return unit != 0 && unit <= u' ';
}

TextView Trim(TextView text) {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

TextView Unquote(TextView text) {
    const bool isQuoted =
        text.size() >= 2 && text.front() == text.back() && (text.front() == u'"' || text.front() == u'\'');
    return isQuoted ? text.substr(1, text.size() - 2) : text;
}

// Takes the first line off the front of a text.
TextView NextLine(TextView& rest) {
    const TextView line = rest.substr(0, rest.find_first_of(WTEXT("\r\n")));
    rest.remove_prefix(line.size() < rest.size() ? line.size() + 1 : line.size());
    return Trim(line);
}

bool IsSectionLine(TextView line, TextView& name) {
    if (line.empty() || line.front() != u'[') return false;
    const std::size_t end = line.rfind(u']');
    if (end == TextView::npos) return false;
    name = Trim(line.substr(1, end - 1));
    return true;
}

bool ReadBytes(const WCHAR* path, std::string& bytes) {
    CInputFile file;
    if (!file.Open(path)) return false;
    const std::int64_t size = file.Size();
    if (size < 0) return false;
    bytes.resize(static_cast<std::size_t>(size));
    return file.Read(bytes.data(), bytes.size()) == size;
}

Text DecodeUtf16(std::string_view bytes, bool isBigEndian) {
    Text text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const unsigned char first = static_cast<unsigned char>(bytes[i]);
        const unsigned char second = static_cast<unsigned char>(bytes[i + 1]);
        text += static_cast<WCHAR>(isBigEndian ? first << 8 | second : second << 8 | first);
    }
    return text;
}

Text DecodeBytes(std::string_view bytes) {
    Text text;
    text.reserve(bytes.size());
    for (const char byte : bytes) text += static_cast<WCHAR>(static_cast<unsigned char>(byte));
    return text;
}

}  // namespace

bool ReadIniFile(const WCHAR* path, Text& contents) {
    std::string bytes;
    if (!ReadBytes(path, bytes)) return false;
    const std::string_view all(bytes);
    if (all.starts_with("\xFF\xFE")) {
        contents = DecodeUtf16(all.substr(2), false);
    } else if (all.starts_with("\xFE\xFF")) {
        contents = DecodeUtf16(all.substr(2), true);
    } else if (!all.starts_with("\xEF\xBB\xBF")) {
        contents = DecodeBytes(all);
    } else if (!Utf8ToText(all.substr(3), contents)) {
        contents = DecodeBytes(all.substr(3));
    }
    return true;
}

bool FindIniValue(TextView contents, TextView section, TextView key, TextView& value) {
    bool isInSection = false;
    while (!contents.empty()) {
        const TextView line = NextLine(contents);
        TextView name;
        if (IsSectionLine(line, name)) {
            if (isInSection) return false;
            isInSection = EqualsIgnoringCase(name, section);
            continue;
        }
        const std::size_t equals = line.find(u'=');
        if (!isInSection || line.empty() || line.front() == u';' || equals == TextView::npos) continue;
        if (!EqualsIgnoringCase(Trim(line.substr(0, equals)), key)) continue;
        value = Unquote(Trim(line.substr(equals + 1)));
        return true;
    }
    return false;
}

std::uint32_t IniNumber(TextView text) {
    text = Trim(text);
    const bool isNegative = !text.empty() && text.front() == u'-';
    if (isNegative || (!text.empty() && text.front() == u'+')) text.remove_prefix(1);
    std::uint32_t number = 0;
    for (const WCHAR unit : text) {
        if (unit < u'0' || unit > u'9') break;
        number = number * 10 + (unit - u'0');
    }
    return isNegative ? 0 - number : number;
}
