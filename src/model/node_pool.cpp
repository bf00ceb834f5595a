#include "model/node_pool.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "model/node_access.h"
#include "platform/memory.h"

static_assert(sizeof(CNodeSlab) % alignof(CBinNode) == 0);

namespace {

// A place has 31 bits, and no block is larger than pointers can be apart.
constexpr std::uint64_t kMostSlabBytes = std::min<std::uint64_t>(std::uint64_t{1} << 33, PTRDIFF_MAX);

}  // namespace

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
    void* memory = byteCount <= kMostSlabBytes ? std::malloc(static_cast<std::size_t>(byteCount)) : nullptr;
    if (!memory) return nullptr;
    MakePages(memory, static_cast<std::size_t>(byteCount));
    m_slabs = new (memory) CNodeSlab{m_document, m_slabs, capacity, 0, 0, 0, m_generation, 0, 1};
    if (m_nextCapacity < kLastCapacity) m_nextCapacity *= 2;
    return m_slabs;
}

CBinNode* CNodePool::Allocate() {
    if (!m_freeCells) {
        const CNodeRun run = CutRun(1);
        if (!run.first) throw std::bad_alloc();
        return run.Make(0);
    }
    CBinNode* cell = m_freeCells;
    m_freeCells = cell->m_parent;
    return new (static_cast<void*>(cell)) CBinNode(cell->m_place);
}

CNodeRun CNodePool::CutRun(std::uint32_t count) {
    CNodeSlab* slab = m_current;
    if (!slab || slab->capacity - slab->used < count) {
        // A large run has a slab of its own, and the current one goes on.
        const bool isLargeRun = count > m_nextCapacity / 2;
        slab = AddSlab(isLargeRun ? count : m_nextCapacity);
        if (!slab) return {};
        if (!isLargeRun) m_current = slab;
    }
    CBinNode* first = slab->Cell(slab->used);
    const std::size_t place = sizeof(CNodeSlab) + std::size_t{slab->used} * sizeof(CBinNode);
    slab->used += count;
    slab->cellCount += count;
    return {first, static_cast<std::uint32_t>(place / CBinNode::kPlaceUnit)};
}

void CNodePool::Free(CBinNode* node) {
    CNodeSlab* slab = node->Slab();
    node->m_offset = CBinNode::kNoRecord;
    node->m_links = links::kGone;
    if (node->IsGuest()) {
        slab->Unhold();
        return;
    }
    CNodePool& pool = slab->document->Pool();
    if (slab->generation != pool.m_generation || slab->pairCount > 0) {
        --slab->cellCount;
        return;
    }
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
