// From the words of a dictionary to those of the one that a rebuild makes of it: each text once, in the order in which
// it is first asked for.
//
// All old words are hashed at the start, side by side in memory, so that the rebuild meets equal texts without looking
// at them again. Memory exhaustion throws std::bad_alloc.
#pragma once

#include <cstdint>

#include "model/grow_array.h"
#include "model/word_dict.h"

class CWordMap {
public:
    /// `to` must be empty; it shares the block of `from`.
    CWordMap(const CWordDict& from, CWordDict& to);

    /// The new index of an old word; one past the end reads as the empty text.
    std::uint32_t Map(std::uint32_t word) {
        if (word < m_map.Size() && m_map[word] < kDuplicateMark) return m_map[word];
        return MapNew(word);
    }
    /// The same, but kNoWord for an empty text, which then gets no new index.
    std::uint32_t MapUnlessEmpty(std::uint32_t word) {
        if (word >= m_map.Size()) return kNoWord;
        if (m_map[word] >= kDuplicateMark && m_lengths[word] == 0) return kNoWord;
        const std::uint32_t index = Map(word);
        return index == m_emptyWord ? kNoWord : index;
    }
    /// The same for words that have been mapped.
    std::uint32_t Mapped(std::uint32_t word) const { return word < m_map.Size() ? m_map[word] : m_emptyWord; }
    std::uint32_t MappedUnlessEmpty(std::uint32_t word) const {
        const std::uint32_t index = word < m_map.Size() ? m_map[word] : kNoWord;
        return index == m_emptyWord || index >= kDuplicateMark ? kNoWord : index;
    }
    /// The new index of a text that does not come from the old dictionary.
    std::uint32_t AddText(TextView text);

private:
    static constexpr std::uint32_t kDuplicateMark = 0x80000000;

    bool Index(std::uint64_t seed, std::size_t longestRun);
    std::uint32_t* FindSlot(TextView text, std::uint32_t hash, std::size_t& run);
    bool HasText(std::uint32_t word, TextView text) const;
    std::uint32_t MapNew(std::uint32_t word);

    const CWordDict& m_from;
    CWordDict& m_to;
    // Of each old word: its new index; kNoWord where it has none yet; with kDuplicateMark, the first word of the same
    // text.
    CGrowArray<std::uint32_t> m_map;
    CGrowArray<std::uint32_t> m_lengths;  // of each old word, in code units
    // An open-addressing table of old words, kNoWord where free: what the number of a word leaves of the bits of a slot
    // is filled with those of the hash.
    CGrowArray<std::uint32_t> m_slots;
    std::uint32_t m_wordMask;  // of a slot
    std::uint64_t m_seed = 0;
    std::uint32_t m_emptyWord = kNoWord;  // the empty text's new index, once it has one
};
