// What an edited node has beyond its 40 bytes, and the coding of a node's links.
#pragma once

#include <cstdint>
#include <memory>

#include "model/attr_list.h"
#include "model/held_text.h"
#include "model/node.h"

// A node's m_links says where its children are. The low two bits tell the kind; the rest is a pointer or an index.
namespace links {
inline constexpr std::uintptr_t kKindMask = 3;
inline constexpr std::uintptr_t kRun = 0;  // first of a run of nodes, as many as the record's child count; 0 for none
inline constexpr std::uintptr_t kUnmade =
    1;  // children exist only as records; index of the first span from this node's on
inline constexpr std::uintptr_t kList = 2;   // CChildList, owned (in a state's links only)
inline constexpr std::uintptr_t kState = 2;  // CNodeState, owned; its own links say where the children are
inline constexpr std::uintptr_t kGone = 3;   // the document is gone
inline constexpr std::uintptr_t kNotPlain =
    2;  // in a node's own links, this bit tells kState and kGone from the others

inline std::uintptr_t Unmade(std::uint32_t span) {
    return (std::uintptr_t{span} << 2) | kUnmade;
}
inline std::uint32_t SpanOf(std::uintptr_t word) {
    return static_cast<std::uint32_t>(word >> 2);
}
template <class T>
std::uintptr_t Tagged(T* pointer, std::uintptr_t kind) {
    return reinterpret_cast<std::uintptr_t>(pointer) | kind;
}
template <class T>
T* Pointer(std::uintptr_t word) {
    return reinterpret_cast<T*>(word & ~kKindMask);
}
}  // namespace links

struct CNodeState {
    CNodeState(CBinNode* of, CBinaryDocument* owner, unsigned char* itsRecord);
    CNodeState(const CNodeState&) = delete;
    CNodeState& operator=(const CNodeState&) = delete;
    ~CNodeState();

    /// The record is this node's own, not one in the document's block.
    bool HasOwnRecord() const { return record == smallRecord || (record && record == largeRecord.get()); }

    CBinNode* node;
    CBinaryDocument* document;
    unsigned char* record;           // in the document's block, or one of the two below; null for a bare node
    CNodeState* previous = nullptr;  // in the document's list of states
    CNodeState* next = nullptr;
    std::uintptr_t links = 0;

    CHeldText name;                    // edited name; empty when the record's is authoritative
    CHeldText value;                   // pending value; empty when none is pending
    CHeldText ownValue;                // with holdsTexts: the text of the element's own value
    bool holdsTexts = false;           // the record's word indexes belong to another dictionary: never read them
    bool isStored = false;             // the attributes in the record are as StoreAttributes has left them
    std::unique_ptr<CAttrList> attrs;  // pending attributes; null when there are none
    std::unique_ptr<unsigned char[]> largeRecord;
    unsigned char smallRecord[kElementBytes] = {};  // an own record without attributes
};
