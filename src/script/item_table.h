// Where the items of a list lie in its text.
//
// Exactly one unit lies between two neighbouring items, so one bit per unit of the text says it all: the unit is a
// separator. With the number of separators before each block of 64 units an item is found by a binary search. Taking
// note of an item thus costs no memory of its own and no branch, and a list of plain items is split 64 units at a time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/text.h"

class CItemTable {
public:
    /// Begins the table of a text of `size` units. Throws std::bad_alloc.
    void Begin(std::size_t size);

    /// The unit at `position` separates two items. Positions only grow.
    void AddSeparator(std::size_t position) { m_blocks[position / 64].separators |= std::uint64_t{1} << position % 64; }

    /// Splits at spaces from `start`, where an item begins, for as long as items are plain (beginning with none of a
    /// space, '(' and '"') and stand well before the end. Gives the start of the first item left to the caller.
    std::size_t AddPlainItems(TextView text, std::size_t start);

    /// Ends the table: the last item reaches up to `end`; when that is 0 there are no items.
    void Finish(std::size_t end);

    std::size_t Count() const { return m_count; }

    /// The text of item `index`, which must be below Count(), out of the text that the table was made for.
    TextView Item(TextView text, std::size_t index) const;

private:
    struct SBlock {
        std::uint64_t separators = 0;  // bit i: unit i of the block is a separator
        std::uint64_t separatorsBefore = 0;
    };

    std::size_t FindSeparator(std::size_t index) const;

    std::vector<SBlock> m_blocks;
    std::size_t m_count = 0;
    std::size_t m_end = 0;
};
