// The binary layout, the same in a file and in memory. Integers are little-endian; nothing is aligned or padded.
//
//   dictionary   0  u32  word count
//                4  for each word: i32 byte length, then that many bytes of UTF-16LE text, no terminator
//   records      the tree in pre-order, each record followed by the subtrees of its children
//
//   element      0  u8   1            text, CDATA   0  u8   3 or 4
//                1  u32  name                       1  u32  text
//                5  u32  own value
//                9  i32  attribute count
//               13  i32  child count
//               17  for each attribute: u32 name, u32 value; ascending by the text of the names
//
// Words are named by index; kNoWord and every index past the end read as the empty text. A negative count means none.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "model/word_dict.h"
#include "platform/text_compare.h"

class COutputFile;

static_assert(std::endian::native == std::endian::little, "records are read as they lie");

inline constexpr std::size_t kWordCountBytes = 4;
inline constexpr std::size_t kWordLengthBytes = 4;
inline constexpr std::uint32_t kMostWords = 1'000'000;      // the reader refuses more
inline constexpr std::uint32_t kMostWordBytes = 1'024'000;  // the reader refuses longer words

inline constexpr unsigned char kElement = 1;
inline constexpr unsigned char kText = 3;
inline constexpr unsigned char kCData = 4;

inline constexpr std::size_t kWordOffset = 1;  // an element's name, a text's or CDATA section's text
inline constexpr std::size_t kOwnValueOffset = 5;
inline constexpr std::size_t kAttrCountOffset = 9;
inline constexpr std::size_t kChildCountOffset = 13;
inline constexpr std::size_t kElementBytes = 17;
inline constexpr std::size_t kTextBytes = 5;
inline constexpr std::size_t kAttrEntryBytes = 8;
inline constexpr std::size_t kAttrValueOffset = 4;  // within an entry

inline std::uint32_t ReadU32(const unsigned char* bytes) {
    std::uint32_t value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

inline std::int32_t ReadI32(const unsigned char* bytes) {
    return static_cast<std::int32_t>(ReadU32(bytes));
}

inline void WriteU32(unsigned char* bytes, std::uint32_t value) {
    std::memcpy(bytes, &value, sizeof(value));
}

inline void WriteI32(unsigned char* bytes, std::int32_t value) {
    WriteU32(bytes, static_cast<std::uint32_t>(value));
}

/// A count as it is meant: a negative one is none.
inline std::uint32_t CountOf(std::int32_t written) {
    return written > 0 ? static_cast<std::uint32_t>(written) : 0;
}

inline bool IsElement(const unsigned char* record) {
    return record && *record == kElement;
}

inline bool IsText(const unsigned char* record) {
    return record && (*record == kText || *record == kCData);
}

/// Attributes of an element record.
inline std::uint32_t AttrCountOf(const unsigned char* element) {
    return CountOf(ReadI32(element + kAttrCountOffset));
}

/// Children of an element record.
inline std::uint32_t ChildCountOf(const unsigned char* element) {
    return CountOf(ReadI32(element + kChildCountOffset));
}

inline const unsigned char* AttrEntryOf(const unsigned char* element, std::size_t index) {
    return element + kElementBytes + kAttrEntryBytes * index;
}

/// Size in bytes of a record; 0 for null and for an unknown type.
inline std::uint64_t GetRecordSize(const unsigned char* record) {
    if (IsElement(record)) return kElementBytes + kAttrEntryBytes * std::uint64_t{AttrCountOf(record)};
    return IsText(record) ? kTextBytes : 0;
}

/// Writes a new element record without attributes and children.
void WriteElementRecord(unsigned char* record, std::uint32_t name, std::uint32_t ownValue);
/// Writes a text or CDATA record.
void WriteTextRecord(unsigned char* record, unsigned char type, std::uint32_t text);

/// Writes the dictionary block. Always true: the file remembers what failed.
bool WriteDictionary(COutputFile& file, const CWordDict& words);

/// Orders two attribute entries by the texts of their names, code unit by code unit: -1, 0 or 1.
int CompareAttrNames(const unsigned char* a, const unsigned char* b, const CWordDict& words);

/// Sorts `count` attribute entries in place by CompareAttrNames. Entries of equal name keep their order.
void SortAttrPairs(unsigned char* entries, std::size_t count, const CWordDict& words);

/// The entry of exactly this name in the table of an element that has attributes, or null.
const unsigned char* FindAttrEntry(const unsigned char* element, const WCHAR* name, const CWordDict& words);
