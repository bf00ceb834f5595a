#include "model/attr_pair.h"

#include <memory>

#include "model/document.h"
#include "model/node_pool.h"

HRESULT CAttrPair::QueryInterface(const IID& iid, void** out) {
    if (iid != IID_IAttrPair || !out) return 1;
    *out = static_cast<IAttrPair*>(this);
    return 0;
}

ULONG CAttrPair::AddRef() {
    return ++m_refs;
}

ULONG CAttrPair::Release() {
    if (--m_refs > 0) return m_refs;
    CBinaryDocument* document = Document();
    CNodeSlab* slab = CNodeSlab::Of(m_element);
    if (document) {
        document->Pairs().Recycle(this);
    } else {
        delete this;
    }
    slab->Unkeep();
    return 0;
}

// Null when the element or the document is gone.
CBinaryDocument* CAttrPair::Document() const {
    return m_element->Serial() == m_serial ? m_element->Document() : nullptr;
}

const WCHAR* CAttrPair::TextOf(std::int32_t word, const CHeldText& held) const {
    CBinaryDocument* document = Document();
    if (!document) return nullptr;
    return m_isHeld ? held.Get() : document->Words().GetWordOrNull(word);
}

const WCHAR* CAttrPair::GetName() {
    return TextOf(m_nameWord, m_name);
}

const WCHAR* CAttrPair::GetValue() {
    return TextOf(m_valueWord, m_value);
}

bool CAttrPair::SetValue(const WCHAR* text) {
    return Document() && m_element->SetAttribute(GetName(), text);
}

CAttrPairPool::~CAttrPairPool() {
    while (m_freeCount > 0) delete m_free[--m_freeCount];
}

CAttrPair* CAttrPairPool::Take(CBinNode* element) {
    CAttrPair* pair = m_freeCount > 0 ? m_free[--m_freeCount] : new CAttrPair;
    pair->m_refs = 1;
    pair->m_element = element;
    pair->m_serial = element->Serial();
    CNodeSlab::Of(element)->Keep();
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

void CAttrPairPool::Recycle(CAttrPair* pair) {
    if (m_freeCount == kMostFree) {
        delete pair;
        return;
    }
    pair->m_name.Clear();
    pair->m_value.Clear();
    m_free[m_freeCount++] = pair;
}
