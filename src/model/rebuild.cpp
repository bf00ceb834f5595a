#include "model/rebuild.h"

#include <cstring>
#include <new>

#include "model/attr_table.h"
#include "model/node_access.h"

namespace {

enum Casing : unsigned char { kUnknownCasing = 0, kLower, kMixed };

// No attribute has a word past the first `wordCount`: in a copy, those that have been added since are behind them.
bool NamesWordsBelow(const unsigned char* element, std::uint32_t wordCount) {
    const unsigned char* end = AttrEntryOf(element, AttrCountOf(element));
    for (const unsigned char* word = AttrEntryOf(element, 0); word != end; word += sizeof(std::uint32_t)) {
        if (ReadU32(word) >= wordCount) return false;
    }
    return true;
}

// No clone reads the block, perhaps in another thread: those that did have let go of it, and letting go of one more
// hold here comes after that.
bool IsReadHereOnly(const CRecordTree& tree, const CWordDict& words) {
    const SharedBytes hold = tree.bytes;
    return hold.use_count() == (words.IsOver(tree.bytes) ? 3 : 2);
}

}  // namespace

CRebuild::CRebuild(CBinaryDocument& document)
    : m_document(document),
      m_oldWords(document.Words()),
      m_isBlockOurs(IsReadHereOnly(document.Tree(), m_oldWords)),
      m_map(m_oldWords, m_newWords),
      m_records(document.Tree()) {
    const std::size_t wordCount = m_oldWords.GetWordCount();
    m_casing.ReserveToFill(wordCount);
    m_casing.ExtendFilled(wordCount, kUnknownCasing);
}

void CRebuild::Run() {
    MakeNodesWithoutRecord();
    if (m_document.Tree().copied && !m_document.Tree().copied->areDictionaryStart) m_document.MakeAllNodes();
    CBinNode* const root = m_document.Root();
    const CBinNode* notWritten = nullptr;  // the node whose subtree we are in because it is not written
    for (CBinNode* node = root; node;) {
        if (notWritten) node->MakeChildren();
        EmitNode(*node, !notWritten && node->Record());
        if (!notWritten && !IsElement(node->Record())) notWritten = node;
        CBinNode* next = node->NextMadeInPreOrder(notWritten ? notWritten : root);
        if (!next && notWritten) {
            next = notWritten->NextMadeBehind(root);
            notWritten = nullptr;
        }
        node = next;
    }
    Commit();
}

// Nodes that stand for records of unknown type have no place in a new block: from here on they exist by themselves.
void CRebuild::MakeNodesWithoutRecord() {
    const CRecordTree& tree = m_document.Tree();
    if (tree.unknownCount == 0) return;
    for (CBinNode* node = m_document.Root(); node; node = node->NextMadeInPreOrder(m_document.Root())) {
        if (!node->HasUnmadeChildren()) continue;
        if (node->ChildRecords().end == tree.end) node->MakeChildren();
    }
}

// Gives the words of a record their new numbers, in the order in which EmitRecord does without a state, and tells its
// size. 0, with nothing done, when that would change more than the numbers.
inline std::uint32_t CRebuild::MapUnedited(const unsigned char* record) {
    const std::uint32_t word = ReadU32(record + kWordOffset);
    if (*record != kElement) {
        m_map.Map(word);
        return kTextBytes;
    }
    const std::uint32_t attrCount = AttrCountOf(record);
    if (attrCount == 0) {
        m_map.MapUnlessEmpty(word);
        m_map.MapUnlessEmpty(ReadU32(record + kOwnValueOffset));
        return kElementBytes;
    }
    if (!IsInOrder(record)) return 0;
    const unsigned char* const entries = AttrEntryOf(record, 0);
    const unsigned char* const end = AttrEntryOf(record, attrCount);
    for (const unsigned char* entry = entries; entry != end; entry += kAttrEntryBytes) {
        if (!IsNameFolded(ReadU32(entry))) return 0;
    }
    m_map.Map(word);
    m_map.MapUnlessEmpty(ReadU32(record + kOwnValueOffset));
    for (const unsigned char* entry = entries; entry != end; entry += sizeof(std::uint32_t)) m_map.Map(ReadU32(entry));
    return static_cast<std::uint32_t>(end - record);
}

