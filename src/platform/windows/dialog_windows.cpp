#include <windows.h>

#include <atomic>
#include <iterator>

#include "platform/dialog.h"
#include "platform/module.h"

namespace {

std::atomic<TextHandler> g_messageBoxHandler{nullptr};

// The name that stands on the box: that of the file this code is in, without folder and extension.
class CApplicationName {
public:
    CApplicationName() {
        HMODULE module = nullptr;
        constexpr DWORD kFlags = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
        const auto* address = reinterpret_cast<const WCHAR*>(&g_messageBoxHandler);
        if (!GetModuleHandleExW(kFlags, address, &module)) return;
        if (GetModuleFileNameW(module, m_path, static_cast<DWORD>(std::size(m_path)) - 1) == 0) return;
        PathRemoveExtensionW(m_path);
    }
    const WCHAR* Text() const { return PathFindFileNameW(m_path); }

private:
    WCHAR m_path[MAX_PATH] = {};
};

}  // namespace

int AfxMessageBox(const WCHAR* text, unsigned type, unsigned) noexcept {
    if (!text) return IDOK;
    if (const TextHandler handler = g_messageBoxHandler.load()) {
        handler(text);
        return IDOK;
    }
    // Without a window of its own the library can only keep the whole thread's windows from being used meanwhile.
    return MessageBoxW(nullptr, text, CApplicationName().Text(), type | MB_TASKMODAL);
}

TextHandler SetMessageBoxHandler(TextHandler handler) noexcept {
    return g_messageBoxHandler.exchange(handler);
}
