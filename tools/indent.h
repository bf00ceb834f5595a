// How far a line of a tree stands in.
#pragma once

#include <cstddef>
#include <string>

/// Appends two blanks for each level below the first. Deep down they stop growing and the line begins with its level
/// instead, so that a million levels cost a million lines and not their square.
void AppendIndent(std::size_t level, std::string& line);
