#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "platform/handle.h"
#include "platform/linux/path.h"

const int kIsFolderError = EISDIR;
const char* const kTemporaryFolderVariable = "TMPDIR";

namespace {

FileKind KindOfMode(mode_t mode) {
    if (S_ISREG(mode)) return FileKind::Ordinary;
    return S_ISDIR(mode) ? FileKind::Folder : FileKind::Other;
}

int Open(const WCHAR* path, int flags, std::intptr_t& handle) {
    FileName name;
    if (!PathToFileName(path, name)) return path && TextLength(path) >= sizeof(name.bytes) / 4 ? ENAMETOOLONG : ENOENT;
    handle = open(name.bytes, flags | O_CLOEXEC, 0666);
    return handle == -1 ? errno : 0;
}

int Duplicate(int standard, std::intptr_t& handle) {
    handle = fcntl(standard, F_DUPFD_CLOEXEC, 0);
    return handle == -1 ? errno : 0;
}

bool Look(const WCHAR* path, struct stat& status) {
    FileName name;
    return PathToFileName(path, name) && stat(name.bytes, &status) == 0;
}

}  // namespace

std::string SystemText(int error) {
    return std::strerror(error);
}

bool IsReaderGone(int error) {
    return error == EPIPE;
}

void CHandle::Close() {
    if (m_handle != kNone) close(static_cast<int>(m_handle));
    m_handle = kNone;
}

int CHandle::OpenToRead(const WCHAR* path) {
    Close();
    return Open(path, O_RDONLY, m_handle);
}

int CHandle::OpenToWrite(const WCHAR* path, bool creates) {
    Close();
    return Open(path, O_WRONLY | (creates ? O_CREAT : 0), m_handle);
}

int CHandle::OpenStandardInput() {
    Close();
    return Duplicate(STDIN_FILENO, m_handle);
}

int CHandle::OpenStandardOutput() {
    Close();
    return Duplicate(STDOUT_FILENO, m_handle);
}

FileKind CHandle::Kind() const {
    struct stat status = {};
    return fstat(static_cast<int>(m_handle), &status) == 0 ? KindOfMode(status.st_mode) : FileKind::None;
}

bool CHandle::IsSameFile(const WCHAR* path) const {
    struct stat own = {};
    struct stat other = {};
    return fstat(static_cast<int>(m_handle), &own) == 0 && Look(path, other) && own.st_dev == other.st_dev &&
           own.st_ino == other.st_ino;
}

std::uint64_t CHandle::Size() const {
    struct stat status = {};
    if (fstat(static_cast<int>(m_handle), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return static_cast<std::uint64_t>(status.st_size);
}

int CHandle::Read(void* buffer, std::size_t size, std::size_t& got) {
    ssize_t count = -1;
    do {
        count = read(static_cast<int>(m_handle), buffer, size);
    } while (count < 0 && errno == EINTR);
    got = count < 0 ? 0 : static_cast<std::size_t>(count);
    return count < 0 ? errno : 0;
}

std::size_t CHandle::ReadAt(std::uint64_t offset, void* buffer, std::size_t size) const {
    ssize_t count = -1;
    do {
        count = pread(static_cast<int>(m_handle), buffer, size, static_cast<off_t>(offset));
    } while (count < 0 && errno == EINTR);
    return count < 0 ? 0 : static_cast<std::size_t>(count);
}

int CHandle::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(static_cast<int>(m_handle), bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

FileKind KindOf(const WCHAR* path) {
    struct stat status = {};
    return Look(path, status) ? KindOfMode(status.st_mode) : FileKind::None;
}

std::string TemporaryFolder() {
    const char* folder = std::getenv(kTemporaryFolderVariable);
    return folder && *folder ? folder : "/tmp";
}

CTemporaryFile::~CTemporaryFile() = default;

// mkostemp puts letters of its choice in place of the Xs. The file loses its name at once: only this process finds it,
// and the system removes it with the process.
int CTemporaryFile::Create() {
    std::string name = TemporaryFolder() + "/parvel-XXXXXX";
    const int handle = mkostemp(name.data(), O_CLOEXEC);
    if (handle == -1) return errno;
    unlink(name.c_str());
    m_handle = CHandle(handle);
    const std::string path = "/proc/self/fd/" + std::to_string(handle);
    m_path.assign(path.begin(), path.end());
    return 0;
}
