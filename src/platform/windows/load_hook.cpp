// Starts the application object when the library is loaded: the run-time library calls DllMain after it has made the
// static objects, and before it destroys them. A module without an application object, which never refers to CWinApp,
// does not get this file from the archive.
#include <windows.h>

#include "platform/module.h"

// The run-time library's: gives back what it set aside for exceptions in want of memory, which else stays for good.
namespace __gnu_cxx {
void __freeres();
}

namespace {

bool g_isRunning = false;

void EndModule() {
    if (!g_isRunning) return;
    g_isRunning = false;
    AfxGetApp()->ExitInstance();
}

}  // namespace

bool CWinApp::InitInstance() {
    return true;
}

int CWinApp::ExitInstance() {
    return 0;
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, void* isProcessEnding) {
    if (reason == DLL_PROCESS_ATTACH) {
        g_isRunning = true;
        if (!AfxGetApp()->InitInstance()) {
            EndModule();
            return FALSE;
        }
    } else if (reason == DLL_PROCESS_DETACH) {
        EndModule();
        if (!isProcessEnding) __gnu_cxx::__freeres();
    }
    return TRUE;
}
