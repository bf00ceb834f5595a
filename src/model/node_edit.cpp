// Edits of one node, and the write-back of its edit state into its record.
#include <cstring>
#include <memory>
#include <new>

#include "model/attr_table.h"
#include "model/node_access.h"

void CBinNode::MarkModified() {
    Document()->SetModified(true);
}

void CBinNode::SetOwnRecord(const unsigned char* bytes, std::size_t size) {
    CNodeState& state = NeedState();
    if (state.document->Tree().unknownCount > 0) MakeChildren();  // some may have no record to be written
    if (size <= sizeof(state.smallRecord)) {
        std::memmove(state.smallRecord, bytes, size);
        state.record = state.smallRecord;
        state.largeRecord.reset();
    } else {
        auto record = std::make_unique_for_overwrite<unsigned char[]>(size);
        std::memcpy(record.get(), bytes, size);
        state.largeRecord = std::move(record);
        state.record = state.largeRecord.get();
    }
    Document()->LeaveBlock();
}

unsigned char* CBinNode::NeedOwnRecord() {
    CNodeState& state = NeedState();
    if (!state.HasOwnRecord()) SetOwnRecord(state.record, static_cast<std::size_t>(GetRecordSize(state.record)));
    return state.record;
}

void CBinNode::BecomeElement(const WCHAR* name) {
    CNodeState& state = NeedState();
    state.name.Set(name);
    unsigned char record[kElementBytes];
    WriteElementRecord(record, 0, kNoWord);
    SetOwnRecord(record, sizeof(record));
}

