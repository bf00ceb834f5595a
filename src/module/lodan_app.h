// Start and end of the library, and the reading of its two settings.
#pragma once

#include "platform/module.h"

class CLodanApp final : public CWinApp {
public:
    /// Reads the settings and starts the component module. Always succeeds.
    bool InitInstance() override;
    int ExitInstance() override;

private:
    /// Fills "Lower" and "LogLevel" from section "Config" of the ini file that lies beside the host's executable and
    /// has its name. Without such a file or key a setting is 0.
    static void ReadConfiguration();
};
