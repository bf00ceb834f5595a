// UTF-16 paths as the file names of this system.
#pragma once

#include <string>

#include "platform/text.h"

/// The path as UTF-8. False, and `name` undefined, for a null or empty path and for one with an unpaired surrogate.
bool PathToFileName(const WCHAR* path, std::string& name);
