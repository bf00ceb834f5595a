// Numbers at the beginning of a script's value.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "script/number.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

TEST(ScriptNumber, LeadingInteger) {
    const struct {
        Text text;
        std::int32_t expected;
    } rows[] = {
        {WTEXT(""), 0},
        {WTEXT(" \t\n\v\f\r42"), 42},
        {WTEXT("\u0085\u00A0\u1680\u2000\u200A\u2028\u2029\u202F\u205F\u3000-5"), -5},
        {WTEXT("\u200B5"), 0},
        {WTEXT("2147483647"), 2147483647},
        {WTEXT("2147483648"), 2147483647},
        {WTEXT("-2147483648"), -2147483647 - 1},
        {WTEXT("-2147483649"), -2147483647 - 1},
        {WTEXT("99999999999999999999999"), 2147483647},
        {WTEXT("-") + Text(100'000, '9'), -2147483647 - 1},
        {Text(100'000, '0') + WTEXT("12"), 12},
        {WTEXT("\uFF11\uFF12\uFF19\uFF1A"), 129},
        {WTEXT("-\u0661\u09E9\u1819x"), -139},
        {WTEXT("\u0131"), 0},
    };
    for (const auto& row : rows) EXPECT_EQ(LeadingInteger(row.text), row.expected) << &row - rows;
}

TEST(ScriptNumber, LeadingNumber) {
    const struct {
        Text text;
        double expected;
    } rows[] = {
        {WTEXT("\u3000 1.5"), 1.5},
        {WTEXT("1,5"), 1},
        {WTEXT("\uFF11.\uFF15e\u0661"), 15},
        {WTEXT("\uFF10x10"), 0},
        {Text(100'000, '9'), kInfinity},
        {WTEXT("-") + Text(100'000, '9'), -kInfinity},
        {Text(1'000, '9') + WTEXT("e-1000"), 1},
        {WTEXT("0.") + Text(1'000, '0') + WTEXT("1e1001"), 1},
        {WTEXT("0.") + Text(1'000, '0') + WTEXT("1e700"), 1e-301},
        {WTEXT("1e99999999999999999999999"), kInfinity},
        {WTEXT("-1e-99999999999999999999999"), 0},
        {WTEXT("0e99999999999999999999999"), 0},
        {WTEXT("0x.") + Text(1'000, '0') + WTEXT("1p4004"), 1},
        {WTEXT("0x.") + Text(1'000, '0') + WTEXT("1p100"), 0},
        {WTEXT("0x1") + Text(400, '0') + WTEXT("p-500"), kInfinity},
        {WTEXT("0x.") + Text(400, '0') + WTEXT("1p500"), 0},
    };
    for (const auto& row : rows) EXPECT_EQ(LeadingNumber(row.text), row.expected) << &row - rows;
}

/// Texts made of what numbers are made of, and the system's own functions, which the tests run in the "C" locale.
TEST(ScriptNumber, RandomTextsReadAsTheSystemReadsThem) {
    static constexpr const char* kPieces[] = {"0",       "1",     "5",      "9",     "12345678901234567890",
                                              "0000000", "e",     "E",      "p",     "-",
                                              "+",       ".",     "x",      "0x",    "0X",
                                              "f",       "A",     "308",    "e-310", "400",
                                              "n",       "p1023", "p-1070", "inf",   "NaN",
                                              "nan(",    "12_a)", "Infin",  "ity",   " ",
                                              "e-323",   "4.9"};
    std::mt19937 random(3);
    int subnormalCount = 0;
    for (int i = 0; i < 400'000; ++i) {
        std::string narrow = random() % 3 ? "" : "0x";
        for (auto left = 1 + random() % 6; left > 0; --left) narrow += kPieces[random() % std::size(kPieces)];
        const Text text(narrow.begin(), narrow.end());

        char* end = nullptr;
        double expected = std::strtod(narrow.c_str(), &end);
        if (end == narrow.c_str()) expected = 0;  // some systems give a zero with the sign of what is no number
        const double actual = LeadingNumber(text);
        if (std::fpclassify(expected) == FP_SUBNORMAL) ++subnormalCount;
        ASSERT_EQ(std::isnan(actual), std::isnan(expected)) << narrow;
        ASSERT_EQ(std::signbit(actual), std::signbit(expected)) << narrow;
        ASSERT_TRUE(actual == expected || std::isnan(expected)) << narrow << ": " << actual << " is not " << expected;

        const long long whole = std::strtoll(narrow.c_str(), nullptr, 10);
        constexpr long long kLeast = std::numeric_limits<std::int32_t>::min();
        constexpr long long kMost = std::numeric_limits<std::int32_t>::max();
        ASSERT_EQ(LeadingInteger(text), whole < kLeast ? kLeast : whole > kMost ? kMost : whole) << narrow;
    }
    EXPECT_GT(subnormalCount, 1000);
}

}  // namespace
