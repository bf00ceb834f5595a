// UTF-16 paths as the file names of this system.
#pragma once

#include <climits>

#include "platform/text.h"

/// UTF-8 with its terminating zero. The system opens no longer one.
struct FileName {
    char bytes[PATH_MAX];
};

/// False, and `name` undefined, for a null or empty path, one with an unpaired surrogate and one that is too long.
/// Allocates nothing.
bool PathToFileName(const WCHAR* path, FileName& name);
