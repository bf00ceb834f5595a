// Hosts as processes of their own: where the settings come from, and the example of the README.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "test_files.h"

namespace {

namespace fs = std::filesystem;

int RunShell(const std::string& command) {
    const int status = std::system(command.c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// True when the document's first word is "item", false when it is "Item".
bool IsLower(const fs::path& document) {
    const std::string bytes = ReadText(document);
    EXPECT_GT(bytes.size(), 16u);
    return bytes.substr(8, 8) == std::string("i\0t\0e\0m\0", 8);
}

TEST(Settings, LowerComesFromTheIniFileOfTheHostsExecutable) {
    const struct {
        const char* host;
        const char* ini;
        const char* contents;
        bool isLower;
    } cases[] = {
        {"viewer.exe", "viewer.ini", "[Config]\r\nLower=1\r\n", true},
        {"viewer", "viewer.ini", "[Config]\nLower=2\n", true},
        {"my viewer.v2.bin", "my viewer.v2.ini", "[config]\nlower = -1\n", true},
        {"größe", "größe.ini", "[Config]\nLower=1\n", true},
        {"viewer\xFF", "viewer.ini", "[Config]\nLower=1\n", false},
        {"viewer", "none", "", false},
        {"viewer", "viewer", "[Config]\nLower=1\n", false},
        {"viewer", "Viewer.ini", "[Config]\nLower=1\n", false},
        {"viewer", "libparvel.ini", "[Config]\nLower=1\n", false},
        {"viewer", "libparvel.so.ini", "[Config]\nLower=1\n", false},
        {"viewer", ".ini", "[Config]\nLower=1\n", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.host) + " with " + row.ini);
        const CTestFolder folder;
        // The host's program takes the row's name last: a name that is an ini file's as well must not be written over.
        WriteBytes(folder.File("x.xml"), std::string("<Item Key='V'/>"));
        fs::copy_file(PARVEL_LIBRARY, folder.File("libparvel.so"));
        WriteBytes(folder.File(row.ini), std::string(row.contents));
        fs::copy_file(PARVEL_SETTINGS_HOST, folder.File(row.host), fs::copy_options::overwrite_existing);
        fs::permissions(folder.File(row.host), fs::perms::owner_all);
        ASSERT_EQ(RunShell("cd '" + folder.File("").string() + "' && './" + row.host +
                           "' ./libparvel.so x.xml x.bdoc </dev/null"),
                  0);
        EXPECT_EQ(IsLower(folder.File("x.bdoc")), row.isLower);
    }
}

TEST(Settings, LogLevelShowsWhatIsWrongWithTheXml) {
    const struct {
        const char* contents;
        bool isShown;
    } cases[] = {
        {"[Config]\nLogLevel=1\n", true},
        {"[Config]\nLogLevel=0\n", false},
        {"", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(row.contents);
        const CTestFolder folder;
        WriteBytes(folder.File("bad.xml"), std::string("<a>"));
        WriteBytes(folder.File("viewer.ini"), std::string(row.contents));
        fs::copy_file(PARVEL_SETTINGS_HOST, folder.File("viewer"));
        EXPECT_EQ(RunShell("cd '" + folder.File("").string() +
                           "' && setsid --wait ./viewer " PARVEL_LIBRARY " bad.xml x.bdoc 2>shown"),
                  2);
        const std::string shown = ReadText(folder.File("shown"));
        EXPECT_EQ(shown.rfind("Parser Error:\nfile:bad.xml\nreason:", 0) == 0, row.isShown) << shown;
        EXPECT_EQ(shown.empty(), !row.isShown) << shown;
    }
}

TEST(Example, WalkPrintsTheMenu) {
    const CTestFolder folder;
    WriteBytes(folder.File("menu.xml"),
               std::string("<menu><dish price='3'>Soup</dish><dish price='7'>Pie</dish></menu>"));
    ASSERT_EQ(RunShell("cd '" + folder.File("").string() + "' && " PARVEL_TOOL_FOLDER "/parvel_example_walk >output"),
              0);
    EXPECT_EQ(ReadText(folder.File("output")), "Soup: 3\nPie: 7\n");
}

TEST(Example, EditChangesADishAndMovesACake) {
    const CTestFolder folder;
    WriteBytes(folder.File("menu.xml"),
               std::string("<menu><dish price='3'>Soup</dish><dish price='7'>Pie</dish></menu>"));
    WriteBytes(folder.File("bakery.xml"),
               std::string("<bakery><cake size='XL'><name>Nut</name></cake><roll/></bakery>"));
    ASSERT_EQ(RunShell("cd '" + folder.File("").string() +
                       "' && PATH=" PARVEL_TOOL_FOLDER ":$PATH && parvel convert menu.xml menu.bdoc"
                       " && parvel convert bakery.xml bakery.bdoc && parvel_example_edit"
                       " && parvel show menu.bdoc >output"),
              0);
    EXPECT_EQ(ReadText(folder.File("output")),
              "menu\n"
              "  starter price=\"4\": \"Tomato soup\"\n"
              "  dish price=\"7\": \"Pie\"\n"
              "  cake size=\"XL\"\n"
              "    name: \"Nut\"\n");
}

TEST(Example, StandsInTheReadmeWordForWord) {
    const fs::path root(PARVEL_ROOT);
    const std::string example = ReadText(root / "examples/walk.cpp");
    EXPECT_NE(ReadText(root / "README.md").find("```cpp\n" + example + "```\n"), std::string::npos);
}

}  // namespace
