// Programs that tests run as hosts of the library.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

inline const std::filesystem::path kLibraryFile = PARVEL_LIBRARY;
inline const std::filesystem::path kSettingsHost = PARVEL_SETTINGS_HOST;
inline constexpr const char* kLibraryName = "./libparvel.so";

/// The exit code of a program in a folder that it runs in; -1 when it does not run or end.
inline int RunHost(const std::filesystem::path& program, const std::vector<std::string>& arguments,
                   const std::filesystem::path& folder) {
    std::string line = "cd '" + folder.string() + "' && './" + program.string() + "'";
    for (const std::string& argument : arguments) line += " '" + argument + "'";
    const int status = std::system((line + " </dev/null").c_str());
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
