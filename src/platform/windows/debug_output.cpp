// For tests: takes the place of the debugger. The system sends the text as an exception, which a debugger sees first
// and then this process. A module that never asks for it does not get this file from the archive.
#include <windows.h>

#include <atomic>
#include <string>

#include "platform/dialog.h"

namespace {

constexpr DWORD kWideText = 0x4001000A;    // length in units with the zero, wide text, then the same narrow
constexpr DWORD kNarrowText = 0x40010006;  // length in bytes with the zero, narrow text: all that older systems send

std::atomic<TextHandler> g_handler{nullptr};
void* g_registration = nullptr;

Text WideText(const char* bytes, ULONG_PTR size) {
    Text text(size, WCHAR(0));
    const int count =
        MultiByteToWideChar(CP_ACP, 0, bytes, static_cast<int>(size), text.data(), static_cast<int>(size));
    text.resize(count > 0 ? static_cast<std::size_t>(count) - 1 : 0);
    return text;
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* pointers) {
    const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
    const TextHandler handler = g_handler.load();
    if (!handler) return EXCEPTION_CONTINUE_SEARCH;
    if (record.ExceptionCode == kWideText) {
        handler(reinterpret_cast<const WCHAR*>(record.ExceptionInformation[1]));
    } else if (record.ExceptionCode == kNarrowText) {
        const auto* bytes = reinterpret_cast<const char*>(record.ExceptionInformation[1]);
        handler(WideText(bytes, record.ExceptionInformation[0]).c_str());
    } else {
        return EXCEPTION_CONTINUE_SEARCH;
    }
    return EXCEPTION_CONTINUE_EXECUTION;
}

}  // namespace

TextHandler SetDebugOutputHandler(TextHandler handler) noexcept {
    if (handler && !g_registration) g_registration = AddVectoredExceptionHandler(1, OnException);
    return g_handler.exchange(handler);
}
