#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "platform/dialog.h"
#include "platform/utf8.h"

namespace {

std::atomic<TextHandler> g_messageBoxHandler{nullptr};
std::atomic<TextHandler> g_debugOutputHandler{nullptr};

void WriteAll(int handle, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = write(handle, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
}

// The text as whole lines of UTF-8. Other control characters than line feed and tab are shown by their pictures: the
// text may quote a file that hates us, and a terminal obeys what it is sent.
std::string TextForTerminal(const WCHAR* text) {
    Text shown(text);
    for (WCHAR& unit : shown) {
        if (unit == u'\n' || unit == u'\t') continue;
        if (unit < 0x20) unit = static_cast<WCHAR>(0x2400 + unit);
        if (unit >= 0x7F && unit <= 0x9F) unit = unit == 0x7F ? u'\u2421' : u'\uFFFD';
    }
    std::string bytes = TextToUtf8(shown);
    if (bytes.empty() || bytes.back() != '\n') bytes += '\n';
    return bytes;
}

void WaitForEnter(int terminal) {
    char byte = 0;
    while (byte != '\n') {
        const ssize_t got = read(terminal, &byte, 1);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) return;
    }
}

// The controlling terminal, if this process may read from it without being stopped; otherwise -1.
int OpenTerminal() {
    const int terminal = open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY);
    if (terminal != -1 && tcgetpgrp(terminal) != getpgrp()) {
        close(terminal);
        return -1;
    }
    return terminal;
}

void ShowMessage(const WCHAR* text) {
    const std::string bytes = TextForTerminal(text);
    const int terminal = OpenTerminal();
    if (terminal == -1) {
        WriteAll(STDERR_FILENO, bytes);
        return;
    }
    WriteAll(terminal, bytes + "Press Enter to go on. ");
    WaitForEnter(terminal);
    close(terminal);
}

bool IsDebuggerAttached() {
    const int status = open("/proc/self/status", O_RDONLY | O_CLOEXEC);
    if (status == -1) return false;
    char bytes[4096];
    const ssize_t got = read(status, bytes, sizeof bytes);
    close(status);
    const std::string_view lines(bytes, got > 0 ? static_cast<std::size_t>(got) : 0);
    constexpr std::string_view kLabel = "\nTracerPid:\t";
    const std::size_t label = lines.find(kLabel);
    return label != std::string_view::npos && lines.substr(label + kLabel.size(), 2) != "0\n";
}

// IsDebuggerAttached, looked up once a second at most.
bool IsDebuggerKnown() {
    static std::atomic<bool> isAttached{false};
    static std::atomic<std::int64_t> nextLook{0};
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (now.tv_sec >= nextLook.load(std::memory_order_relaxed)) {
        isAttached.store(IsDebuggerAttached(), std::memory_order_relaxed);
        nextLook.store(now.tv_sec + 1, std::memory_order_relaxed);
    }
    return isAttached.load(std::memory_order_relaxed);
}

}  // namespace

int AfxMessageBox(const WCHAR* text, unsigned, unsigned) noexcept {
    constexpr int kOk = 1;
    if (!text) return kOk;
    try {
        const TextHandler handler = g_messageBoxHandler.load();
        handler ? handler(text) : ShowMessage(text);
    } catch (...) {  // out of memory: there is nobody left to tell
    }
    return kOk;
}

void OutputDebugStringW(const WCHAR* text) noexcept {
    if (!text) return;
    try {
        if (const TextHandler handler = g_debugOutputHandler.load()) {
            handler(text);
        } else if (IsDebuggerKnown()) {
            WriteAll(STDERR_FILENO, TextForTerminal(text));
        }
    } catch (...) {  // as above
    }
}

TextHandler SetMessageBoxHandler(TextHandler handler) noexcept {
    return g_messageBoxHandler.exchange(handler);
}

TextHandler SetDebugOutputHandler(TextHandler handler) noexcept {
    return g_debugOutputHandler.exchange(handler);
}
