// A view of one attribute, as it stood when the pair was made: over a record entry by its word indexes, or over a
// pending attribute by copies of its texts.
//
// A pair holds no reference on its element or its document. It keeps the element's memory, so it can tell when the
// element is gone, and stands in its document's list of pairs, so it is told when the document goes; it then answers
// null and false. A pair belongs to the document that its element was in when it was made, and reads that document's
// words even when the element has moved. A document keeps the memory of released pairs for the next ones.
#pragma once

#include <cstdint>

#include "model/attr_list.h"
#include "model/held_text.h"
#include "model/node.h"
#include "parvel/parvel.h"

class CAttrPairPool;

class CAttrPair final : public IAttrPair {
public:
    HRESULT PARVEL_CALL QueryInterface(const IID& iid, void** out) override;
    ULONG PARVEL_CALL AddRef() override;
    ULONG PARVEL_CALL Release() override;
    const WCHAR* PARVEL_CALL GetName() override;
    const WCHAR* PARVEL_CALL GetValue() override;
    bool PARVEL_CALL SetValue(const WCHAR* text) override;

private:
    friend class CAttrPairPool;

    CAttrPair() = default;

    const WCHAR* TextOf(std::int32_t word, const CHeldText& held) const;

    std::uint32_t m_refs = 0;
    std::int32_t m_nameWord = 0;
    std::int32_t m_valueWord = 0;
    bool m_isHeld = false;     // from a pending attribute
    bool m_isOfGuest = false;  // the element was a guest already: its slab is held for the pair, not kept
    CBinNode* m_element = nullptr;
    CBinaryDocument* m_document = nullptr;  // null once it is gone
    CAttrPair* m_previous = nullptr;        // in the document's list of pairs
    CAttrPair* m_next = nullptr;            // there, or in the list of free ones
    CHeldText m_name;
    CHeldText m_value;
};

/// Makes a document's pairs. Pairs may outlive it.
class CAttrPairPool {
public:
    explicit CAttrPairPool(CBinaryDocument* document) : m_document(document) {}
    CAttrPairPool(const CAttrPairPool&) = delete;
    CAttrPairPool& operator=(const CAttrPairPool&) = delete;
    ~CAttrPairPool();

    /// A pair with one reference, over a record entry or from a pending attribute. Throws std::bad_alloc.
    CAttrPair* Make(CBinNode* element, std::int32_t nameWord, std::int32_t valueWord);
    CAttrPair* Make(CBinNode* element, const CPendingAttr& attr);

    /// Takes back a released pair.
    void Recycle(CAttrPair* pair);

private:
    CAttrPair* Take(CBinNode* element);

    CBinaryDocument* m_document;
    CAttrPair* m_pairs = nullptr;  // all that are not released

    // A host that walks attributes holds one pair, or a few.
    static constexpr std::size_t kMostFree = 16;
    CAttrPair* m_free = nullptr;
    std::size_t m_freeCount = 0;
};
