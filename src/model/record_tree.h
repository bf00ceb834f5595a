// The records of a loaded or rebuilt tree as one block, checked once, and where each subtree in it ends.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "model/grow_array.h"
#include "model/word_dict.h"

/// Where the subtree of one element ends. Only subtrees that would take long to skip have a span, but no element whose
/// only child is a text: it then costs memory by their number, not by the number of elements. Spans stand in the order
/// of the elements' records, so the span of an element's first descendant that has one comes right after the element's
/// own.
struct Span {
    std::uint32_t offset;  // of the element's record
    std::uint32_t end;     // offset behind the subtree's last record
    std::uint32_t next;    // index of the first span behind the subtree
};

/// An element whose last children have no record, because the reader met a record of unknown type.
struct ShortElement {
    std::uint32_t offset;        // of the element's record
    std::uint32_t writtenCount;  // children that do have one
};

/// A clone shares the records of the original's tree: a node becomes what CloneTo makes of one when it is first asked
/// for. Only what shows before that is done at once: texts are added to the dictionary. This is what it takes besides.
struct CCopiedWords {
    CWordDict words;                      // that the records name
    CGrowArray<std::uint32_t> textWords;  // of each word that is a text: what AddWord gave for it in the copy
    CGrowArray<std::uint32_t> unalike;    // offsets of records of which CloneTo makes nothing, or more than they say
    bool areDictionaryStart = true;       // the document's dictionary still begins with these words
};

struct CRecordTree {
    SharedBytes bytes;
    std::uint32_t begin = 0;      // offset of the root's record
    std::uint32_t end = 0;        // offset behind the last record
    std::uint32_t roomBegin = 0;  // from here to `begin`, and from `end` to roomEnd, the block is free for records
    std::uint32_t roomEnd = 0;
    CGrowArray<Span> spans;
    CGrowArray<ShortElement>
        shortElements;               // from the root down, so by offset; empty unless a record was of unknown type
    std::uint64_t unknownCount = 0;  // children without a record
    std::unique_ptr<CCopiedWords> copied;  // of a tree of copies; otherwise null

    bool IsEmpty() const { return begin == end; }

    /// A block of `byteCount` bytes, and room for the records to grow in. Throws std::bad_alloc.
    void MakeBlock(std::size_t byteCount);
    static constexpr std::uint32_t kMostBytes = 0xFFFFFFF0;  // offsets are 32 bits wide
    static constexpr std::size_t kLeastRoom = 64;

    bool HasSameBytes(const CRecordTree& other) const {
        const std::size_t size = end - begin;
        return size == other.end - other.begin &&
               std::memcmp(bytes.get() + begin, other.bytes.get() + other.begin, size) == 0;
    }

    /// The words that the records name, where `own` are the document's.
    const CWordDict& WordsOf(const CWordDict& own) const { return copied ? copied->words : own; }

    /// Offset behind the subtree of the record at `offset`. `span` is the index of the first span at or behind that
    /// offset, and becomes that of the first behind the subtree.
    std::uint32_t SkipSubtree(std::uint32_t offset, std::uint32_t& span) const {
        if (span == spans.Size() || spans[span].offset != offset) return SkipSmallSubtree(offset);
        const Span& found = spans[span];
        span = found.next;
        return found.end;
    }
    /// The index of the first span at or behind an offset.
    std::uint32_t FirstSpanFrom(std::uint32_t offset) const;
    /// The index of the first span inside the subtree of the record at `offset`, by that of the first at or behind it.
    std::uint32_t SpanInside(std::uint32_t offset, std::uint32_t span) const {
        return span < spans.Size() && spans[span].offset == offset ? span + 1 : span;
    }

private:
    std::uint32_t SkipSmallSubtree(std::uint32_t offset) const;
};

/// Checks the records of one tree that starts at `begin`, in at most CRecordTree::kMostBytes that come in there, and
/// fills in everything but tree.bytes and the room. False when a record runs past the end or an element claims more
/// children than the bytes that remain can hold. A root of unknown type gives an empty tree. Time and memory are linear
/// in the bytes of the tree.
bool ScanRecords(const unsigned char* bytes, std::uint64_t begin, CIncomingBytes& incoming, CRecordTree& tree);
