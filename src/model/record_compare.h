// Comparing subtrees that stand in their records alone, without a node for any of them.
#pragma once

#include <cstdint>

#include "model/record_tree.h"

/// Records of a tree, and the words that they name.
struct RecordRange {
    const CRecordTree& tree;
    const CWordDict& words;
    std::uint32_t begin;  // offsets in the tree's block: one subtree, or all children of one element
    std::uint32_t end;
};

/// Whether the two are alike, record by record: in child count, attribute count, name, and names and values of
/// attributes in order. Both trees must hold a record for every child, and both ranges as many subtrees.
bool HaveEqualRecords(const RecordRange& a, const RecordRange& b);
