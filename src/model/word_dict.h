// The word dictionary: every text of a document once, in order; a word's position is its word index.
//
// The words of a loaded document stay where they are in the loaded block, each ended by a zero unit that is written
// over the first half of the next word's length field; all others lie in an arena of this dictionary. A dictionary that
// is rebuilt goes on using the block while most of it is in use. A word's text stays valid until the next AddWord,
// AppendWord, Clear or assignment. Memory exhaustion throws std::bad_alloc.
#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "model/grow_array.h"
#include "platform/text.h"

class CIncomingBytes;

/// The setting "Lower": when it is not 0, AddWord folds names that ask for it. Written at start-up only.
extern std::int32_t g_lower;

/// No word: reads as the empty text, or as null for attribute pairs.
inline constexpr std::uint32_t kNoWord = 0xFFFFFFFF;

/// The bytes of a loaded document, shared by its dictionary and its tree.
using SharedBytes = std::shared_ptr<unsigned char[]>;

class CWordDict {
public:
    CWordDict() = default;
    CWordDict(const CWordDict&) = default;
    CWordDict& operator=(const CWordDict&) = default;
    CWordDict(CWordDict&&) noexcept = default;
    CWordDict& operator=(CWordDict&&) noexcept = default;
    virtual ~CWordDict() = default;

    /// Index of an equal word that AddWord has met before; otherwise the text is added. With `fold`, and "Lower" on, a
    /// text not met before is added in lower case, or becomes another spelling of the lower-case word that is there.
    std::uint32_t AddWord(const WCHAR* text, bool fold) { return AddWord(TextView(text), fold); }
    std::uint32_t AddWord(TextView text, bool fold);

    /// For an empty dictionary: room for what AddWord is guessed to add.
    void Reserve(std::size_t wordCount, std::size_t unitCount);

    /// AddWord for each of several texts, without folding: while one is looked up, the memory that the next ones need
    /// is on its way.
    void AddWords(const TextView* texts, std::size_t count, std::uint32_t* indexes);

    /// Appends a word that AddWord will not find: loading does not pay for an index. The text ends at its first zero.
    std::uint32_t AppendWord(TextView text);

    /// The same words, of which AddWord will find none.
    CWordDict WithoutIndex() const;

    /// As AddWord, without folding, for a word of the dictionary that this one is a copy of: a text in the block that
    /// both share is not copied.
    std::uint32_t AddWordOf(const CWordDict& other, std::uint32_t index);

    /// For a rebuild. An empty dictionary shares the block of another one; words of that are appended without a copy
    /// when they lie there; at the end AddWord will find every word, and the block goes if most of it is not in use,
    /// unless it is kept anyway.
    void ShareBlockOf(const CWordDict& other);
    std::uint32_t AppendWordOf(const CWordDict& other, std::uint32_t index, std::size_t length);
    void FinishRebuild(bool isBlockKept);
    /// Bytes of the block that its words take.
    std::uint64_t SharedBytesUsed() const { return m_sharedUnits * sizeof(WCHAR); }
    /// Whether the words lie, or may lie, in this block.
    bool IsOver(const SharedBytes& block) const { return m_block == block; }

    void Clear() { *this = CWordDict(); }

    std::uint32_t GetWordCount() const { return static_cast<std::uint32_t>(m_offsets.Size()); }

    /// True when it is plain, without a look at single words, that both have the same words in the same order.
    bool HasSameBytes(const CWordDict& other) const;

    /// The word as nodes read it: the empty text past the end.
    const WCHAR* GetWord(std::uint32_t index) const { return index < m_offsets.Size() ? TextAt(index) : &kEmptyText; }

    /// The word as attribute pairs read it: null for a negative index or one past the end.
    const WCHAR* GetWordOrNull(std::int32_t index) const {
        return index >= 0 && static_cast<std::uint32_t>(index) < m_offsets.Size()
                   ? TextAt(static_cast<std::uint32_t>(index))
                   : nullptr;
    }

    /// The word with its length; `index` must be below the count.
    TextView GetWordView(std::uint32_t index) const {
        const WCHAR* text = TextAt(index);
        if ((m_offsets[index] & kArenaMark) == 0) return TextView(text, TextLength(text));
        std::uint32_t length;
        std::memcpy(&length, text - kLengthUnits, sizeof(length));
        return TextView(text, length);
    }

