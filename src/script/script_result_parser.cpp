#include "script/script_result_parser.h"

#include <algorithm>
#include <limits>
#include <new>

#include "platform/unit_mask.h"
#include "script/number.h"
#include "script/text_search.h"

namespace {

constexpr HRESULT kNotImplemented = static_cast<HRESULT>(0x80004001);

bool StartsWith(TextView text, WCHAR unit) {
    return !text.empty() && text.front() == unit;
}

WCHAR ResolveEscape(WCHAR unit) {
    switch (unit) {
        case 'a':
            return '\a';
        case 'b':
            return '\b';
        case 't':
            return '\t';
        case 'n':
            return '\n';
        case 'v':
            return '\v';
        case 'f':
            return '\f';
        case 'r':
            return '\r';
        default:
            return unit;
    }
}

}  // namespace

bool CScriptResultParser::Create(const WCHAR* text, IScriptResultParser** out) noexcept {
    return Create(ViewOf(text), out);
}

bool CScriptResultParser::Create(TextView text, IScriptResultParser** out) noexcept {
    if (!out) return false;
    *out = nullptr;
    try {
        auto* parser = new CScriptResultParser(text);
        parser->AddRef();
        *out = parser;
        return true;
    } catch (...) {  // out of memory, or a text longer than a string can be
        return false;
    }
}

HRESULT PARVEL_CALL CScriptResultParser::QueryInterface(const IID&, void**) {
    return kNotImplemented;
}

ULONG PARVEL_CALL CScriptResultParser::AddRef() {
    return ++m_refCount;
}

ULONG PARVEL_CALL CScriptResultParser::Release() {
    const ULONG refCount = --m_refCount;
    if (refCount == 0) Destroy();
    return refCount;
}

void PARVEL_CALL CScriptResultParser::Destroy() {
    delete this;
}

std::int32_t PARVEL_CALL CScriptResultParser::GetItemCount() {
    constexpr std::size_t kMaxCount = std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(std::min(m_items.Count(), kMaxCount));
}

bool PARVEL_CALL CScriptResultParser::GetItem(std::int32_t index, IScriptResultParser** out) {
    if (index < 0 || index >= GetItemCount()) return false;
    return Create(m_items.Item(ListContent(), static_cast<std::size_t>(index)), out);
}

bool PARVEL_CALL CScriptResultParser::IsValue() {
    return m_isValue;
}

bool PARVEL_CALL CScriptResultParser::IsUnquoted() {
    return m_isUnquoted;
}

std::int32_t PARVEL_CALL CScriptResultParser::GetInt() {
    return m_isValue ? LeadingInteger(m_text) : 0;
}

double PARVEL_CALL CScriptResultParser::GetDouble() {
    return m_isValue ? LeadingNumber(m_text) : 0.0;
}

const WCHAR* PARVEL_CALL CScriptResultParser::GetString() {
    return m_text.c_str();
}

/// Drops leading lines until the text begins like a list or with a quote mark, or is one line.
void CScriptResultParser::Parse(TextView text) {
    for (;;) {
        if (StartsWith(text, '(')) {
            m_text = text;
            return ParseList(m_text);
        }
        if (StartsWith(text, '\'')) {
            if (!StartsWith(text.substr(1), '(')) return ParseValue(text.substr(1));
            m_text = text;
            return ParseList(TextView(m_text).substr(1));
        }
        const std::size_t lineFeed = FindUnit(text, '\n');
        if (lineFeed == TextView::npos) return ParseValue(text);
        text.remove_prefix(lineFeed + 1);
    }
}

/// `list` is the end of m_text from its bracket on.
void CScriptResultParser::ParseList(TextView list) {
    m_contentOffset = m_text.size() - list.size() + 1;
    TextView content = ListContent();
    const std::size_t close = FindLastUnit(content, ')');
    content = content.substr(0, close == TextView::npos ? 0 : close);

    m_items.Begin(content.size());
    std::size_t start = 0;
    std::size_t end = content.size();
    for (;;) {
        start = m_items.AddPlainItems(content, start);
        const std::size_t length = FindSplit(content.substr(start));
        if (length == 0) break;  // all that is left is the last item
        const std::size_t split = start + length;
        if (split + 1 >= end) {  // a single unit after an item is dropped, whatever it is
            end = split;
            break;
        }
        m_items.AddSeparator(split);  // whatever unit stands there
        start = split + 1;
    }
    m_items.Finish(end);
}

/// Length of the item that `rest` begins with; 0 when it takes the whole rest. Brackets are not counted: the first ')'
/// ends a bracketed item, however many it opened.
std::size_t CScriptResultParser::FindSplit(TextView rest) {
    if (StartsWith(rest, '(')) return FindUnit(rest, ')') + 1;  // npos + 1 is 0
    if (StartsWith(rest, '"')) return static_cast<std::size_t>(FindClosingQuote(rest, 1) + 1);
    const std::size_t space = FindUnit(rest, ' ');
    return space == TextView::npos ? 0 : space;
}

/// Position of the first double quote from `start` (at least 1) on that no backslash stands before; -1 when there is
/// none. Only that one unit is looked at: a quote after an escaped backslash counts as escaped, too.
std::ptrdiff_t CScriptResultParser::FindClosingQuote(TextView text, std::size_t start) {
    const std::size_t quote = FindUnitNotAfter(text, '"', '\\', start);
    return quote == TextView::npos ? -1 : static_cast<std::ptrdiff_t>(quote);
}

void CScriptResultParser::ParseValue(TextView value) {
    m_isValue = true;
    m_isUnquoted = !StartsWith(value, '"');
    if (m_isUnquoted) {
        m_text = value;
        return;
    }
    value.remove_prefix(1);
    const std::size_t close = FindLastUnit(value, '"');
    m_text = Unescape(value.substr(0, close == TextView::npos ? 0 : close));
}

/// A backslash at the very end is dropped. There are no numeric escapes.
Text CScriptResultParser::Unescape(TextView text) {
    Text resolved(text.size(), 0);
    WCHAR* to = resolved.data();
    for (std::size_t i = 0; i < text.size();) {
        if (i + kMaskUnits <= text.size() && !EqualUnits(&text[i], '\\')) {
            to = std::copy_n(&text[i], kMaskUnits, to);
            i += kMaskUnits;
            continue;
        }
        const std::size_t stop = std::min(i + kMaskUnits, text.size());
        while (i < stop) {
            const WCHAR unit = text[i++];
            if (unit != '\\') {
                *to++ = unit;
            } else if (i < text.size()) {
                *to++ = ResolveEscape(text[i++]);
            }
        }
    }
    resolved.resize(static_cast<std::size_t>(to - resolved.data()));
    return resolved;
}
