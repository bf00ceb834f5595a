#include "escape.h"

#include <cstdio>

#include "platform/utf8.h"

namespace {

bool IsInvisible(char32_t point) {
    return point < 0x20 || (point >= 0x7F && point < 0xA0)  // control characters
           || point == 0xAD || point == 0x61C               // soft hyphen, Arabic letter mark
           || (point >= 0x200B && point <= 0x200F)          // widths of nothing, direction marks
           || (point >= 0x2028 && point <= 0x202E)          // separators, direction embeddings and overrides
           || (point >= 0x2060 && point <= 0x206F)          // joiners, direction isolates
           || (point >= 0xD800 && point <= 0xDFFF)          // half a surrogate pair
           || point == 0xFEFF || (point >= 0xFFF9 && point <= 0xFFFB) || (point & 0xFFFE) == 0xFFFE  // no characters
           || (point >= 0xE0000 && point <= 0xE0FFF);                                                // tags
}

void AppendNumbered(char32_t point, std::string& line) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "\\u{%X}", static_cast<unsigned>(point));
    line += digits;
}

void AppendEscaped(char32_t point, std::string& line) {
    switch (point) {
        case U'"':
            line += "\\\"";
            return;
        case U'\\':
            line += "\\\\";
            return;
        case U'\n':
            line += "\\n";
            return;
        case U'\r':
            line += "\\r";
            return;
        case U'\t':
            line += "\\t";
            return;
        default:
            break;
    }
    if (IsInvisible(point)) {
        AppendNumbered(point, line);
    } else {
        AppendUtf8(point, line);
    }
}

std::size_t CountPoints(TextView text) {
    std::size_t count = 0;
    std::size_t unitCount = 1;
    for (std::size_t i = 0; i < text.size(); i += unitCount) {
        FirstPoint(text.substr(i), unitCount);
        ++count;
    }
    return count;
}

// Neither empty nor anything that the notation of the tree gives a meaning.
bool IsWord(TextView name) {
    if (name.empty()) return false;
    std::size_t unitCount = 1;
    for (std::size_t i = 0; i < name.size(); i += unitCount) {
        const char32_t point = FirstPoint(name.substr(i), unitCount);
        if (IsInvisible(point) || point == U' ' || point == U'"' || point == U'=' || point == U'\\') return false;
    }
    return name.front() != u'[' && name.front() != u'(' && name.front() != u'…';
}

}  // namespace

void AppendQuoted(TextView text, std::size_t mostPoints, std::string& line) {
    line += '"';
    std::size_t unitCount = 1;
    std::size_t i = 0;
    for (std::size_t shown = 0; i < text.size() && shown < mostPoints; i += unitCount, ++shown) {
        AppendEscaped(FirstPoint(text.substr(i), unitCount), line);
    }
    line += '"';
    if (i < text.size()) line += "… +" + std::to_string(CountPoints(text.substr(i))) + " characters";
}

void AppendName(TextView name, std::size_t mostPoints, std::string& line) {
    if (IsWord(name) && name.size() <= mostPoints) {
        line += TextToUtf8(name);
    } else {
        AppendQuoted(name, mostPoints, line);
    }
}

std::string EscapeBytes(std::string_view bytes) {
    std::string line;
    Text decoded;
    while (!bytes.empty()) {
        std::size_t count = bytes.size() < 4 ? bytes.size() : 4;
        while (count > 0 && (!Utf8ToText(bytes.substr(0, count), decoded))) --count;
        if (count == 0) {
            char digits[8];
            std::snprintf(digits, sizeof digits, "\\x%02X",
                          static_cast<unsigned>(static_cast<unsigned char>(bytes[0])));
            line += digits;
            count = 1;
        } else {
            std::size_t unitCount = 1;
            for (std::size_t i = 0; i < decoded.size(); i += unitCount) {
                const char32_t point = FirstPoint(TextView(decoded).substr(i), unitCount);
                IsInvisible(point) ? AppendNumbered(point, line) : AppendUtf8(point, line);
            }
        }
        bytes.remove_prefix(count);
    }
    return line;
}
