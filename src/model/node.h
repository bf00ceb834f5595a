// One node of a document's tree.
//
// A node loaded from a file is 40 bytes and nothing else: its record lies in the document's block, and the nodes of an
// element's children are made, side by side, when somebody first asks for one. What an edit needs beyond that is in a
// CNodeState, which an unedited node does not have. The results of all operations are as if each node had its own copy
// of its record and all children stood ready.
//
// Lifetimes. m_refs counts references held outside the tree; a parent's hold on its child and a document's on its root
// are one more, which AddRef and Release include in what they answer. A node lives while it is held either way. A node
// whose last parent goes away while somebody holds it is detached; one whose document goes away is gone: every
// operation answers null, 0 or false, and only its memory stays, until the last reference goes.
#pragma once

#include <cstdint>
#include <memory>

#include "model/layout.h"
#include "model/ordered_list.h"
#include "parvel/parvel.h"

class CAttrList;
class CBinaryDocument;
class CBinNode;
struct CCopiedWords;
struct CNodeRun;
struct RecordRange;
struct CNodeSlab;
struct CNodeState;

using CChildList = COrderedList<CBinNode>;

struct CNodeRelease {
    void operator()(CBinNode* node) const;
};
/// One outside reference on a node.
using CNodeRef = std::unique_ptr<CBinNode, CNodeRelease>;

class CBinNode final : public IBinNode {
public:
    HRESULT PARVEL_CALL QueryInterface(const IID& iid, void** out) override;
    ULONG PARVEL_CALL AddRef() override;
    ULONG PARVEL_CALL Release() override;
    std::uint32_t PARVEL_CALL GetType() override;
    std::int32_t PARVEL_CALL GetAttrCount() override;
    const WCHAR* PARVEL_CALL GetName() override;
    const WCHAR* PARVEL_CALL GetValue() override;
    std::int32_t PARVEL_CALL GetChildCount() override;
    void PARVEL_CALL GetParent(IBinNode** out) override;
    void PARVEL_CALL GetChild(std::int32_t index, IBinNode** out) override;
    const WCHAR* PARVEL_CALL GetAttribute(const WCHAR* name) override;
    void PARVEL_CALL GetAttrPair(std::int32_t index, IAttrPair** out) override;
    bool PARVEL_CALL SetName(const WCHAR* name) override;
    bool PARVEL_CALL SetAttribute(const WCHAR* name, const WCHAR* value) override;
    bool PARVEL_CALL RemoveAttribute(const WCHAR* name) override;
    bool PARVEL_CALL AppendChild(IBinNode** child) override;
    bool PARVEL_CALL RemoveFromParent() override;
    bool PARVEL_CALL Clone(IBinNode** out, bool deep) override;
    bool PARVEL_CALL SetValue(const WCHAR* text) override;
    bool IsEqual(IBinNode** other, bool deep) override;

    // What follows is for the document, the rebuild, the writer and the pool.

    /// The owning document; null once it is gone.
    CBinaryDocument* Document() const;
    CBinNode* Parent() const { return m_parent; }
    /// In a parent's child list, or a document's root.
    bool IsAttached() const;
    /// The record, or null for a bare node.
    unsigned char* Record() const;
    /// Edits and held texts; null for a node that has none.
    CNodeState* State() const;
    /// True for a node that has ever moved into another document: see node_pool.h.
    bool IsGuest() const { return (m_place & kGuest) != 0; }

    /// Length of the child list, made or not.
    std::uint32_t ListCount() const;
    /// The children that have been made: all of an element's, or none.
    bool HasMadeChildren() const;
    bool HasUnmadeChildren() const;
    /// With made children: how many have a record, so that a save writes them.
    std::uint32_t WrittenChildCount() const;
    CBinNode* FirstMadeChild() const;
    CBinNode* NextMadeChild(const CBinNode* child) const;
    /// The node behind this one in pre-order among the made nodes at and below `top`; null behind the last.
    CBinNode* NextMadeInPreOrder(const CBinNode* top) const;
    /// The same, with this node's own subtree passed over.
    CBinNode* NextMadeBehind(const CBinNode* top) const;
    /// Makes the nodes of this element's children, unless they are made. Throws std::bad_alloc.
    void MakeChildren();
    /// Where the records of the children and all below them lie in the document's block. Only with children that are
    /// not made, or when no node of the document is edited.
    struct Slice {
        std::uint32_t begin;
        std::uint32_t end;
    };
    Slice ChildRecords() const;

