// Searches through texts that may be very long; each gives TextView::npos when nothing is found.
#pragma once

#include <cstddef>

#include "platform/text.h"

/// First `unit` at or after `start`.
std::size_t FindUnit(TextView text, WCHAR unit, std::size_t start = 0);

/// Last `unit`.
std::size_t FindLastUnit(TextView text, WCHAR unit);

/// First `unit` at or after `start` that does not come right after a `before`; `start` must not be 0.
std::size_t FindUnitNotAfter(TextView text, WCHAR unit, WCHAR before, std::size_t start);
