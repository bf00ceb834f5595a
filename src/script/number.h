// Numbers at the beginning of a text, read as the system's run-time library reads them in the "C" locale, whatever the
// process's locale is: white space first (Unicode's, too), then an optional sign; what follows the number is ignored.
// The decimal digits of other scripts (full-width, Arabic-Indic...) count as digits. 0 when there is no number.
#pragma once

#include <cstdint>

#include "platform/text.h"

/// Decimal digits; a number too large gives the largest or the smallest integer.
std::int32_t LeadingInteger(TextView text) noexcept;

/// Decimal or hexadecimal floating-point notation, "inf", "infinity", "nan", "nan(...)" in any case. A number too large
/// gives an infinity, one too small 0, both with the sign.
double LeadingNumber(TextView text) noexcept;
