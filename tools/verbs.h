// The verbs of the tool. Each adds its subcommand, with options and help, and sets `chosen` when the command line names
// it; what it then does may throw CFault.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "fault.h"

using Action = std::function<ExitCode()>;

void AddConvertVerb(CLI::App& app, Action& chosen);
void AddExportVerb(CLI::App& app, Action& chosen);
void AddShowVerb(CLI::App& app, Action& chosen);
void AddResultVerb(CLI::App& app, Action& chosen);
