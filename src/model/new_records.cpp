#include "model/new_records.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

#include "model/incoming_bytes.h"
#include "model/layout.h"
#include "platform/memory.h"

namespace {

// Copies records with the new numbers of their words. `to` may lie at or before `from` in the same block.
void CopyRenumbered(const unsigned char* from, const unsigned char* end, unsigned char* to, const CWordMap& map) {
    while (from != end) {
        const unsigned char type = *from;
        const std::uint32_t word = ReadU32(from + kWordOffset);
        if (type != kElement) {
            WriteTextRecord(to, type, map.Mapped(word));
            from += kTextBytes;
            to += kTextBytes;
            continue;
        }
        const std::uint32_t ownValue = ReadU32(from + kOwnValueOffset);
        const std::uint32_t attrCount = AttrCountOf(from);
        const std::uint32_t childCount = ReadU32(from + kChildCountOffset);
        *to = type;
        WriteU32(to + kWordOffset, attrCount > 0 ? map.Mapped(word) : map.MappedUnlessEmpty(word));
        WriteU32(to + kOwnValueOffset, map.MappedUnlessEmpty(ownValue));
        WriteU32(to + kAttrCountOffset, attrCount);
        WriteU32(to + kChildCountOffset, childCount);
        from += kElementBytes;
        to += kElementBytes;
        for (std::uint32_t left = 2 * attrCount; left > 0; --left) {
            WriteU32(to, map.Mapped(ReadU32(from)));
            from += sizeof(std::uint32_t);
            to += sizeof(std::uint32_t);
        }
    }
}

}  // namespace

void CNewRecords::Keep(std::uint32_t begin, std::uint32_t end) {
    if (begin == end) return;
    m_isSameShape = m_isSameShape && begin == m_expected;
    m_expected = end;
    m_hasKept = true;
    if (!m_pieces.IsEmpty() && m_pieces.Back().isKept && m_pieces.Back().end == begin) {
        m_pieces.Back().end = end;
    } else {
        m_pieces.Append({begin, begin, end, static_cast<std::uint32_t>(m_size), true});
    }
    m_size += end - begin;
}

void CNewRecords::Take(std::size_t begin, std::uint32_t replaced) {
    m_isSameShape = m_isSameShape && replaced == m_expected && replaced != m_former.end;
    if (m_isSameShape) {
        const unsigned char* const former = m_former.bytes.get() + replaced;
        const unsigned char* const record = m_made.Data() + begin;
        m_isSameShape = IsElement(record) == IsElement(former) &&
                        (!IsElement(record) || ChildCountOf(record) == ChildCountOf(former));
        m_expected += static_cast<std::uint32_t>(GetRecordSize(former));
    }
    const std::uint32_t end = static_cast<std::uint32_t>(m_made.Size());
    if (!m_isSameShape && !m_pieces.IsEmpty() && !m_pieces.Back().isKept) {
        m_pieces.Back().end = end;
    } else {
        m_pieces.Append({replaced, static_cast<std::uint32_t>(begin), end, static_cast<std::uint32_t>(m_size), false});
    }
    m_size += m_made.Size() - begin;
}

// How far the kept records must make way for new ones before them, at most.
std::uint64_t CNewRecords::Growth() const {
    std::uint64_t growth = 0;
    for (const Piece& piece : m_pieces) {
        const std::uint64_t place = std::uint64_t{m_former.begin} + piece.place;
        if (piece.isKept && place > piece.begin) growth = std::max(growth, place - piece.begin);
    }
    return growth;
}

// Where the new records begin: those kept then stay where they are as far as possible, and otherwise make way once.
CNewRecords::Layout CNewRecords::InPlace() const {
    const std::uint64_t growth = Growth();
    if (growth <= m_former.begin - m_former.roomBegin) return {m_former.begin - static_cast<std::uint32_t>(growth), 0};
    return {m_former.begin, growth};
}

bool CNewRecords::FitFormerBlock() const {
    if (!m_isSameShape || m_expected != m_former.end || m_former.copied || m_former.unknownCount > 0) return false;
    const Layout layout = InPlace();
    return std::max(layout.begin + m_size, std::uint64_t{m_former.end} + layout.shift) <= m_former.roomEnd;
}

CRecordTree CNewRecords::WriteInPlace(CRecordTree&& former, const CWordMap& map) const {
    unsigned char* const bytes = former.bytes.get();
    const auto [begin, shift] = InPlace();
    if (shift > 0) std::memmove(bytes + former.begin + shift, bytes + former.begin, former.end - former.begin);
    for (const Piece& piece : m_pieces) {
        unsigned char* const place = bytes + begin + piece.place;
        if (piece.isKept) {
            CopyRenumbered(bytes + shift + piece.begin, bytes + shift + piece.end, place, map);
        } else {
            std::memcpy(place, m_made.Data() + piece.begin, piece.end - piece.begin);
        }
    }
    MoveSpans(former, begin);
    former.begin = begin;
    former.end = begin + static_cast<std::uint32_t>(m_size);
    return std::move(former);
}

// Spans stand by their offsets, as the pieces do.
void CNewRecords::MoveSpans(CRecordTree& tree, std::uint32_t begin) const {
    const Piece* piece = m_pieces.begin();
    const auto lastFrom = [this, &piece](std::uint32_t offset) {
        return std::upper_bound(piece + 1, m_pieces.end(), offset,
                                [](std::uint32_t from, const Piece& other) { return from < other.former; }) -
               1;
    };
    for (Span& span : tree.spans) {
        piece = lastFrom(span.offset);
        const Piece* next = lastFrom(span.end);
        span.offset = begin + piece->place + (span.offset - piece->former);
        span.end = span.end == tree.end ? begin + static_cast<std::uint32_t>(m_size)
                                        : begin + next->place + (span.end - next->former);
    }
}

CRecordTree CNewRecords::WriteAnew(const CWordMap& map) {
    CRecordTree tree;
    const std::size_t size = static_cast<std::size_t>(m_size);
    if (m_hasKept) {
        tree.MakeBlock(size);
        MakePages(tree.bytes.get(), size);
        for (const Piece& piece : m_pieces) {
            unsigned char* const place = tree.bytes.get() + piece.place;
            if (piece.isKept) {
                const unsigned char* const bytes = m_former.bytes.get();
                CopyRenumbered(bytes + piece.begin, bytes + piece.end, place, map);
            } else {
                std::memcpy(place, m_made.Data() + piece.begin, piece.end - piece.begin);
            }
        }
    } else {
        if (size > 0) {
            m_made.ShrinkToFit();
        } else {
            m_made.MakeRoom(1);  // an empty tree, too, has a block
        }
        tree.bytes = SharedBytes(m_made.Release(), std::free);
        tree.roomEnd = static_cast<std::uint32_t>(size);
    }
    CIncomingBytes all(size);
    // Records of our own are well-formed. If ever they were not, this way the document stays as it was.
    if (size > 0 && !ScanRecords(tree.bytes.get(), 0, all, tree)) throw std::bad_alloc();
    return tree;
}
