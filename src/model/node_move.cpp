// Moving, copying and comparing nodes.
#include <memory>
#include <new>

#include "model/attr_table.h"
#include "model/node_access.h"
#include "model/record_compare.h"

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

bool CBinNode::Clone(IBinNode** out, bool deep) {
    CBinaryDocument* document = Document();
    if (!document || !out) return false;
    try {
        CNodeRef copy = CloneTo(this, document, deep);
        if (!copy) return false;
        *out = copy.release();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

CNodeRef CBinNode::CloneTo(CBinNode* source, CBinaryDocument* target, bool deep) {
    CNodeRef top = source->CopyAlone(target);
    if (!top || !deep) return top;
    CBinNode* copy = top.get();
    for (CBinNode* node = source;;) {
        CBinNode* next = nullptr;
        if (IsElement(node->Record()) && node->ListCount() > 0 && !copy->ShareChildrenOf(*node)) {
            node->MakeChildren();
            next = node->FirstMadeChild();
        }
        // Into the first child that can be copied; otherwise along to the next sibling of the nearest ancestor.
        CBinNode* parentCopy = copy;
        CNodeRef childCopy;
        while (!childCopy) {
            while (!next && node != source) {
                next = node->m_parent->NextMadeChild(node);
                node = node->m_parent;
                parentCopy = parentCopy->m_parent;
            }
            if (!next) return top;
            childCopy = next->CopyAlone(target);
            if (!childCopy) next = next->m_parent->NextMadeChild(next);
        }
        parentCopy->AppendNode(childCopy.get());
        node = next;
        copy = childCopy.get();
    }
}

// Leaves the children of this copy unmade, if its document shares the records that they are to be made of.
bool CBinNode::ShareChildrenOf(const CBinNode& original) {
    CNodeState& state = *State();
    const CRecordTree& tree = state.document->Tree();
    if (!tree.copied || tree.bytes != original.Document()->Tree().bytes || !original.StandsInRecordsBelow())
        return false;
    const Slice slice = original.ChildRecords();
    if (!state.document->TakeTextsOf(slice.begin, slice.end)) return false;
    m_offset = original.m_offset;
    state.links = links::Unmade(tree.FirstSpanFrom(m_offset));
    WriteU32(state.record + kChildCountOffset, ChildCountOf(original.Record()));
    return true;
}

// Null when there is no name to make an element of. The copy's own pending attributes and value are not copied.
CNodeRef CBinNode::CopyAlone(CBinaryDocument* target) {
    const WCHAR* name = GetName();
    if (!name || !*name) return nullptr;
    CNodeRef copy = target->NewNode();
    copy->BecomeElement(name);
    const unsigned char* original = Record();
    if (IsElement(original)) {
        CopyElementTexts(*copy);
    } else if (original) {
        const TextView text(GetValue());
        unsigned char record[kTextBytes];
        WriteTextRecord(record, *original, target->Words().AddWord(text, false));
        copy->SetOwnRecord(record, sizeof(record));
        copy->State()->value.Set(GetValue());
    }
    return copy;
}

void CBinNode::CopyElementTexts(CBinNode& copy) {
    const Look look = LookUp();
    const CBinaryDocument* document = look.document;
    CNodeState& state = *copy.State();
    if (AttrCountOf(look.record) > 0) state.attrs = CopyAttrList(look.record, document->Words());
    const std::uint32_t ownWord = ReadU32(look.record + kOwnValueOffset);
    if (static_cast<std::int32_t>(ownWord) < 0) return;
    const bool isHeld = look.state && look.state->holdsTexts;
    state.value.Set(isHeld ? look.state->ownValue.Get() : document->GetWord(ownWord));
    WriteU32(state.record + kOwnValueOffset, copy.Document()->Words().AddWord(state.value.View(), false));
}

// What CopyAlone gives, made of the record of the copied node.
void CBinNode::BecomeCopy(const CCopiedWords& copied) {
    const unsigned char* original = Record();
    CNodeState& state = NeedState();
    const std::uint32_t word = ReadU32(original + kWordOffset);
    const WCHAR* text = copied.words.GetWord(word);
    unsigned char record[kElementBytes];
    state.name.Set(text);
    if (IsElement(original)) {
        if (AttrCountOf(original) > 0) state.attrs = CopyAttrList(original, copied.words);
        WriteElementRecord(record, 0, kNoWord);
        WriteU32(record + kChildCountOffset, ChildCountOf(original));
        SetOwnRecord(record, kElementBytes);
    } else {
        WriteTextRecord(record, *original, copied.textWords[word]);
        state.value.Set(text);
        SetOwnRecord(record, kTextBytes);
    }
}

bool CBinNode::IsEqual(IBinNode** other, bool deep) {
    if (!Document() || !other || !*other) return false;
    CBinNode* node = static_cast<CBinNode*>(*other);
    if (!node->Document()) return false;
    try {
        return Compare(this, node, deep);
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CBinNode::Compare(CBinNode* a, CBinNode* b, bool deep) {
    const CBinNode* const topA = a;
    while (true) {
        if (!a->EqualsAlone(*b)) return false;
        if (!deep) return true;
        // Both trees have the same shape up to here, so one way through the first serves for both.
        const bool hasChildren = IsElement(a->Record()) && a->ListCount() > 0;
        if (hasChildren && a->StandsInRecordsBelow() && b->StandsInRecordsBelow()) {
            if (!HaveEqualRecords(a->RecordsBelow(), b->RecordsBelow())) return false;
        } else if (hasChildren) {
            a->MakeChildren();
            b->MakeChildren();
            a = a->FirstMadeChild();
            b = b->FirstMadeChild();
            continue;
        }
        while (true) {
            if (a == topA) return true;
            CBinNode* nextA = a->m_parent->NextMadeChild(a);
            if (nextA) {
                b = b->m_parent->NextMadeChild(b);
                a = nextA;
                break;
            }
            a = a->m_parent;
            b = b->m_parent;
        }
    }
}

// No child, nor any node below it, is anything but its record.
bool CBinNode::StandsInRecordsBelow() const {
    const CBinaryDocument* document = Document();
    const CRecordTree& tree = document->Tree();
    if (tree.copied || tree.unknownCount > 0 || !IsElement(Record())) return false;
    return HasUnmadeChildren() || document->IsUnedited();
}

RecordRange CBinNode::RecordsBelow() const {
    const CBinaryDocument* document = Document();
    const Slice slice = ChildRecords();
    return {document->Tree(), document->Words(), slice.begin, slice.end};
}

namespace {

// Null equals null only.
bool EqualTexts(const WCHAR* a, const WCHAR* b) {
    return a && b ? CompareTexts(a, b) == 0 : a == b;
}

}  // namespace

bool CBinNode::EqualsAlone(CBinNode& other) {
    if (GetChildCount() != other.GetChildCount() || GetAttrCount() != other.GetAttrCount()) return false;
    if (!EqualTexts(GetName(), other.GetName())) return false;
    const std::uint32_t attrCount = static_cast<std::uint32_t>(GetAttrCount());
    for (std::uint32_t i = 0; i < attrCount; ++i) {
        const AttrTexts mine = AttrAt(i);
        const AttrTexts others = other.AttrAt(i);
        if (!EqualTexts(mine.name, others.name) || !EqualTexts(mine.value, others.value)) return false;
    }
    return true;
}

// As an attribute pair answers, without making one.
CBinNode::AttrTexts CBinNode::AttrAt(std::uint32_t index) const {
    const Look look = LookUp();
    const std::uint32_t recordCount = AttrCountOf(look.record);
    if (index < recordCount) {
        const unsigned char* entry = AttrEntryOf(look.record, index);
        const CWordDict& words = look.document->Words();
        return {words.GetWordOrNull(ReadI32(entry)), words.GetWordOrNull(ReadI32(entry + kAttrValueOffset))};
    }
    const CPendingAttr* attr = look.state->attrs->At(index - recordCount);
    return {attr->name.Get(), attr->value.Get()};
}
