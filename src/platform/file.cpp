#include "platform/file.h"

#include <cstring>

// What one system's file does without a buffer: in file_linux.cpp and file_windows.cpp.
namespace rawfile {
std::intptr_t OpenForWriting(const WCHAR* path);
bool Write(std::intptr_t handle, const unsigned char* bytes, std::size_t size);
bool Close(std::intptr_t handle);
}  // namespace rawfile

COutputFile::COutputFile() = default;

COutputFile::~COutputFile() {
    Close();
}

bool COutputFile::Open(const WCHAR* path) {
    Close();
    if (!path || !*path) return false;
    if (!m_buffer) m_buffer = std::make_unique_for_overwrite<unsigned char[]>(kBufferBytes);
    m_handle = rawfile::OpenForWriting(path);
    m_used = 0;
    m_failed = false;
    return m_handle != -1;
}

void COutputFile::CopyToBuffer(const void* bytes, std::size_t size) {
    if (m_handle == -1) return;
    std::memcpy(m_buffer.get() + m_used, bytes, size);
    m_used += size;
}

void COutputFile::WriteSlow(const void* bytes, std::size_t size) {
    if (m_handle == -1) return;
    Flush();
    if (size <= kBufferBytes) {
        CopyToBuffer(bytes, size);
    } else if (!m_failed && !rawfile::Write(m_handle, static_cast<const unsigned char*>(bytes), size)) {
        m_failed = true;
    }
}

void COutputFile::Flush() {
    if (!m_failed && !rawfile::Write(m_handle, m_buffer.get(), m_used)) m_failed = true;
    m_used = 0;
}

bool COutputFile::Close() {
    if (m_handle == -1) return false;
    Flush();
    const bool closed = rawfile::Close(m_handle);
    m_handle = -1;
    return closed && !m_failed;
}
