// The library's place in its host's process: the application object that starts and ends with the library, the
// executable's path, and the look-up of integers in an ini file.
//
// On Windows the functions are the system's own; elsewhere they have the same names and do what is written here. Paths
// are UTF-16. None of them throws.
#pragma once

#include <cstdint>

#include "platform/text.h"

#ifdef _WIN32

#include <shlwapi.h>

#else

/// Stores the path of the process's executable: null names it, no other module has a path. Cut to `unitCount` units
/// with the terminating zero; gives the number stored without the zero, or `unitCount` when it was cut. A byte of the
/// path that is not UTF-8 becomes an unpaired surrogate, so that the path names no file rather than another one.
std::uint32_t GetModuleFileNameW(void* module, WCHAR* path, std::uint32_t unitCount) noexcept;

/// Replaces the extension in a buffer of 260 units, or appends one. False, and `path` as it was, when the result does
/// not fit. An extension starts at the last dot behind the last separator and the last blank.
bool PathRenameExtensionW(WCHAR* path, const WCHAR* extension) noexcept;

/// The number that leads the value of `key` in the first section named `section`, modulo 2^32; a value without digits
/// counts as 0. `defaultValue` for no file, section, key or value. Names are compared without regard to the case of A
/// to Z. The file is in an 8-bit encoding, in UTF-8, or in UTF-16 with its byte order mark.
std::uint32_t GetPrivateProfileIntW(const WCHAR* section, const WCHAR* key, std::int32_t defaultValue,
                                    const WCHAR* path) noexcept;

#endif

/// What the library does when it is loaded and unloaded. The one object of a class derived from this is what AfxGetApp
/// gives; a module that has such a class is started before any of its exports can be called.
class CWinApp {
public:
    constexpr CWinApp() = default;
    CWinApp(const CWinApp&) = delete;
    CWinApp& operator=(const CWinApp&) = delete;

    /// Run once, while the library is loaded. When it gives false, ExitInstance follows at once.
    virtual bool InitInstance();
    /// Run once, while the library is unloaded. Gives the exit code.
    virtual int ExitInstance();

protected:
    // The object lives as long as the library: nobody destroys it.
    ~CWinApp() = default;
};

/// The module's application object, ready before any other static object. Defined by the module.
CWinApp* AfxGetApp();
