// What our own look-ups do where systems differ.
#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "platform/module.h"
#include "test_files.h"

namespace {

TEST(Ini, KnowsDecimalNumbersOnlyAndAsksForNames) {
    const CTestFolder folder;
    WriteBytes(folder.File("x.ini"), std::string("[Config]\nLower=1\nHex=0x1F\n"));
    const Text path = folder.Path("x.ini");
    EXPECT_EQ(GetPrivateProfileIntW(WTEXT("Config"), WTEXT("Hex"), 7, path.c_str()), 0u);
    EXPECT_EQ(GetPrivateProfileIntW(nullptr, WTEXT("Lower"), 7, path.c_str()), 7u);
    EXPECT_EQ(GetPrivateProfileIntW(WTEXT("Config"), nullptr, 7, path.c_str()), 7u);
}

TEST(Paths, ExecutablePathIsCutToTheBuffer) {
    WCHAR whole[4096] = {};
    const std::uint32_t length = GetModuleFileNameW(nullptr, whole, 4096);
    const Text path(whole);
    for (const std::uint32_t size : {1u, 2u, length - 1, length, length + 1, length + 2}) {
        WCHAR buffer[4096];
        std::fill(std::begin(buffer), std::end(buffer), WCHAR('#'));
        const std::uint32_t stored = GetModuleFileNameW(nullptr, buffer, size);
        EXPECT_EQ(stored, size > length ? length : size);
        EXPECT_EQ(Text(buffer), path.substr(0, size - 1));
        EXPECT_EQ(buffer[size], WCHAR('#')) << "written past the buffer";
    }
    EXPECT_EQ(GetModuleFileNameW(nullptr, nullptr, 0), 0u);
}

}  // namespace
