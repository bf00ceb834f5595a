#include "files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "fault.h"
#include "platform/utf8.h"

namespace {

constexpr std::size_t kChunkBytes = 256 * 1024;

[[noreturn]] void FailAccess(const std::string& place, const std::string& verb, int error, const std::string& help) {
    throw CFault(ExitCode::NoAccess, place, "cannot " + verb + ": " + SystemText(error), help);
}

Text LibraryPath(const std::string& name) {
    Text path;
    if (name.empty()) throw CFault(ExitCode::WrongUse, "", "a file name is empty", "use - for standard input or output");
    if (!Utf8ToText(name, path)) {
        throw CFault(ExitCode::WrongUse, name, "the file name is not UTF-8", "rename the file, or use - and a redirection");
    }
    return path;
}

Text DescriptorPath(int handle) {
    const std::string name = "/proc/self/fd/" + std::to_string(handle);
    return Text(name.begin(), name.end());
}

std::string TemporaryFolder() {
    const char* folder = std::getenv("TMPDIR");
    return folder && *folder ? folder : "/tmp";
}

// A new file that no longer has a name.
CHandle OpenTemporary() {
    std::string name = TemporaryFolder() + "/parvel-XXXXXX";
    CHandle handle(mkostemp(name.data(), O_CLOEXEC));
    if (handle.Get() == -1) FailAccess(name, "create a temporary file", errno, "set TMPDIR to a folder with room");
    unlink(name.c_str());
    return handle;
}

// 0 or an errno value.
int WriteAll(int handle, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(handle, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

void WriteOutput(std::string_view bytes) {
    const int error = WriteAll(STDOUT_FILENO, bytes);
    if (error == EPIPE) std::_Exit(static_cast<int>(ExitCode::Done));
    if (error != 0) FailAccess("standard output", "write", error, "");
}

// Calls `take` with each piece of what is left in a file.
template <class Take>
void ReadAll(int handle, const std::string& name, const Take& take) {
    std::string chunk(kChunkBytes, '\0');
    for (;;) {
        const ssize_t got = read(handle, chunk.data(), chunk.size());
        if (got < 0 && errno == EINTR) continue;
        if (got < 0) FailAccess(name, "read", errno, "");
        if (got == 0) return;
        take(std::string_view(chunk).substr(0, static_cast<std::size_t>(got)));
    }
}

bool IsOrdinaryFile(int handle) {
    struct stat status = {};
    return fstat(handle, &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

CHandle::~CHandle() {
    if (m_handle != -1) close(m_handle);
}

CHandle& CHandle::operator=(CHandle&& other) noexcept {
    std::swap(m_handle, other.m_handle);
    return *this;
}

CSource::CSource(const std::string& name) : m_name(name == "-" ? "standard input" : name) {
    if (name != "-") m_path = LibraryPath(name);
    m_handle = CHandle(name == "-" ? dup(STDIN_FILENO) : open(name.c_str(), O_RDONLY | O_CLOEXEC));
    if (m_handle.Get() == -1) FailAccess(m_name, "open", errno, "check the name and its permissions");

    struct stat status = {};
    if (fstat(m_handle.Get(), &status) == 0 && S_ISDIR(status.st_mode)) {
        FailAccess(m_name, "read", EISDIR, "name a file in it");
    }
    if (name != "-" && IsOrdinaryFile(m_handle.Get())) return;

    CHandle temporary = OpenTemporary();
    ReadAll(m_handle.Get(), m_name, [&](std::string_view bytes) {
        if (const int error = WriteAll(temporary.Get(), bytes)) {
            FailAccess(TemporaryFolder(), "keep standard input", error, "set TMPDIR to a folder with room");
        }
    });
    m_handle = std::move(temporary);
    m_path = DescriptorPath(m_handle.Get());
}

CTarget::CTarget(const std::string& name, const CSource& source)
    : m_name(name == "-" ? "standard output" : name), m_fileName(name == "-" ? "" : name) {
    struct stat status = {};
    if (!m_fileName.empty()) {
        m_path = LibraryPath(m_fileName);
        const bool exists = stat(m_fileName.c_str(), &status) == 0;
        struct stat sourceStatus = {};
        if (exists && fstat(source.Handle(), &sourceStatus) == 0 && status.st_dev == sourceStatus.st_dev &&
            status.st_ino == sourceStatus.st_ino) {
            throw CFault(ExitCode::WrongUse, m_name, "is the input as well", "name another file to write");
        }
        if (!exists || S_ISREG(status.st_mode) || S_ISDIR(status.st_mode)) return;
    }
    m_temporary = OpenTemporary();
    m_path = DescriptorPath(m_temporary.Get());
}

void CTarget::Deliver() {
    if (m_temporary.Get() == -1) return;
    CHandle file(m_fileName.empty() ? dup(STDOUT_FILENO) : open(m_fileName.c_str(), O_WRONLY | O_CLOEXEC));
    if (file.Get() == -1) FailAccess(m_name, "open for writing", errno, "check its permissions");
    if (lseek(m_temporary.Get(), 0, SEEK_SET) != 0) FailAccess(TemporaryFolder(), "read", errno, "");
    ReadAll(m_temporary.Get(), TemporaryFolder(), [&](std::string_view bytes) {
        if (m_fileName.empty()) return WriteOutput(bytes);
        if (const int error = WriteAll(file.Get(), bytes)) FailAccess(m_name, "write", error, "");
    });
}

void CTarget::Discard() {
    if (m_temporary.Get() == -1) unlink(m_fileName.c_str());
}

void CTarget::CheckAccess() const {
    if (m_temporary.Get() != -1) return;
    const bool exists = access(m_fileName.c_str(), F_OK) == 0;
    const CHandle file(open(m_fileName.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666));
    if (file.Get() == -1) FailAccess(m_name, "open for writing", errno, "check the folder and its permissions");
    if (!exists) unlink(m_fileName.c_str());
}

CHandle CTarget::Reopen() const {
    return CHandle(open(TextToUtf8(m_path).c_str(), O_RDONLY | O_CLOEXEC));
}

std::string ReadStandardInput() {
    std::string all;
    ReadAll(STDIN_FILENO, "standard input", [&](std::string_view bytes) { all += bytes; });
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
