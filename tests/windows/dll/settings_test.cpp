// Where the settings come from: hosts as processes of their own.
#include <gtest/gtest.h>

#include "library.h"

namespace {

namespace fs = std::filesystem;

// Runs a program with these arguments and gives its exit code.
DWORD RunHost(const fs::path& program, const std::wstring& arguments, const fs::path& folder) {
    std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, folder.c_str(), &startup,
                        &process)) {
        return ~DWORD{0};
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = ~DWORD{0};
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

TEST(DllSettings, LowerComesFromTheIniFileOfTheHostsExecutable) {
    const struct {
        const wchar_t* host;
        const wchar_t* ini;
        const char* contents;
        bool isLower;
    } cases[] = {
        {L"viewer.exe", L"viewer.ini", "[Config]\r\nLower=1\r\n", true},
        {L"viewer", L"viewer.ini", "[Config]\nLower=2\n", true},
        {L"my viewer.v2.exe", L"my viewer.v2.ini", "[config]\nlower = -1\n", true},
        {L"größe.exe", L"größe.ini", "[Config]\nLower=1\n", true},
        {L"viewer.exe", L"none", "", false},
        {L"viewer.exe", L"viewer.ini", "[Config]\nLower=0\nLogLevel=0\n", false},
        {L"viewer.exe", L"viewer.ini", "[Other]\nLower=1\n", false},
        {L"viewer.exe", L"viewer.ini", "[Config]\nLower=on\n", false},
        {L"viewer.exe", L"Parvel.ini", "[Config]\nLower=1\n", false},
        {L"viewer.exe", L"viewer.exe.ini", "[Config]\nLower=1\n", false},
        {L"viewer.exe", L".ini", "[Config]\nLower=1\n", false},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(testing::PrintToString(std::wstring(row.host) + L" with " + row.ini));
        const WorkFolder folder;
        WriteFileBytes(folder.File(L"x.xml"), "<Item Key='V'/>");
        WriteFileBytes(folder.File(row.ini), row.contents);
        fs::copy_file("Parvel.DLL", folder.File(L"Parvel.DLL"));
        fs::copy_file("parvel_settings_host.exe", folder.File(row.host));
        ASSERT_EQ(RunHost(folder.File(row.host), L"Parvel.DLL x.xml x.bdoc", folder.File(L"")), 0u);
        const std::string bytes = ReadFileBytes(folder.File(L"x.bdoc"));
        ASSERT_GT(bytes.size(), 16u);
        EXPECT_EQ(bytes.substr(8, 8), std::string(row.isLower ? "i\0t\0e\0m\0" : "I\0t\0e\0m\0", 8));
    }
}

}  // namespace
