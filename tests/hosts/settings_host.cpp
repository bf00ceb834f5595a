// settings_host LIBRARY IN.xml OUT.bdoc: a host that loads the library while it runs, and converts one file. Tests copy
// this program under a name of their choice, beside an ini file.
#include <dlfcn.h>

#include <cstdio>
#include <string>

#include "parvel/parvel.h"

namespace {

std::basic_string<WCHAR> Widen(const std::string& ascii) {
    return {ascii.begin(), ascii.end()};
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) return 4;
    void* library = dlopen(argv[1], RTLD_NOW);
    if (!library) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    const auto convert = reinterpret_cast<decltype(&TransXml2Bin)>(dlsym(library, "TransXml2Bin"));
    if (!convert) return 3;
    const bool done = convert(Widen(argv[2]).c_str(), Widen(argv[3]).c_str());
    dlclose(library);
    return done ? 0 : 2;
}
