// Comparing nodes, and documents.
#include <new>

#include "model/node_access.h"
#include "model/record_compare.h"

// No node is edited, moved, taken out or left without a record: the records say all.
bool CBinaryDocument::StandsInRecords() const {
    return IsUnedited() && !m_tree.copied && m_tree.unknownCount == 0 && m_root && m_root->Record();
}

bool CBinaryDocument::IsEqual(IBinDocument** other) {
    if (!other || !*other) return false;
    CBinaryDocument* document = static_cast<CBinaryDocument*>(*other);
    if (document == this) return true;
    if (m_words.GetWordCount() != document->m_words.GetWordCount()) return false;
    if (!m_root || !document->m_root) return !m_root && !document->m_root;
    if (StandsInRecords() && document->StandsInRecords() && m_tree.HasSameBytes(document->m_tree) &&
        m_words.HasSameBytes(document->m_words)) {
        return true;
    }
    try {
        return CBinNode::Compare(m_root, document->m_root, true);
    } catch (const std::bad_alloc&) {
        return false;
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
