#include "model/node_pool.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#include "model/document.h"
#include "model/node_state.h"

static_assert(sizeof(CNodeSlab) % alignof(CBinNode) == 0);

void CNodeSlab::Unkeep() {
    if (--keepCount == 0 && !document) Unhold();
}

void CNodeSlab::Unhold() {
    if (holdCount.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
    std::free(this);
}

CNodePool::~CNodePool() {
    for (CNodeSlab* slab = m_slabs; slab;) {
        CNodeSlab* next = slab->next;
        slab->document = nullptr;
        if (slab->keepCount == 0) slab->Unhold();
        slab = next;
    }
}

CNodeSlab* CNodePool::AddSlab(std::uint32_t capacity) {
    Sweep();
    const std::uint64_t byteCount = sizeof(CNodeSlab) + std::uint64_t{capacity} * sizeof(CBinNode);
    void* memory = byteCount <= PTRDIFF_MAX ? std::malloc(static_cast<std::size_t>(byteCount)) : nullptr;
    if (!memory) throw std::bad_alloc();
    m_slabs = new (memory) CNodeSlab{m_document, m_slabs, capacity, 0, 0, m_generation, 0, 1};
    if (m_nextCapacity < kLastCapacity) m_nextCapacity *= 2;
    return m_slabs;
}

CBinNode* CNodePool::Allocate(std::uint32_t count) {
    if (count == 1 && m_freeCells) {
        CBinNode* cell = m_freeCells;
        m_freeCells = cell->m_parent;
        cell->m_parent = nullptr;
        return cell;
    }
    CNodeSlab* slab = m_current;
    if (!slab || slab->capacity - slab->used < count) {
        // A large run has a slab of its own, and the current one goes on.
        const bool isLargeRun = count > m_nextCapacity / 2;
        slab = AddSlab(isLargeRun ? count : m_nextCapacity);
        if (!isLargeRun) m_current = slab;
    }
    CBinNode* first = slab->Cell(slab->used);
    for (std::uint32_t i = 0; i < count; ++i) {
        CBinNode* node = new (static_cast<void*>(first + i)) CBinNode;
        node->m_cell = slab->used + i;
    }
    slab->used += count;
    slab->cellCount += count;
    return first;
}

void CNodePool::Free(CBinNode* node) {
    CNodeSlab* slab = node->Slab();
    ++node->m_serial;
    node->m_record = nullptr;
    node->m_links = links::kGone;
    if (node->IsGuest()) {
        slab->Unhold();
        return;
    }
    CNodePool& pool = slab->document->Pool();
    if (slab->generation != pool.m_generation) {
        --slab->cellCount;
        return;
    }
    node->m_links = 0;
    node->m_parent = pool.m_freeCells;
    pool.m_freeCells = node;
}

void CNodePool::Retire() {
    for (CBinNode* cell = m_freeCells; cell; cell = cell->m_parent) --cell->Slab()->cellCount;
    m_freeCells = nullptr;
    m_current = nullptr;
    m_nextCapacity = kFirstCapacity;
    ++m_generation;
}

void CNodePool::Sweep() {
    for (CNodeSlab** link = &m_slabs; *link;) {
        CNodeSlab* slab = *link;
        if (slab->cellCount > 0 || slab->keepCount > 0 || slab == m_current) {
            link = &slab->next;
            continue;
        }
        *link = slab->next;
        slab->document = nullptr;
        slab->Unhold();
    }
}
