// The message box on a terminal and without one; debugger text with and without a debugger.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/ptrace.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>

#include "platform/dialog.h"

namespace {

constexpr int kPatienceMs = 10000;

// Reads until `wanted` has been seen, the other end is closed, or patience ends.
std::string ReadUntil(int handle, const std::string& wanted) {
    std::string seen;
    pollfd waiting = {handle, POLLIN, 0};
    while (seen.find(wanted) == std::string::npos && poll(&waiting, 1, kPatienceMs) > 0) {
        char bytes[4096];
        const ssize_t got = read(handle, bytes, sizeof bytes);
        if (got <= 0) break;
        seen.append(bytes, static_cast<std::size_t>(got));
    }
    return seen;
}

// What `action` writes to standard error in a process without a controlling terminal, and how that ends.
std::string ErrorTextOf(const std::function<void()>& action, int& status) {
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        setsid();
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        action();
        _exit(0);
    }
    close(ends[1]);
    const std::string text = ReadUntil(ends[0], "no such text");
    close(ends[0]);
    waitpid(child, &status, 0);
    return text;
}

std::string ErrorTextOf(const std::function<void()>& action) {
    int status = -1;
    const std::string text = ErrorTextOf(action, status);
    EXPECT_EQ(status, 0);
    return text;
}

TEST(MessageBox, WithoutATerminalSpeaksOnStandardError) {
    EXPECT_EQ(ErrorTextOf([] { AfxMessageBox(WTEXT("Größe: 𝄞\n,line:3\n"), 0, 0); }), "Größe: 𝄞\n,line:3\n");
    EXPECT_EQ(ErrorTextOf([] { AfxMessageBox(WTEXT("open end")); }), "open end\n");
    EXPECT_EQ(ErrorTextOf([] { AfxMessageBox(nullptr); }), "");
    // Control characters and half pairs are not passed on.
    const WCHAR text[] = {0x1B, '[', '2', 'J', 0x7F, 0x9B, 0xD800, '\t', 0};
    EXPECT_EQ(ErrorTextOf([&] { AfxMessageBox(text); }), "␛[2J␡\uFFFD\uFFFD\t\n");
}

TEST(MessageBox, OnATerminalWaitsForEnter) {
    int terminal = -1;
    const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    ASSERT_NE(child, -1);
    if (child == 0) _exit(AfxMessageBox(WTEXT("Parser Error:")) == 1 ? 0 : 1);

    const std::string shown = ReadUntil(terminal, "Enter");
    EXPECT_NE(shown.find("Parser Error:"), std::string::npos) << shown;
    int status = -1;
    usleep(50000);
    EXPECT_EQ(waitpid(child, &status, WNOHANG), 0) << "did not wait";
    ASSERT_EQ(write(terminal, "why\n", 4), 4);
    ReadUntil(terminal, "no such text");
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    close(terminal);
}

TEST(DebuggerOutput, GoesNowhereWithoutADebuggerAndCostsLittle) {
    EXPECT_EQ(ErrorTextOf([] {
                  for (int i = 0; i < 1000000; ++i) OutputDebugStringW(WTEXT("unseen"));
              }),
              "");
}

TEST(DebuggerOutput, ReachesTheDebuggersUserOnStandardError) {
    int status = -1;
    const auto speak = [] {
        if (ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) _exit(77);
        OutputDebugStringW(WTEXT("解析"));
    };
    const std::string text = ErrorTextOf(speak, status);
    // Some containers forbid tracing to everyone, and without a debugger there is nobody whom the text could reach.
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "no process may be traced here";
    EXPECT_EQ(status, 0);
    EXPECT_EQ(text, "解析\n");
}

}  // namespace
