// Lifetime, navigation and reading of a node.
#include "model/node.h"

#include <algorithm>

#include "model/attr_pair.h"
#include "model/node_access.h"

namespace {

// Of each element, when its node is made. Few have more.
constexpr std::uint32_t kFetchedAttrs = 8;

}  // namespace

CNodeState::CNodeState(CBinNode* of, CBinaryDocument* owner, unsigned char* itsRecord)
    : node(of), document(owner), record(itsRecord), links(of->m_links) {
    document->AddState(this);
}

CNodeState::~CNodeState() {
    document->RemoveState(this);
    if ((links & links::kKindMask) == links::kList) delete links::Pointer<CChildList>(links);
}

CNodeState& CBinNode::NeedState() {
    const Look look = LookUp();
    if (look.state) return *look.state;
    CNodeState* state = new CNodeState(this, look.document, look.record);
    m_links = links::Tagged(state, links::kState);
    return *state;
}

bool CBinNode::IsAttached() const {
    const CBinaryDocument* document = Document();
    return document && (m_parent || document->Root() == this);
}

HRESULT CBinNode::QueryInterface(const IID& iid, void** out) {
    if (iid != IID_IBinNode || !out) return 1;
    *out = static_cast<IBinNode*>(this);
    return 0;
}

// A node held from outside keeps its slab; a guest holds it anyway.
inline void CBinNode::TakeReference() {
    if (m_refs++ == 0 && !IsGuest()) Slab()->Keep();
}

ULONG CBinNode::AddRef() {
    TakeReference();
    return m_refs + (IsAttached() ? 1 : 0);
}

ULONG CBinNode::Release() {
    CNodeSlab* slab = Slab();
    if (!IsPlain() || !m_parent || m_refs == 0 || !slab->document) return ReleaseSlowly();
    // Its parent goes on holding it.
    if (--m_refs == 0) slab->Unkeep();
    return m_refs + 1;
}

ULONG CBinNode::ReleaseSlowly() {
    if (m_refs == 0) return IsAttached() ? 1 : 0;  // not the caller's to give up
    const bool isAttached = IsAttached();
    if (--m_refs > 0) return m_refs + (isAttached ? 1 : 0);
    CBinaryDocument* document = Document();
    CNodeSlab* slab = Slab();
    if (!document) {  // only the memory is left
        IsGuest() ? slab->Unhold() : slab->Unkeep();
        return 0;
    }
    if (!IsGuest()) slab->Unkeep();
    if (isAttached) return 1;
    document->UnlistDetached(this);
    document->DestroySubtree(this);
    return 0;
}

void CBinNode::LetGo() {
    m_parent = nullptr;
    CBinaryDocument* document = Document();
    if (m_refs > 0) {
        document->ListDetached(this);
    } else {
        document->DestroySubtree(this);
    }
}

std::uint32_t CBinNode::GetType() {
    const Look look = LookUp();
    if (!look.document) return 0;
    return look.record ? *look.record : kElement;
}

std::int32_t CBinNode::GetAttrCount() {
    if (const unsigned char* record = PlainRecord()) {
        return *record == kElement ? static_cast<std::int32_t>(AttrCountOf(record)) : 0;
    }
    const Look look = LookUp();
    if (!IsElement(look.record)) return 0;
    const std::uint32_t pendingCount = look.state && look.state->attrs ? look.state->attrs->Count() : 0;
    return static_cast<std::int32_t>(AttrCountOf(look.record) + pendingCount);
}

const WCHAR* CBinNode::GetName() {
    if (const unsigned char* record = PlainRecord()) return Slab()->document->GetWord(ReadU32(record + kWordOffset));
    const Look look = LookUp();
    if (!look.state) return nullptr;
    if (!look.state->name.IsEmpty()) return look.state->name.Get();
    if (!look.record) return nullptr;
    if (!look.state->holdsTexts) return look.document->GetWord(ReadU32(look.record + kWordOffset));
    return IsText(look.record) ? look.state->value.Get() : look.state->name.Get();
}

const WCHAR* CBinNode::GetValue() {
    const unsigned char* record = PlainRecord();
    if (!record) return GetEditedValue();
    const CBinaryDocument* document = Slab()->document;
    if (*record == kElement) {
        if (m_links == 0 || ChildCountOf(record) != 1) return nullptr;
        const CBinNode* child = FirstMadeChild();
        if (child && !child->IsPlain()) return GetEditedValue();
        record = child ? child->PlainRecord() : record + GetRecordSize(record);  // right behind this one
        if (!record || record == document->Block() + document->Tree().end || *record != kText) return nullptr;
    }
    return document->GetWord(ReadU32(record + kWordOffset));
}