    /// Replaces all words by those of a document's dictionary block, which lies at the start of `block`: the bytes of a
    /// document as they come in, then kBlockSpareBytes more to write in. The words are terminated where they lie. Gives
    /// the offset behind the dictionary; 0 where it breaks a limit of the format or is cut short, and then the words
    /// before that place are in. The words' lengths may add up to `byteLimit` at most, unless it is 0.
    std::size_t TakeBlock(const SharedBytes& block, CIncomingBytes& incoming, std::uint64_t byteLimit);

    static constexpr std::size_t kBlockSpareBytes = 2;

    /// After TakeBlock: the offset behind the last word that stays in the block.
    std::size_t BlockEnd() const { return (m_lastEnd + 1) * sizeof(WCHAR); }

    /// Puts dictionary entries as the file has them, from that of the word `first` on, into `target`: as many as fit
    /// into `size` bytes. Gives the bytes that they take, perhaps none, and moves `first` on.
    std::size_t CopyEntries(std::uint32_t& first, unsigned char* target, std::size_t size) const;

private:
    // A slot of the index. An open-addressing table of these, half empty at least, finds a text's word.
    struct Slot {
        std::uint32_t hash;
        std::uint32_t value;  // word index; with kAliasMark, number of an alias; kNoWord when the slot is free
    };
    // Words that lie in the block entry behind entry, as in a file.
    struct Run {
        std::uint32_t first;
        std::uint32_t count;
    };
    // Another spelling of a word.
    struct Alias {
        Text text;
        std::uint32_t word;
    };

    static constexpr WCHAR kEmptyText = 0;
    static constexpr std::uint32_t kAliasMark = 0x80000000;
    static constexpr std::uint32_t kArenaMark = 0x80000000;  // of an offset
    static constexpr std::uint32_t kShortRun = 64;           // words; not worth remembering
    // In front of a word: in the arena its length in units, in the block what is left of a length field.
    static constexpr std::size_t kLengthUnits = 2;

    const WCHAR* TextAt(std::uint32_t index) const {
        const std::uint32_t offset = m_offsets[index];
        return (offset & kArenaMark ? m_arena.Data() : m_blockUnits) + (offset & ~kArenaMark);
    }
    std::uint32_t CountFitting(std::uint32_t first, std::uint32_t runEnd, std::ptrdiff_t size) const;
    std::size_t CopySideBySide(std::uint32_t first, std::uint32_t count, unsigned char* target) const;
    std::size_t CopyEntry(std::uint32_t word, unsigned char* target, std::ptrdiff_t size) const;
    TextView SlotText(std::uint32_t value) const;
    std::uint32_t* Find(TextView text, std::uint32_t hash);
    std::uint32_t AddHashed(TextView text, std::uint32_t hash);
    const Slot& FirstSlot(std::uint32_t hash) const { return m_slots[hash & (m_slots.Size() - 1)]; }
    std::uint32_t Resolve(std::uint32_t value) const;
    void AppendBlockWord(std::size_t start, std::size_t end);
    void BuildIndex();
    void MakeRoomForEntry();
    void Enter(std::uint32_t hash, std::uint32_t value);
    void Rehash(std::size_t slotCount, std::uint64_t seed);
    void Reseed() noexcept;
    void AppendOddWord(const unsigned char* bytes, std::size_t length);

    SharedBytes m_block;                  // keeps m_blockUnits alive
    const WCHAR* m_blockUnits = nullptr;  // the block, seen as code units
    std::size_t m_blockByteCount = 0;
    bool m_isMeasured = false;  // of words in the block the texts' lengths are known, not only what the entries say
    std::uint64_t m_sharedUnits = 0;      // of the block, by the words of a rebuild
    CGrowArray<Run> m_runs;               // all that are not short, in the order of their words
    std::size_t m_lastEnd = 0;            // in the block: behind the word that was appended last
    CGrowArray<std::uint32_t> m_offsets;  // of each word, in code units: in the block or, marked, in the arena
    CGrowArray<WCHAR> m_arena;            // of each word two units with its length, the text, a zero unit
    CGrowArray<Slot> m_slots;             // a power of two of them, or none
    bool m_isIndexDue = false;            // none yet, but all words belong into it
    std::size_t m_entryCount = 0;
    std::uint64_t m_seed = 0;
    int m_reseedCount = 0;
    std::vector<Alias> m_aliases;
    Text m_scratch;  // the folded text of the look-up in progress
};
