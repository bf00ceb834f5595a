// Open files, pipes and devices, as a program has them: the standard streams, files to read and write at will, and
// temporary files. The library itself needs only platform/file.h.
//
// An operation that fails tells the system's own error number, which SystemText puts into words; 0 is success.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "platform/text.h"

/// What the system says to an error number: "No such file or directory".
std::string SystemText(int error);

/// The error of reading or writing a folder.
extern const int kIsFolderError;

/// True for the error of a write to a pipe that nobody reads any more.
bool IsReaderGone(int error);

enum class FileKind {
    None,      // there is no such file, or it cannot be looked at
    Ordinary,  // bytes on a disk
    Folder,
    Other,  // a pipe, a terminal, a device
};

/// One open file with one owner.
class CHandle {
public:
    CHandle() = default;
    ~CHandle() { Close(); }
    CHandle(CHandle&& other) noexcept : m_handle(std::exchange(other.m_handle, kNone)) {}
    CHandle& operator=(CHandle&& other) noexcept {
        std::swap(m_handle, other.m_handle);
        return *this;
    }

    // Each puts a newly opened file into this handle and gives the error; the handle is then closed.

    int OpenToRead(const WCHAR* path);
    /// The file must exist, unless `creates`; what is in it stays until it is written over.
    int OpenToWrite(const WCHAR* path, bool creates = false);
    /// The process's own stream, shared with it; closing this handle leaves it open.
    int OpenStandardInput();
    int OpenStandardOutput();

    bool IsOpen() const { return m_handle != kNone; }
    FileKind Kind() const;
    /// Whether this is the very file that `path` names, by whatever name it was opened.
    bool IsSameFile(const WCHAR* path) const;
    /// Bytes of an ordinary file; 0 for any other.
    std::uint64_t Size() const;

    /// Reads what comes next, up to `size` bytes; `got` is 0 at the end only.
    int Read(void* buffer, std::size_t size, std::size_t& got);
    /// Reads up to `size` bytes from `offset` on, whatever has been read so far. Gives their number; 0 at the end and
    /// on failure. For ordinary files.
    std::size_t ReadAt(std::uint64_t offset, void* buffer, std::size_t size) const;
    /// Writes all the bytes.
    int Write(std::string_view bytes);

private:
    friend class CTemporaryFile;
    static constexpr std::intptr_t kNone = -1;
    explicit CHandle(std::intptr_t handle) : m_handle(handle) {}
    void Close();

    std::intptr_t m_handle = kNone;
};

FileKind KindOf(const WCHAR* path);

/// Where temporary files go, and the environment variable that says so, for messages.
std::string TemporaryFolder();
extern const char* const kTemporaryFolderVariable;

/// A new file that goes with this object: where the system can do that, however the process ends.
class CTemporaryFile {
public:
    CTemporaryFile() = default;
    ~CTemporaryFile();
    CTemporaryFile(CTemporaryFile&& other) noexcept { *this = std::move(other); }
    CTemporaryFile& operator=(CTemporaryFile&& other) noexcept {
        m_path.swap(other.m_path);
        m_handle = std::move(other.m_handle);
        return *this;
    }

    /// Makes the file, empty; gives the error. Once per object.
    int Create();
    bool IsThere() const { return !m_path.empty(); }
    /// Names the file within this process, for as long as it is there.
    const Text& Path() const { return m_path; }

private:
    Text m_path;
    CHandle m_handle;  // where a file without a name is kept by being open
};