// With a state on this node or its only child, or no record.
const WCHAR* CBinNode::GetEditedValue() {
    const auto [document, record, state] = LookUp();
    if (state && !state->value.IsEmpty()) return state->value.Get();
    if (!record) return nullptr;
    if (IsText(record)) {
        if (state->holdsTexts) return state->value.Get();
        return document->GetWord(ReadU32(record + kWordOffset));
    }
    if (ListCount() != 1) return nullptr;
    if (HasUnmadeChildren()) {
        const Slice slice = ChildRecords();
        const unsigned char* child = document->Block() + slice.begin;
        if (slice.begin == slice.end || *child != kText) return nullptr;
        return document->Tree().WordsOf(document->Words()).GetWord(ReadU32(child + kWordOffset));
    }
    CBinNode* child = FirstMadeChild();
    const unsigned char* childRecord = child->Record();
    return childRecord && *childRecord == kText ? child->GetValue() : nullptr;
}

std::int32_t CBinNode::GetChildCount() {
    if (const unsigned char* record = PlainRecord()) {
        return *record == kElement ? static_cast<std::int32_t>(ChildCountOf(record)) : 0;
    }
    const unsigned char* record = Record();
    return IsElement(record) ? static_cast<std::int32_t>(ChildCountOf(record)) : 0;
}

void CBinNode::GetParent(IBinNode** out) {
    if (!out) return;
    *out = Document() ? m_parent : nullptr;
    if (*out) (*out)->AddRef();
}

void CBinNode::GetChild(std::int32_t index, IBinNode** out) {
    const bool isRun = m_links != 0 && (m_links & links::kKindMask) == links::kRun;
    const unsigned char* record = out && isRun ? PlainRecord() : nullptr;
    if (!record || static_cast<std::uint32_t>(index) >= ChildCountOf(record)) {
        GetChildSlowly(index, out);
        return;
    }
    CBinNode* child = links::Pointer<CBinNode>(m_links) + index;
    child->TakeReference();
    *out = child;
}

void CBinNode::GetChildSlowly(std::int32_t index, IBinNode** out) {
    if (!out) return;
    const unsigned char* record = PlainRecord();
    if (record && m_links != 0 && static_cast<std::uint32_t>(index) < ChildCountOf(record)) {
        CBinNode* child = MakeRun(Slab()->document) ? links::Pointer<CBinNode>(m_links) + index : nullptr;
        if (child) child->TakeReference();
        *out = child;
        return;
    }
    const Look look = LookUp();
    if (look.document && !IsElement(look.record)) return;
    *out = nullptr;
    if (!look.document || index < 0 || static_cast<std::uint32_t>(index) >= ListCount()) return;
    if (HasUnmadeChildren() && !MakeRun(look.document)) return;
    const std::uintptr_t word = Links();
    CBinNode* child = (word & links::kKindMask) == links::kList
                          ? links::Pointer<CChildList>(word)->At(static_cast<std::uint32_t>(index))
                          : links::Pointer<CBinNode>(word) + index;
    child->TakeReference();
    *out = child;
}

std::uint32_t CBinNode::WrittenChildCount() const {
    if (!HasMadeChildren()) return 0;
    std::uint32_t count = 0;
    for (const CBinNode* child = FirstMadeChild(); child; child = NextMadeChild(child))
        count += child->Record() ? 1 : 0;
    return count;
}

CBinNode* CBinNode::NextMadeInPreOrder(const CBinNode* top) const {
    return HasMadeChildren() ? FirstMadeChild() : NextMadeBehind(top);
}

CBinNode* CBinNode::NextMadeBehind(const CBinNode* top) const {
    for (const CBinNode* node = this; node != top; node = node->m_parent) {
        if (CBinNode* next = node->m_parent->NextMadeChild(node)) return next;
    }
    return nullptr;
}

CBinNode::Slice CBinNode::ChildRecords() const {
    const CRecordTree& tree = Document()->Tree();
    std::uint32_t span = HasUnmadeChildren() ? links::SpanOf(Links()) : tree.FirstSpanFrom(m_offset);
    const std::uint32_t size = static_cast<std::uint32_t>(GetRecordSize(tree.bytes.get() + m_offset));
    return {m_offset + size, tree.SkipSubtree(m_offset, span)};
}

void CBinNode::MakeChildren() {
    if (HasUnmadeChildren() && !MakeRun(Document())) throw std::bad_alloc();
}

