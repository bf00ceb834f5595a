// Included before GoogleTest's own sources: built for one thread, as this compiler without std::mutex asks for, they
// lack this class of theirs.
#pragma once

#include <windows.h>

namespace testing::internal {

class AutoHandle {
public:
    typedef HANDLE Handle;

    AutoHandle() = default;
    explicit AutoHandle(Handle handle) : m_handle(handle) {}
    ~AutoHandle() { Reset(); }
    AutoHandle(const AutoHandle&) = delete;
    AutoHandle& operator=(const AutoHandle&) = delete;

    Handle Get() const { return m_handle; }
    void Reset() { Reset(INVALID_HANDLE_VALUE); }
    void Reset(Handle handle) {
        if (m_handle && m_handle != INVALID_HANDLE_VALUE) CloseHandle(m_handle);
        m_handle = handle;
    }

private:
    Handle m_handle = INVALID_HANDLE_VALUE;
};

}  // namespace testing::internal
