// Hash of a text for the indexes of words.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/hash.h"
#include "platform/text.h"

// With a good hash no run of taken slots, in a table that is a third empty, comes near this length; one that does was
// made on purpose, and the table is laid out anew under a seed that its maker cannot know, but not again and again.
inline constexpr std::size_t kSuspiciousRun = 256;
inline constexpr int kMostReseeds = 4;

inline std::uint32_t HashText(TextView text, std::uint64_t seed) {
    return HashBytes(text.data(), text.size() * sizeof(WCHAR), seed);
}
