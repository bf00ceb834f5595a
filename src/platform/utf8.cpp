#include "platform/utf8.h"

#include <cstdint>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

constexpr bool IsSurrogate(char32_t point) {
    return point >= 0xD800 && point <= 0xDFFF;
}

void AppendUtf16(char32_t point, Text& text) {
    if (point < 0x10000) {
        text += static_cast<WCHAR>(point);
        return;
    }
    point -= 0x10000;
    text += static_cast<WCHAR>(0xD800 + (point >> 10));
    text += static_cast<WCHAR>(0xDC00 + (point & 0x3FF));
}

// Bytes that follow a leading byte; -1 for a byte that leads nothing.
int ContinuationCount(unsigned char lead) {
    if (lead < 0x80) return 0;
    if (lead >= 0xC2 && lead <= 0xDF) return 1;
    if (lead >= 0xE0 && lead <= 0xEF) return 2;
    if (lead >= 0xF0 && lead <= 0xF4) return 3;
    return -1;
}

}  // namespace

bool Utf8ToText(std::string_view bytes, Text& text) {
    // The smallest code point that needs so many bytes: anything below is an overlong form.
    constexpr char32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    text.clear();
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        const unsigned char lead = static_cast<unsigned char>(bytes[i]);
        const int count = ContinuationCount(lead);
        if (count < 0 || bytes.size() - i <= static_cast<std::size_t>(count)) return false;
        char32_t point = count == 0 ? lead : lead & (0x3Fu >> count);
        for (int k = 0; k < count; ++k) {
            const unsigned char next = static_cast<unsigned char>(bytes[++i]);
            if ((next & 0xC0) != 0x80) return false;
            point = (point << 6) | (next & 0x3Fu);
        }
        if (point < kSmallest[count] || point > 0x10FFFF || IsSurrogate(point)) return false;
        AppendUtf16(point, text);
    }
    return true;
}

void AppendUtf8(char32_t point, std::string& bytes) {
    if (point > 0x10FFFF || IsSurrogate(point)) point = kReplacement;
    const auto continuation = [&](int shift) { bytes += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
        bytes += static_cast<char>(point);
    } else if (point < 0x800) {
        bytes += static_cast<char>(0xC0 | (point >> 6));
        continuation(0);
    } else if (point < 0x10000) {
        bytes += static_cast<char>(0xE0 | (point >> 12));
        continuation(6);
        continuation(0);
    } else {
        bytes += static_cast<char>(0xF0 | (point >> 18));
        continuation(12);
        continuation(6);
        continuation(0);
    }
}

char32_t FirstPoint(TextView text, std::size_t& unitCount) {
    const char32_t first = text[0];
    unitCount = 1;
    if (!IsHighSurrogate(text[0]) || text.size() < 2 || !IsLowSurrogate(text[1])) return first;
    unitCount = 2;
    return 0x10000 + ((first & 0x3FF) << 10) + (static_cast<char32_t>(text[1]) & 0x3FF);
}

std::string TextToUtf8(TextView text) {
    std::string bytes;
    bytes.reserve(text.size());
    std::size_t unitCount = 1;
    for (std::size_t i = 0; i < text.size(); i += unitCount) {
        AppendUtf8(FirstPoint(text.substr(i), unitCount), bytes);
    }
    return bytes;
}
