// The files that a verb reads and writes, as the command line names them; "-" is standard input or output.
//
// The library takes paths and wants whole files. What has no size (standard input, a pipe, a device) goes through a
// temporary file.
#pragma once

#include <string>

#include "platform/handle.h"
#include "platform/text.h"

/// A file to read.
class CSource {
public:
    /// Throws CFault when the file cannot be opened or read (NoAccess), or its name is not UTF-8 (WrongUse).
    explicit CSource(const std::string& name);

    /// For messages: the name on the command line, or "standard input".
    const std::string& Name() const { return m_name; }
    /// For the library.
    const WCHAR* Path() const { return m_path.c_str(); }
    /// For this tool's own look at the bytes, from the start.
    const CHandle& Handle() const { return m_handle; }

private:
    std::string m_name;
    Text m_path;
    CTemporaryFile m_temporary;  // in use when the source is no ordinary file
    CHandle m_handle;
};

/// A file to write.
class CTarget {
public:
    /// Opens nothing that is a file yet. Throws CFault for a name that is not UTF-8 (WrongUse) and for one that is the
    /// same file as `source` (WrongUse).
    CTarget(const std::string& name, const CSource& source);

    const std::string& Name() const { return m_name; }
    /// Where the library is to write.
    const WCHAR* Path() const { return m_path.c_str(); }

    /// Brings what the library has written to where it belongs. Throws CFault when that fails (NoAccess).
    void Deliver();
    /// What the library has written, to be read from the start.
    CHandle Reopen() const;
    /// Removes what the library has written.
    void Discard();
    /// Throws the CFault (NoAccess) that tells why the file cannot be written, if so it is.
    void CheckAccess() const;

private:
    std::string m_name;
    bool m_isStandardOutput;
    Text m_target;               // what the command line names; empty for standard output
    CTemporaryFile m_temporary;  // in use when the target is no ordinary file
    Text m_path;
};

/// All bytes of standard input. Throws CFault (NoAccess).
std::string ReadStandardInput();

/// Text for standard output. A reader that has gone throws CReaderGone, any other failure CFault (NoAccess), from
/// Append or from Finish.
class COutput {
public:
    void Append(const std::string& text);
    void Finish();

private:
    std::string m_waiting;
};
