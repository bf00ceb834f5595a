#include "model/record_tree.h"

#include <algorithm>

#include "model/incoming_bytes.h"
#include "model/layout.h"

namespace {

// A subtree of at most so many bytes is skipped by reading it, which costs about what reading a span costs: a dozen
// records at most.
constexpr std::uint32_t kSmallSubtreeBytes = 128;

// An element whose children are being read.
struct OpenElement {
    std::uint32_t offset;     // of its record
    std::uint32_t remaining;  // children not begun yet
    std::uint32_t span;
};

// What is left open when a record of unknown type ends the reading: it takes no bytes, so every child still promised
// would be read from it again, and none of them has a record.
void NoteShortElements(const unsigned char* bytes, const CGrowArray<OpenElement>& open, CRecordTree& tree) {
    std::uint64_t unknownCount = 1;
    for (std::size_t i = 0; i < open.Size(); ++i) {
        const std::uint32_t claimed = ChildCountOf(bytes + open[i].offset);
        const bool isInnermost = i + 1 == open.Size();
        const std::uint32_t written = claimed - open[i].remaining - (isInnermost ? 1 : 0);
        if (written != claimed) tree.shortElements.Append({open[i].offset, written});
        unknownCount += open[i].remaining;
    }
    tree.unknownCount = unknownCount;
}

}  // namespace

bool ScanRecords(const unsigned char* bytes, std::uint64_t begin, CIncomingBytes& incoming, CRecordTree& tree) {
    tree.spans.Clear();
    tree.shortElements.Clear();
    tree.unknownCount = 0;
    const std::uint64_t byteCount = incoming.Size();
    std::uint64_t arrived = incoming.Arrived();
    if (begin > byteCount) return false;

    CGrowArray<OpenElement> open;
    std::uint64_t cursor = begin;
    std::uint32_t remaining = 0;  // of the innermost open element, whose own count is out of date
    std::uint64_t pending = 0;    // children promised and not begun yet, over all open elements
    while (true) {
        std::uint64_t rest = arrived - cursor;
        if (rest < kElementBytes) rest = (arrived = incoming.Bring(cursor + kElementBytes)) - cursor;
        if (rest == 0) return false;
        const unsigned char* record = bytes + cursor;
        if (IsText(record)) {
            if (rest < kTextBytes) return false;
            cursor += kTextBytes;
        } else if (IsElement(record)) {
            if (rest < kElementBytes) return false;
            const std::uint64_t size = GetRecordSize(record);
            if (rest < size && (arrived = incoming.Bring(cursor + size)) - cursor < size) return false;
            const std::uint32_t childCount = ChildCountOf(record);
            const std::uint32_t offset = static_cast<std::uint32_t>(cursor);
            cursor += size;
            if (childCount > 0 && pending + childCount > byteCount - cursor) return false;
            if (childCount == 1 && arrived - cursor < kTextBytes) arrived = incoming.Bring(cursor + kTextBytes);
            if (childCount == 1 && arrived - cursor >= kTextBytes && IsText(bytes + cursor)) {
                cursor += kTextBytes;  // the most common shape of all, and never one with a span
            } else if (childCount > 0) {
                pending += childCount;
                if (!open.IsEmpty()) open.Back().remaining = remaining;
                remaining = childCount;
                open.Append({offset, childCount, static_cast<std::uint32_t>(tree.spans.Size())});
                tree.spans.Append({offset, 0, 0});
            }
        } else {
            if (!open.IsEmpty()) {
                open.Back().remaining = remaining;
                NoteShortElements(bytes, open, tree);
            }
            for (OpenElement& element : open) element.remaining = 0;
            remaining = 0;
        }
        // Close what is complete.
        while (remaining == 0 && !open.IsEmpty()) {
            const OpenElement& element = open.Back();
            const std::uint32_t end = static_cast<std::uint32_t>(cursor);
            if (end - element.offset <= kSmallSubtreeBytes) {
                tree.spans.Truncate(element.span);
            } else {
                tree.spans[element.span] = {element.offset, end, static_cast<std::uint32_t>(tree.spans.Size())};
            }
            open.Truncate(open.Size() - 1);
            if (!open.IsEmpty()) remaining = open.Back().remaining;
        }
        if (open.IsEmpty()) break;
        --remaining;
        --pending;
    }
    tree.spans.ShrinkToFit();
    tree.begin = static_cast<std::uint32_t>(begin);
    tree.end = static_cast<std::uint32_t>(cursor);
    return true;
}

// Memory that is not touched costs next to nothing.
void CRecordTree::MakeBlock(std::size_t byteCount) {
    constexpr std::size_t kRoomShare = 64;
    static_assert(kLeastRoom >= CWordDict::kBlockSpareBytes);
    const std::size_t size = byteCount + byteCount / kRoomShare + kLeastRoom;
    if (size < byteCount) throw std::bad_alloc();
    bytes = std::make_shared_for_overwrite<unsigned char[]>(size);
    roomEnd = static_cast<std::uint32_t>(std::min<std::size_t>(size, kMostBytes));
}

// The subtree has been scanned: nothing in it runs past its end.
std::uint32_t CRecordTree::SkipSmallSubtree(std::uint32_t offset) const {
    const unsigned char* all = bytes.get();
    for (std::uint64_t left = 1; left > 0 && offset < end; --left) {
        const unsigned char* record = all + offset;
        if (*record == kElement) {
            left += ChildCountOf(record);
            offset += static_cast<std::uint32_t>(kElementBytes + kAttrEntryBytes * AttrCountOf(record));
        } else {
            offset += static_cast<std::uint32_t>(kTextBytes);
        }
    }
    return offset;
}

std::uint32_t CRecordTree::FirstSpanFrom(std::uint32_t offset) const {
    const Span* span = std::lower_bound(spans.begin(), spans.end(), offset,
                                        [](const Span& other, std::uint32_t from) { return other.offset < from; });
    return static_cast<std::uint32_t>(span - spans.begin());
}