// Records of which no nodes were ever made.
void CRebuild::EmitSlice(std::uint32_t begin, std::uint32_t end) {
    const unsigned char* const block = m_document.Block();
    std::uint32_t kept = begin;  // from here on, all but their words
    for (std::uint32_t offset = begin; offset != end;) {
        const unsigned char* record = block + offset;
        if (const std::uint32_t size = MapUnedited(record)) {
            offset += size;
            continue;
        }
        m_records.Keep(kept, offset);
        const std::size_t made = m_records.Made().Size();
        EmitRecord(record, nullptr);
        m_records.Take(made, offset);
        offset += static_cast<std::uint32_t>(GetRecordSize(record));
        kept = offset;
    }
    m_records.Keep(kept, end);
}

// The same in a tree of copies.
void CRebuild::EmitCopies(std::uint32_t begin, std::uint32_t end) {
    const std::size_t made = m_records.Made().Size();
    const unsigned char* const last = m_document.Block() + end;
    for (const unsigned char* record = m_document.Block() + begin; record != last; record += GetRecordSize(record)) {
        IsElement(record) ? EmitCopied(record) : EmitRecord(record, nullptr);
    }
    m_records.Take(made, CNewRecords::kNothing);
}

void CRebuild::EmitNode(CBinNode& node, bool isWritten) {
    const unsigned char* record = node.Record();
    const CNodeState* state = node.State();
    if (!record) return;
    if (IsElement(record) && state && !state->value.IsEmpty()) {
        node.PassValueDown();  // may make a text child
        record = node.Record();
    }
    const std::uint32_t place = static_cast<std::uint32_t>(m_records.Size());
    const std::uint32_t writtenCount = node.HasUnmadeChildren() ? node.ListCount() : node.WrittenChildCount();
    const bool isWhole = !IsElement(record) || writtenCount == node.ListCount();
    const std::uint32_t keptSize = isWritten && isWhole && !state ? MapUnedited(record) : 0;
    if (keptSize > 0) {
        m_records.Keep(node.m_offset, node.m_offset + keptSize);
    } else {
        const std::size_t begin = m_records.Made().Size();
        EmitRecord(record, state);
        if (!isWhole) WriteU32(m_records.Made().Data() + begin + kChildCountOffset, writtenCount);
        if (!isWritten || !isWhole) KeepApart(node, begin, node.ListCount());
        if (!isWritten) {
            m_records.Made().Truncate(begin);
            return;
        }
        static_assert(CNewRecords::kNothing == CBinNode::kNoRecord);  // as a node made since the last save has it
        m_records.Take(begin, node.IsGuest() ? CNewRecords::kNothing : node.m_offset);
    }
    m_placed.Append({&node, place});
    if (node.HasUnmadeChildren()) {
        const CBinNode::Slice slice = node.ChildRecords();
        m_document.Tree().copied ? EmitCopies(slice.begin, slice.end) : EmitSlice(slice.begin, slice.end);
    }
    if (m_records.Size() > CRecordTree::kMostBytes) throw std::bad_alloc();
}

void CRebuild::EmitRecord(const unsigned char* record, const CNodeState* state) {
    if (IsElement(record)) {
        EmitElement(record, state);
        return;
    }
    const bool isHeld = state && (state->holdsTexts || !state->value.IsEmpty());
    const std::uint32_t word = isHeld ? m_map.AddText(state->value.View()) : m_map.Map(ReadU32(record + kWordOffset));
    WriteTextRecord(m_records.Made().Extend(kTextBytes), *record, word);
}

// As EmitElement does with the state of a copy: a held name, attributes as pending ones, word 0 in the former record.
void CRebuild::EmitCopied(const unsigned char* element) {
    const std::uint32_t attrCount = AttrCountOf(element);
    CGrowArray<unsigned char>& made = m_records.Made();
    const std::size_t offset = made.Size();
    made.Extend(kElementBytes);
    if (attrCount > 0) {
        m_map.Map(0);
        const CWordDict& copiedWords = m_document.Tree().copied->words;
        if (NamesWordsBelow(element, copiedWords.GetWordCount()) && IsInOrder(element)) {
            MapEntries(element, made.Extend(kAttrEntryBytes * std::size_t{attrCount}));
        } else {
            EmitAttrList(*CopyAttrList(element, copiedWords));
        }
    }
    unsigned char* target = made.Data() + offset;
    WriteElementRecord(target, m_map.Map(ReadU32(element + kWordOffset)), kNoWord);
    WriteU32(target + kAttrCountOffset, attrCount);
    WriteU32(target + kChildCountOffset, ChildCountOf(element));
}

