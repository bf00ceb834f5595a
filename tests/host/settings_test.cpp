// Where the settings come from: hosts as processes of their own.
#include <gtest/gtest.h>

#include "host_process.h"
#include "test_files.h"

namespace {

namespace fs = std::filesystem;

TEST(Settings, LowerComesFromTheIniFileOfTheHostsExecutable) {
    const struct {
        fs::path host;
        fs::path ini;
        const char* contents;
        bool isLower;
    } rows[] = {
        {"viewer.exe", "viewer.ini", "[Config]\r\nLower=1\r\n", true},
        {"viewer", "viewer.ini", "[Config]\nLower=2\n", true},
        {"my viewer.v2.exe", "my viewer.v2.ini", "[config]\nlower = -1\n", true},
        {u8"größe.exe", u8"größe.ini", "[Config]\nLower=1\n", true},
        {"viewer.exe", "none", "", false},
        {"viewer.exe", "viewer.ini", "[Config]\nLower=0\nLogLevel=0\n", false},
        {"viewer.exe", "viewer.ini", "[Other]\nLower=1\n", false},
        {"viewer.exe", "viewer.ini", "[Config]\nLower=on\n", false},
        {"viewer\xFF", "viewer.ini", "[Config]\nLower=1\n", false},  // on Linux no name in UTF-8
        {"viewer.exe", "viewer.exe.ini", "[Config]\nLower=1\n", false},
        {"viewer.exe", "Parvel.ini", "[Config]\nLower=1\n", false},
        {"viewer.exe", "libparvel.ini", "[Config]\nLower=1\n", false},
        {"viewer.exe", ".ini", "[Config]\nLower=1\n", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const CTestFolder folder;
        WriteBytes(folder.File("x.xml"), std::string("<Item Key='V'/>"));
        WriteBytes(folder.File("") / row.ini, std::string(row.contents));
        fs::copy_file(kLibraryFile, folder.File(kLibraryName));
        fs::copy_file(kSettingsHost, folder.File("") / row.host);
        ASSERT_EQ(RunHost(row.host, {kLibraryName, "x.xml", "x.bdoc"}, folder.File("")), 0);
        EXPECT_EQ(ReadText(folder.File("x.bdoc")).substr(8, 8),
                  std::string(row.isLower ? "i\0t\0e\0m\0" : "I\0t\0e\0m\0", 8));
    }
}

}  // namespace
