// A script's result, taken apart one level at a time.
//
// The text is either one value (a number, a bare word, a double-quoted string) or a list in brackets, whose items are
// kept as text and parsed only when the host opens them. Every text is one or the other: there is no syntax error.
// A parser owns a copy of all it shows; it never changes once made, and does not depend on the parser it came from.
#pragma once

#include "parvel/parvel.h"
#include "platform/text.h"
#include "script/item_table.h"

class CScriptResultParser final : public IScriptResultParser {
public:
    /// Stores a new parser with one reference. A null text counts as empty. False for a null `out`, and, with null
    /// stored, when memory runs out. Time and memory are linear in the text.
    static bool Create(const WCHAR* text, IScriptResultParser** out) noexcept;
    static bool Create(TextView text, IScriptResultParser** out) noexcept;

    HRESULT PARVEL_CALL QueryInterface(const IID& iid, void** out) override;
    ULONG PARVEL_CALL AddRef() override;
    ULONG PARVEL_CALL Release() override;
    std::int32_t PARVEL_CALL GetItemCount() override;
    bool PARVEL_CALL GetItem(std::int32_t index, IScriptResultParser** out) override;
    bool PARVEL_CALL IsValue() override;
    bool PARVEL_CALL IsUnquoted() override;
    std::int32_t PARVEL_CALL GetInt() override;
    double PARVEL_CALL GetDouble() override;
    const WCHAR* PARVEL_CALL GetString() override;

    /// Entry 10 of the table, after the interface's own: what Release calls at 0. Not a virtual destructor, which takes
    /// two entries with some compilers.
    virtual void PARVEL_CALL Destroy();

private:
    explicit CScriptResultParser(TextView text) { Parse(text); }
    ~CScriptResultParser() = default;

    void Parse(TextView text);
    void ParseList(TextView list);
    void ParseValue(TextView value);
    static std::ptrdiff_t FindClosingQuote(TextView text, std::size_t start);
    static std::size_t FindSplit(TextView rest);
    static Text Unescape(TextView text);
    TextView ListContent() const { return TextView(m_text).substr(m_contentOffset); }

    ULONG m_refCount = 0;
    Text m_text;  // of a list with its brackets; of a value what it comes to
    bool m_isValue = false;
    bool m_isUnquoted = false;
    CItemTable m_items;               // over ListContent()
    std::size_t m_contentOffset = 0;  // of a list's first unit after its bracket, in m_text
};
