#include "script/number.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>

namespace {

bool IsSpace(WCHAR unit) {
    if (unit <= ' ') return unit == ' ' || (unit >= '\t' && unit <= '\r');
    if (unit < 0x1680) return unit == 0x0085 || unit == 0x00A0;
    if (unit >= 0x2000 && unit <= 0x200A) return true;
    return unit == 0x1680 || unit == 0x2028 || unit == 0x2029 || unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

// The zeros of the decimal digits that the run-time library knows besides 0 to 9, ascending.
constexpr WCHAR kZeros[] = {0x0660, 0x06F0, 0x0966, 0x09E6, 0x0A66, 0x0AE6, 0x0B66, 0x0C66, 0x0CE6,
                            0x0D66, 0x0E50, 0x0ED0, 0x0F20, 0x1040, 0x17E0, 0x1810, 0xFF10};

/// The unit as an ASCII character, a digit of any script as its ASCII digit; 0 when it is neither.
char Narrow(WCHAR unit) {
    if (unit < 0x80) return static_cast<char>(unit);
    const WCHAR* after = std::upper_bound(std::begin(kZeros), std::end(kZeros), unit);
    if (after == std::begin(kZeros) || unit - after[-1] > 9) return 0;
    return static_cast<char>('0' + (unit - after[-1]));
}

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

/// Whether some notation of a number has this character.
bool MayBelongToNumber(char c) {
    return IsDigit(c) || IsLetter(c) || c == '.' || c == '+' || c == '-' || c == '(' || c == ')' || c == '_';
}

/// Takes white space and a sign off the text; true for a minus.
bool TakeSign(TextView& text) {
    std::size_t skipped = 0;
    while (skipped < text.size() && IsSpace(text[skipped])) ++skipped;
    text.remove_prefix(skipped);
    if (text.empty() || (text.front() != '-' && text.front() != '+')) return false;
    const bool isNegative = text.front() == '-';
    text.remove_prefix(1);
    return isNegative;
}

/// The units that `accept` takes, up to the first other one.
template <class Accept>
std::string NarrowPrefix(TextView text, Accept accept) {
    std::string narrow;
    for (const WCHAR unit : text) {
        const char c = Narrow(unit);
        if (!accept(c)) break;
        narrow.push_back(c);
    }
    return narrow;
}

/// Whether a number that no double can hold is too large, not too small. `digits` as from_chars took them, `last` its
/// end, without sign and prefix.
bool IsTooLarge(const char* first, const char* last, bool isHex) {
    // Places of the first digit that counts before the point, less the zeros between the point and it.
    std::int64_t places = 0;
    bool isBeforePoint = true;
    bool isZero = true;
    const char* c = first;
    for (; c != last && *c != (isHex ? 'p' : 'e') && *c != (isHex ? 'P' : 'E'); ++c) {
        if (*c == '.') {
            isBeforePoint = false;
            continue;
        }
        isZero = isZero && *c == '0';
        if (isBeforePoint && !isZero) ++places;
        if (!isBeforePoint && isZero) --places;
    }
    if (isHex) places *= 4;
    if (c == last) return places > 0;

    ++c;
    const bool isNegative = *c == '-';
    if (*c == '-' || *c == '+') ++c;
    constexpr std::int64_t kEnough = std::numeric_limits<std::int64_t>::max() / 16;  // more than any text has places
    std::int64_t exponent = 0;
    for (; c != last && exponent < kEnough; ++c) exponent = exponent * 10 + (*c - '0');
    return (isNegative ? places - exponent : places + exponent) > 0;
}

/// False when the text does not begin with a number.
bool ParseMagnitude(TextView text, double& value) {
    // The prefix is told by the units themselves: a zero of another script does not begin it.
    const bool isHex = text.size() >= 2 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    if (isHex) text.remove_prefix(2);
    std::string narrow = NarrowPrefix(text, MayBelongToNumber);
    narrow.resize(std::min(narrow.find("+-"), narrow.size()));  // some libraries take "p+-5" for an exponent
    const char* first = narrow.c_str();

    value = 0;
    // from_chars would take a second sign, and a word after the prefix.
    const bool isDigits = *first == '.' || IsDigit(*first) || IsLetter(*first);
    if (!isDigits || (isHex && std::string_view("iInN").find(*first) != std::string_view::npos)) return isHex;
    const auto format = isHex ? std::chars_format::hex : std::chars_format::general;
    const auto [last, error] = std::from_chars(first, first + narrow.size(), value, format);
    if (error == std::errc::result_out_of_range) value = IsTooLarge(first, last, isHex) ? HUGE_VAL : 0;
    return isHex || error != std::errc::invalid_argument;  // the prefix alone is a zero and a letter
}

}  // namespace

std::int32_t LeadingInteger(TextView text) noexcept try {
    const bool isNegative = TakeSign(text);
    std::string narrow(1, '-');
    narrow += NarrowPrefix(text, IsDigit);
    const char* first = narrow.data() + (isNegative ? 0 : 1);

    std::int32_t value = 0;
    const auto [last, error] = std::from_chars(first, narrow.data() + narrow.size(), value);
    if (error != std::errc::result_out_of_range) return value;
    return isNegative ? std::numeric_limits<std::int32_t>::min() : std::numeric_limits<std::int32_t>::max();
} catch (...) {  // out of memory over millions of digits
    return 0;
}

double LeadingNumber(TextView text) noexcept try {
    const bool isNegative = TakeSign(text);
    double value = 0;
    if (!ParseMagnitude(text, value)) return 0;
    return isNegative ? -value : value;
} catch (...) {
    return 0;
}
