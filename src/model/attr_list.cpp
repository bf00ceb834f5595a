#include "model/attr_list.h"

namespace {

constexpr std::uint32_t kSearchOneByOneMost = 16;

}  // namespace

CAttrList::~CAttrList() {
    for (CPendingAttr* attr = m_items.First(); attr;) {
        CPendingAttr* next = m_items.Next(attr);
        delete attr;
        attr = next;
    }
}

CPendingAttr* CAttrList::Find(TextView name) const {
    if (m_index) {
        const auto found = m_index->lower_bound(name);
        return found != m_index->end() && (*found)->name.View() == name ? *found : nullptr;
    }
    for (CPendingAttr* attr = m_items.First(); attr; attr = m_items.Next(attr)) {
        if (attr->name.View() == name) return attr;
    }
    return nullptr;
}

void CAttrList::Add(TextView name, TextView value) {
    auto attr = std::make_unique<CPendingAttr>();
    attr->name.SetFolded(name);
    attr->value.Set(value);
    m_items.ReserveOne();
    m_items.Append(attr.get());
    CPendingAttr* added = attr.release();
    try {
        if (m_index) {
            m_index->insert(added);
        } else if (m_items.Count() > kSearchOneByOneMost) {
            auto index = std::make_unique<std::set<CPendingAttr*, Earlier>>();
            for (CPendingAttr* item = m_items.First(); item; item = m_items.Next(item)) index->insert(item);
            m_index = std::move(index);
        }
    } catch (...) {
        m_index.reset();  // search one by one until there is memory again
    }
}

void CAttrList::Remove(CPendingAttr* attr) {
    if (m_index) m_index->erase(attr);
    m_items.Remove(attr);
    delete attr;
}
