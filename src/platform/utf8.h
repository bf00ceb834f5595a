// UTF-8 at the edges of the library: file names, terminals, command lines. Inside, texts are UTF-16.
#pragma once

#include <string>
#include <string_view>

#include "platform/text.h"

/// Decodes strictly: false, and `text` undefined, for any byte that is not part of well-formed UTF-8.
bool Utf8ToText(std::string_view bytes, Text& text);

/// Encodes for people to read: an unpaired surrogate becomes U+FFFD.
std::string TextToUtf8(TextView text);

/// Appends one code point. A surrogate or a number past U+10FFFF becomes U+FFFD.
void AppendUtf8(char32_t point, std::string& bytes);

/// The code point at the front of a non-empty text, and its number of code units (1 or 2) in `unitCount`. An unpaired
/// surrogate is given as it stands.
char32_t FirstPoint(TextView text, std::size_t& unitCount);