// False without memory.
bool CBinNode::MakeRun(CBinaryDocument* document) {
    const CRecordTree& tree = document->Tree();
    const unsigned char* const bytes = tree.bytes.get();
    const unsigned char* record = bytes + m_offset;
    const unsigned char* const end = bytes + tree.end;
    std::uintptr_t& word = Links();
    std::uint32_t span = tree.SpanInside(m_offset, links::SpanOf(word));
    const std::uint32_t count = ChildCountOf(record);
    const CNodeRun run = document->Pool().CutRun(count);
    if (!run.first) return false;
    // Who asks for children will ask for their values: the texts lie all over the dictionary, and are on their way
    // then.
    const auto fetch = [document](const unsigned char* field) {
        __builtin_prefetch(document->GetWord(ReadU32(field)));
    };
    record += GetRecordSize(record);
    for (std::uint32_t i = 0; i < count; ++i) {
        CBinNode* child = run.Make(i);
        child->m_parent = this;
        child->m_slot = i;
        if (record == end) continue;  // a record of unknown type stood here
        child->m_offset = static_cast<std::uint32_t>(record - bytes);
        if (*record != kElement) {
            fetch(record + kWordOffset);
            record += kTextBytes;
            continue;
        }
        const std::uint32_t attrCount = AttrCountOf(record);
        const unsigned char* const behind = AttrEntryOf(record, attrCount);
        for (std::uint32_t attr = 0; attr < std::min(attrCount, kFetchedAttrs); ++attr) {
            fetch(AttrEntryOf(record, attr) + kAttrValueOffset);
        }
        const std::uint32_t childCount = ChildCountOf(record);
        if (childCount > 0) child->m_links = links::Unmade(span);
        if (childCount == 0) {
            record = behind;
        } else if (childCount == 1 && behind != end && *behind != kElement) {  // has no span
            fetch(behind + kWordOffset);
            record = behind + kTextBytes;
        } else {
            record = bytes + tree.SkipSubtree(child->m_offset, span);
        }
    }
    if (tree.copied && !MakeCopies(run, count)) return false;
    word = links::Tagged(run.first, links::kRun);
    return true;
}

// False without memory.
bool CBinNode::MakeCopies(const CNodeRun& run, std::uint32_t count) {
    CBinaryDocument* document = Document();
    try {
        for (std::uint32_t i = 0; i < count; ++i) run.first[i].BecomeCopy(*document->Tree().copied);
        return true;
    } catch (const std::bad_alloc&) {
        for (std::uint32_t i = 0; i < count; ++i) document->DestroyNode(&run.first[i]);
        return false;
    }
}

namespace {

// A text in lower case, without an allocation for names of usual length.
class CFoldedName {
public:
    explicit CFoldedName(TextView name) {
        if (name.size() >= kInlineUnits) m_long.resize(name.size());
        m_units = name.size() < kInlineUnits ? m_short : m_long.data();
        name.copy(m_units, name.size());
        FoldCase(m_units, name.size());
        m_units[name.size()] = 0;
    }
    CFoldedName(const CFoldedName&) = delete;
    CFoldedName& operator=(const CFoldedName&) = delete;

    const WCHAR* Get() const { return m_units; }

private:
    static constexpr std::size_t kInlineUnits = 64;
    WCHAR m_short[kInlineUnits];
    Text m_long;
    WCHAR* m_units;
};

// Of an element that has attributes.
const WCHAR* StoredValue(const unsigned char* element, const WCHAR* name, const CWordDict& words) {
    const unsigned char* entry = FindAttrEntry(element, name, words);
    const std::uint32_t value = entry ? ReadU32(entry + kAttrValueOffset) : kNoWord;
    return value == kNoWord ? nullptr : words.GetWord(value);
}

// Apart, so that the way of most look-ups stays short.
[[gnu::noinline]] const WCHAR* StoredValueOfFolded(const unsigned char* element, const WCHAR* name,
                                                   const CWordDict& words) {
    try {
        return StoredValue(element, CFoldedName(name).Get(), words);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

}  // namespace

const WCHAR* CBinNode::GetAttribute(const WCHAR* name) {
    const auto [document, record, state] = LookUp();
    if (!document || !name || !*name) return nullptr;
    if (state && state->attrs) {
        if (const CPendingAttr* attr = state->attrs->Find(name)) return attr->value.Get();
    }
    if (!IsElement(record) || AttrCountOf(record) == 0) return nullptr;
    const CWordDict& words = document->Words();
    if (g_lower == 0) {
        const WCHAR* value = StoredValue(record, name, words);
        if (value || IsFolded(name)) return value;
    }
    return StoredValueOfFolded(record, name, words);
}

void CBinNode::GetAttrPair(std::int32_t index, IAttrPair** out) {
    if (!out) return;
    *out = nullptr;
    const auto [document, record, state] = LookUp();
    if (!IsElement(record) || index < 0) return;
    const std::uint32_t position = static_cast<std::uint32_t>(index);
    const std::uint32_t recordCount = AttrCountOf(record);
    try {
        if (position < recordCount) {
            const unsigned char* entry = AttrEntryOf(record, position);
            *out = document->Pairs().Make(this, ReadI32(entry), ReadI32(entry + kAttrValueOffset));
        } else if (state && state->attrs && position - recordCount < state->attrs->Count()) {
            *out = document->Pairs().Make(this, *state->attrs->At(position - recordCount));
        }
    } catch (const std::bad_alloc&) {
        *out = nullptr;
    }
}
