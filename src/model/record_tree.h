// The records of a loaded or rebuilt tree as one block, checked once, and where each subtree in it ends.
#pragma once

#include <cstdint>

#include "model/grow_array.h"
#include "model/word_dict.h"

/// The subtree of one element that has children. Spans stand in the order of the elements' records, so the span of an
/// element's first child that has children comes right after the element's own.
struct Span {
    std::uint32_t end;   // offset behind the subtree's last record
    std::uint32_t next;  // index of the first span behind the subtree
};

/// An element whose last children have no record, because the reader met a record of unknown type.
struct ShortElement {
    std::uint32_t offset;        // of the element's record
    std::uint32_t writtenCount;  // children that do have one
};

struct CRecordTree {
    SharedBytes bytes;
    std::uint32_t begin = 0;  // offset of the root's record
    std::uint32_t end = 0;    // offset behind the last record
    CGrowArray<Span> spans;
    CGrowArray<ShortElement>
        shortElements;               // from the root down, so by offset; empty unless a record was of unknown type
    std::uint64_t unknownCount = 0;  // children without a record

    bool IsEmpty() const { return begin == end; }
};

/// Checks the records of one tree that starts at `begin`, in bytes that end at `byteCount`, and fills in everything but
/// tree.bytes. False when a record runs past the end or an element claims more children than the bytes that remain can
/// hold. A root of unknown type gives an empty tree. Time and memory are linear in the bytes of the tree.
bool ScanRecords(const unsigned char* bytes, std::uint64_t begin, std::uint64_t byteCount, CRecordTree& tree);
