#include "model/word_dict.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "model/incoming_bytes.h"
#include "model/layout.h"
#include "model/text_hash.h"
#include "platform/unit_mask.h"

std::int32_t g_lower = 0;

namespace {

constexpr std::size_t kFirstSlotCount = 32;

// Texts that AddWords has under way at a time.
constexpr std::size_t kBatch = 64;

}  // namespace

std::uint32_t CWordDict::AppendWord(TextView text) {
    const std::uint32_t index = GetWordCount();
    const std::size_t start = m_arena.Size() + kLengthUnits;
    if (index >= kAliasMark || start + text.size() >= kArenaMark) throw std::bad_alloc();

    const bool isOwnText = text.data() >= m_arena.begin() && text.data() < m_arena.end();
    const std::size_t ownOffset = isOwnText ? static_cast<std::size_t>(text.data() - m_arena.begin()) : 0;
    m_offsets.MakeRoom(1);
    m_arena.Extend(kLengthUnits + text.size() + 1);
    if (isOwnText) text = TextView(m_arena.Data() + ownOffset, text.size());
    WCHAR* target = m_arena.Data() + start;
    if (!text.empty()) std::memcpy(target, text.data(), text.size() * sizeof(WCHAR));
    target[text.size()] = 0;
    const std::uint32_t length = static_cast<std::uint32_t>(TextLength(target));
    std::memcpy(target - kLengthUnits, &length, sizeof(length));
    m_arena.Truncate(start + length + 1);
    m_offsets.Append(static_cast<std::uint32_t>(start) | kArenaMark);
    return index;
}

CWordDict CWordDict::WithoutIndex() const {
    CWordDict copy;
    copy.m_block = m_block;
    copy.m_blockUnits = m_blockUnits;
    copy.m_blockByteCount = m_blockByteCount;
    copy.m_offsets = m_offsets;
    copy.m_arena = m_arena;
    return copy;
}

std::uint32_t CWordDict::AddWordOf(const CWordDict& other, std::uint32_t index) {
    if (m_slots.IsEmpty()) BuildIndex();
    const TextView text = other.GetWordView(index);
    const std::uint32_t hash = HashText(text, m_seed);
    if (const std::uint32_t* value = Find(text, hash)) return Resolve(*value);
    MakeRoomForEntry();
    const std::uint32_t added = AppendWordOf(other, index, text.size());
    Enter(hash, added);
    return added;
}

void CWordDict::ShareBlockOf(const CWordDict& other) {
    m_block = other.m_block;
    m_blockUnits = other.m_blockUnits;
    m_blockByteCount = other.m_blockByteCount;
    m_isMeasured = true;
    m_offsets.ReserveToFill(other.GetWordCount());
}

// A word in the block between these offsets, in code units.
inline void CWordDict::AppendBlockWord(std::size_t start, std::size_t end) {
    m_offsets.MakeRoom(1);  // before the run counts it
    const std::uint32_t index = GetWordCount();
    Run* last = m_runs.IsEmpty() ? nullptr : &m_runs.Back();
    if (last && last->first + last->count == index && start == m_lastEnd + kLengthUnits) {
        ++last->count;
    } else if (last && last->count < kShortRun) {
        *last = {index, 1};
    } else {
        m_runs.Append({index, 1});
    }
    m_lastEnd = end;
    m_offsets.Append(static_cast<std::uint32_t>(start));
}

std::uint32_t CWordDict::AppendWordOf(const CWordDict& other, std::uint32_t index, std::size_t length) {
    const std::uint32_t offset = other.m_offsets[index];
    if (offset & kArenaMark) return AppendWord(TextView(other.TextAt(index), length));
    if (GetWordCount() >= kAliasMark) throw std::bad_alloc();
    AppendBlockWord(offset, offset + length);
    m_sharedUnits += kLengthUnits + length + 1;
    return GetWordCount() - 1;
}

void CWordDict::FinishRebuild(bool isBlockKept) {
    m_slots = CGrowArray<Slot>();
    m_entryCount = 0;
    m_isIndexDue = true;
    if (isBlockKept || SharedBytesUsed() * 2 > m_blockByteCount) return;
    if (m_sharedUnits > 0) {
        CWordDict moved;
        moved.m_offsets.ReserveToFill(GetWordCount());
        moved.m_arena.ReserveToFill(m_arena.Size() + static_cast<std::size_t>(m_sharedUnits));
        for (std::uint32_t i = 0; i < GetWordCount(); ++i) moved.AppendWord(GetWordView(i));
        m_offsets.swap(moved.m_offsets);
        m_arena.swap(moved.m_arena);
    }
    m_runs = CGrowArray<Run>();
    m_sharedUnits = 0;
    m_lastEnd = 0;
    m_block.reset();
    m_blockUnits = nullptr;
    m_blockByteCount = 0;
}

