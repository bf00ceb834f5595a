#include "model/layout.h"

#include <algorithm>

#include "platform/file.h"

void WriteElementRecord(unsigned char* record, std::uint32_t name, std::uint32_t ownValue) {
    record[0] = kElement;
    WriteU32(record + kWordOffset, name);
    WriteU32(record + kOwnValueOffset, ownValue);
    WriteU32(record + kAttrCountOffset, 0);
    WriteU32(record + kChildCountOffset, 0);
}

void WriteTextRecord(unsigned char* record, unsigned char type, std::uint32_t text) {
    record[0] = type;
    WriteU32(record + kWordOffset, text);
}

bool WriteDictionary(COutputFile& file, const CWordDict& words) {
    const std::uint32_t wordCount = words.GetWordCount();
    file.Write(&wordCount, sizeof(wordCount));
    for (std::uint32_t word = 0; word < wordCount;) {
        file.Advance(words.CopyEntries(word, file.Room(), COutputFile::kRoomBytes));
        if (word == wordCount) break;
        // Perhaps too long for the room.
        const TextView text = words.GetWordView(word++);
        const std::uint32_t length = static_cast<std::uint32_t>(text.size() * sizeof(WCHAR));
        file.Write(&length, sizeof(length));
        file.Write(text.data(), length);
    }
    return true;
}

int CompareAttrNames(const unsigned char* a, const unsigned char* b, const CWordDict& words) {
    const int order = CompareTexts(words.GetWord(ReadU32(a)), words.GetWord(ReadU32(b)));
    return order < 0 ? -1 : order > 0 ? 1 : 0;
}

namespace {

struct AttrEntry {
    unsigned char bytes[kAttrEntryBytes];
};
static_assert(sizeof(AttrEntry) == kAttrEntryBytes && alignof(AttrEntry) == 1);

// Most elements have a handful of attributes, and writers hand them over nearly in order.
constexpr std::size_t kInsertionSortMost = 12;

void InsertionSort(AttrEntry* entries, std::size_t count, const CWordDict& words) {
    for (std::size_t i = 1; i < count; ++i) {
        const AttrEntry entry = entries[i];
        std::size_t place = i;
        for (; place > 0 && CompareAttrNames(entries[place - 1].bytes, entry.bytes, words) > 0; --place) {
            entries[place] = entries[place - 1];
        }
        entries[place] = entry;
    }
}

}  // namespace

void SortAttrPairs(unsigned char* entries, std::size_t count, const CWordDict& words) {
    AttrEntry* first = reinterpret_cast<AttrEntry*>(entries);
    if (count <= kInsertionSortMost) {
        InsertionSort(first, count, words);
        return;
    }
    std::stable_sort(first, first + count, [&words](const AttrEntry& a, const AttrEntry& b) {
        return CompareAttrNames(a.bytes, b.bytes, words) < 0;
    });
}

// The search is part of the contract: in a table that is not sorted, it decides which entries are found.
const unsigned char* FindAttrEntry(const unsigned char* element, const WCHAR* name, const CWordDict& words) {
    std::uint32_t low = 0;
    std::uint32_t high = AttrCountOf(element) - 1;
    while (true) {
        const std::uint32_t middle = low + (high - low) / 2;
        const unsigned char* entry = AttrEntryOf(element, middle);
        const int order = CompareTexts(name, words.GetWord(ReadU32(entry)));
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
