// The component module: the type library that the library belongs to, and the classes that class factories serve. The
// library has none of these: every object comes from an export.
#pragma once

#include <span>

#include "parvel/types.h"

/// A class that a factory can make objects of.
struct ComClassEntry {
    GUID classId;
    void (*onStart)();  // null: nothing to do
    void (*onStop)();
    IUnknown* factory = nullptr;  // one reference, once somebody has asked for it
};

class CComModule {
public:
    constexpr CComModule() = default;
    CComModule(const CComModule&) = delete;
    CComModule& operator=(const CComModule&) = delete;

    /// Stores the type library's identifier and the table, which must stay, and runs each entry's start hook.
    void Init(const GUID& libraryId, std::span<ComClassEntry> classes);
    /// Releases the factories and runs the stop hooks. Does nothing without an Init before it.
    void Term();

    const GUID& LibraryId() const { return m_libraryId; }

private:
    GUID m_libraryId = {};
    std::span<ComClassEntry> m_classes;
};
