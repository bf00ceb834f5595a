// Starts the application object when the library is loaded. A library or program without one, which never refers to
// CWinApp, does not get this file from the archive.
#include "platform/module.h"

namespace {

bool g_isRunning = false;

void EndModule() {
    if (!g_isRunning) return;
    g_isRunning = false;
    AfxGetApp()->ExitInstance();
}

// The dynamic linker runs these two while it loads and unloads the library, each once.
__attribute__((constructor)) void OnLoad() {
    g_isRunning = true;
    if (!AfxGetApp()->InitInstance()) EndModule();
}

__attribute__((destructor)) void OnUnload() {
    EndModule();
}

}  // namespace

bool CWinApp::InitInstance() {
    return true;
}

int CWinApp::ExitInstance() {
    return 0;
}
