// Texts as a terminal may show them: UTF-8 without anything that moves the cursor, hides or reorders letters.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/text.h"

/// Appends a text in double quotes, with \" \\ \n \r \t and, for other characters that cannot be seen and for half
/// surrogate pairs, \u{hex}. After `mostPoints` characters it ends with the number of those left out.
void AppendQuoted(TextView text, std::size_t mostPoints, std::string& line);

/// Appends a name as it stands if it reads as one word, otherwise quoted.
void AppendName(TextView name, std::size_t mostPoints, std::string& line);

/// Bytes from a command line or a file, for a message: what is not UTF-8 becomes \x and two digits.
std::string EscapeBytes(std::string_view bytes);
