#include "model/attr_pair.h"

#include <memory>

#include "model/document.h"
#include "model/node_access.h"

HRESULT CAttrPair::QueryInterface(const IID& iid, void** out) {
    if (iid != IID_IAttrPair || !out) return 1;
    *out = static_cast<IAttrPair*>(this);
    return 0;
}

ULONG CAttrPair::AddRef() {
    return ++m_refs;
}

const WCHAR* CAttrPair::TextOf(std::int32_t word, const CHeldText& held) const {
    if (!m_document) return nullptr;
    return m_isHeld ? held.Get() : m_document->Words().GetWordOrNull(word);
}

const WCHAR* CAttrPair::GetName() {
    return TextOf(m_nameWord, m_name);
}

const WCHAR* CAttrPair::GetValue() {
    return TextOf(m_valueWord, m_value);
}

bool CAttrPair::SetValue(const WCHAR* text) {
    return m_document && m_element->SetAttribute(GetName(), text);
}

CAttrPairPool::~CAttrPairPool() {
    for (CAttrPair* pair = m_pairs; pair; pair = pair->m_next) pair->m_document = nullptr;
    while (CAttrPair* pair = m_free) {
        m_free = pair->m_next;
        delete pair;
    }
}

inline CAttrPair* CAttrPairPool::Take(CBinNode* element) {
    CAttrPair* pair = m_free;
    if (pair) {
        m_free = pair->m_next;
        --m_freeCount;
    } else {
        pair = new CAttrPair;
    }
    pair->m_refs = 1;
    pair->m_element = element;
    pair->m_isOfGuest = element->IsGuest();
    CNodeSlab* slab = CNodeSlab::Of(element);
    pair->m_isOfGuest ? slab->Hold() : slab->KeepForPair();
    pair->m_document = m_document;
    pair->m_previous = nullptr;
    pair->m_next = m_pairs;
    if (m_pairs) m_pairs->m_previous = pair;
    m_pairs = pair;
    return pair;
}

CAttrPair* CAttrPairPool::Make(CBinNode* element, std::int32_t nameWord, std::int32_t valueWord) {
    CAttrPair* pair = Take(element);
    pair->m_isHeld = false;
    pair->m_nameWord = nameWord;
    pair->m_valueWord = valueWord;
    return pair;
}

CAttrPair* CAttrPairPool::Make(CBinNode* element, const CPendingAttr& attr) {
    CHeldText name(attr.name.View());
    CHeldText value(attr.value.View());
    CAttrPair* pair = Take(element);
    pair->m_isHeld = true;
    pair->m_name = std::move(name);
    pair->m_value = std::move(value);
    return pair;
}

inline void CAttrPairPool::Recycle(CAttrPair* pair) {
    (pair->m_previous ? pair->m_previous->m_next : m_pairs) = pair->m_next;
    if (pair->m_next) pair->m_next->m_previous = pair->m_previous;
    if (m_freeCount == kMostFree) {
        delete pair;
        return;
    }
    if (pair->m_isHeld) {
        pair->m_name.Clear();
        pair->m_value.Clear();
    }
    pair->m_next = m_free;
    m_free = pair;
    ++m_freeCount;
}

ULONG CAttrPair::Release() {
    if (--m_refs > 0) return m_refs;
    CNodeSlab* slab = CNodeSlab::Of(m_element);
    m_isOfGuest ? slab->Unhold() : slab->UnkeepForPair();
    if (m_document) {
        m_document->Pairs().Recycle(this);
    } else {
        delete this;
    }
    return 0;
}
