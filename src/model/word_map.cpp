#include "model/word_map.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "model/text_hash.h"

namespace {

// Words hashed before the first of them is looked up, so that the table's memory is on its way meanwhile.
constexpr std::size_t kBatch = 16;

constexpr std::size_t kFewestSlots = 16;

}  // namespace

CWordMap::CWordMap(const CWordDict& from, CWordDict& to) : m_from(from), m_to(to) {
    const std::size_t wordCount = from.GetWordCount();
    const std::size_t slotCount = std::bit_ceil(std::max(wordCount + wordCount / 2, kFewestSlots));
    m_wordMask = static_cast<std::uint32_t>((std::uint64_t{1} << std::bit_width(wordCount)) - 1);
    m_to.ShareBlockOf(from);
    m_map.ReserveToFill(wordCount);
    m_lengths.ReserveToFill(wordCount);
    m_slots.ReserveToFill(slotCount);
    m_map.Extend(wordCount);
    m_lengths.Extend(wordCount);
    m_slots.Extend(slotCount);
    for (int seeds = 0; !Index(m_seed, seeds < kMostReseeds ? kSuspiciousRun : slotCount); ++seeds) {
        m_seed = RandomSeed();
    }
}

// False when words make a run longer than `longestRun`.
bool CWordMap::Index(std::uint64_t seed, std::size_t longestRun) {
    std::fill(m_slots.begin(), m_slots.end(), kNoWord);
    std::fill(m_map.begin(), m_map.end(), kNoWord);
    const std::uint32_t wordCount = m_from.GetWordCount();
    TextView texts[kBatch];
    std::uint32_t hashes[kBatch];
    for (std::uint32_t first = 0; first < wordCount; first += kBatch) {
        const std::size_t count = std::min<std::size_t>(kBatch, wordCount - first);
        for (std::size_t i = 0; i < count; ++i) {
            texts[i] = m_from.GetWordView(first + static_cast<std::uint32_t>(i));
            m_lengths[first + i] = static_cast<std::uint32_t>(texts[i].size());
            hashes[i] = HashText(texts[i], seed);
            __builtin_prefetch(&m_slots[hashes[i] & (m_slots.Size() - 1)]);
        }
        for (std::size_t i = 0; i < count; ++i) {
            std::size_t run = 0;
            std::uint32_t* slot = FindSlot(texts[i], hashes[i], run);
            if (run > longestRun) return false;
            if (*slot == kNoWord) {
                *slot = (hashes[i] & ~m_wordMask) | (first + static_cast<std::uint32_t>(i));
            } else {
                m_map[first + i] = (*slot & m_wordMask) | kDuplicateMark;
            }
        }
    }
    return true;
}

inline bool CWordMap::HasText(std::uint32_t word, TextView text) const {
    return m_lengths[word] == text.size() &&
           (text.empty() || std::memcmp(m_from.GetWord(word), text.data(), text.size() * sizeof(WCHAR)) == 0);
}

// The slot of the word with this text, or the free one where it belongs; `run` tells how many others lie before it.
inline std::uint32_t* CWordMap::FindSlot(TextView text, std::uint32_t hash, std::size_t& run) {
    const std::size_t mask = m_slots.Size() - 1;
    for (std::size_t i = hash & mask;; i = (i + 1) & mask, ++run) {
        const std::uint32_t slot = m_slots[i];
        if (slot == kNoWord) return &m_slots[i];
        if (((slot ^ hash) & ~m_wordMask) == 0 && HasText(slot & m_wordMask, text)) return &m_slots[i];
    }
}

std::uint32_t CWordMap::AddText(TextView text) {
    std::size_t run = 0;
    const std::uint32_t slot = *FindSlot(text, HashText(text, m_seed), run);
    if (slot != kNoWord) return Map(slot & m_wordMask);
    const std::uint32_t index = m_to.AddWord(text, false);
    if (text.empty()) m_emptyWord = index;
    return index;
}

std::uint32_t CWordMap::MapNew(std::uint32_t word) {
    if (word >= m_map.Size()) return AddText(TextView());
    if (m_map[word] != kNoWord) return m_map[word] = Map(m_map[word] & ~kDuplicateMark);
    const std::uint32_t index = m_to.AppendWordOf(m_from, word, m_lengths[word]);
    m_map[word] = index;
    if (m_lengths[word] == 0) m_emptyWord = index;
    return index;
}
