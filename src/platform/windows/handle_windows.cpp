#include <windows.h>

#include <iterator>

#include "platform/handle.h"
#include "platform/utf8.h"

const int kIsFolderError = 336;  // "not supported on a directory": newer than some systems
const char* const kTemporaryFolderVariable = "TMP";

namespace {

constexpr std::size_t kMostBytesPerCall = std::size_t{1} << 24;
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

HANDLE HandleOf(std::intptr_t handle) {
    return reinterpret_cast<HANDLE>(handle);
}

int LastError() {
    return static_cast<int>(GetLastError());
}

// The library is to open the same file meanwhile, so others are let in.
int Open(const WCHAR* path, DWORD access, DWORD disposition, std::intptr_t& handle) {
    if (!path || !*path) return ERROR_FILE_NOT_FOUND;
    handle = reinterpret_cast<std::intptr_t>(
        CreateFileW(path, access, kShareAll, nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (handle != -1) return 0;
    const int error = LastError();
    return KindOf(path) == FileKind::Folder ? kIsFolderError : error;
}

int Duplicate(DWORD standard, std::intptr_t& handle) {
    const HANDLE process = GetCurrentProcess();
    const HANDLE own = GetStdHandle(standard);
    HANDLE copy = nullptr;
    if (!own || own == INVALID_HANDLE_VALUE) return ERROR_INVALID_HANDLE;
    if (!DuplicateHandle(process, own, process, &copy, 0, FALSE, DUPLICATE_SAME_ACCESS)) return LastError();
    handle = reinterpret_cast<std::intptr_t>(copy);
    return 0;
}

bool Identify(HANDLE handle, BY_HANDLE_FILE_INFORMATION& information) {
    return handle != INVALID_HANDLE_VALUE && GetFileInformationByHandle(handle, &information);
}

DWORD PieceOf(std::size_t size) {
    return static_cast<DWORD>(size < kMostBytesPerCall ? size : kMostBytesPerCall);
}

}  // namespace

std::string SystemText(int error) {
    if (error == kIsFolderError) return "Is a directory";
    WCHAR text[512];
    constexpr DWORD kFlags = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK;
    DWORD length = FormatMessageW(kFlags, nullptr, static_cast<DWORD>(error), 0, text,
                                  static_cast<DWORD>(std::size(text)), nullptr);
    if (length == 0) return "system error " + std::to_string(error);
    while (length > 0 && (text[length - 1] <= L' ' || text[length - 1] == L'.')) --length;
    return TextToUtf8(TextView(text, length));
}

bool IsReaderGone(int error) {
    return error == ERROR_BROKEN_PIPE || error == ERROR_NO_DATA || error == ERROR_PIPE_NOT_CONNECTED;
}

void CHandle::Close() {
    if (m_handle != kNone) CloseHandle(HandleOf(m_handle));
    m_handle = kNone;
}

int CHandle::OpenToRead(const WCHAR* path) {
    Close();
    return Open(path, GENERIC_READ, OPEN_EXISTING, m_handle);
}

int CHandle::OpenToWrite(const WCHAR* path, bool creates) {
    Close();
    return Open(path, GENERIC_WRITE, creates ? OPEN_ALWAYS : OPEN_EXISTING, m_handle);
}

int CHandle::OpenStandardInput() {
    Close();
    return Duplicate(STD_INPUT_HANDLE, m_handle);
}

int CHandle::OpenStandardOutput() {
    Close();
    return Duplicate(STD_OUTPUT_HANDLE, m_handle);
}

FileKind CHandle::Kind() const {
    switch (GetFileType(HandleOf(m_handle))) {
        case FILE_TYPE_DISK:
            return FileKind::Ordinary;  // a folder cannot be opened
        case FILE_TYPE_UNKNOWN:
            return FileKind::None;
        default:
            return FileKind::Other;
    }
}

bool CHandle::IsSameFile(const WCHAR* path) const {
    BY_HANDLE_FILE_INFORMATION own = {};
    BY_HANDLE_FILE_INFORMATION other = {};
    const HANDLE file = CreateFileW(path, 0, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    const bool isSame = Identify(HandleOf(m_handle), own) && Identify(file, other) &&
                        own.dwVolumeSerialNumber == other.dwVolumeSerialNumber &&
                        own.nFileIndexHigh == other.nFileIndexHigh && own.nFileIndexLow == other.nFileIndexLow;
    if (file != INVALID_HANDLE_VALUE) CloseHandle(file);
    return isSame;
}

std::uint64_t CHandle::Size() const {
    LARGE_INTEGER size = {};
    if (Kind() != FileKind::Ordinary || !GetFileSizeEx(HandleOf(m_handle), &size)) return 0;
    return static_cast<std::uint64_t>(size.QuadPart);
}

int CHandle::Read(void* buffer, std::size_t size, std::size_t& got) {
    DWORD count = 0;
    got = 0;
    if (!ReadFile(HandleOf(m_handle), buffer, PieceOf(size), &count, nullptr)) {
        const int error = LastError();
        return error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF ? 0 : error;  // the writer has closed its end
    }
    got = count;
    return 0;
}

std::size_t CHandle::ReadAt(std::uint64_t offset, void* buffer, std::size_t size) const {
    OVERLAPPED place = {};
    place.Offset = static_cast<DWORD>(offset);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32);
    DWORD count = 0;
    return ReadFile(HandleOf(m_handle), buffer, PieceOf(size), &count, &place) ? count : 0;
}

int CHandle::Write(std::string_view bytes) {
    while (!bytes.empty()) {
        DWORD written = 0;
        if (!WriteFile(HandleOf(m_handle), bytes.data(), PieceOf(bytes.size()), &written, nullptr)) return LastError();
        bytes.remove_prefix(written);
    }
    return 0;
}

FileKind KindOf(const WCHAR* path) {
    const DWORD attributes = GetFileAttributesW(path);
    if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY)) return FileKind::Folder;
    const HANDLE file = CreateFileW(path, 0, kShareAll, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE) return FileKind::None;
    const bool isOnDisk = GetFileType(file) == FILE_TYPE_DISK;
    CloseHandle(file);
    return isOnDisk ? FileKind::Ordinary : FileKind::Other;
}

std::string TemporaryFolder() {
    WCHAR folder[MAX_PATH + 1] = {};
    return GetTempPathW(static_cast<DWORD>(std::size(folder)), folder) > 0 ? TextToUtf8(folder) : ".";
}

CTemporaryFile::~CTemporaryFile() {
    if (IsThere()) DeleteFileW(m_path.c_str());
}

// The library opens the file by its name, and has it to itself while it writes: nothing is kept open here.
int CTemporaryFile::Create() {
    Text folder;
    WCHAR name[MAX_PATH] = {};
    Utf8ToText(TemporaryFolder(), folder);
    if (GetTempFileNameW(folder.c_str(), L"prv", 0, name) == 0) return LastError();
    m_path = name;
    return 0;
}
