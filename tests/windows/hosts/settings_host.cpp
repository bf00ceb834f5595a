// settings_host LIBRARY IN.xml OUT.bdoc: a host that loads the library while it runs, and converts one file. Tests copy
// this program under a name of their choice, beside an ini file.
#include "../dll/library.h"

#include <shellapi.h>

int main() {
    int count = 0;
    wchar_t** arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    if (count != 4) return 4;
    const Library library = LoadParvel(arguments[1]);
    if (!library.convert) return 3;
    const CHostSession com;
    const bool done = library.convert(arguments[2], arguments[3]);
    return FreeLibrary(library.module) && !GetModuleHandleW(arguments[1]) ? (done ? 0 : 2) : 5;
}
