#include "model/node_pool.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#include "model/document.h"

void CNodeSlab::Unkeep() {
    if (--keepCount == 0 && !document) std::free(this);
}

CNodePool::~CNodePool() {
    for (CNodeSlab* slab = m_slabs; slab;) {
        CNodeSlab* next = slab->next;
        slab->document = nullptr;
        if (slab->keepCount == 0) std::free(slab);
        slab = next;
    }
}

CNodeSlab* CNodePool::AddSlab(std::uint32_t capacity) {
    const std::uint64_t byteCount = sizeof(CNodeSlab) + std::uint64_t{capacity} * sizeof(CBinNode);
    void* memory = byteCount <= PTRDIFF_MAX ? std::malloc(static_cast<std::size_t>(byteCount)) : nullptr;
    if (!memory) throw std::bad_alloc();
    return new (memory) CNodeSlab{m_document, nullptr, capacity, 0, 0};
}

CBinNode* CNodePool::Allocate(std::uint32_t count) {
    if (count == 1 && m_freeCells) {
        CBinNode* cell = m_freeCells;
        m_freeCells = cell->m_parent;
        cell->m_parent = nullptr;
        return cell;
    }
    CNodeSlab* slab = m_slabs;
    if (!slab || slab->capacity - slab->used < count) {
        const bool isLargeRun = count > m_nextCapacity / 2;
        slab = AddSlab(isLargeRun ? count : m_nextCapacity);
        if (isLargeRun && m_slabs) {  // a slab of its own, behind the one to cut from
            slab->next = m_slabs->next;
            m_slabs->next = slab;
        } else {
            slab->next = m_slabs;
            m_slabs = slab;
        }
        if (!isLargeRun && m_nextCapacity < kLastCapacity) m_nextCapacity *= 2;
    }
    CBinNode* first = slab->Cell(slab->used);
    for (std::uint32_t i = 0; i < count; ++i) {
        CBinNode* node = new (static_cast<void*>(first + i)) CBinNode;
        node->m_cell = slab->used + i;
    }
    slab->used += count;
    return first;
}

bool CNodePool::HasKeptNodes() const {
    for (const CNodeSlab* slab = m_slabs; slab; slab = slab->next) {
        if (slab->keepCount > 0) return true;
    }
    return false;
}

void CNodePool::Free(CBinNode* node) {
    CNodeSlab* slab = node->Slab();
    if (!slab->document) return;  // nobody cuts from it any more
    CNodePool& pool = slab->document->Pool();
    node->m_record = nullptr;
    node->m_links = 0;
    ++node->m_serial;
    node->m_parent = pool.m_freeCells;
    pool.m_freeCells = node;
}
