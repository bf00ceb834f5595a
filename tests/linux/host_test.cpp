// Hosts as processes of their own: the log level, and the examples.
#include <gtest/gtest.h>

#include "host/linux/host_process.h"
#include "test_files.h"

namespace {

namespace fs = std::filesystem;

class Host : public ::testing::Test {
protected:
    void SetUp() override {
        Write("menu.xml", "<menu><dish price='3'>Soup</dish><dish price='7'>Pie</dish></menu>");
        Write("bakery.xml", "<bakery><cake size='XL'><name>Nut</name></cake><roll/></bakery>");
    }
    void Write(const char* name, const std::string& text) const { WriteBytes(m_folder.File(name), text); }
    // A line of shell in this test's folder, with the tool and the examples in the path.
    int Run(const std::string& line) const {
        return std::system(
            ("cd '" + m_folder.File("").string() + "' && PATH=" PARVEL_TOOL_FOLDER ":$PATH && " + line).c_str());
    }

    CTestFolder m_folder;
};

TEST_F(Host, LogLevelShowsWhatIsWrongWithTheXml) {
    Write("bad.xml", "<a>");
    fs::copy_file(kSettingsHost, m_folder.File("viewer"));
    for (const char* ini : {"[Config]\nLogLevel=1\n", "[Config]\nLogLevel=0\n", ""}) {
        Write("viewer.ini", ini);
        EXPECT_EQ(WEXITSTATUS(Run("setsid --wait ./viewer " PARVEL_LIBRARY " bad.xml x.bdoc 2>shown")), 2);
        const std::string shown = ReadText(m_folder.File("shown"));
        const bool isShown = shown.rfind("Parser Error:\nfile:bad.xml\nreason:", 0) == 0;
        EXPECT_TRUE(std::string(ini).find("=1") != std::string::npos ? isShown : shown.empty()) << ini << shown;
    }
}

TEST_F(Host, ExamplesDoWhatTheySay) {
    ASSERT_EQ(Run("parvel_example_walk >output"), 0);
    EXPECT_EQ(ReadText(m_folder.File("output")), "Soup: 3\nPie: 7\n");
    ASSERT_EQ(Run("parvel convert menu.xml menu.bdoc && parvel convert bakery.xml bakery.bdoc && parvel_example_edit"
                  " && parvel show menu.bdoc >output"),
              0);
    EXPECT_EQ(ReadText(m_folder.File("output")),
              "menu\n  starter price=\"4\": \"Tomato soup\"\n  dish price=\"7\": \"Pie\"\n  cake size=\"XL\"\n"
              "    name: \"Nut\"\n");
    const fs::path root(PARVEL_ROOT);
    const std::string example = ReadText(root / "examples/walk.cpp");
    EXPECT_NE(ReadText(root / "README.md").find("```cpp\n" + example + "```\n"), std::string::npos);
}

}  // namespace