void CRebuild::MapEntries(const unsigned char* element, unsigned char* target) {
    const unsigned char* entry = AttrEntryOf(element, 0);
    const unsigned char* end = AttrEntryOf(element, AttrCountOf(element));
    for (; entry != end; entry += kAttrEntryBytes, target += kAttrEntryBytes) {
        WriteU32(target, MapName(ReadU32(entry)));
        WriteU32(target + kAttrValueOffset, m_map.Map(ReadU32(entry + kAttrValueOffset)));
    }
}

// The record of an element with its child count as it stands. The order of the words is that of a write-back: with
// attributes, the word at the former name index and the own value come before them and an edited name after them.
void CRebuild::EmitElement(const unsigned char* record, const CNodeState* state) {
    CGrowArray<unsigned char>& made = m_records.Made();
    const std::size_t offset = made.Size();
    made.Extend(kElementBytes);
    const bool isHeld = state && state->holdsTexts;
    const bool isRenamed = isHeld || (state && !state->name.IsEmpty());
    const std::uint32_t nameWord = ReadU32(record + kWordOffset);
    const std::uint32_t ownWord = ReadU32(record + kOwnValueOffset);
    const auto addOwnValue = [&]() -> std::uint32_t {
        if (!isHeld) return m_map.MapUnlessEmpty(ownWord);
        return state->ownValue.IsEmpty() ? kNoWord : m_map.AddText(state->ownValue.View());
    };
    const auto addName = [&]() -> std::uint32_t {
        if (!isRenamed) return m_map.MapUnlessEmpty(nameWord);
        return state->name.IsEmpty() ? kNoWord : m_map.AddText(state->name.View());
    };

    const bool hasAttrs = state && state->attrs ? true : AttrCountOf(record) > 0;
    std::uint32_t name = kNoWord;
    std::uint32_t ownValue = kNoWord;
    std::uint32_t attrCount = 0;
    if (hasAttrs) {
        const std::uint32_t formerName = m_map.Map(nameWord);
        ownValue = addOwnValue();
        attrCount = EmitAttrs(record, state);
        name = addName();
        if (name == kNoWord && !isRenamed) name = formerName;
    } else {
        name = addName();
        ownValue = addOwnValue();
    }
    unsigned char* emitted = made.Data() + offset;
    WriteElementRecord(emitted, name, ownValue);
    WriteU32(emitted + kAttrCountOffset, attrCount);
    std::memcpy(emitted + kChildCountOffset, record + kChildCountOffset, sizeof(std::uint32_t));
}

// Appends the attribute entries and gives their number.
std::uint32_t CRebuild::EmitAttrs(const unsigned char* record, const CNodeState* state) {
    if (state && state->attrs) return EmitAttrList(*state->attrs);
    if (!IsInOrder(record)) return EmitAttrList(*LoadAttrList(record, m_oldWords));
    const std::uint32_t count = AttrCountOf(record);
    MapEntries(record, m_records.Made().Extend(kAttrEntryBytes * std::size_t{count}));
    return count;
}

std::uint32_t CRebuild::EmitAttrList(const CAttrList& attrs) {
    unsigned char* entries = m_records.Made().Extend(kAttrEntryBytes * std::size_t{attrs.Count()});
    StoreAttrList(attrs, entries, m_newWords, [this](TextView text, bool) { return m_map.AddText(text); });
    return attrs.Count();
}

// Names that are strictly ascending in lower case: loading such a table into a pending list and storing it again would
// change nothing but the indexes. (Nearly every table is so.)
bool CRebuild::IsInOrder(const unsigned char* record) {
    const unsigned char* entry = AttrEntryOf(record, 0);
    const unsigned char* end = AttrEntryOf(record, AttrCountOf(record));
    std::uint32_t previous = ReadU32(entry);
    for (entry += kAttrEntryBytes; entry != end; entry += kAttrEntryBytes) {
        const std::uint32_t word = ReadU32(entry);
        if (word == previous) return false;
        const std::uint64_t pair = std::uint64_t{previous} << 32 | word;  // never 0, as a place not yet used is
        std::uint64_t& known = m_ascending[(previous * 31 + word) % kKnownPairs];
        if (known != pair) {
            if (!m_allAscending.contains(pair)) {
                const WCHAR* name = m_oldWords.GetWord(word);
                const WCHAR* previousName = m_oldWords.GetWord(previous);
                if (CompareTexts(FoldedCase(previousName).c_str(), FoldedCase(name).c_str()) >= 0) return false;
                m_allAscending.insert(pair);
            }
            known = pair;
        }
        previous = word;
    }
    return true;
}

