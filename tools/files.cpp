#include "files.h"

#include <string_view>

#include "fault.h"
#include "platform/file.h"
#include "platform/utf8.h"

namespace {

constexpr std::size_t kChunkBytes = 256 * 1024;

[[noreturn]] void FailAccess(const std::string& place, const std::string& verb, int error, const std::string& help) {
    throw CFault(ExitCode::NoAccess, place, "cannot " + verb + ": " + SystemText(error), help);
}

std::string RoomHelp() {
    return std::string("set ") + kTemporaryFolderVariable + " to a folder with room";
}

Text LibraryPath(const std::string& name) {
    Text path;
    if (name.empty())
        throw CFault(ExitCode::WrongUse, "", "a file name is empty", "use - for standard input or output");
    if (!Utf8ToText(name, path)) {
        throw CFault(ExitCode::WrongUse, name, "the file name is not UTF-8",
                     "rename the file, or use - and a redirection");
    }
    return path;
}

CTemporaryFile MakeTemporary() {
    CTemporaryFile file;
    if (const int error = file.Create()) FailAccess(TemporaryFolder(), "create a temporary file", error, RoomHelp());
    return file;
}

void WriteOutput(std::string_view bytes) {
    CHandle output;
    int error = output.OpenStandardOutput();
    if (error == 0) error = output.Write(bytes);
    if (IsReaderGone(error)) throw CReaderGone();
    if (error != 0) FailAccess("standard output", "write", error, "");
}

// Calls `take` with each piece of what is left in a file.
template <class Take>
void ReadAll(CHandle& file, const std::string& name, const Take& take) {
    std::string chunk(kChunkBytes, '\0');
    for (;;) {
        std::size_t got = 0;
        if (const int error = file.Read(chunk.data(), chunk.size(), got)) FailAccess(name, "read", error, "");
        if (got == 0) return;
        take(std::string_view(chunk).substr(0, got));
    }
}

}  // namespace

CSource::CSource(const std::string& name) : m_name(name == "-" ? "standard input" : name) {
    const bool isStandardInput = name == "-";
    if (!isStandardInput) m_path = LibraryPath(name);
    const int openError = isStandardInput ? m_handle.OpenStandardInput() : m_handle.OpenToRead(m_path.c_str());
    if (openError == kIsFolderError || (openError == 0 && m_handle.Kind() == FileKind::Folder)) {
        FailAccess(m_name, "read", kIsFolderError, "name a file in it");
    }
    if (openError != 0) FailAccess(m_name, "open", openError, "check the name and its permissions");
    if (!isStandardInput && m_handle.Kind() == FileKind::Ordinary) return;

    m_temporary = MakeTemporary();
    CHandle kept;
    int error = kept.OpenToWrite(m_temporary.Path().c_str());
    const auto checkKept = [&] {
        if (error != 0) FailAccess(TemporaryFolder(), "keep standard input", error, RoomHelp());
    };
    checkKept();
    ReadAll(m_handle, m_name, [&](std::string_view bytes) {
        error = kept.Write(bytes);
        checkKept();
    });
    kept = CHandle();
    m_path = m_temporary.Path();
    error = m_handle.OpenToRead(m_path.c_str());
    checkKept();
}

CTarget::CTarget(const std::string& name, const CSource& source)
    : m_name(name == "-" ? "standard output" : name), m_isStandardOutput(name == "-") {
    if (!m_isStandardOutput) {
        m_target = m_path = LibraryPath(name);
        const FileKind kind = KindOf(m_target.c_str());
        if (kind != FileKind::None && source.Handle().IsSameFile(m_target.c_str())) {
            throw CFault(ExitCode::WrongUse, m_name, "is the input as well", "name another file to write");
        }
        if (kind != FileKind::Other) return;
    }
    m_temporary = MakeTemporary();
    m_path = m_temporary.Path();
}

void CTarget::Deliver() {
    if (!m_temporary.IsThere()) return;
    CHandle target;
    const int openError = m_isStandardOutput ? target.OpenStandardOutput() : target.OpenToWrite(m_target.c_str());
    if (openError != 0) FailAccess(m_name, "open for writing", openError, "check its permissions");
    CHandle written = Reopen();
    ReadAll(written, TemporaryFolder(), [&](std::string_view bytes) {
        if (m_isStandardOutput) return WriteOutput(bytes);
        if (const int error = target.Write(bytes)) FailAccess(m_name, "write", error, "");
    });
}

void CTarget::Discard() {
    if (!m_temporary.IsThere()) RemoveFile(m_target.c_str());
}

void CTarget::CheckAccess() const {
    if (m_temporary.IsThere()) return;
    const bool exists = KindOf(m_target.c_str()) != FileKind::None;
    CHandle file;
    const int error = file.OpenToWrite(m_target.c_str(), true);
    if (error != 0) FailAccess(m_name, "open for writing", error, "check the folder and its permissions");
    file = CHandle();
    if (!exists) RemoveFile(m_target.c_str());
}

CHandle CTarget::Reopen() const {
    CHandle file;
    if (const int error = file.OpenToRead(m_path.c_str())) FailAccess(m_name, "read", error, "");
    return file;
}

std::string ReadStandardInput() {
    std::string all;
    CHandle input;
    if (const int error = input.OpenStandardInput()) FailAccess("standard input", "read", error, "");
    ReadAll(input, "standard input", [&](std::string_view bytes) { all += bytes; });
    return all;
}

void COutput::Append(const std::string& text) {
    m_waiting += text;
    if (m_waiting.size() < kChunkBytes) return;
    WriteOutput(m_waiting);
    m_waiting.clear();
}

void COutput::Finish() {
    WriteOutput(m_waiting);
    m_waiting.clear();
}
