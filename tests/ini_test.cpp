// The look-up of integers in ini files, and the paths that lead to them.
#include <gtest/gtest.h>

#include <filesystem>
#include <limits>
#include <string>

#include "platform/module.h"
#include "test_files.h"

namespace {

using namespace std::string_literals;

std::string Utf16(const std::string& text, bool isBigEndian) {
    std::string bytes = isBigEndian ? "\xFE\xFF" : "\xFF\xFE";
    for (const char unit : text) {
        if (isBigEndian) bytes += '\0';
        bytes += unit;
        if (!isBigEndian) bytes += '\0';
    }
    return bytes;
}

struct IniCase {
    const char* name;
    std::string contents;
    std::int64_t expected;  // of key "Lower" of section "Config"; 77 is the default
};

TEST(Ini, FindsTheLeadingNumberOfTheFirstMatchingKey) {
    const IniCase cases[] = {
        {"plain", "[Config]\nLower=1\n", 1},
        {"CR LF, last line open", "[Config]\r\nLower=2", 2},
        {"CR alone", "[Config]\rLower=3\r", 3},
        {"double quotes", "[Config]\nLower=\"12\"\n", 12},
        {"unequal quotes are no number", "[Config]\nLower=\"14'\n", 0},
        {"comments", ";[Other]\n[Config]\n;Lower=1\n  ; Lower=2\nLower=15;16\n", 15},
        {"no digits", "[Config]\nLower=yes\n", 0},
        {"leading zeros", "[Config]\nLower=0019\n", 19},
        {"plus", "[Config]\nLower=+20\n", 20},
        {"minus", "[Config]\nLower=-1\n", -1},
        {"two signs", "[Config]\nLower=--1\n", 0},
        {"sign and blank", "[Config]\nLower=- 1\n", 0},
        {"largest", "[Config]\nLower=2147483647\n", std::numeric_limits<std::int32_t>::max()},
        {"smallest", "[Config]\nLower=-2147483648\n", std::numeric_limits<std::int32_t>::min()},
        {"past 32 bits, once around", "[Config]\nLower=4294967297\n", 1},
        {"far past 32 bits", "[Config]\nLower=-18446744073709551617\n", -1},
        {"no value", "[Config]\nLower=\n", 77},
        {"UTF-8 with its mark", "\xEF\xBB\xBF[Config]\nLower=24\n", 24},
        {"UTF-8 mark, bytes that are not", "\xEF\xBB\xBF[Config]\n\xFF=1\nLower=25\n", 25},
        {"8-bit letters", "[\xC5\xE4]\n\xD6=1\n[Config]\nLower=26\n", 26},
        {"UTF-16 LE", Utf16("[Config]\r\nLower=27\r\n", false), 27},
        {"UTF-16 BE", Utf16("[Config]\r\nLower=28\r\n", true), 28},
        {"UTF-16 LE, odd length", Utf16("[Config]\r\nLower=29\r\n", false) + "x", 29},
        {"UTF-16 mark alone", "\xFF\xFE", 77},
        {"zero bytes", "[Config]\n\0Lower=1\nLower=30\0\n"s, 30},
    };
    const CTestFolder folder;
    for (const IniCase& row : cases) {
        WriteBytes(folder.File("x.ini"), row.contents);
        const std::uint32_t number =
            GetPrivateProfileIntW(WTEXT("Config"), WTEXT("Lower"), 77, folder.Path("x.ini").c_str());
        EXPECT_EQ(static_cast<std::int32_t>(number), row.expected) << row.name;
    }
}

TEST(Ini, GivesTheDefaultWhenThereIsNothingToRead) {
    const CTestFolder folder;
    std::filesystem::create_directory(folder.File("folder.ini"));
    WriteBytes(folder.File("x.ini"), "[Config]\nLower=1\n"s);
    const Text path = folder.Path("x.ini");
    const auto read = [](const WCHAR* section, const WCHAR* key, const WCHAR* file) {
        return static_cast<std::int32_t>(GetPrivateProfileIntW(section, key, -5, file));
    };
    EXPECT_EQ(read(WTEXT("Config"), WTEXT("Lower"), path.c_str()), 1);
    EXPECT_EQ(read(WTEXT("Config"), WTEXT("Lower"), folder.Path("none.ini").c_str()), -5);
    EXPECT_EQ(read(WTEXT("Config"), WTEXT("Lower"), folder.Path("folder.ini").c_str()), -5);
    EXPECT_EQ(read(WTEXT("Config"), WTEXT("Lower"), (path + WCHAR(0xD800)).c_str()), -5);
}

TEST(Paths, ExtensionIsReplacedOrAppended) {
    const struct {
        const char* path;
        const char* expected;
    } cases[] = {
        {"/opt/viewer.exe", "/opt/viewer.ini"},
        {"/opt/viewer", "/opt/viewer.ini"},
        {"/opt/viewer.", "/opt/viewer.ini"},
        {"/opt/my.viewer.bin", "/opt/my.viewer.ini"},
        {"/opt/v1.2/viewer", "/opt/v1.2/viewer.ini"},
        {"/opt/v1.2 beta", "/opt/v1.2 beta.ini"},
        {"viewer", "viewer.ini"},
        {"/opt/.viewer", "/opt/.ini"},
    };
    const auto systemPath = [](const char* path) {
        return CTestFolder::Wide(std::filesystem::path(path).make_preferred().u16string());
    };
    for (const auto& row : cases) {
        WCHAR buffer[260] = {};
        const Text path = systemPath(row.path);
        path.copy(buffer, path.size());
        EXPECT_TRUE(PathRenameExtensionW(buffer, WTEXT(".ini")));
        EXPECT_EQ(Text(buffer), systemPath(row.expected));
    }
}

TEST(Paths, ExtensionMustFitIn260Units) {
    for (std::size_t length = 250; length < 260; ++length) {
        const Text stem(length, WCHAR('v'));
        WCHAR buffer[260] = {};
        stem.copy(buffer, length);
        const bool fits = length + 4 < 260;
        EXPECT_EQ(PathRenameExtensionW(buffer, WTEXT(".ini")), fits) << length;
        EXPECT_EQ(Text(buffer), fits ? stem + WTEXT(".ini") : stem);
    }
}

}  // namespace
