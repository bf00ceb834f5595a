#include "module/com_module.h"

#include <utility>

void CComModule::Init(const GUID& libraryId, std::span<ComClassEntry> classes) {
    m_libraryId = libraryId;
    m_classes = classes;
    for (const ComClassEntry& entry : m_classes) {
        if (entry.onStart) entry.onStart();
    }
}

void CComModule::Term() {
    for (ComClassEntry& entry : std::exchange(m_classes, {})) {
        if (IUnknown* factory = std::exchange(entry.factory, nullptr)) factory->Release();
        if (entry.onStop) entry.onStop();
    }
}