std::uint32_t CWordDict::AddWord(TextView text, bool fold) {
    if (m_slots.IsEmpty()) BuildIndex();
    const std::uint32_t hash = HashText(text, m_seed);
    if (!fold || g_lower == 0) return AddHashed(text, hash);
    if (const std::uint32_t* value = Find(text, hash)) return Resolve(*value);

    MakeRoomForEntry();
    m_scratch.assign(text);
    FoldCase(m_scratch.data(), m_scratch.size());
    const std::uint32_t foldedHash = HashText(m_scratch, m_seed);
    if (const std::uint32_t* value = Find(m_scratch, foldedHash)) {
        const std::uint32_t index = Resolve(*value);
        m_aliases.push_back({Text(text), index});
        Enter(hash, static_cast<std::uint32_t>(m_aliases.size() - 1) | kAliasMark);
        return index;
    }
    const std::uint32_t index = AppendWord(m_scratch);
    Enter(foldedHash, index);
    return index;
}

void CWordDict::Reserve(std::size_t wordCount, std::size_t unitCount) {
    m_offsets.Reserve(wordCount);
    m_arena.Reserve(unitCount);
    Rehash(std::bit_ceil(std::max(wordCount * 2, kFirstSlotCount)), m_seed);
}

void CWordDict::AddWords(const TextView* texts, std::size_t count, std::uint32_t* indexes) {
    if (m_slots.IsEmpty()) BuildIndex();
    std::uint32_t hashes[kBatch];
    for (std::size_t batch = 0; count > 0; texts += batch, indexes += batch, count -= batch) {
        batch = std::min(count, kBatch);
        const std::uint64_t seed = m_seed;
        for (std::size_t i = 0; i < batch; ++i) {
            hashes[i] = HashText(texts[i], seed);
            __builtin_prefetch(&FirstSlot(hashes[i]));
        }
        // A word that most likely is this one: first its offset, then its text.
        for (std::size_t i = 0; i < batch; ++i) {
            const Slot& slot = FirstSlot(hashes[i]);
            if (slot.hash == hashes[i] && slot.value < kAliasMark) __builtin_prefetch(&m_offsets[slot.value]);
        }
        for (std::size_t i = 0; i < batch; ++i) {
            const Slot& slot = FirstSlot(hashes[i]);
            if (slot.hash == hashes[i] && slot.value < kAliasMark) __builtin_prefetch(TextAt(slot.value));
        }
        for (std::size_t i = 0; i < batch; ++i) {
            indexes[i] = AddHashed(texts[i], m_seed == seed ? hashes[i] : HashText(texts[i], m_seed));
        }
    }
}

std::uint32_t CWordDict::AddHashed(TextView text, std::uint32_t hash) {
    if (const std::uint32_t* value = Find(text, hash)) return Resolve(*value);
    MakeRoomForEntry();
    const std::uint32_t index = AppendWord(text);
    Enter(hash, index);
    return index;
}

TextView CWordDict::SlotText(std::uint32_t value) const {
    return value & kAliasMark ? TextView(m_aliases[value & ~kAliasMark].text) : GetWordView(value);
}

std::uint32_t CWordDict::Resolve(std::uint32_t value) const {
    return value & kAliasMark ? m_aliases[value & ~kAliasMark].word : value;
}

std::uint32_t* CWordDict::Find(TextView text, std::uint32_t hash) {
    const std::size_t mask = m_slots.Size() - 1;
    for (std::size_t i = hash & mask; m_slots[i].value != kNoWord; i = (i + 1) & mask) {
        if (m_slots[i].hash == hash && AreSame(SlotText(m_slots[i].value), text)) return &m_slots[i].value;
    }
    return nullptr;
}

void CWordDict::BuildIndex() {
    const std::uint32_t wordCount = m_isIndexDue ? GetWordCount() : 0;
    Rehash(std::bit_ceil(std::size_t{wordCount} * 2 + kFirstSlotCount), m_seed);
    for (std::uint32_t i = 0; i < wordCount; ++i) Enter(HashText(GetWordView(i), m_seed), i);
    m_isIndexDue = false;
}

