#include "platform/linux/path.h"

namespace {

constexpr std::size_t kMostBytesPerPoint = 4;

char* AppendPoint(char32_t point, char* bytes) {
    if (point < 0x80) {
        *bytes++ = static_cast<char>(point);
        return bytes;
    }
    if (point < 0x800) {
        *bytes++ = static_cast<char>(0xC0 | (point >> 6));
    } else if (point < 0x10000) {
        *bytes++ = static_cast<char>(0xE0 | (point >> 12));
        *bytes++ = static_cast<char>(0x80 | ((point >> 6) & 0x3F));
    } else {
        *bytes++ = static_cast<char>(0xF0 | (point >> 18));
        *bytes++ = static_cast<char>(0x80 | ((point >> 12) & 0x3F));
        *bytes++ = static_cast<char>(0x80 | ((point >> 6) & 0x3F));
    }
    *bytes++ = static_cast<char>(0x80 | (point & 0x3F));
    return bytes;
}

}  // namespace

bool PathToFileName(const WCHAR* path, FileName& name) {
    if (!path || !*path) return false;
    char* bytes = name.bytes;
    const char* end = name.bytes + sizeof(name.bytes);
    for (; *path; ++path) {
        char32_t point = *path;
        if (IsHighSurrogate(*path) && IsLowSurrogate(path[1])) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (path[1] & 0x3FFu);
            ++path;
        } else if (IsHighSurrogate(*path) || IsLowSurrogate(*path)) {
            return false;
        }
        char encoded[kMostBytesPerPoint];
        const char* encodedEnd = AppendPoint(point, encoded);
        if (end - bytes <= encodedEnd - encoded) return false;
        for (const char* byte = encoded; byte != encodedEnd; ++byte) *bytes++ = *byte;
    }
    *bytes = 0;
    return true;
}
