#include "script/text_search.h"

#include "platform/unit_mask.h"

std::size_t FindUnit(TextView text, WCHAR unit, std::size_t start) {
    std::size_t i = start;
    for (; i + kMaskUnits <= text.size(); i += kMaskUnits) {
        if (const std::uint64_t found = EqualUnits(&text[i], unit)) return i + FirstInMask(found);
    }
    for (; i < text.size(); ++i) {
        if (text[i] == unit) return i;
    }
    return TextView::npos;
}

std::size_t FindLastUnit(TextView text, WCHAR unit) {
    std::size_t end = text.size();
    for (; end >= kMaskUnits; end -= kMaskUnits) {
        if (const std::uint64_t found = EqualUnits(&text[end - kMaskUnits], unit)) {
            return end - kMaskUnits + LastInMask(found);
        }
    }
    while (end > 0) {
        if (text[--end] == unit) return end;
    }
    return TextView::npos;
}

std::size_t FindUnitNotAfter(TextView text, WCHAR unit, WCHAR before, std::size_t start) {
    std::size_t i = start;
    for (; i + kMaskUnits <= text.size(); i += kMaskUnits) {
        const std::uint64_t found = EqualUnits(&text[i], unit) & ~EqualUnits(&text[i - 1], before);
        if (found) return i + FirstInMask(found);
    }
    for (; i < text.size(); ++i) {
        if (text[i] == unit && text[i - 1] != before) return i;
    }
    return TextView::npos;
}