// Before the word: one that is in without an entry, for want of memory, would fill the index up in time.
void CWordDict::MakeRoomForEntry() {
    if ((m_entryCount + 1) * 2 > m_slots.Size()) Rehash(m_slots.Size() * 2, m_seed);
}

void CWordDict::Enter(std::uint32_t hash, std::uint32_t value) {
    const std::size_t mask = m_slots.Size() - 1;
    std::size_t i = hash & mask;
    std::size_t run = 0;
    for (; m_slots[i].value != kNoWord; i = (i + 1) & mask) ++run;
    m_slots[i] = {hash, value};
    ++m_entryCount;
    if (run > kSuspiciousRun && m_reseedCount < kMostReseeds) Reseed();
}

// Without memory the index stays as slow as it is.
void CWordDict::Reseed() noexcept {
    ++m_reseedCount;
    try {
        Rehash(m_slots.Size(), RandomSeed());
    } catch (const std::bad_alloc&) {
    }
}

void CWordDict::Rehash(std::size_t slotCount, std::uint64_t seed) {
    CGrowArray<Slot> slots;
    slots.ReserveToFill(slotCount);
    slots.ExtendFilled(slotCount, 0xFF);
    const std::size_t mask = slotCount - 1;
    for (const Slot& slot : m_slots) {
        if (slot.value == kNoWord) continue;
        const std::uint32_t hash = seed == m_seed ? slot.hash : HashText(SlotText(slot.value), seed);
        std::size_t i = hash & mask;
        while (slots[i].value != kNoWord) i = (i + 1) & mask;
        slots[i] = {hash, slot.value};
    }
    m_slots.swap(slots);
    m_seed = seed;
}

std::size_t CWordDict::TakeBlock(const SharedBytes& block, CIncomingBytes& incoming, std::uint64_t byteLimit) {
    Clear();
    m_block = block;
    unsigned char* bytes = block.get();
    m_blockUnits = reinterpret_cast<const WCHAR*>(bytes);
    m_blockByteCount = static_cast<std::size_t>(incoming.Size());
    if (incoming.Bring(kWordCountBytes) < kWordCountBytes) return 0;
    const std::uint32_t wordCount = ReadU32(bytes);
    if (wordCount > kMostWords) return 0;

    std::size_t cursor = kWordCountBytes;
    std::uint64_t total = 0;
    bool inPlace = true;
    std::uint64_t arrived = incoming.Arrived();
    const std::size_t mostWords = (m_blockByteCount - kWordCountBytes) / kWordLengthBytes;
    m_offsets.ReserveToFill(wordCount < mostWords ? wordCount : mostWords);
    for (std::uint32_t i = 0; i < wordCount; ++i) {
        const std::size_t start = cursor + kWordLengthBytes;
        if (start > arrived) arrived = incoming.Bring(start);
        const bool hasLength = start <= arrived;
        const std::uint32_t length = hasLength ? ReadU32(bytes + cursor) : 0;
        // The length field is read: its first half now ends the word before it.
        if (inPlace && i > 0) std::memset(bytes + cursor, 0, sizeof(WCHAR));
        total += length;
        if (!hasLength || length > kMostWordBytes || (byteLimit > 0 && total > byteLimit)) return 0;
        if (start + length > arrived && (arrived = incoming.Bring(start + length)) < start + length) return 0;
        // The last word has no length field behind it but the root record; a word of odd length shares its last byte
        // with what follows. These, and all behind the first odd one, move to the arena.
        inPlace = inPlace && i + 1 < wordCount && length % 2 == 0 && start / sizeof(WCHAR) < kArenaMark;
        if (inPlace) {
            AppendBlockWord(start / sizeof(WCHAR), (start + length) / sizeof(WCHAR));
        } else if (length % 2 == 0) {
            AppendWord(TextView(m_blockUnits + start / sizeof(WCHAR), length / sizeof(WCHAR)));
        } else {
            AppendOddWord(bytes + start, length);
        }
        cursor = start + (length & ~std::uint32_t{1});
    }
    return cursor;
}

// The last byte is the low half of a final code unit.
void CWordDict::AppendOddWord(const unsigned char* bytes, std::size_t length) {
    m_scratch.assign((length + 1) / sizeof(WCHAR), WCHAR(0));
    std::memcpy(m_scratch.data(), bytes, length);
    AppendWord(m_scratch);
}