bool CBinNode::SetName(const WCHAR* name) {
    if (!Document() || !name || !*name) return false;
    try {
        CNodeState& state = NeedState();
        if (state.name.IsEmpty()) {
            // Stays held even when the name turns out to be the same.
            if (const WCHAR* current = GetName()) state.name.Set(current);
        }
        if (state.name.Equals(name)) return true;
        state.name.Set(name);
        MarkModified();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CBinNode::SetAttribute(const WCHAR* name, const WCHAR* value) {
    if (!Document() || !name || !*name || !value) return false;
    try {
        return SetAttributeText(name, value);
    } catch (const std::bad_alloc&) {
        SavePendingAttrs();
        return false;
    }
}

bool CBinNode::SetAttributeText(const WCHAR* name, TextView value) {
    CBinaryDocument* document = Document();
    if (const unsigned char* entry = FindStored(name)) {
        if (TextView(document->GetWord(ReadU32(entry + kAttrValueOffset))) == value) return true;
    }
    CNodeState& state = NeedState();
    LoadAttributes();
    CPendingAttr* attr = state.attrs ? state.attrs->Find(name) : nullptr;
    if (!attr) {
        if (!state.attrs) state.attrs = std::make_unique<CAttrList>();
        state.attrs->Add(name, value);
        MarkModified();
    } else if (attr->value.View() != value) {
        attr->value.Set(value);
        MarkModified();
    }
    if (!document->IsModified()) StoreAttributes(document->Words());
    return true;
}

bool CBinNode::RemoveAttribute(const WCHAR* name) {
    if (!Document() || !name || !*name) return false;
    try {
        return RemoveAttributeText(name);
    } catch (const std::bad_alloc&) {
        SavePendingAttrs();
        return false;
    }
}

// An edit that has failed half-way may leave all attributes pending, and only a rebuild saves those.
void CBinNode::SavePendingAttrs() {
    const CNodeState* state = State();
    if (state && state->attrs) MarkModified();
}

bool CBinNode::RemoveAttributeText(const WCHAR* name) {
    CBinaryDocument* document = Document();
    const CNodeState* stored = State();
    if (stored && stored->isStored && !document->IsModified() && !FindStored(name)) return false;
    CNodeState& state = NeedState();
    LoadAttributes();
    CPendingAttr* attr = state.attrs ? state.attrs->Find(name) : nullptr;
    if (attr) {
        state.attrs->Remove(attr);
        if (state.attrs->Count() == 0) state.attrs.reset();
        MarkModified();
    }
    if (!document->IsModified()) StoreAttributes(document->Words());
    return attr != nullptr;
}

// The entry of exactly this name, where the record is as StoreAttributes has left it and storing it again would change
// nothing: asking for what is already there then costs a search, not a rewrite of all attributes.
const unsigned char* CBinNode::FindStored(const WCHAR* name) const {
    const CNodeState* state = State();
    if (!state || !state->isStored || state->document->IsModified()) return nullptr;
    return AttrCountOf(state->record) > 0 ? FindAttrEntry(state->record, name, state->document->Words()) : nullptr;
}

void CBinNode::LoadAttributes() {
    const Look look = LookUp();
    if (!IsElement(look.record) || ReadI32(look.record + kAttrCountOffset) == 0) return;
    const std::uint32_t count = AttrCountOf(look.record);
    unsigned char* record = NeedOwnRecord();
    CNodeState& state = *State();
    std::unique_ptr<CAttrList> attrs = count > 0 ? LoadAttrList(record, look.document->Words()) : nullptr;
    // The record's table and the pending list are never in use together.
    state.attrs = std::move(attrs);
    state.isStored = false;
    WriteU32(record + kAttrCountOffset, 0);
    SetOwnRecord(record, kElementBytes);
}

void CBinNode::StoreAttributes(CWordDict& words) {
    CNodeState* state = State();
    if (!state || !state->record || !state->attrs) return;
    const unsigned char* former = state->record;
    if (!IsElement(former)) {
        state->attrs.reset();
        return;
    }
    const CBinaryDocument* document = state->document;
    const std::uint32_t count = state->attrs->Count();
    CGrowArray<unsigned char> record;
    record.Extend(kElementBytes + kAttrEntryBytes * std::size_t{count});
    std::memcpy(record.Data(), former, kElementBytes);

    WriteU32(record.Data() + kWordOffset, words.AddWord(document->GetWord(ReadU32(former + kWordOffset)), false));
    const TextView ownValue(state->holdsTexts ? state->ownValue.Get()
                                              : document->GetWord(ReadU32(former + kOwnValueOffset)));
    WriteU32(record.Data() + kOwnValueOffset, ownValue.empty() ? kNoWord : words.AddWord(ownValue, false));
    WriteU32(record.Data() + kAttrCountOffset, count);
    StoreAttrList(*state->attrs, record.Data() + kElementBytes, words,
                  [&words](TextView text, bool fold) { return words.AddWord(text, fold); });
    SetOwnRecord(record.Data(), record.Size());
    state->attrs.reset();

    state->isStored = true;
    for (std::uint32_t i = 1; i < count && state->isStored; ++i) {
        const unsigned char* entry = AttrEntryOf(state->record, i);
        state->isStored = CompareAttrNames(entry - kAttrEntryBytes, entry, words) != 0;
    }
}

bool CBinNode::SetValue(const WCHAR* text) {
    if (!Document() || !text) return false;
    try {
        CNodeState& state = NeedState();
        if (state.value.IsEmpty()) {
            // Stays pending even when the text turns out to be the same.
            if (const WCHAR* current = GetValue()) state.value.Set(current);
        }
        if (state.value.Equals(text)) return true;
        CHeldText former(text);
        std::swap(state.value, former);
        try {
            StoreValue();
        } catch (...) {
            state.value = std::move(former);
            throw;
        }
        MarkModified();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void CBinNode::StoreValue() {
    CNodeState* state = State();
    if (!state || !state->record) return;
    CBinaryDocument* document = state->document;
    const TextView text = state->value.View();
    if (IsText(state->record)) {
        WriteU32(NeedOwnRecord() + kWordOffset, document->Words().AddWord(text, false));
        state->holdsTexts = false;
    } else if (ListCount() == 0) {
        if (!text.empty()) AppendNewText(document->Words().AddWord(text, false));
    } else if (CBinNode* child = OnlyTextChild()) {
        WriteU32(child->NeedOwnRecord() + kWordOffset, document->Words().AddWord(text, false));
        if (CNodeState* childState = child->State()) {
            childState->value.Clear();
            childState->holdsTexts = false;
        }
    }
    state->value.Clear();
}

// As StoreValue does for an element, but the dictionary stays as it is: the text child takes the value as pending.
void CBinNode::PassValueDown() {
    CNodeState& state = *State();
    CBinNode* child = ListCount() == 0 ? AppendNewText(kNoWord) : OnlyTextChild();
    if (child) child->NeedState().value = std::move(state.value);
    state.value.Clear();
}

CBinNode* CBinNode::OnlyTextChild() {
    if (ListCount() != 1) return nullptr;
    MakeChildren();
    CBinNode* child = FirstMadeChild();
    const unsigned char* record = child->Record();
    return record && *record == kText ? child : nullptr;
}

CBinNode* CBinNode::AppendNewText(std::uint32_t word) {
    const CNodeRef reference = Document()->NewNode();
    CBinNode* const child = reference.get();
    unsigned char record[kTextBytes];
    WriteTextRecord(record, kText, word);
    child->SetOwnRecord(record, sizeof(record));
    AppendNode(child);
    return child;
}
