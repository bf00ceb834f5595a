// Puts a function of a test's own into an object's table, for all objects of its class, for as long as this is there.
#pragma once

#include <windows.h>

class PatchedTable {
public:
    /// `object` is the interface pointer that the caller under test has, of the same class.
    PatchedTable(void* object, int entry, void* function) : m_place(*static_cast<void***>(object) + entry) {
        m_former = Write(function);
    }
    ~PatchedTable() { Write(m_former); }
    PatchedTable(const PatchedTable&) = delete;
    PatchedTable& operator=(const PatchedTable&) = delete;

private:
    void* Write(void* function) {
        DWORD protection = 0;
        VirtualProtect(m_place, sizeof(*m_place), PAGE_READWRITE, &protection);
        void* former = *m_place;
        *m_place = function;
        VirtualProtect(m_place, sizeof(*m_place), protection, &protection);
        return former;
    }

    void** m_place;
    void* m_former = nullptr;
};
