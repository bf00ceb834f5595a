// What the library tells people: a message box, and text for an attached debugger.
//
// Windows has both; the name on the message box is that of the file that the library is in. Elsewhere, without a
// desktop, the message box is the same text on the controlling terminal, which waits for Enter; without a terminal, or
// in the background of one, it is the text on standard error and nobody waits. Debugger text without a debugger goes
// nowhere and costs next to nothing, so a loop may send it. Neither ever fails or throws.
#pragma once

#include "platform/text.h"

/// Shows a text and waits until the person has closed it. Gives 1 (the OK button); `type` 0 is a plain box with that
/// button, `helpContext` is for the signature's sake. A null text shows nothing.
int AfxMessageBox(const WCHAR* text, unsigned type = 0, unsigned helpContext = 0) noexcept;

#ifndef _WIN32

/// Sends a text to the debugger, if there is one. A null text sends nothing.
void OutputDebugStringW(const WCHAR* text) noexcept;

#endif

/// Gets a text in place of the person or the debugger.
using TextHandler = void (*)(const WCHAR* text);

/// For tests: from now on `handler` gets the texts; null puts the usual way back. Gives the former handler.
TextHandler SetMessageBoxHandler(TextHandler handler) noexcept;
TextHandler SetDebugOutputHandler(TextHandler handler) noexcept;
