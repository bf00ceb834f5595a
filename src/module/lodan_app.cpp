#include "module/lodan_app.h"

#include <cstdint>
#include <iterator>

#include "model/word_dict.h"
#include "module/com_module.h"
#include "xml/msxml_helper.h"

namespace {

constexpr WCHAR kSection[] = WTEXT("Config");

std::int32_t ReadSetting(const WCHAR* key, const WCHAR* path) {
    return static_cast<std::int32_t>(GetPrivateProfileIntW(kSection, key, 0, path));
}

/// {BAB51F1E-9526-4F31-8CC9-63AEE7430692}, of the type library that the library file carries on Windows.
constexpr GUID kLibraryId = {0xBAB51F1E, 0x9526, 0x4F31, {0x8C, 0xC9, 0x63, 0xAE, 0xE7, 0x43, 0x06, 0x92}};

constinit CComModule g_module;
constinit CLodanApp g_app;

}  // namespace

CWinApp* AfxGetApp() {
    return &g_app;
}

bool CLodanApp::InitInstance() {
    ReadConfiguration();
    g_module.Init(kLibraryId, {});
    return CWinApp::InitInstance();
}

int CLodanApp::ExitInstance() {
    g_module.Term();
    return CWinApp::ExitInstance();
}

void CLodanApp::ReadConfiguration() {
    WCHAR path[260] = {};
    g_lower = 0;
    if (GetModuleFileNameW(nullptr, path, std::size(path)) == 0) return;
    path[std::size(path) - 1] = 0;  // not every system ends a path that it has cut
    if (!PathRenameExtensionW(path, WTEXT(".ini"))) return;
    g_lower = ReadSetting(WTEXT("Lower"), path);
    g_logLevel = ReadSetting(WTEXT("LogLevel"), path);
}
