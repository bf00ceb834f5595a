// The few system types that Parvel's interfaces are made of.
//
// On Windows they are the system's own. Elsewhere they are declared here, under the same names and with the same
// layout, so that one host source serves both. A host includes parvel/parvel.h, which brings this file along.
#pragma once

#include <cstdint>
#include <cstring>

#ifdef _WIN32

#include <windows.h>

#include <unknwn.h>

/// Calling convention of the exports and of the interface operations.
#define PARVEL_CALL __stdcall
#define PARVEL_EXPORT

#else

#define PARVEL_CALL
#define PARVEL_EXPORT __attribute__((visibility("default")))

/// One UTF-16 code unit. Every text of the library is a zero-terminated run of these.
using WCHAR = char16_t;
/// Result code: 0 and above is success, below 0 is failure.
using HRESULT = std::int32_t;
using ULONG = std::uint32_t;

/// 16-byte identifier of an interface.
struct GUID {
    std::uint32_t Data1;
    std::uint16_t Data2;
    std::uint16_t Data3;
    std::uint8_t Data4[8];
};
using IID = GUID;

static_assert(sizeof(GUID) == 16, "compared as bytes");
inline bool operator==(const GUID& a, const GUID& b) {
    return std::memcmp(&a, &b, sizeof(GUID)) == 0;
}
inline bool operator!=(const GUID& a, const GUID& b) {
    return !(a == b);
}

/// Root of every interface: the first three operations of each table.
struct IUnknown {
    virtual HRESULT PARVEL_CALL QueryInterface(const IID& iid, void** out) = 0;
    virtual ULONG PARVEL_CALL AddRef() = 0;
    virtual ULONG PARVEL_CALL Release() = 0;

protected:
    ~IUnknown() = default;
};

#endif
