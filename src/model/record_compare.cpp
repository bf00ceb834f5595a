#include "model/record_compare.h"

#include "model/layout.h"

namespace {

class CRecordComparer {
public:
    CRecordComparer(const CWordDict& a, const CWordDict& b) : m_a(a), m_b(b) {}

    bool AreEqual(const unsigned char* a, const unsigned char* b) {
        if (ChildCount(a) != ChildCount(b) || AttrCount(a) != AttrCount(b)) return false;
        if (!AreEqualWords(ReadU32(a + kWordOffset), ReadU32(b + kWordOffset))) return false;
        for (std::uint32_t i = 0; i < AttrCount(a); ++i) {
            const unsigned char* entryA = AttrEntryOf(a, i);
            const unsigned char* entryB = AttrEntryOf(b, i);
            if (!AreEqualPairTexts(ReadI32(entryA), ReadI32(entryB))) return false;
            if (!AreEqualPairTexts(ReadI32(entryA + kAttrValueOffset), ReadI32(entryB + kAttrValueOffset)))
                return false;
        }
        return true;
    }

private:
    static std::uint32_t ChildCount(const unsigned char* record) {
        return IsElement(record) ? ChildCountOf(record) : 0;
    }
    static std::uint32_t AttrCount(const unsigned char* record) { return IsElement(record) ? AttrCountOf(record) : 0; }

    // As pairs read them: null is a text of its own kind.
    bool AreEqualPairTexts(std::int32_t a, std::int32_t b) {
        const bool isNull = !m_a.GetWordOrNull(a);
        if (isNull != !m_b.GetWordOrNull(b)) return false;
        return isNull || AreEqualWords(static_cast<std::uint32_t>(a), static_cast<std::uint32_t>(b));
    }

    bool AreEqualWords(std::uint32_t a, std::uint32_t b) {
        // Names come again and again.
        const std::uint64_t pair = std::uint64_t{a} << 32 | b;
        std::uint64_t& known = m_known[(a * 31 + b) % kKnownPairs];
        if (known == pair + 1) return true;
        if (CompareTexts(m_a.GetWord(a), m_b.GetWord(b)) != 0) return false;
        known = pair + 1;
        return true;
    }

    const CWordDict& m_a;
    const CWordDict& m_b;
    static constexpr std::size_t kKnownPairs = 256;
    std::uint64_t m_known[kKnownPairs] = {};  // pairs of words of the same text, plus 1
};

}  // namespace

bool HaveEqualRecords(const RecordRange& a, const RecordRange& b) {
    CRecordComparer comparer(a.words, b.words);
    const unsigned char* recordA = a.tree.bytes.get() + a.begin;
    const unsigned char* recordB = b.tree.bytes.get() + b.begin;
    const unsigned char* const endA = a.tree.bytes.get() + a.end;
    // While records are alike both are in the same place of their trees, and end together.
    while (recordA != endA) {
        if (!comparer.AreEqual(recordA, recordB)) return false;
        recordA += GetRecordSize(recordA);
        recordB += GetRecordSize(recordB);
    }
    return true;
}
