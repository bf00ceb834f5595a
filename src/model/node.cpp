// Lifetime, navigation and reading of a node.
#include "model/node.h"

#include "model/attr_pair.h"
#include "model/document.h"
#include "model/node_state.h"

CNodeState::CNodeState(CBinNode* of, CBinaryDocument* owner) : node(of), document(owner), links(of->m_links) {
    document->AddState(this);
}

CNodeState::~CNodeState() {
    document->RemoveState(this);
    if ((links & links::kKindMask) == links::kList) delete links::Pointer<CChildList>(links);
}

CNodeSlab* CBinNode::Slab() const {
    // The slab's header lies before its first cell.
    CBinNode* first = const_cast<CBinNode*>(this) - (m_cell & ~kGuest);
    return reinterpret_cast<CNodeSlab*>(first) - 1;
}

// A node held from outside keeps its slab; a guest holds it anyway.
void CBinNode::Keep() {
    if (!IsGuest()) Slab()->Keep();
}

void CBinNode::Unkeep() {
    if (!IsGuest()) Slab()->Unkeep();
}

CNodeState* CBinNode::State() const {
    return (m_links & links::kKindMask) == links::kState ? links::Pointer<CNodeState>(m_links) : nullptr;
}

CBinaryDocument* CBinNode::Document() const {
    switch (m_links & links::kKindMask) {
        case links::kState:
            return links::Pointer<CNodeState>(m_links)->document;
        case links::kGone:
            return nullptr;
        default:
            return Slab()->document;
    }
}

CNodeState& CBinNode::NeedState() {
    if (CNodeState* state = State()) return *state;
    CNodeState* state = new CNodeState(this, Document());
    m_links = links::Tagged(state, links::kState);
    return *state;
}

std::uintptr_t& CBinNode::Links() {
    CNodeState* state = State();
    return state ? state->links : m_links;
}

