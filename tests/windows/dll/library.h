// The library as a host has it that knows only its header: loaded by name, reached through its exports.
#pragma once

#include <windows.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "parvel/parvel.h"

struct Library {
    HMODULE module = nullptr;
    decltype(&KestQueryBinDocInterface) query = nullptr;
    decltype(&TransXml2Bin) convert = nullptr;
    decltype(&EcSpt) ecSpt = nullptr;
    decltype(&DeSpt) deSpt = nullptr;
    decltype(&FreeSpt) freeSpt = nullptr;
    decltype(&GetScriptResultParser) parse = nullptr;
};

/// Any export, by name or by ordinal (MAKEINTRESOURCEA).
inline const void* Export(HMODULE module, const char* name) {
    return reinterpret_cast<const void*>(GetProcAddress(module, name));
}

inline Library LoadParvel(const wchar_t* name = L"Parvel.DLL") {
    Library library;
    library.module = LoadLibraryW(name);
    const auto get = [&]<class Function>(Function& function, const char* exportName) {
        function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library.module, exportName)));
    };
    get(library.query, "KestQueryBinDocInterface");
    get(library.convert, "TransXml2Bin");
    get(library.ecSpt, "EcSpt");
    get(library.deSpt, "DeSpt");
    get(library.freeSpt, "FreeSpt");
    get(library.parse, "GetScriptResultParser");
    return library;
}

/// The library that all tests of a process share.
inline const Library& Parvel() {
    static const Library library = LoadParvel();
    return library;
}

inline IBinDocument* NewDocument() {
    IBinDocument* document = nullptr;
    Parvel().query(&IID_IBinDocument, &document);
    return document;
}

/// The document of <a/>.
inline const std::string kSmallDocument("\1\0\0\0\2\0\0\0a\0\1\0\0\0\0\xFF\xFF\xFF\xFF\0\0\0\0\0\0\0\0", 27);

/// COM on this thread for as long as this is there.
struct ComSession {
    ComSession() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~ComSession() { CoUninitialize(); }
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;
};

/// A folder of its own, removed at the end.
class WorkFolder {
public:
    WorkFolder() {
        static int number = 0;
        m_path = std::filesystem::temp_directory_path() /
                 ("parvel-dll-" + std::to_string(GetCurrentProcessId()) + "-" + std::to_string(number++));
        std::filesystem::create_directories(m_path);
    }
    ~WorkFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    WorkFolder(const WorkFolder&) = delete;
    WorkFolder& operator=(const WorkFolder&) = delete;

    std::filesystem::path File(const std::wstring& name) const { return m_path / name; }

private:
    std::filesystem::path m_path;
};

inline void WriteFileBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string ReadFileBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}
