// Between an element record's attribute table and the list of pending attributes.
#pragma once

#include <memory>

#include "model/attr_list.h"
#include "model/layout.h"

/// The table of an element record as a pending list: names in lower case; an entry whose name stands in the list
/// already gives that entry its value.
inline std::unique_ptr<CAttrList> LoadAttrList(const unsigned char* element, const CWordDict& words) {
    auto attrs = std::make_unique<CAttrList>();
    for (std::uint32_t i = 0; i < AttrCountOf(element); ++i) {
        const unsigned char* entry = AttrEntryOf(element, i);
        const TextView name(words.GetWord(ReadU32(entry)));
        const TextView value(words.GetWord(ReadU32(entry + kAttrValueOffset)));
        if (CPendingAttr* attr = attrs->Find(name)) {
            attr->value.Set(value);
        } else {
            attrs->Add(name, value);
        }
    }
    return attrs;
}

/// The same for the copy of an element, where equal names stay apart.
inline std::unique_ptr<CAttrList> CopyAttrList(const unsigned char* element, const CWordDict& words) {
    auto attrs = std::make_unique<CAttrList>();
    for (std::uint32_t i = 0; i < AttrCountOf(element); ++i) {
        const unsigned char* entry = AttrEntryOf(element, i);
        attrs->Add(words.GetWord(ReadU32(entry)), words.GetWord(ReadU32(entry + kAttrValueOffset)));
    }
    return attrs;
}

/// Writes the list as table entries over `words`, to which add(text, fold) adds a text, and sorts them.
template <class Add>
void StoreAttrList(const CAttrList& attrs, unsigned char* entries, const CWordDict& words, Add add) {
    unsigned char* entry = entries;
    for (const CPendingAttr* attr = attrs.First(); attr; attr = attrs.Next(attr), entry += kAttrEntryBytes) {
        WriteU32(entry, add(attr->name.View(), true));
        WriteU32(entry + kAttrValueOffset, add(attr->value.View(), false));
    }
    SortAttrPairs(entries, attrs.Count(), words);
}
