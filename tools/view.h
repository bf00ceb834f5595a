// How much of a tree is shown, and the options that say so.
#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <limits>

struct TreeView {
    static constexpr std::size_t kUsualCharacters = 200;

    std::uint64_t mostLevels = std::numeric_limits<std::uint64_t>::max();  // the outermost one is level 1
    std::size_t mostCharacters = kUsualCharacters;                         // of each text
};

/// Adds --depth and --full to a verb. `view` lives as long as the verb.
void AddViewOptions(CLI::App& verb, TreeView& view, const char* whatIsLevel1);