std::size_t CWordDict::CopyEntries(std::uint32_t& first, unsigned char* target, std::size_t size) const {
    unsigned char* place = target;
    unsigned char* const end = target + size;
    const Run* run = std::upper_bound(m_runs.begin(), m_runs.end(), first,
                                      [](std::uint32_t word, const Run& other) { return word < other.first; });
    if (run != m_runs.begin()) --run;
    while (first < GetWordCount()) {
        while (run != m_runs.end() && run->first + run->count <= first) ++run;
        std::uint32_t until = run == m_runs.end() ? GetWordCount() : run->first;
        if (until <= first) {
            const std::uint32_t count = CountFitting(first, run->first + run->count, end - place);
            const std::size_t copied = CopySideBySide(first, count, place);
            place += copied;
            if (copied > 0) first += count;
            until = first + (copied > 0 || count == 0 ? 1 : count);
        }
        for (; first < until; ++first) {
            const std::size_t copied = CopyEntry(first, place, end - place);
            if (copied == 0) return static_cast<std::size_t>(place - target);
            place += copied;
        }
    }
    return static_cast<std::size_t>(place - target);
}

// How many words of a run, from `first` on, are certain to fit. A word ends where the entry of the next one begins, so
// the last one's end is not known.
std::uint32_t CWordDict::CountFitting(std::uint32_t first, std::uint32_t runEnd, std::ptrdiff_t size) const {
    const std::uint32_t* begin = &m_offsets[first];
    const std::uint64_t mostUnits = *begin + static_cast<std::size_t>(size) / sizeof(WCHAR);
    return static_cast<std::uint32_t>(std::upper_bound(begin, m_offsets.begin() + runEnd, mostUnits) - begin - 1);
}

// Words of a run. 0 when some text ends before its entry does, at a zero in the file: then each must be looked at.
std::size_t CWordDict::CopySideBySide(std::uint32_t first, std::uint32_t count, unsigned char* target) const {
    const std::uint32_t* begin = &m_offsets[first];
    const std::uint32_t* end = begin + count;
    const std::size_t byteCount = (*end - *begin) * sizeof(WCHAR);
    std::memcpy(target, m_blockUnits + *begin - kLengthUnits, byteCount);
    std::size_t zeroCount = 0;  // of the units, when all texts reach as far as their entries
    for (const std::uint32_t* word = begin; word != end; ++word) {
        const std::uint32_t length = static_cast<std::uint32_t>((word[1] - word[0] - kLengthUnits) * sizeof(WCHAR));
        std::memcpy(target + (*word - *begin) * sizeof(WCHAR), &length, sizeof(length));
        zeroCount += std::size_t{(length & 0xFFFF) == 0} + std::size_t{length >> 16 == 0};
    }
    const WCHAR* units = reinterpret_cast<const WCHAR*>(target);
    return m_isMeasured || CountZeroUnits(units, byteCount / sizeof(WCHAR)) == zeroCount ? byteCount : 0;
}

// 0 when it does not fit.
inline std::size_t CWordDict::CopyEntry(std::uint32_t word, unsigned char* target, std::ptrdiff_t size) const {
    const TextView text = GetWordView(word);
    const std::size_t byteCount = text.size() * sizeof(WCHAR);
    if (kWordLengthBytes + byteCount > static_cast<std::size_t>(size)) return 0;
    const std::uint32_t length = static_cast<std::uint32_t>(byteCount);
    std::memcpy(target, &length, sizeof(length));
    std::memcpy(target + kWordLengthBytes, text.data(), byteCount);
    return kWordLengthBytes + byteCount;
}

bool CWordDict::HasSameBytes(const CWordDict& other) const {
    const auto haveSameBytes = [](const auto& a, const auto& b) {
        return a.Size() == b.Size() &&
               (a.IsEmpty() || std::memcmp(a.Data(), b.Data(), a.Size() * sizeof(*a.Data())) == 0);
    };
    if (!haveSameBytes(m_offsets, other.m_offsets) || !haveSameBytes(m_arena, other.m_arena)) return false;
    if (m_block == other.m_block) return true;
    // The words of a loaded document: one run, and behind it nothing in the block.
    const auto isLoaded = [](const CWordDict& words) { return words.m_sharedUnits == 0 && words.m_runs.Size() <= 1; };
    if (!isLoaded(*this) || !isLoaded(other) || m_lastEnd != other.m_lastEnd) return false;
    return m_runs.IsEmpty() || std::memcmp(m_blockUnits + m_offsets[0], other.m_blockUnits + m_offsets[0],
                                           (m_lastEnd - m_offsets[0]) * sizeof(WCHAR)) == 0;
}
