// Programs that tests run as hosts of the library.
#pragma once

#include <windows.h>

#include <filesystem>
#include <string>
#include <vector>

inline const std::filesystem::path kLibraryFile = "Parvel.DLL";
inline const std::filesystem::path kSettingsHost = "parvel_settings_host.exe";
inline constexpr const char* kLibraryName = "Parvel.DLL";

/// The exit code of a program in a folder that it runs in; -1 when it does not run.
inline int RunHost(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const std::filesystem::path& folder) {
    const std::wstring path = (folder / program).wstring();
    std::wstring line = L"\"" + path + L"\"";
    for (const std::string& argument : arguments) line += L" " + std::filesystem::path(argument).wstring();
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, FALSE, 0, nullptr, folder.c_str(), &startup,
                        &process)) {
        return -1;
    }
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return static_cast<int>(code);
}
