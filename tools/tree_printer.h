// A document's tree as indented lines for a person.
//
//   book lang="en"
//     title: "Walls \u{2028}and doors"
//     body
//       "first text"
//       [CDATA] "a < b"
//       section … 12 children
//
// An element whose only child is a text is one line.
#pragma once

#include <cstddef>
#include <cstdint>

#include "files.h"
#include "parvel/parvel.h"

struct TreeView {
    std::uint64_t mostLevels;    // the root is level 1
    std::size_t mostCharacters;  // of each text
};

/// Prints the tree below `root`. Time is linear in the tree, and so is the length of what is printed.
void PrintTree(IBinNode* root, const TreeView& view, COutput& output);
