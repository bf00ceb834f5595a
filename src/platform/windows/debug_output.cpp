// For tests: takes the place of the debugger, by taking the place of the system's function among what this module
// imports. A module that never asks for it does not get this file from the archive.
#include <windows.h>

#include <atomic>

#include "platform/dialog.h"

namespace {

using Function = decltype(&OutputDebugStringW);

extern "C" Function g_imported asm("__imp__OutputDebugStringW@4");  // where every call in this module looks

std::atomic<TextHandler> g_handler{nullptr};

void WINAPI HandOver(const WCHAR* text) {
    if (const TextHandler handler = g_handler.load(); handler && text) handler(text);
}

}  // namespace

TextHandler SetDebugOutputHandler(TextHandler handler) noexcept {
    static const Function system = g_imported;
    const TextHandler former = g_handler.exchange(handler);
    DWORD protection = 0;
    VirtualProtect(&g_imported, sizeof(g_imported), PAGE_READWRITE, &protection);
    g_imported = handler ? HandOver : system;
    return former;
}
