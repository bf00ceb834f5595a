#include "platform/linux/path.h"

bool PathToFileName(const WCHAR* path, std::string& name) {
    if (!path || !*path) return false;
    name.clear();
    for (; *path; ++path) {
        char32_t point = *path;
        if (IsHighSurrogate(*path) && IsLowSurrogate(path[1])) {
            point = 0x10000 + ((point & 0x3FF) << 10) + (path[1] & 0x3FFu);
            ++path;
        } else if (IsHighSurrogate(*path) || IsLowSurrogate(*path)) {
            return false;
        }
        if (point < 0x80) {
            name += static_cast<char>(point);
        } else if (point < 0x800) {
            name += static_cast<char>(0xC0 | (point >> 6));
            name += static_cast<char>(0x80 | (point & 0x3F));
        } else if (point < 0x10000) {
            name += static_cast<char>(0xE0 | (point >> 12));
            name += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
            name += static_cast<char>(0x80 | (point & 0x3F));
        } else {
            name += static_cast<char>(0xF0 | (point >> 18));
            name += static_cast<char>(0x80 | ((point >> 12) & 0x3F));
            name += static_cast<char>(0x80 | ((point >> 6) & 0x3F));
            name += static_cast<char>(0x80 | (point & 0x3F));
        }
    }
    return true;
}
