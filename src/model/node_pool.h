// Memory of a document's nodes: slabs of cells of one size, runs of neighbours for the children of one element, and a
// list of cells to use again.
//
// A node stays in its cell when it moves into another document: it is then a guest there, and its slab is held for it.
// Guests never come back into the pool that their cells were cut from, so that documents which have exchanged nodes can
// still be used by a thread each. A slab goes when nothing in it is in use.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include "model/node.h"

struct CNodeSlab {
    CBinaryDocument* document;  // null once it is gone, or has only guests left here
    CNodeSlab* next;
    std::uint32_t capacity;
    std::uint32_t used;        // cells cut so far
    std::uint32_t pairCount;   // attribute pairs among what is kept: while there are any, no cell is used again
    std::uint32_t cellCount;   // of those, the document's nodes and the cells it may use again
    std::uint32_t generation;  // of the pool when the slab was made
    std::uint64_t keepCount;   // the document's nodes held from outside, and pairs on them
    std::atomic<std::uint32_t> holdCount;  // of the pool or what it keeps: one; of each guest, and of each pair on one

    static CNodeSlab* Of(CBinNode* node) { return node->Slab(); }
    /// Cells lie behind the header.
    CBinNode* Cell(std::uint32_t index) { return reinterpret_cast<CBinNode*>(this + 1) + index; }

    void Keep() { ++keepCount; }
    void KeepForPair() { ++pairCount, Keep(); }
    void UnkeepForPair() { --pairCount, Unkeep(); }
    /// Gives up one that is kept: when it was the last and the document is gone, the pool's hold.
    void Unkeep() {
        if (--keepCount == 0 && !document) Unhold();
    }

    void Hold() { holdCount.fetch_add(1, std::memory_order_relaxed); }
    /// Frees the slab when this was the last hold.
    void Unhold();
};

/// Cells side by side that are not nodes yet.
struct CNodeRun {
    CBinNode* first = nullptr;
    std::uint32_t place = 0;  // of the first cell

    /// Makes the cell at `index` a bare node.
    CBinNode* Make(std::uint32_t index) const {
        constexpr std::uint32_t kStep = sizeof(CBinNode) / CBinNode::kPlaceUnit;
        return new (static_cast<void*>(first + index)) CBinNode(place + index * kStep);
    }
};

class CNodePool {
public:
    explicit CNodePool(CBinaryDocument* document) : m_document(document) {}
    CNodePool(const CNodePool&) = delete;
    CNodePool& operator=(const CNodePool&) = delete;
    ~CNodePool();

    /// A new bare node. Throws std::bad_alloc.
    CBinNode* Allocate();
    /// `count` cells, of which the caller makes nodes; none without memory.
    CNodeRun CutRun(std::uint32_t count);
    /// Takes back a node without state that nobody keeps.
    static void Free(CBinNode* node);

    /// Uses no cell again that was cut until now. For when the tree is replaced: free cells serve for single nodes
    /// only, and a document that is loaded again and again would grow with each tree.
    void Retire();
    /// Frees the slabs of which no cell is in use.
    void Sweep();

    /// Calls `visit` for each node of this document that somebody holds, but for guests.
    template <class Visit>
    void ForEachHeld(Visit visit) {
        for (CNodeSlab* slab = m_slabs; slab; slab = slab->next) {
            for (std::uint32_t i = 0; slab->keepCount > 0 && i < slab->used; ++i) {
                CBinNode* node = slab->Cell(i);
                if (!node->IsGuest() && node->m_refs > 0) visit(node);
            }
        }
    }

private:
    CNodeSlab* AddSlab(std::uint32_t capacity);

    CBinaryDocument* m_document;
    CNodeSlab* m_slabs = nullptr;
    CNodeSlab* m_current = nullptr;  // the one to cut from
    CBinNode* m_freeCells = nullptr;
    std::uint32_t m_generation = 0;
    std::uint32_t m_nextCapacity = kFirstCapacity;

    static constexpr std::uint32_t kFirstCapacity = 16;
    static constexpr std::uint32_t kLastCapacity = 16384;
};
