// Initialisation files: [section] lines, and key=value lines below them.
//
// Blanks around names and values are dropped, then one pair of equal quotes around a value. Lines that open with a
// semicolon are comments. Lines end with CR LF, LF or CR. Of two sections or two keys with one name the first counts.
#pragma once

#include <cstdint>

#include "platform/text.h"

/// Reads a file as text: UTF-16 or UTF-8 with a byte order mark; otherwise each byte is one character. False when it
/// cannot be read. Throws std::bad_alloc.
bool ReadIniFile(const WCHAR* path, Text& contents);

/// The value of a key, as a part of `contents`. False when there is no such section, or no such key in it. Names are
/// compared without regard to the case of A to Z.
bool FindIniValue(TextView contents, TextView section, TextView key, TextView& value);

/// The decimal number that leads a value, after blanks and at most one sign, modulo 2^32; 0 when there are no digits.
std::uint32_t IniNumber(TextView text);
