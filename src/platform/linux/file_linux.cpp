#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

#include "platform/file.h"
#include "platform/linux/path.h"
#include "platform/memory.h"

namespace {

// What is read fills memory whose pages are made just before.
constexpr std::size_t kPieceBytes = std::size_t{1} << 20;

// The system moves at most about 2 GiB in one call.
constexpr std::size_t kMostBytesPerCall = std::size_t{1} << 30;

int OpenFile(const WCHAR* path, int flags) {
    FileName name;
    if (!PathToFileName(path, name)) return -1;
    int handle = -1;
    do {
        handle = open(name.bytes, flags | O_CLOEXEC, 0666);
    } while (handle == -1 && errno == EINTR);
    return handle;
}

}  // namespace

bool CInputFile::Open(const WCHAR* path) {
    Close();
    const int handle = OpenFile(path, O_RDONLY);
    struct stat status = {};
    if (handle != -1 && (fstat(handle, &status) != 0 || S_ISDIR(status.st_mode))) {
        close(handle);
        return false;
    }
    m_handle = handle;
    return handle != -1;
}

void CInputFile::Close() {
    if (m_handle != -1) close(static_cast<int>(m_handle));
    m_handle = -1;
}

std::int64_t CInputFile::Size() const {
    struct stat status = {};
    if (m_handle == -1 || fstat(static_cast<int>(m_handle), &status) != 0 || !S_ISREG(status.st_mode)) return -1;
    return status.st_size;
}

std::int64_t CInputFile::Read(void* buffer, std::size_t size) {
    if (m_handle == -1) return -1;
    unsigned char* const bytes = static_cast<unsigned char*>(buffer);
    std::size_t done = 0;
    while (done < size) {
        const std::size_t wanted = size - done < kPieceBytes ? size - done : kPieceBytes;
        MakePages(bytes + done, wanted);
        const ssize_t got = read(static_cast<int>(m_handle), bytes + done, wanted);
        if (got == 0) break;
        if (got < 0) {
            if (errno == EINTR) continue;
            return -1;
        }
        done += static_cast<std::size_t>(got);
    }
    return static_cast<std::int64_t>(done);
}

namespace rawfile {

std::intptr_t OpenForWriting(const WCHAR* path) {
    return OpenFile(path, O_RDWR | O_CREAT | O_TRUNC);
}

bool Write(std::intptr_t handle, const unsigned char* bytes, std::size_t size) {
    while (size > 0) {
        const ssize_t written =
            write(static_cast<int>(handle), bytes, size < kMostBytesPerCall ? size : kMostBytesPerCall);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        bytes += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool Close(std::intptr_t handle) {
    return close(static_cast<int>(handle)) == 0;
}

}  // namespace rawfile

// What runs out of memory removes what it has begun: nothing is allocated here.
void RemoveFile(const WCHAR* path) {
    FileName name, target;
    struct stat status = {};
    const bool isFound = PathToFileName(path, name) && realpath(name.bytes, target.bytes);
    if (isFound && stat(target.bytes, &status) == 0 && S_ISREG(status.st_mode)) unlink(target.bytes);
}
