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
#include "view.h"

/// Prints the tree below `root`. The length of what is printed is linear in the tree; the
/// time, in its texts as they are met.
void PrintTree(IBinNode* root, const TreeView& view, COutput& output);
