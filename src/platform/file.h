// Files named by UTF-16 paths.
//
// A path with an unpaired surrogate names no file: opening it fails, it never becomes another path. Neither does a null
// or empty one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/text.h"

/// A file open for reading, from front to back. Closes itself.
class CInputFile {
public:
    CInputFile() = default;
    CInputFile(const CInputFile&) = delete;
    CInputFile& operator=(const CInputFile&) = delete;
    ~CInputFile() { Close(); }

    /// False when there is no such file, it may not be read, or it is a directory.
    bool Open(const WCHAR* path);
    void Close();

    /// Size in bytes of a regular file; -1 when it has none to tell (a pipe, a terminal).
    std::int64_t Size() const;

    /// Reads up to `size` bytes and gives the number read: less than `size` only at the end of the file. -1 on failure.
    std::int64_t Read(void* buffer, std::size_t size);

private:
    std::intptr_t m_handle = -1;
};

/// A file open for writing, from front to back, through one large buffer. Closes itself.
class COutputFile {
public:
    COutputFile();
    COutputFile(const COutputFile&) = delete;
    COutputFile& operator=(const COutputFile&) = delete;
    ~COutputFile();

    /// Creates the file, or cuts it to zero length. False when it cannot be opened for writing.
    bool Open(const WCHAR* path);

    /// Appends bytes. After a failed write nothing more is written; Close tells.
    void Write(const void* bytes, std::size_t size) {
        if (size <= kBufferBytes - m_used) {
            CopyToBuffer(bytes, size);
        } else {
            WriteSlow(bytes, size);
        }
    }

    /// The place in the buffer for what comes next, of kRoomBytes at least; only while the file is open. What has been
    /// put there is written by a call of Advance.
    unsigned char* Room() {
        if (kBufferBytes - m_used < kRoomBytes) Flush();
        return m_buffer.get() + m_used;
    }
    void Advance(std::size_t size) { m_used += size; }
    static constexpr std::size_t kRoomBytes = 32 * 1024;

    /// Whether a write has failed so far.
    bool HasFailed() const { return m_failed; }

    /// Writes what is buffered and closes. False when any write failed, or the file was not open.
    bool Close();

private:
    // Large enough that calls to the system cost nothing, small enough to stay in the cache: fresh memory is not free.
    static constexpr std::size_t kBufferBytes = 64 * 1024;

    void CopyToBuffer(const void* bytes, std::size_t size);
    void WriteSlow(const void* bytes, std::size_t size);
    void Flush();

    std::intptr_t m_handle = -1;
    std::unique_ptr<unsigned char[]> m_buffer;  // made by the first Open
    std::size_t m_used = 0;
    bool m_failed = false;
};

/// Removes the ordinary file that the path leads to; what is none (a device) and what cannot be removed stays.
void RemoveFile(const WCHAR* path);