    /// Ends the hold of a parent or document: a node that nobody else holds is destroyed with its subtree.
    void LetGo();

    // The write-back steps of edits, and the moves between documents. They throw std::bad_alloc.

    /// Moves the record's attributes into the pending list.
    void LoadAttributes();
    /// Writes the pending attributes into the record, with words of `words`.
    void StoreAttributes(CWordDict& words);
    /// Writes the pending value into the record or the only text child, with words of the document's dictionary.
    void StoreValue();
    /// Moves an element's pending value to its only text child, making it when there are no children.
    void PassValueDown();
    /// Holds this node's texts, and those of all below it, as edits: they then outlive the document's dictionary. With
    /// `isLeaving` the way a node takes them along into another document, its name included.
    void HoldSubtree(bool isLeaving = false);
    /// A copy for `target`; null when the source has no name.
    static CNodeRef CloneTo(CBinNode* source, CBinaryDocument* target, bool deep);
    /// Whether the two are alike, in pre-order when `deep`.
    static bool Compare(CBinNode* a, CBinNode* b, bool deep);
    /// Makes this fresh node an element of the given held name.
    void BecomeElement(const WCHAR* name);
    /// AppendChild without its questions.
    void AppendNode(CBinNode* child);
    /// Makes this fresh node, in a tree of copies, the copy that its record in the block stands for.
    void BecomeCopy(const CCopiedWords& copied);

private:
    friend class CNodePool;
    friend struct CNodeSlab;
    friend struct CNodeRun;
    friend class CBinaryDocument;
    friend class CRebuild;
    friend struct CNodeState;
    friend class COrderedList<CBinNode>;

    explicit CBinNode(std::uint32_t place) : m_place(place) {}

    struct AttrTexts {
        const WCHAR* name;
        const WCHAR* value;
    };

    CNodeSlab* Slab() const;
    bool IsPlain() const;
    struct Look;
    Look LookUp() const;
    unsigned char* PlainRecord() const;
    // Apart, so that the ways that nearly all calls take stay short.
    [[gnu::noinline]] const WCHAR* GetEditedValue();
    [[gnu::noinline]] void GetChildSlowly(std::int32_t index, IBinNode** out);
    void TakeReference();
    bool MakeRun(CBinaryDocument* document);
    bool MakeCopies(const CNodeRun& run, std::uint32_t count);
    [[gnu::noinline]] ULONG ReleaseSlowly();
    void BecomeGuest();
    CNodeState& NeedState();
    std::uintptr_t& Links();
    std::uintptr_t Links() const;
    CChildList& NeedChildList();
    unsigned char* NeedOwnRecord();
    void SetOwnRecord(const unsigned char* bytes, std::size_t size);
    void MarkModified();

    AttrTexts AttrAt(std::uint32_t index) const;
    const unsigned char* FindStored(const WCHAR* name) const;
    bool SetAttributeText(const WCHAR* name, TextView value);
    bool RemoveAttributeText(const WCHAR* name);
    void SavePendingAttrs();
    CBinNode* OnlyTextChild();
    CBinNode* AppendNewText(std::uint32_t word);

    bool IsBelow(const CBinNode* other) const;
    void PrepareList();
    void Unhook();
    void TakeFromParent();
    void HoldTexts(bool isLeaving);
    void MoveInto(CBinaryDocument* document);
    CNodeRef CopyAlone(CBinaryDocument* target);
    void CopyElementTexts(CBinNode& copy);
    bool EqualsAlone(CBinNode& other);
    bool ShareChildrenOf(const CBinNode& original);
    bool StandsInRecordsBelow() const;
    RecordRange RecordsBelow() const;

    static constexpr std::uint32_t kGuest = 0x80000000;
    static constexpr std::uint32_t kPlaceUnit = alignof(void*);
    static constexpr std::uint32_t kNoRecord = 0xFFFFFFFF;

    CBinNode* m_parent = nullptr;  // of a free cell: the next free one
    std::uintptr_t m_links = 0;    // see node_state.h
    std::uint32_t m_refs = 0;
    std::uint32_t m_place;  // how far behind its slab's start this node is; with kGuest, its document is not the slab's
    std::uint32_t m_slot = 0;  // in the parent's list, or in the document's list of detached nodes
    // Of the record in the document's block. With a state, the record in use is there; children that are not made are
    // still found by this one.
    std::uint32_t m_offset = kNoRecord;
};

inline void CNodeRelease::operator()(CBinNode* node) const {
    node->Release();
}

static_assert(sizeof(void*) != 8 || sizeof(CBinNode) == 40);
