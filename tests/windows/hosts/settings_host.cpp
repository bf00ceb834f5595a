// settings_host LIBRARY IN.xml OUT.bdoc: a host that loads the library while it runs, and converts one file. Tests copy
// this program under a name of their choice, beside an ini file.
#include <windows.h>

#include <objbase.h>
#include <shellapi.h>

#include "parvel/parvel.h"

int main() {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 4) return 4;
    const HMODULE library = LoadLibraryW(arguments[1]);
    if (!library) return 3;
    void* address = reinterpret_cast<void*>(GetProcAddress(library, "TransXml2Bin"));
    const auto convert = reinterpret_cast<decltype(&TransXml2Bin)>(address);
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const bool done = convert(arguments[2], arguments[3]);
    CoUninitialize();
    return FreeLibrary(library) && !GetModuleHandleW(arguments[1]) ? (done ? 0 : 2) : 5;
}
