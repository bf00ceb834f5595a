// Moving nodes, within a document and into another one.
#include <memory>
#include <new>

#include "model/attr_table.h"
#include "model/node_access.h"

CChildList& CBinNode::NeedChildList() {
    MakeChildren();
    CNodeState& state = NeedState();
    if ((state.links & links::kKindMask) != links::kList) {
        auto list = std::make_unique<CChildList>();
        list->Reserve(ListCount());
        for (CBinNode* child = ListCount() > 0 ? FirstMadeChild() : nullptr; child; child = NextMadeChild(child)) {
            list->Append(child);
        }
        state.links = links::Tagged(list.release(), links::kList);
    }
    Document()->LeaveBlock();
    return *links::Pointer<CChildList>(state.links);
}

// Makes sure that children can be taken from the list without memory.
void CBinNode::PrepareList() {
    if (IsElement(Record())) NeedOwnRecord();
    NeedChildList();
}

bool CBinNode::AppendChild(IBinNode** child) {
    if (!Document()) return false;
    if (!child || !*child) return true;
    CBinNode* node = static_cast<CBinNode*>(*child);
    if (node == this || !node->Document()) return false;
    if (node == Document()->Root()) return true;
    if (IsBelow(node)) return false;
    try {
        AppendNode(node);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

// What can fail for want of memory comes first; then nothing can.
void CBinNode::AppendNode(CBinNode* child) {
    CBinaryDocument* document = Document();
    CBinaryDocument* formerDocument = child->Document();
    if (formerDocument != document) {
        // Even if the node stays after all: attributes that are held as texts are only saved by a rebuild.
        if (child->IsAttached()) formerDocument->SetModified(true);
        child->HoldSubtree(true);
    }
    if (child->m_parent) child->m_parent->PrepareList();
    PrepareList();
    CChildList& list = NeedChildList();
    list.ReserveOne();

    child->Unhook();
    if (formerDocument != document) child->MoveInto(document);
    child->m_parent = this;
    unsigned char* record = Record();
    if (IsElement(record)) WriteU32(record + kChildCountOffset, ChildCountOf(record) + 1);
    list.Append(child);
    document->SetModified(true);
}

// Takes this node out of its parent's list, the list of detached nodes, or another document's root.
void CBinNode::Unhook() {
    CBinaryDocument* document = Document();
    if (m_parent) {
        TakeFromParent();
    } else if (document->Root() == this) {
        document->GiveUpRoot();
    } else {
        document->UnlistDetached(this);
    }
}

void CBinNode::TakeFromParent() {
    CBinNode* parent = m_parent;
    CNodeState& state = *parent->State();
    links::Pointer<CChildList>(state.links)->Remove(this);
    if (IsElement(state.record) && ChildCountOf(state.record) > 0) {
        WriteU32(state.record + kChildCountOffset, ChildCountOf(state.record) - 1);
    }
    m_parent = nullptr;
}

bool CBinNode::RemoveFromParent() {
    CBinaryDocument* document = Document();
    if (!document || document->Root() == this) return false;
    if (!m_parent) return true;
    try {
        m_parent->PrepareList();
        document->MakeRoomForDetached();
    } catch (const std::bad_alloc&) {
        return false;
    }
    document->SetModified(true);
    TakeFromParent();
    LetGo();
    return true;
}

// True when `other` is an ancestor of this node. The way up and the subtree of `other` are searched in step, so the
// cost is that of the smaller: building a deep tree from the top stays linear.
bool CBinNode::IsBelow(const CBinNode* other) const {
    const CBinNode* below = other;
    for (const CBinNode* above = m_parent; above; above = above->m_parent) {
        if (above == other) return true;
        below = below->NextMadeInPreOrder(other);
        if (!below) return false;
        if (below == this) return true;
    }
    return false;
}

void CBinNode::HoldTexts(bool isLeaving) {
    if (!Record()) return;
    CNodeState& state = NeedState();
    const CBinaryDocument* document = state.document;
    unsigned char* record = NeedOwnRecord();
    if (IsElement(record)) {
        if (AttrCountOf(record) > 0) state.attrs = CopyAttrList(record, document->Words());
        state.isStored = false;
        WriteU32(record + kAttrCountOffset, 0);
    }
    if (isLeaving && state.name.IsEmpty()) state.name.Set(GetName());
    if (state.holdsTexts) return;
    if (IsElement(record)) {
        if (state.name.IsEmpty()) state.name.Set(GetName());
        state.ownValue.Set(document->GetWord(ReadU32(record + kOwnValueOffset)));
    } else if (state.value.IsEmpty()) {
        state.value.Set(GetValue());
    }
    state.holdsTexts = true;
}

void CBinNode::HoldSubtree(bool isLeaving) {
    for (CBinNode* node = this; node; node = node->NextMadeInPreOrder(this)) {
        node->MakeChildren();
        node->HoldTexts(isLeaving);
        if (isLeaving) node->NeedState();  // names the new document, also of a node without texts
    }
}

// Every node of the subtree has a state: see HoldSubtree.
void CBinNode::MoveInto(CBinaryDocument* document) {
    for (CBinNode* node = this; node; node = node->NextMadeInPreOrder(this)) {
        CNodeState* state = node->State();
        state->document->RemoveState(state);
        state->document = document;
        document->AddState(state);
        if (!node->IsGuest()) node->BecomeGuest();
    }
}

void CBinNode::BecomeGuest() {
    CNodeSlab* slab = Slab();
    slab->Hold();
    --slab->cellCount;
    if (m_refs > 0) slab->Unkeep();
    m_place |= kGuest;
}
