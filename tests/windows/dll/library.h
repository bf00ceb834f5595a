// The library as a host has it that knows only its header: loaded by name, reached through its exports.
#pragma once

#include <windows.h>

#include "parvel/parvel.h"
#include "test_files.h"

struct Library {
    HMODULE module = nullptr;
    decltype(&KestQueryBinDocInterface) query = nullptr;
    decltype(&TransXml2Bin) convert = nullptr;
    decltype(&EcSpt) ecSpt = nullptr;
    decltype(&DeSpt) deSpt = nullptr;
    decltype(&FreeSpt) freeSpt = nullptr;
    decltype(&GetScriptResultParser) parse = nullptr;
};

/// That these exports are all, undecorated and of which ordinals, is checked with the file's headers.
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

/// COM on this thread for as long as this is there.
struct CHostSession {
    CHostSession() { CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED); }
    ~CHostSession() { CoUninitialize(); }
    CHostSession(const CHostSession&) = delete;
    CHostSession& operator=(const CHostSession&) = delete;
};
