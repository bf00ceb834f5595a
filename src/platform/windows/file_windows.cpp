#include <windows.h>

#include "platform/file.h"

// Files are shared as the run-time library's own secure open shares them: whoever reads lets others read, whoever
// writes has the file to itself.

namespace {

constexpr std::size_t kMostBytesPerCall = std::size_t{1} << 30;

HANDLE HandleOf(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

std::intptr_t OpenFile(const WCHAR* path, DWORD access, DWORD sharing, DWORD disposition) {
    if (!path || !*path) return -1;
    const HANDLE handle = CreateFileW(path, access, sharing, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
    return reinterpret_cast<std::intptr_t>(handle);
}

DWORD PieceOf(std::size_t size) {
    return static_cast<DWORD>(size < kMostBytesPerCall ? size : kMostBytesPerCall);
}

}  // namespace

bool CInputFile::Open(const WCHAR* path) {
    Close();
    m_handle = OpenFile(path, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING);  // a directory cannot be opened so
    return m_handle != -1;
}

void CInputFile::Close() {
    if (m_handle != -1) CloseHandle(HandleOf(m_handle));
    m_handle = -1;
}

std::int64_t CInputFile::Size() const {
    LARGE_INTEGER size = {};
    if (m_handle == -1 || GetFileType(HandleOf(m_handle)) != FILE_TYPE_DISK) return -1;
    return GetFileSizeEx(HandleOf(m_handle), &size) ? size.QuadPart : -1;
}

std::int64_t CInputFile::Read(void* buffer, std::size_t size) {
    if (m_handle == -1) return -1;
    std::size_t done = 0;
    while (done < size) {
        DWORD got = 0;
        if (!ReadFile(HandleOf(m_handle), static_cast<unsigned char*>(buffer) + done, PieceOf(size - done), &got,
                      nullptr)) {
            return -1;
        }
        if (got == 0) break;
        done += got;
    }
    return static_cast<std::int64_t>(done);
}

namespace rawfile {

std::intptr_t OpenForWriting(const WCHAR* path) {
    return OpenFile(path, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS);
}

bool Write(std::intptr_t handle, const unsigned char* bytes, std::size_t size) {
    while (size > 0) {
        DWORD written = 0;
        if (!WriteFile(HandleOf(handle), bytes, PieceOf(size), &written, nullptr) || written == 0) return false;
        bytes += written;
        size -= written;
    }
    return true;
}

bool Close(std::intptr_t handle) {
    return CloseHandle(HandleOf(handle)) != 0;
}

}  // namespace rawfile

void RemoveFile(const WCHAR* path) {
    if (path) DeleteFileW(path);
}
