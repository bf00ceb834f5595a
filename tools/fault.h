// How the tool ends, and what it says when it cannot do what was asked.
#pragma once

#include <stdexcept>
#include <string>

/// Exit codes, the same for every verb. They are part of the tool's promise: never change one.
enum class ExitCode : int {
    Done = 0,
    Differs = 1,        // two documents differ, or what was looked for is not there
    BadInput = 2,       // the input was read and is not what it should be
    NoAccess = 3,       // something cannot be read or written
    WrongUse = 4,       // the command line makes no sense
    InternalFault = 5,  // memory ran out, or the tool is wrong
};

/// Ends the verb. The message is one line: place, what is wrong, what would help.
class CFault : public std::runtime_error {
public:
    /// `place` is a file name with what leads into it: "x.xml:3:14". It may be empty.
    CFault(ExitCode code, const std::string& place, const std::string& what, const std::string& help);

    ExitCode Code() const { return m_code; }

private:
    ExitCode m_code;
};

/// Thrown where standard output has lost its reader: the tool ends quietly, with Done.
class CReaderGone {};
