// UTF-16 texts: the one character type of the library, and the few operations that every room needs.
//
// A text is WCHAR (wchar_t on Windows, char16_t elsewhere) and may hold lone surrogates. Nothing here depends on a
// locale: folding changes the letters A to Z only, as the system's own functions do in the default locale.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>

#include "parvel/types.h"
#include "platform/text_length.h"

using Text = std::basic_string<WCHAR>;
using TextView = std::basic_string_view<WCHAR>;

/// A literal of WCHARs on every system: WTEXT("name").
#ifdef _WIN32
#define WTEXT(literal) L##literal
#else
#define WTEXT(literal) u##literal
#endif

/// The text of a terminated string; null is the empty text.
inline TextView ViewOf(const WCHAR* text) {
    return text ? TextView(text, TextLength(text)) : TextView();
}

/// Like ==, which looks at one unit after another.
inline bool AreSame(TextView a, TextView b) {
    return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(WCHAR)) == 0);
}

constexpr bool IsUpperAscii(WCHAR unit) {
    return unit >= WCHAR('A') && unit <= WCHAR('Z');
}

constexpr WCHAR FoldCase(WCHAR unit) {
    return IsUpperAscii(unit) ? static_cast<WCHAR>(unit + ('a' - 'A')) : unit;
}

inline void FoldCase(WCHAR* text, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) text[i] = FoldCase(text[i]);
}

inline Text FoldedCase(TextView text) {
    Text folded(text);
    FoldCase(folded.data(), folded.size());
    return folded;
}

/// Whether folding would leave a terminated text as it is.
inline bool IsFolded(const WCHAR* text) {
    while (*text != 0 && !IsUpperAscii(*text)) ++text;
    return *text == 0;
}

inline bool EqualsIgnoringCase(TextView a, TextView b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (FoldCase(a[i]) != FoldCase(b[i])) return false;
    }
    return true;
}

constexpr bool IsHighSurrogate(WCHAR unit) {
    return (unit & 0xFC00u) == 0xD800u;
}

constexpr bool IsLowSurrogate(WCHAR unit) {
    return (unit & 0xFC00u) == 0xDC00u;
}
