#include <unistd.h>

#include <climits>
#include <cstring>
#include <string_view>

#include "platform/linux/ini.h"
#include "platform/module.h"
#include "platform/utf8.h"

namespace {

constexpr std::size_t kMostPathUnits = 260;

// As Utf8ToText, but a byte that is not UTF-8 becomes the unpaired surrogate U+DC80 plus its low seven bits.
Text DecodeFileName(std::string_view bytes) {
    Text text;
    Text decoded;
    while (!bytes.empty()) {
        std::size_t count = bytes.size() < 4 ? bytes.size() : 4;
        while (count > 0 && !Utf8ToText(bytes.substr(0, count), decoded)) --count;
        if (count == 0) {
            decoded.assign(1, static_cast<WCHAR>(0xDC00 | static_cast<unsigned char>(bytes[0])));
            count = 1;
        }
        text += decoded;
        bytes.remove_prefix(count);
    }
    return text;
}

}  // namespace

std::uint32_t GetModuleFileNameW(void* module, WCHAR* path, std::uint32_t unitCount) noexcept {
    if (unitCount == 0) return 0;
    path[0] = 0;
    if (module) return 0;
    try {
        char bytes[PATH_MAX];
        const ssize_t byteCount = readlink("/proc/self/exe", bytes, sizeof bytes);
        if (byteCount <= 0) return 0;
        const Text name = DecodeFileName({bytes, static_cast<std::size_t>(byteCount)});
        const std::size_t kept = name.size() < unitCount ? name.size() : unitCount - 1;
        name.copy(path, kept);
        path[kept] = 0;
        return kept < name.size() ? unitCount : static_cast<std::uint32_t>(kept);
    } catch (...) {
        return 0;
    }
}

bool PathRenameExtensionW(WCHAR* path, const WCHAR* extension) noexcept {
    const TextView whole(path);
    const std::size_t lastStop = whole.find_last_of(WTEXT("/ ."));
    const bool hasExtension = lastStop != TextView::npos && whole[lastStop] == u'.';
    const std::size_t stemLength = hasExtension ? lastStop : whole.size();
    const std::size_t extensionLength = TextLength(extension);
    if (stemLength + extensionLength >= kMostPathUnits) return false;
    std::memcpy(path + stemLength, extension, (extensionLength + 1) * sizeof(WCHAR));
    return true;
}

std::uint32_t GetPrivateProfileIntW(const WCHAR* section, const WCHAR* key, std::int32_t defaultValue,
                                    const WCHAR* path) noexcept {
    const std::uint32_t fallback = static_cast<std::uint32_t>(defaultValue);
    if (!section || !key) return fallback;
    try {
        Text contents;
        TextView value;
        if (!ReadIniFile(path, contents) || !FindIniValue(contents, section, key, value) || value.empty()) {
            return fallback;
        }
        return IniNumber(value);
    } catch (...) {
        return fallback;
    }
}
