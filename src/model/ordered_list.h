// An ordered list of objects that know their own place in it, with removal anywhere and look-up by position both in
// logarithmic time. The list owns nothing. An item has a field `m_slot`, written by the list only while it is in it.
//
// Items stand in slots. Removing one from the middle leaves a hole; the slots are closed up when half of them are
// holes. While there are holes, counts per 64 slots, per 64 * 64 slots and so on lead from a position to its slot.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

template <class Item>
class COrderedList {
public:
    static constexpr std::uint32_t kEnd = 0xFFFFFFFF;

    std::uint32_t Count() const { return m_count; }

    /// The item at a position below Count().
    Item* At(std::uint32_t position) const {
        if (m_levels.empty()) return m_slots[m_first + position];
        std::size_t slot = 0;
        for (std::size_t level = m_levels.size(); level-- > 0;) {
            const std::vector<std::uint32_t>& counts = m_levels[level];
            while (position >= counts[slot]) position -= counts[slot++];
            slot *= kFanOut;
        }
        for (;; ++slot) {
            if (m_slots[slot] && position-- == 0) return m_slots[slot];
        }
    }

    /// The first item, or null; and the item behind one, or null. Walking all is linear.
    Item* First() const { return FromSlot(m_first); }
    Item* Next(const Item* item) const { return FromSlot(std::size_t{item->m_slot} + 1); }

    void Reserve(std::size_t count) { m_slots.reserve(count); }

    /// Makes sure that the next Append does not fail, whatever is removed before it.
    void ReserveOne() {
        if (m_slots.size() == m_slots.capacity()) m_slots.reserve(m_slots.size() * 2 + 8);
    }

    /// Call ReserveOne first.
    void Append(Item* item) {
        const std::size_t slot = m_slots.size();
        m_slots.push_back(item);
        item->m_slot = static_cast<std::uint32_t>(slot);
        ++m_count;
        if (!m_levels.empty()) CountSlot(slot);
    }

    void Remove(Item* item) {
        const std::size_t slot = item->m_slot;
        m_slots[slot] = nullptr;
        --m_count;
        if (!m_levels.empty()) {
            for (std::size_t level = 0, block = slot / kFanOut; level < m_levels.size(); ++level, block /= kFanOut) {
                --m_levels[level][block];
            }
        }
        if (slot == m_first) {
            while (m_first < m_slots.size() && !m_slots[m_first]) ++m_first;
        } else if (slot + 1 == m_slots.size()) {
            while (m_slots.size() > m_first && !m_slots.back()) m_slots.pop_back();
        }
        if (m_slots.size() > 2 * std::size_t{m_count} + kFanOut) {
            CloseUp();
        } else if (m_levels.empty() && m_slots.size() - m_first > m_count) {
            CountSlots();
        }
    }

private:
    static constexpr std::size_t kFanOut = 64;

    Item* FromSlot(std::size_t slot) const {
        while (slot < m_slots.size() && !m_slots[slot]) ++slot;
        return slot < m_slots.size() ? m_slots[slot] : nullptr;
    }

    void CloseUp() {
        std::size_t target = 0;
        for (std::size_t slot = m_first; slot < m_slots.size(); ++slot) {
            if (!m_slots[slot]) continue;
            m_slots[target] = m_slots[slot];
            m_slots[target]->m_slot = static_cast<std::uint32_t>(target);
            ++target;
        }
        m_slots.resize(target);
        m_first = 0;
        m_levels.clear();
    }

    void CountSlots() {
        try {
            m_levels.emplace_back();
            for (std::size_t slot = 0; slot < m_slots.size(); ++slot) {
                if (slot % kFanOut == 0) m_levels[0].push_back(0);
                if (m_slots[slot]) ++m_levels[0][slot / kFanOut];
            }
            AddLevels();
        } catch (...) {
            CloseUp();  // no memory for counts: have no holes
        }
    }

    void CountSlot(std::size_t slot) {
        try {
            std::size_t block = slot / kFanOut;
            for (std::vector<std::uint32_t>& counts : m_levels) {
                if (block == counts.size()) counts.push_back(0);
                ++counts[block];
                block /= kFanOut;
            }
            AddLevels();
        } catch (...) {
            CloseUp();
        }
    }

    void AddLevels() {
        while (m_levels.back().size() > kFanOut) {
            std::vector<std::uint32_t> sums;
            const std::vector<std::uint32_t>& counts = m_levels.back();
            for (std::size_t block = 0; block < counts.size(); ++block) {
                if (block % kFanOut == 0) sums.push_back(0);
                sums.back() += counts[block];
            }
            m_levels.push_back(std::move(sums));
        }
    }

    std::vector<Item*> m_slots;
    std::size_t m_first = 0;  // all slots before it are holes
    std::uint32_t m_count = 0;
    std::vector<std::vector<std::uint32_t>> m_levels;  // empty while there is no hole from m_first on
};
