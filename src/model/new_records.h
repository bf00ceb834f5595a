// The records of a rebuilt tree while it is being made: ranges of the former records, which stay as they are but for
// the numbers of their words, and new records between them.
//
// They end in the block where the former ones lie, moved along where new ones take more or less room, when the tree has
// kept its shape, nobody else reads the block, and it has the room: fresh memory is what costs most in a rebuild.
// Otherwise they get a block of their own.
#pragma once

#include <cstdint>

#include "model/grow_array.h"
#include "model/record_tree.h"
#include "model/word_map.h"

class CNewRecords {
public:
    /// `former` must outlive this.
    explicit CNewRecords(const CRecordTree& former) : m_former(former), m_expected(former.begin) {}

    /// Bytes of all records so far. More than a block can hold must be refused before anything is written.
    std::uint64_t Size() const { return m_size; }

    /// The next records are those in [begin, end) of the former block.
    void Keep(std::uint32_t begin, std::uint32_t end);

    /// Where new records are made. What is put behind its end counts once it is taken.
    CGrowArray<unsigned char>& Made() { return m_made; }
    /// The next record is the one made from `begin` on, in place of the former record at an offset.
    void Take(std::size_t begin, std::uint32_t replaced);
    /// For a record that stands where there was none, or whose node has come from another document: the records then
    /// get a block of their own.
    static constexpr std::uint32_t kNothing = 0xFFFFFFFF;

    /// The former tree's block has room for the records, and the same nodes stand in it at the same places. Whether
    /// somebody else reads the block is the caller's to know.
    bool FitFormerBlock() const;

    /// The rebuilt tree in the former block. Nothing fails. Only when FitFormerBlock.
    CRecordTree WriteInPlace(CRecordTree&& former, const CWordMap& map) const;
    /// The rebuilt tree in a new block. Throws std::bad_alloc.
    CRecordTree WriteAnew(const CWordMap& map);

private:
    struct Piece {
        std::uint32_t former;  // with the shape kept: where in the former block it begins, or what it replaces does
        std::uint32_t begin;   // in the former block, or among the records made
        std::uint32_t end;
        std::uint32_t place;  // in the new records
        bool isKept;
    };
    // Of the records in the former block: where they begin, and how far the former ones are shifted first.
    struct Layout {
        std::uint32_t begin;
        std::uint64_t shift;
    };
    Layout InPlace() const;
    void MoveSpans(CRecordTree& tree, std::uint32_t begin) const;
    std::uint64_t Growth() const;

    const CRecordTree& m_former;
    CGrowArray<unsigned char> m_made;
    CGrowArray<Piece> m_pieces;
    std::uint64_t m_size = 0;
    bool m_hasKept = false;
    bool m_isSameShape = true;
    std::uint32_t m_expected;  // with the same shape: the former record that comes next
};
