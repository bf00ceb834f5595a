// What the files of a node share: the short ways from a node to its slab, document, record, state and children. Walking
// a document is mostly these.
#pragma once

#include "model/document.h"
#include "model/node.h"
#include "model/node_pool.h"
#include "model/node_state.h"

// The document is null when it is gone, the record null for a bare node, the state null for an unedited one.
struct CBinNode::Look {
    CBinaryDocument* document;
    unsigned char* record;
    CNodeState* state;
};

inline CNodeSlab* CBinNode::Slab() const {
    char* bytes = reinterpret_cast<char*>(const_cast<CBinNode*>(this));
    return reinterpret_cast<CNodeSlab*>(bytes - std::size_t{m_place & ~kGuest} * kPlaceUnit);
}

/// Neither edited nor gone: the record is in the block, and the links are this node's own.
inline bool CBinNode::IsPlain() const {
    return (m_links & links::kNotPlain) == 0;
}

inline CNodeState* CBinNode::State() const {
    return (m_links & links::kKindMask) == links::kState ? links::Pointer<CNodeState>(m_links) : nullptr;
}

/// What nearly every node of nearly every walk has: its record, when it is plain and its document is there.
inline unsigned char* CBinNode::PlainRecord() const {
    if (!IsPlain() || m_offset == kNoRecord) return nullptr;
    CBinaryDocument* document = Slab()->document;
    return document ? document->Block() + m_offset : nullptr;
}

inline CBinNode::Look CBinNode::LookUp() const {
    if (IsPlain()) {
        CBinaryDocument* document = Slab()->document;
        return {document, document && m_offset != kNoRecord ? document->Block() + m_offset : nullptr, nullptr};
    }
    CNodeState* state = State();
    return state ? Look{state->document, state->record, state} : Look{};
}

inline CBinaryDocument* CBinNode::Document() const {
    return LookUp().document;
}

inline unsigned char* CBinNode::Record() const {
    return LookUp().record;
}

inline std::uintptr_t& CBinNode::Links() {
    CNodeState* state = State();
    return state ? state->links : m_links;
}

inline std::uintptr_t CBinNode::Links() const {
    return const_cast<CBinNode*>(this)->Links();
}

inline std::uint32_t CBinNode::ListCount() const {
    const std::uintptr_t word = Links();
    if ((word & links::kKindMask) == links::kList) return links::Pointer<CChildList>(word)->Count();
    if (word == 0) return 0;
    const unsigned char* record = Record();
    return IsElement(record) ? ChildCountOf(record) : 0;
}

inline bool CBinNode::HasUnmadeChildren() const {
    return (Links() & links::kKindMask) == links::kUnmade;
}

inline bool CBinNode::HasMadeChildren() const {
    return !HasUnmadeChildren() && ListCount() > 0;
}

inline CBinNode* CBinNode::FirstMadeChild() const {
    const std::uintptr_t word = Links();
    switch (word & links::kKindMask) {
        case links::kRun:
            return links::Pointer<CBinNode>(word);
        case links::kList:
            return links::Pointer<CChildList>(word)->First();
        default:
            return nullptr;
    }
}

inline CBinNode* CBinNode::NextMadeChild(const CBinNode* child) const {
    const std::uintptr_t word = Links();
    if ((word & links::kKindMask) == links::kList) return links::Pointer<CChildList>(word)->Next(child);
    return child->m_slot + 1 < ChildCountOf(Record()) ? const_cast<CBinNode*>(child) + 1 : nullptr;
}
