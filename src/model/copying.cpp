// Copies of nodes and of documents.
#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

#include "model/attr_table.h"
#include "model/node_access.h"

namespace {

// A copy has the record's own texts and children: it is not left out for want of a name, and no own value becomes
// pending in it.
bool IsCopiedAsItStands(const unsigned char* record, const CWordDict& words) {
    if (*words.GetWord(ReadU32(record + kWordOffset)) == 0) return false;
    return IsText(record) || ReadI32(record + kOwnValueOffset) < 0;
}

}  // namespace

void CBinaryDocument::Clone(IBinDocument** out) {
    if (!out) return;
    CBinaryDocument* copy = nullptr;
    try {
        copy = Create();
        copy->m_words = m_words;
        copy->m_optionFlags = m_optionFlags;
        copy->m_optionValue = m_optionValue;
        std::memcpy(copy->m_path, m_path, sizeof(m_path));
        if (m_root) {
            copy->ShareTreeOf(*this);
            if (const CNodeRef root = CBinNode::CloneTo(m_root, copy, true)) {
                copy->UnlistDetached(root.get());
                copy->m_root = root.get();
                copy->m_modified = true;
            }
        }
        *out = copy;
    } catch (const std::bad_alloc&) {
        if (copy) copy->Release();
    }
}

// For CloneTo, which then leaves children of the copies unmade where those of the originals stand in their records.
void CBinaryDocument::ShareTreeOf(const CBinaryDocument& source) {
    const CRecordTree& original = source.m_tree;
    if (original.copied || original.unknownCount > 0 || original.IsEmpty()) return;
    m_tree.bytes = original.bytes;
    m_tree.begin = original.begin;
    m_tree.end = original.end;
    m_tree.spans = original.spans;
    m_tree.copied = std::make_unique<CCopiedWords>();
    CCopiedWords& copied = *m_tree.copied;
    copied.words = source.m_words.WithoutIndex();
    copied.textWords.ExtendFilled(source.m_words.GetWordCount(), 0xFF);
    // Looked for once: CloneTo asks at every level above one of them.
    for (std::uint32_t offset = m_tree.begin; offset != m_tree.end;) {
        const unsigned char* record = Block() + offset;
        if (!IsCopiedAsItStands(record, copied.words)) copied.unalike.Append(offset);
        offset += static_cast<std::uint32_t>(GetRecordSize(record));
    }
}

bool CBinaryDocument::TakeTextsOf(std::uint32_t begin, std::uint32_t end) {
    const CGrowArray<std::uint32_t>& unalike = m_tree.copied->unalike;
    const std::uint32_t* found = std::lower_bound(unalike.begin(), unalike.end(), begin);
    if (found != unalike.end() && *found < end) return false;
    const CWordDict& words = m_tree.copied->words;
    CGrowArray<std::uint32_t>& textWords = m_tree.copied->textWords;
    const unsigned char* const last = Block() + end;
    for (const unsigned char* record = Block() + begin; record != last; record += GetRecordSize(record)) {
        if (IsElement(record)) continue;
        const std::uint32_t word = ReadU32(record + kWordOffset);
        if (textWords[word] == kNoWord) textWords[word] = m_words.AddWordOf(words, word);
    }
    return true;
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