std::uintptr_t CBinNode::Links() const {
    CNodeState* state = State();
    return state ? state->links : m_links;
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

ULONG CBinNode::AddRef() {
    if (m_refs++ == 0) Keep();
    return m_refs + (IsAttached() ? 1 : 0);
}

ULONG CBinNode::Release() {
    if (m_refs == 0) return IsAttached() ? 1 : 0;  // not the caller's to give up
    const bool isAttached = IsAttached();
    if (--m_refs > 0) return m_refs + (isAttached ? 1 : 0);
    CBinaryDocument* document = Document();
    if (!document) {  // only the memory is left
        IsGuest() ? Slab()->Unhold() : Slab()->Unkeep();
        return 0;
    }
    Unkeep();
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
    if (!Document()) return 0;
    return m_record ? *m_record : kElement;
}

std::int32_t CBinNode::GetAttrCount() {
    if (!Document() || !IsElement(m_record)) return 0;
    const std::uint32_t pendingCount = HasPendingAttrs() ? State()->attrs->Count() : 0;
    return static_cast<std::int32_t>(AttrCountOf(m_record) + pendingCount);
}

const WCHAR* CBinNode::GetName() {
    CBinaryDocument* document = Document();
    if (!document) return nullptr;
    const CNodeState* state = State();
    if (state && !state->name.IsEmpty()) return state->name.Get();
    if (!m_record) return nullptr;
    if (state && state->holdsTexts) return IsText(m_record) ? state->value.Get() : state->name.Get();
    return document->GetWord(ReadU32(m_record + kWordOffset));
}

const WCHAR* CBinNode::GetValue() {
    CBinaryDocument* document = Document();
    if (!document) return nullptr;
    const CNodeState* state = State();
    if (state && !state->value.IsEmpty()) return state->value.Get();
    if (!m_record) return nullptr;
    if (IsText(m_record)) {
        if (state && state->holdsTexts) return state->value.Get();
        return document->GetWord(ReadU32(m_record + kWordOffset));
    }
    if (ListCount() != 1) return nullptr;
    if (CBinNode* child = FirstMadeChild()) {
        return child->m_record && *child->m_record == kText ? child->GetValue() : nullptr;
    }
    // The only child's record stands right behind this one.
    const CRecordTree& tree = document->Tree();
    const unsigned char* record = m_record + GetRecordSize(m_record);
    if (record == tree.bytes.get() + tree.end || *record != kText) return nullptr;
    return document->GetWord(ReadU32(record + kWordOffset));
}

std::int32_t CBinNode::GetChildCount() {
    return Document() && IsElement(m_record) ? static_cast<std::int32_t>(ChildCountOf(m_record)) : 0;
}

void CBinNode::GetParent(IBinNode** out) {
    if (!out) return;
    *out = Document() ? m_parent : nullptr;
    if (*out) (*out)->AddRef();
}

void CBinNode::GetChild(std::int32_t index, IBinNode** out) {
    if (!out) return;
    if (Document() && !IsElement(m_record)) return;
    *out = nullptr;
    if (!Document() || index < 0 || static_cast<std::uint32_t>(index) >= ListCount()) return;
    try {
        MakeChildren();
    } catch (const std::bad_alloc&) {
        return;
    }
    const std::uintptr_t word = Links();
    CBinNode* child = (word & links::kKindMask) == links::kList
                          ? links::Pointer<CChildList>(word)->At(static_cast<std::uint32_t>(index))
                          : links::Pointer<CBinNode>(word) + index;
    if (child->m_refs++ == 0) child->Keep();
    *out = child;
}

std::uint32_t CBinNode::ListCount() const {
    const std::uintptr_t word = Links();
    if ((word & links::kKindMask) == links::kList) return links::Pointer<CChildList>(word)->Count();
    return word != 0 && IsElement(m_record) ? ChildCountOf(m_record) : 0;
}

bool CBinNode::HasMadeChildren() const {
    return !HasUnmadeChildren() && ListCount() > 0;
}

bool CBinNode::HasUnmadeChildren() const {
    return (Links() & links::kKindMask) == links::kUnmade;
}

std::uint32_t CBinNode::WrittenChildCount() const {
    if (!HasMadeChildren()) return 0;
    std::uint32_t count = 0;
    for (const CBinNode* child = FirstMadeChild(); child; child = NextMadeChild(child))
        count += child->m_record ? 1 : 0;
    return count;
}

std::uint32_t CBinNode::UnmadeSpan() const {
    return static_cast<std::uint32_t>(Links() >> 2);
}

CBinNode* CBinNode::FirstMadeChild() const {
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

CBinNode* CBinNode::NextMadeChild(const CBinNode* child) const {
    const std::uintptr_t word = Links();
    if ((word & links::kKindMask) == links::kList) return links::Pointer<CChildList>(word)->Next(child);
    return child->m_slot + 1 < ChildCountOf(m_record) ? const_cast<CBinNode*>(child) + 1 : nullptr;
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

void CBinNode::MakeChildren() {
    if (!HasUnmadeChildren()) return;
    CBinaryDocument* document = Document();
    const CRecordTree& tree = document->Tree();
    unsigned char* bytes = tree.bytes.get();
    const std::uint32_t count = ChildCountOf(m_record);
    CBinNode* children = document->Pool().Allocate(count);

    std::uint64_t cursor = static_cast<std::uint64_t>(m_record - bytes) + GetRecordSize(m_record);
    std::uint32_t span = UnmadeSpan() + 1;
    for (std::uint32_t i = 0; i < count; ++i) {
        CBinNode& child = children[i];
        child.m_parent = this;
        child.m_slot = i;
        if (cursor == tree.end) continue;  // a record of unknown type stood here
        child.m_record = bytes + cursor;
        if (IsElement(child.m_record) && ChildCountOf(child.m_record) > 0) {
            child.m_links = links::Unmade(span);
            cursor = tree.spans[span].end;
            span = tree.spans[span].next;
        } else {
            cursor += GetRecordSize(child.m_record);
        }
    }
    Links() = links::Tagged(children, links::kRun);
}

bool CBinNode::HasPendingAttrs() const {
    const CNodeState* state = State();
    return state && state->attrs;
}

namespace {

// A text in lower case, without an allocation for names of usual length.
class CFoldedName {
public:
    explicit CFoldedName(TextView name) {
        if (name.size() >= kInlineUnits) m_long.resize(name.size());
        WCHAR* units = name.size() < kInlineUnits ? m_short : m_long.data();
        for (std::size_t i = 0; i < name.size(); ++i) {
            units[i] = FoldCase(name[i]);
            m_differs |= units[i] != name[i];
        }
        m_view = TextView(units, name.size());
    }
    CFoldedName(const CFoldedName&) = delete;
    CFoldedName& operator=(const CFoldedName&) = delete;

    TextView View() const { return m_view; }
    /// The name had capital letters.
    bool Differs() const { return m_differs; }

private:
    static constexpr std::size_t kInlineUnits = 64;
    WCHAR m_short[kInlineUnits];
    Text m_long;
    TextView m_view;
    bool m_differs = false;
};

int CompareKey(TextView key, const WCHAR* text) {
    for (const WCHAR unit : key) {
        if (unit != *text) {
            return static_cast<int>(static_cast<std::uint16_t>(unit)) - static_cast<std::uint16_t>(*text);
        }
        ++text;
    }
    return *text == 0 ? 0 : -1;
}

}  // namespace

const WCHAR* CBinNode::GetAttribute(const WCHAR* name) {
    CBinaryDocument* document = Document();
    if (!document || !name || !*name) return nullptr;
    const TextView asked(name);
    if (HasPendingAttrs()) {
        if (const CPendingAttr* attr = State()->attrs->Find(asked)) return attr->value.Get();
    }
    if (!IsElement(m_record) || AttrCountOf(m_record) == 0) return nullptr;
    const auto valueOf = [&](TextView key) -> const WCHAR* {
        const unsigned char* entry = FindAttrEntry(key);
        const std::uint32_t value = entry ? ReadU32(entry + kAttrValueOffset) : kNoWord;
        return value == kNoWord ? nullptr : document->GetWord(value);
    };
    try {
        if (g_lower == 0) {
            if (const WCHAR* value = valueOf(asked)) return value;
        }
        const CFoldedName folded(asked);
        return g_lower == 0 && !folded.Differs() ? nullptr : valueOf(folded.View());
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

// The search is part of the contract: in a table that is not sorted, it decides which entries are found.
const unsigned char* CBinNode::FindAttrEntry(TextView key) const {
    const CBinaryDocument* document = Document();
    std::uint32_t low = 0;
    std::uint32_t high = AttrCountOf(m_record) - 1;
    while (true) {
        const std::uint32_t middle = low + (high - low) / 2;
        const unsigned char* entry = AttrEntryOf(m_record, middle);
        const int order = CompareKey(key, document->GetWord(ReadU32(entry)));
        if (order == 0) return entry;
        if (order < 0) {
            if (low >= middle) return nullptr;
            high = middle - 1;
        } else {
            if (middle >= high) return nullptr;
            low = middle + 1;
        }
    }
}

void CBinNode::GetAttrPair(std::int32_t index, IAttrPair** out) {
    if (!out) return;
    *out = nullptr;
    CBinaryDocument* document = Document();
    if (!document || !IsElement(m_record) || index < 0) return;
    const std::uint32_t position = static_cast<std::uint32_t>(index);
    const std::uint32_t recordCount = AttrCountOf(m_record);
    try {
        if (position < recordCount) {
            const unsigned char* entry = AttrEntryOf(m_record, position);
            *out = document->Pairs().Make(this, ReadI32(entry), ReadI32(entry + kAttrValueOffset));
        } else if (HasPendingAttrs() && position - recordCount < State()->attrs->Count()) {
            *out = document->Pairs().Make(this, *State()->attrs->At(position - recordCount));
        }
    } catch (const std::bad_alloc&) {
        *out = nullptr;
    }
}
