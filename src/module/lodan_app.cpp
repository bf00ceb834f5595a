#include "module/lodan_app.h"

#include <cstdint>
#include <iterator>

#include "model/word_dict.h"
#include "xml/msxml_helper.h"

namespace {

constexpr WCHAR kSection[] = WTEXT("Config");

std::int32_t ReadSetting(const WCHAR* key, const WCHAR* path) {
    return static_cast<std::int32_t>(GetPrivateProfileIntW(kSection, key, 0, path));
}

constinit CLodanApp g_app;

}  // namespace

CWinApp* AfxGetApp() {
    return &g_app;
}

bool CLodanApp::InitInstance() {
    ReadConfiguration();
    return CWinApp::InitInstance();
}

int CLodanApp::ExitInstance() {
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
