#include "indent.h"

namespace {

// Deeper than this the level is told by a number.
constexpr std::size_t kMostIndentedLevels = 40;

}  // namespace

void AppendIndent(std::size_t level, std::string& line) {
    const std::size_t steps = level - 1;
    line.append(2 * (steps < kMostIndentedLevels ? steps : kMostIndentedLevels), ' ');
    if (steps > kMostIndentedLevels) line += "[level " + std::to_string(level) + "] ";
}