bool CRebuild::IsNameFolded(std::uint32_t word) {
    if (word >= m_casing.Size()) return true;  // the empty text
    if (m_casing[word] == kUnknownCasing) m_casing[word] = IsFolded(m_oldWords.GetWord(word)) ? kLower : kMixed;
    return m_casing[word] == kLower;
}

// The new word of an attribute's name, which is stored in lower case.
std::uint32_t CRebuild::MapName(std::uint32_t word) {
    if (IsNameFolded(word)) return m_map.Map(word);
    const auto [place, isNew] = m_foldedNames.try_emplace(word, kNoWord);
    if (isNew) place->second = m_map.AddText(FoldedCase(m_oldWords.GetWord(word)));
    return place->second;
}

void CRebuild::KeepApart(CBinNode& node, std::size_t begin, std::uint32_t childCount) {
    node.NeedState();
    const CGrowArray<unsigned char>& made = m_records.Made();
    const std::size_t size = made.Size() - begin;
    auto record = std::make_unique_for_overwrite<unsigned char[]>(size);
    std::memcpy(record.get(), made.Data() + begin, size);
    if (IsElement(record.get()) && childCount > 0) WriteU32(record.get() + kChildCountOffset, childCount);
    m_apart.push_back({&node, std::move(record)});
}

// Not for long: a document of which little is left gives its memory back.
bool CRebuild::StaysInPlace() const {
    const std::uint64_t usedBytes = m_records.Size() + (AreWordsInBlock() ? m_newWords.SharedBytesUsed() : 0);
    const std::uint64_t blockBytes = m_document.Tree().roomEnd;
    return m_isBlockOurs && m_records.FitFormerBlock() && usedBytes * 2 + CRecordTree::kLeastRoom > blockBytes;
}

// The records' block: the words may also lie in another one, where the records were before.
bool CRebuild::AreWordsInBlock() const {
    return m_newWords.IsOver(m_document.Tree().bytes);
}

void CRebuild::Commit() {
    const bool isInPlace = StaysInPlace();
    m_newWords.FinishRebuild(isInPlace && AreWordsInBlock());
    CRecordTree tree;
    if (!isInPlace) tree = m_records.WriteAnew(m_map);

    // From here on nothing fails.
    if (isInPlace) tree = m_records.WriteInPlace(std::move(m_document.Tree()), m_map);
    std::uint32_t span = 0;  // the first at or behind what is placed, which comes in order
    for (const Placed& placed : m_placed) {
        const std::uint32_t offset = tree.begin + placed.place;
        ClearEdits(*placed.node);
        while (span < tree.spans.Size() && tree.spans[span].offset < offset) ++span;
        if (placed.node->HasUnmadeChildren()) placed.node->Links() = links::Unmade(span);
        placed.node->m_offset = offset;
        if (CNodeState* state = placed.node->State()) state->record = tree.bytes.get() + offset;
    }
    for (Apart& apart : m_apart) {
        ClearEdits(*apart.node);
        CNodeState& state = *apart.node->State();
        state.record = apart.record.get();
        state.largeRecord = std::move(apart.record);
    }
    for (const Placed& placed : m_placed) DropIdleState(*placed.node);
    m_document.Replace(std::move(m_newWords), std::move(tree));
}

void CRebuild::ClearEdits(CBinNode& node) {
    CNodeState* state = node.State();
    if (!state) return;
    state->name.Clear();
    state->value.Clear();
    state->ownValue.Clear();
    state->attrs.reset();
    state->holdsTexts = false;
    state->isStored = false;
}

// Edits are over: back to 40 bytes, unless the state names the node's document or its children.
void CRebuild::DropIdleState(CBinNode& node) {
    CNodeState* state = node.State();
    if (!state || state->HasOwnRecord()) return;
    state->largeRecord.reset();
    if (node.IsGuest() || (state->links & links::kKindMask) == links::kList) return;
    node.m_links = state->links;
    delete state;
}
