#include "model/word_dict.h"

#include <cstring>
#include <random>

#include "model/layout.h"
#include "model/text_hash.h"

std::int32_t g_lower = 0;

namespace {

constexpr std::size_t kFirstSlotCount = 32;

// Units in front of an arena word, where the file has the length field.
constexpr std::size_t kLengthUnits = 2;

// With a good hash no run of taken slots comes near this length at the load we allow; one that does was made on
// purpose, and the index is laid out anew under a seed that its maker cannot know.
constexpr std::size_t kSuspiciousRun = 1024;
constexpr int kMostReseeds = 4;

}  // namespace

TextView CWordDict::GetWordView(std::uint32_t index) const {
    const WCHAR* text = TextAt(index);
    if (index < m_blockWordCount) return ViewOf(text);
    const std::size_t end = index + 1 < m_offsets.Size() ? m_offsets[index + 1] - kLengthUnits : m_arena.Size() - 1;
    return TextView(text, end - m_offsets[index]);
}

std::uint32_t CWordDict::AppendWord(TextView text) {
    text = text.substr(0, text.find(WCHAR(0)));
    const std::uint32_t index = GetWordCount();
    // The zero unit at the end becomes the first half of this word's length field.
    const std::size_t start = m_arena.IsEmpty() ? kLengthUnits : m_arena.Size() + kLengthUnits - 1;
    if (index >= kAliasMark || start + text.size() >= 0xFFFFFFFF) throw std::bad_alloc();

    const bool isOwnText = text.data() >= m_arena.begin() && text.data() < m_arena.end();
    const std::size_t ownOffset = isOwnText ? static_cast<std::size_t>(text.data() - m_arena.begin()) : 0;
    m_offsets.MakeRoom(1);
    m_arena.Extend(start + text.size() + 1 - m_arena.Size());
    if (isOwnText) text = TextView(m_arena.Data() + ownOffset, text.size());
    WCHAR* target = m_arena.Data() + start;
    if (!text.empty()) std::memcpy(target, text.data(), text.size() * sizeof(WCHAR));
    target[-1] = 0;
    target[-2] = 0;
    target[text.size()] = 0;
    m_offsets.Append(static_cast<std::uint32_t>(start));
    return index;
}

std::uint32_t CWordDict::AddWord(TextView text, bool fold) {
    if (m_slots.IsEmpty()) Rehash(kFirstSlotCount, m_seed);
    const std::uint32_t hash = HashText(text, m_seed);
    if (const std::uint32_t* value = Find(text, hash)) return Resolve(*value);

    // Room for the entry first: a word that is in without one, for want of memory, would fill the index up in time.
    if ((m_entryCount + 1) * 2 > m_slots.Size()) Rehash(m_slots.Size() * 2, m_seed);
    if (!fold || g_lower == 0) {
        const std::uint32_t index = AppendWord(text);
        Enter(hash, index);
        return index;
    }
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

TextView CWordDict::SlotText(std::uint32_t value) const {
    return value & kAliasMark ? TextView(m_aliases[value & ~kAliasMark].text) : GetWordView(value);
}

std::uint32_t CWordDict::Resolve(std::uint32_t value) const {
    return value & kAliasMark ? m_aliases[value & ~kAliasMark].word : value;
}

std::uint32_t* CWordDict::Find(TextView text, std::uint32_t hash) {
    const std::size_t mask = m_slots.Size() - 1;
    for (std::size_t i = hash & mask; m_slots[i].value != kNoWord; i = (i + 1) & mask) {
        if (m_slots[i].hash == hash && SlotText(m_slots[i].value) == text) return &m_slots[i].value;
    }
    return nullptr;
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

// Without memory or random numbers the index stays as slow as it is.
void CWordDict::Reseed() noexcept {
    ++m_reseedCount;
    try {
        std::random_device random;
        const std::uint64_t high = random();
        Rehash(m_slots.Size(), (high << 32) | random());
    } catch (const std::exception&) {
    }
}

void CWordDict::Rehash(std::size_t slotCount, std::uint64_t seed) {
    CGrowArray<Slot> slots;
    slots.Reserve(slotCount);
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

std::size_t CWordDict::TakeBlock(const SharedBytes& block, std::size_t byteCount, std::uint64_t byteLimit) {
    Clear();
    m_block = block;
    unsigned char* bytes = block.get();
    m_blockUnits = reinterpret_cast<const WCHAR*>(bytes);
    if (byteCount < kWordCountBytes) return 0;
    const std::uint32_t wordCount = ReadU32(bytes);
    if (wordCount > kMostWords) return 0;

    std::size_t cursor = kWordCountBytes;
    std::uint64_t total = 0;
    bool inPlace = true;
    const std::size_t mostWords = (byteCount - kWordCountBytes) / kWordLengthBytes;
    m_offsets.Reserve(wordCount < mostWords ? wordCount : mostWords);
    for (std::uint32_t i = 0; i < wordCount; ++i) {
        const bool hasLength = byteCount - cursor >= kWordLengthBytes;
        const std::uint32_t length = hasLength ? ReadU32(bytes + cursor) : 0;
        // The length field is read: its first half now ends the word before it.
        if (inPlace && i > 0) std::memset(bytes + cursor, 0, sizeof(WCHAR));
        total += length;
        if (!hasLength || length > kMostWordBytes || (byteLimit > 0 && total > byteLimit) ||
            length > byteCount - cursor - kWordLengthBytes) {
            return 0;
        }
        // The last word has no length field behind it but the root record; a word of odd length shares its last byte
        // with what follows. These, and all behind the first odd one, move to the arena.
        const std::size_t start = cursor + kWordLengthBytes;
        inPlace = inPlace && i + 1 < wordCount && length % 2 == 0;
        if (inPlace) {
            m_offsets.Append(static_cast<std::uint32_t>(start / sizeof(WCHAR)));
            ++m_blockWordCount;
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
