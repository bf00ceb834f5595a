#include "platform/linux/xml_transcode.h"

#include "platform/utf8.h"

namespace {

bool IsAscii(char byte) {
    return static_cast<unsigned char>(byte) < 0x80;
}

// Converts one character of well-formed UTF-8 that is not ASCII.
const char* WidenCharacter(const char* bytes, WCHAR*& units) {
    const auto byteAt = [bytes](int i) { return static_cast<std::uint32_t>(static_cast<unsigned char>(bytes[i])); };
    const std::uint32_t lead = byteAt(0);
    if (lead < 0xE0) {
        *units++ = static_cast<WCHAR>((lead & 0x1F) << 6 | (byteAt(1) & 0x3F));
        return bytes + 2;
    }
    if (lead < 0xF0) {
        *units++ = static_cast<WCHAR>((lead & 0x0F) << 12 | (byteAt(1) & 0x3F) << 6 | (byteAt(2) & 0x3F));
        return bytes + 3;
    }
    const std::uint32_t point =
        (lead & 0x07) << 18 | (byteAt(1) & 0x3F) << 12 | (byteAt(2) & 0x3F) << 6 | (byteAt(3) & 0x3F);
    *units++ = static_cast<WCHAR>(0xD7C0 + (point >> 10));
    *units++ = static_cast<WCHAR>(0xDC00 + (point & 0x3FF));
    return bytes + 4;
}

}  // namespace

WCHAR* WidenUtf8(const char* bytes, std::size_t byteCount, WCHAR* units) {
    const char* end = bytes + byteCount;
    while (bytes != end) {
        for (; end - bytes >= 8 && AreEightAscii(bytes); bytes += 8, units += 8) WidenEight(bytes, units);
        const std::size_t rest = static_cast<std::size_t>(end - bytes);
        if (rest == 0) break;
        // The last few bytes in one step with some before them, which give the same units again.
        if (rest < 8 && byteCount >= 8 && AreEightAscii(end - 8)) {
            WidenEight(end - 8, units + rest - 8);
            return units + rest;
        }
        while (bytes != end && !IsAscii(*bytes)) bytes = WidenCharacter(bytes, units);
        for (int i = 0; i < 8 && bytes != end && IsAscii(*bytes); ++i) *units++ = static_cast<WCHAR>(*bytes++);
    }
    return units;
}

Text Utf8ForDisplay(const char* bytes, std::size_t byteCount) {
    const std::string_view all(bytes, byteCount);
    Text text;
    if (Utf8ToText(all, text)) return text;
    Text shown;
    for (std::size_t i = 0; i < byteCount;) {
        // The longest well-formed character here, at most four bytes.
        std::size_t length = 1;
        while (length <= 4 && i + length <= byteCount && !Utf8ToText(all.substr(i, length), text)) ++length;
        if (length <= 4 && i + length <= byteCount) {
            shown += text;
            i += length;
        } else {
            shown += static_cast<WCHAR>(0xFFFD);
            ++i;
        }
    }
    return shown;
}
