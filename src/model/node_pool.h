// Memory of a document's nodes: slabs of cells of one size, runs of neighbours for the children of one element, and a
// list of cells to use again.
//
// A slab outlives its document while somebody still keeps one of its nodes: by a reference, as an attribute pair, or
// because the node now belongs to another document.
#pragma once

#include <cstddef>
#include <cstdint>

#include "model/node.h"

struct CNodeSlab {
    CBinaryDocument* document;  // null once it is gone
    CNodeSlab* next;
    std::uint32_t capacity;
    std::uint32_t used;
    std::uint64_t keepCount;  // nodes held from outside, pairs, and nodes that live in another document

    static CNodeSlab* Of(CBinNode* node) { return node->Slab(); }
    /// Cells lie behind the header.
    CBinNode* Cell(std::uint32_t index) { return reinterpret_cast<CBinNode*>(this + 1) + index; }

    void Keep() { ++keepCount; }
    /// Gives up one hold; frees the slab when it was the last and the document is gone.
    void Unkeep();
};

class CNodePool {
public:
    explicit CNodePool(CBinaryDocument* document) : m_document(document) {}
    CNodePool(const CNodePool&) = delete;
    CNodePool& operator=(const CNodePool&) = delete;
    ~CNodePool();

    /// `count` new bare nodes side by side. Throws std::bad_alloc.
    CBinNode* Allocate(std::uint32_t count);
    /// Takes back a node without state that nobody keeps: its cell returns to the pool it came from.
    static void Free(CBinNode* node);

    /// True when somebody keeps a node of this pool.
    bool HasKeptNodes() const;

private:
    CNodeSlab* AddSlab(std::uint32_t capacity);

    CBinaryDocument* m_document;
    CNodeSlab* m_slabs = nullptr;  // all of them; the first is the one to cut from
    CBinNode* m_freeCells = nullptr;
    std::uint32_t m_nextCapacity = kFirstCapacity;

    static constexpr std::uint32_t kFirstCapacity = 16;
    static constexpr std::uint32_t kLastCapacity = 16384;
};
