// A script's result as indented lines for a person.
//
//   list of 4 items
//     integer 12
//     number 1e3 = 1000
//     word abc
//     list of 1 item
//       string "a \"b\""
//
// Integer, number and word are unquoted values. What stands behind an equals sign is what the library reads, where that
// is written another way than the text.
#pragma once

#include <cstddef>
#include <cstdint>

#include "files.h"
#include "parvel/parvel.h"

struct ResultView {
    std::uint64_t mostLevels;    // the result itself is level 1
    std::size_t mostCharacters;  // of each text
};

/// Prints the tree and gives the number of levels that it had to stop at, 0 when all was printed that the view asks
/// for. It stops where the levels would cost too much: each is parsed anew out of the text of the one above, so a text
/// of `unitCount` units that nests as deep as it can costs the square of its length.
std::size_t PrintResult(IScriptResultParser* result, std::size_t unitCount, const ResultView& view, COutput& output);
