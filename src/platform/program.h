// A program's own arrangements with its system, for main.
#pragma once

#include <string>
#include <vector>

/// Make one first thing in main, and keep it: it settles that
///  - the command line comes as UTF-8 (bytes that are not, where the system lets them through, stay as they are),
///  - a reader that goes away shows in the result of the write and does not end the process,
///  - XML can be read and written on this thread,
///  - bytes written to the standard streams pass unchanged, and a terminal shows them as UTF-8.
class CProgram {
public:
    CProgram(int argc, char** argv);
    ~CProgram();
    CProgram(const CProgram&) = delete;
    CProgram& operator=(const CProgram&) = delete;

    /// Without the program's name.
    const std::vector<std::string>& Arguments() const { return m_arguments; }

private:
    std::vector<std::string> m_arguments;
    [[maybe_unused]] unsigned m_formerCodePage = 0;  // of a terminal that was set to UTF-8
};
