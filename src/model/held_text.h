// A text held by a node, a pending attribute or a pair: one pointer, null for the empty text.
#pragma once

#include <cstring>
#include <memory>

#include "platform/text.h"

class CHeldText {
public:
    CHeldText() = default;
    explicit CHeldText(TextView text) { Set(text); }

    bool IsEmpty() const { return !m_units; }
    const WCHAR* Get() const { return m_units ? m_units.get() : &kEmpty; }
    TextView View() const { return TextView(Get()); }
    bool Equals(const WCHAR* text) const { return View() == TextView(text); }

    void Clear() { m_units.reset(); }

    /// Takes a copy, also of a text that lies in this one.
    void Set(TextView text) {
        std::unique_ptr<WCHAR[]> units;
        if (!text.empty()) {
            units = std::make_unique_for_overwrite<WCHAR[]>(text.size() + 1);
            std::memcpy(units.get(), text.data(), text.size() * sizeof(WCHAR));
            units[text.size()] = 0;
        }
        m_units = std::move(units);
    }

    /// Takes a copy with the letters A to Z in lower case.
    void SetFolded(TextView text) {
        Set(text);
        if (m_units) FoldCase(m_units.get(), text.size());
    }

private:
    static constexpr WCHAR kEmpty = 0;
    std::unique_ptr<WCHAR[]> m_units;
};
