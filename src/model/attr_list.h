// The pending attributes of an element: those set since the last rebuild, in order, held as texts.
//
// Names are stored in lower case. The same name may stand in the list more than once; look-ups find the first. Small
// lists are searched one by one, larger ones through an index, so setting n attributes costs n log n.
#pragma once

#include <memory>
#include <set>

#include "model/held_text.h"
#include "model/ordered_list.h"

struct CPendingAttr {
    CHeldText name;
    CHeldText value;
    std::uint32_t m_slot = 0;
};

class CAttrList {
public:
    CAttrList() = default;
    CAttrList(const CAttrList&) = delete;
    CAttrList& operator=(const CAttrList&) = delete;
    ~CAttrList();

    std::uint32_t Count() const { return m_items.Count(); }
    const CPendingAttr* At(std::uint32_t position) const { return m_items.At(position); }
    const CPendingAttr* First() const { return m_items.First(); }
    const CPendingAttr* Next(const CPendingAttr* attr) const { return m_items.Next(attr); }

    /// The first entry of exactly this name, or null.
    CPendingAttr* Find(TextView name) const;

    /// Appends an entry under the lower-case form of the name.
    void Add(TextView name, TextView value);

    void Remove(CPendingAttr* attr);

private:
    struct Earlier {
        using is_transparent = void;
        bool operator()(const CPendingAttr* a, const CPendingAttr* b) const {
            const int order = a->name.View().compare(b->name.View());
            return order != 0 ? order < 0 : a->m_slot < b->m_slot;
        }
        bool operator()(const CPendingAttr* a, TextView name) const { return a->name.View() < name; }
        bool operator()(TextView name, const CPendingAttr* b) const { return name < b->name.View(); }
    };

    COrderedList<CPendingAttr> m_items;
    std::unique_ptr<std::set<CPendingAttr*, Earlier>> m_index;  // of all items, once they are many
};
