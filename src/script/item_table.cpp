#include "script/item_table.h"

#include <algorithm>

#include "platform/unit_mask.h"

namespace {

constexpr std::size_t kBlockUnits = kMaskUnits;

// Space, '"' and '(' are the units that equal a space but for these two bits; so is '*', whose items are merely left to
// the caller without need.
constexpr WCHAR kOpenerCare = 0xFFFF & ~0x0A;
constexpr WCHAR kOpenerValue = ' ';

constexpr bool MayOpenItem(WCHAR unit) {
    return (unit & kOpenerCare) == kOpenerValue;
}

static_assert(MayOpenItem(' ') && MayOpenItem('"') && MayOpenItem('('));

}  // namespace

void CItemTable::Begin(std::size_t size) {
    m_blocks.assign(size / kBlockUnits + 1, SBlock());
}

std::size_t CItemTable::AddPlainItems(TextView text, std::size_t start) {
    std::size_t block = start / kBlockUnits;
    // One unit more than the block must be there: the one after a separator decides.
    if ((block + 1) * kBlockUnits >= text.size() || MayOpenItem(text[start])) return start;

    std::uint64_t wanted = ~std::uint64_t{0} << start % kBlockUnits;
    for (; (block + 1) * kBlockUnits < text.size(); ++block) {
        const WCHAR* units = &text[block * kBlockUnits];
        const std::uint64_t spaces = EqualUnits(units, ' ') & wanted;
        const std::uint64_t openers = spaces & MatchUnits(units + 1, kOpenerCare, kOpenerValue);
        if (openers) {
            const std::uint64_t upToFirst = openers ^ (openers - 1);
            m_blocks[block].separators |= spaces & upToFirst;
            return block * kBlockUnits + FirstInMask(openers) + 1;
        }
        m_blocks[block].separators |= spaces;
        wanted = ~std::uint64_t{0};
    }

    // The item in progress goes on after the last whole block: it began after the last separator, if any was added.
    while (block > start / kBlockUnits) {
        const std::uint64_t separators = m_blocks[--block].separators;
        if (separators) return std::max(start, block * kBlockUnits + LastInMask(separators) + 1);
    }
    return start;
}

void CItemTable::Finish(std::size_t end) {
    std::uint64_t separatorsBefore = 0;
    for (SBlock& block : m_blocks) {
        block.separatorsBefore = separatorsBefore;
        separatorsBefore += CountInMask(block.separators);
    }
    m_end = end;
    m_count = end == 0 ? 0 : static_cast<std::size_t>(separatorsBefore) + 1;
}

TextView CItemTable::Item(TextView text, std::size_t index) const {
    const std::size_t start = index == 0 ? 0 : FindSeparator(index - 1) + 1;
    const std::size_t end = index + 1 == m_count ? m_end : FindSeparator(index);
    return text.substr(start, end - start);
}

/// Position of separator `index`.
std::size_t CItemTable::FindSeparator(std::size_t index) const {
    const auto after = std::upper_bound(m_blocks.begin(), m_blocks.end(), index,
                                        [](std::size_t i, const SBlock& block) { return i < block.separatorsBefore; });
    const auto block = after - 1;
    std::uint64_t separators = block->separators;
    for (std::uint64_t skip = index - block->separatorsBefore; skip > 0; --skip) separators &= separators - 1;
    return static_cast<std::size_t>(block - m_blocks.begin()) * kBlockUnits + FirstInMask(separators);
}
