// Small trees written down in a test, and the binary document that holds one.
#pragma once

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

#include "platform/text.h"

struct SmallTree {
    int type = 1;
    Text text;  // an element's name
    std::vector<std::pair<Text, Text>> attrs;
    std::vector<SmallTree> children;

    bool IsElement() const { return type == 1; }
};

inline SmallTree E(const Text& name, std::vector<SmallTree> children = {},
                   std::vector<std::pair<Text, Text>> attrs = {}) {
    return {1, name, std::move(attrs), std::move(children)};
}
inline SmallTree T(const Text& text) {
    return {3, text, {}, {}};
}
inline SmallTree C(const Text& text) {
    return {4, text, {}, {}};
}

/// Serialises trees. Each text gets a word of its own, whether it is there already or not.
class CSmallTreeBytes {
public:
    static std::vector<unsigned char> Of(const SmallTree& tree) {
        CSmallTreeBytes writer;
        writer.AddTree(tree);
        std::vector<unsigned char> bytes;
        AddNumber(bytes, writer.m_wordCount);
        bytes.insert(bytes.end(), writer.m_words.begin(), writer.m_words.end());
        bytes.insert(bytes.end(), writer.m_records.begin(), writer.m_records.end());
        return bytes;
    }

private:
    static void AddNumber(std::vector<unsigned char>& bytes, std::size_t number) {
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<unsigned char>(number >> shift));
    }

    void AddWord(const Text& text) {
        AddNumber(m_words, text.size() * 2);
        for (const WCHAR unit : text) {
            m_words.push_back(static_cast<unsigned char>(unit & 0xFF));
            m_words.push_back(static_cast<unsigned char>(unit >> 8));
        }
        AddNumber(m_records, m_wordCount++);
    }

    void AddTree(const SmallTree& tree) {
        m_records.push_back(static_cast<unsigned char>(tree.type));
        AddWord(tree.text);
        if (!tree.IsElement()) return;
        AddNumber(m_records, 0xFFFFFFFF);
        AddNumber(m_records, tree.attrs.size());
        AddNumber(m_records, tree.children.size());
        auto attrs = tree.attrs;
        std::stable_sort(attrs.begin(), attrs.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& [name, value] : attrs) {
            AddWord(name);
            AddWord(value);
        }
        for (const SmallTree& child : tree.children) AddTree(child);
    }

    std::vector<unsigned char> m_words;
    std::vector<unsigned char> m_records;
    std::size_t m_wordCount = 0;
};
